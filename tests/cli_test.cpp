#include "core/Settings.h"
#include "tests/CliTools.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace k470 {
namespace {

constexpr uid_t Nobody = 65534;

TEST_F(CliTest, BadInputIsToldByTextAndCodeAndChangesNothing) {
    Put(In("old.bin"), OldContent);
    Put(In("junk.tw"), "no codeplug");
    Save("raw.bin", SampleImage(3));
    ASSERT_TRUE(QDir().mkdir(In("folder")));
    const QString missing = In("missing");
    const QStringList before = Names();
    struct Case {
        QStringList arguments;
        int code;
        const char *text;
    };
    for (const auto &[arguments, code, text] : std::initializer_list<Case>{
             {{}, 2, "subcommand"},
             {{"read", In("old.bin")}, 2, "--port is required"},
             {{"show"}, 2, "IN is required"},
             {{"show", In("raw.bin"), "--lang", "fr"}, 2, "--lang"},
             {{"read", "--port", "", In("old.bin")}, 2, "empty"},
             {{"pack", In("raw.bin"), In("old.bin")}, 2, "must end in .tw"},
             {{"unpack", In("raw.bin"), In("old.bin")}, 2, "must end in .tw"},
             {{"show", missing}, 3, "missing: No such file"},
             {{"show", In("folder")}, 3, "folder: Is a directory"},
             {{"show", In("old.bin")}, 3, "not an image; 1792 raw bytes"},
             {{"show", In("junk.tw")}, 3, "not a codeplug file"},
             {{"pack", In("old.bin"), In("new.tw")}, 3, "not an image"},
             {{"pack", In("raw.bin"), missing + "/new.tw"}, 3, "No such file"},
             {{"write", "--port", "COM1", In("old.bin")}, 3, "not an image"},
             {{"write", "--port", "COM1", In("junk.tw")}, 3, "not a codeplug file"},
             {{"read", "--port", "COM1", In("folder")}, 3, "folder: Is a directory"},
             {{"read", "--port", "COM1", missing + "/new.bin"}, 3, "No such file"},
             {{"read", "--port", "COM1", "/dev/null"}, 3, "Not a regular file"},
             {{"read", "--port", "COM1", In("old.bin")}, 4, "COM1: no serial device has this name"},
             {{"read", "--port", missing, In("old.bin")}, 4, "missing is not there"},
             {{"read", "--port", In("folder"), In("old.bin")}, 4, "folder is not a serial port"},
             {{"write", "--port", In("raw.bin"), In("raw.bin")}, 4, "raw.bin is not a serial port"},
             {{"verify", "--port", "COM1", missing}, 3, "missing: No such file"},
             {{"verify", "--port", missing, In("raw.bin")}, 4, "missing is not there"},
             {{"read", "--port", "COM1", missing, "--trace", "/dev/full"}, 3, "No space left"},
             {{"read", "--port", "COM1", missing, "--trace", In("folder")}, 3, "folder: the trace cannot"},
             {{"read", "--port", "COM1", missing, "--trace", missing}, 3, "would overwrite the image"},
             {{"write", "--port", "COM1", In("raw.bin"), "--trace", folder_.path() + "/./raw.bin"},
              3,
              "would overwrite the image"},
             {{"verify", "--port", "/dev/null", In("raw.bin"), "--trace", "/dev/null"}, 3, "or the port"},
         }) {
        const Ending ending = RunCli(arguments);
        const std::string what = arguments.join(" ").toStdString();
        EXPECT_EQ(ending.code, code) << what;
        EXPECT_TRUE(ending.errors.contains(text)) << what << ": " << ending.errors.toStdString();
        EXPECT_EQ(ending.output, "") << what;
    }
    EXPECT_EQ(Content(In("old.bin")), OldContent);
    EXPECT_EQ(Content(In("raw.bin")), Bytes(SampleImage(3)));
    EXPECT_EQ(Names(), before);
}

TEST_F(CliTest, ADeviceThatTheUserMayNotUseIsAPortFailure) {
    const Radio radio(folder_.path(), {});
    ASSERT_EQ(::chmod(radio.Path().toLocal8Bit().constData(), 0), 0);
    ASSERT_EQ(::chmod(folder_.path().toLocal8Bit().constData(), 0777), 0);
    Cli cli({"read", "--port", radio.Path(), In("out.bin")}, {}, [](QProcess &process) {
        process.setChildProcessModifier([] {
            if (::geteuid() == 0 && (::setgid(Nobody) != 0 || ::setuid(Nobody) != 0))
                ::_exit(EXIT_FAILURE);
        });
    });
    if (!cli.HasStarted())
        GTEST_SKIP() << "the program lies where only root finds it";
    const Ending ending = cli.Wait();
    EXPECT_EQ(ending.code, 4);
    EXPECT_TRUE(ending.errors.contains("usermod -aG dialout")) << ending.errors.toStdString();
}

TEST_F(CliTest, PortsListsNamesDevicesAndDescriptions) {
    const QMap<QString, QString> two{{"K470_PORTS", "COM7=/dev/radio;COM3=/dev/null"}};
    EXPECT_EQ(RunCli({"ports"}, two).output,
              "Port  Device      Description\nCOM7  /dev/radio\nCOM3  /dev/null\n");
    const QJsonArray ports =
        QJsonDocument::fromJson(RunCli({"ports", "--json"}, two).output.toUtf8())["ports"].toArray();
    EXPECT_EQ(ports,
              (QJsonArray{QJsonObject{{"name", "COM7"}, {"device", "/dev/radio"}, {"description", ""}},
                          QJsonObject{{"name", "COM3"}, {"device", "/dev/null"}, {"description", ""}}}));
    const Ending none = RunCli({"ports", "--quiet"}, {{"K470_PORTS", ""}});
    EXPECT_EQ(none.code, 0);
    EXPECT_EQ(none.output, "There is no serial port.\n");
}

TEST_F(CliTest, ProgressShowsOnATerminal) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_TRUE(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
    const QString slave = ::ptsname(terminal);
    const Radio radio(folder_.path(), {});
    Cli cli({"read", "--port", radio.Path(), In("out.bin")}, {},
            [&](QProcess &process) { process.setStandardErrorFile(slave, QIODevice::Append); });
    QByteArray shown(1 << 16, '\0');
    EXPECT_EQ(cli.Wait().code, 0);
    shown.resize(static_cast<qsizetype>(
        std::max<ssize_t>(::read(terminal, shown.data(), static_cast<std::size_t>(shown.size())), 0)));
    ::close(terminal);
    for (const char *text : {"Completion percentage:  0%", "Completion percentage: 100%"})
        EXPECT_TRUE(shown.contains(text)) << shown.toStdString();
    EXPECT_TRUE(shown.endsWith("\r\x1b[K")) << "the line is not cleared";
}

/// How many columns the text takes: Chinese characters and full-width signs take two.
qsizetype Width(const QString &text) {
    return text.size() +
           std::count_if(text.begin(), text.end(), [](QChar c) { return c.unicode() >= 0x2E80; });
}

/// The part of the line that begins at that column of the terminal.
QString FromColumn(const QString &line, qsizetype column) {
    qsizetype i = 0;
    while (i < line.size() && Width(line.left(i)) < column)
        ++i;
    return line.mid(i);
}

TEST_F(CliTest, ShowAlignsChannelsAndSettingsInBothLanguages) {
    const MemoryImage image = SampleImage(4);
    Save("in.bin", image);
    for (const Language language : {Language::English, Language::Chinese}) {
        const bool chinese = language == Language::Chinese;
        const Ending ending = RunCli({"--lang", chinese ? "zh" : "en", "show", In("in.bin")});
        EXPECT_EQ(ending.code, 0);
        const QStringList lines = ending.output.split('\n');
        ASSERT_EQ(lines.size(), 1 + 4 + 1 + 11 + 1) << ending.output.toStdString();

        qsizetype at = 0;
        for (int col = 0; col < GridCols; ++col) {
            const QString header = QString::fromStdString(ColumnHeader(col, language));
            at = lines[0].indexOf(header, at);
            ASSERT_GE(at, 0) << header.toStdString();
            const qsizetype column = Width(lines[0].left(at));
            at += header.size();
            for (int ch = 0; ch < 4; ++ch) {
                RowTexts row = RowFromRecord(image, ch, language);
                row[ColNumber] = std::to_string(ch + 1);
                const QString cell = FromColumn(lines[1 + ch], column).section("  ", 0, 0);
                EXPECT_EQ(cell.toStdString(), row[static_cast<std::size_t>(col)])
                    << lines[1 + ch].toStdString();
            }
        }
        EXPECT_EQ(lines[5], "");
        EXPECT_EQ(lines[6], chinese ? "频段            400 - 480 MHz" : "Frequency           400 - 480 MHz");
        EXPECT_EQ(lines[10], chinese ? "信道数          4" : "CHT                 4");
        EXPECT_EQ(lines[13], chinese ? "电池省电        1:4" : "Battery Save        1:4");
        EXPECT_EQ(lines[17], "");
    }
}

TEST_F(CliTest, ShowTakesAnyCountAndWorkingChannel) {
    struct Case {
        std::uint8_t count;
        std::uint8_t working;
        int rows;
        const char *shownWorking;
    };
    for (const auto &[count, working, rows, shownWorking] : std::initializer_list<Case>{
             {0, 0, 0, ""}, {3, 5, 3, "1"}, {99, 98, 99, "99"}, {100, 15, 16, "16"}, {255, 255, 16, "1"}}) {
        MemoryImage image{};
        image.fill(0xFF);
        image[Address::ChannelCount] = count;
        image[Address::WorkingChannel] = working;
        Save("in.bin", image);
        const Ending ending = RunCli({"show", In("in.bin")});
        EXPECT_EQ(ending.code, 0);
        EXPECT_EQ(ending.output.section("\n\n", 0, 0).count('\n'), rows) << int{count};
        const QString line = ending.output.split('\n').filter("Working CH").value(0);
        EXPECT_EQ(line.section("Working CH", 1).trimmed(), shownWorking) << int{count};
    }
}

TEST_F(CliTest, TheLocaleDecidesTheLanguageWhereNoOptionDoes) {
    Save("in.bin", SampleImage(3));
    struct Case {
        QMap<QString, QString> variables;
        const char *header;
    };
    for (const auto &[variables, header] :
         std::initializer_list<Case>{{{{"LC_ALL", "zh_CN.UTF-8"}}, "信道"},
                                     {{{"LC_ALL", ""}, {"LC_MESSAGES", ""}, {"LANG", "zh_TW"}}, "信道"},
                                     {{{"LC_ALL", "de_DE.UTF-8"}, {"LANG", "zh_CN.UTF-8"}}, "CH."}})
        EXPECT_TRUE(RunCli({"show", In("in.bin")}, variables).output.startsWith(header)) << header;
}

TEST(CliHelp, NamesCommandsAndExitCodes) {
    const Ending ending = RunCli({"--help"});
    EXPECT_EQ(ending.code, 0);
    for (const char *text :
         {"ports", "read", "write", "verify", "show", "pack", "unpack", "\n  0    ", "\n  1    ", "\n  2    ",
          "\n  3    ", "\n  4    ", "\n  5    ", "\n  6    ", "\n  130  "})
        EXPECT_TRUE(ending.output.contains(text)) << text;
}

TEST(WindowProgram, AnswersItsOptionsWithoutADisplay) {
    struct Case {
        QStringList arguments;
        int code;
        const char *says;
    };
    for (const auto &[arguments, code, says] :
         {Case{{"--version"}, 0, "1."}, Case{{"--help"}, 0, "Usage"}, Case{{"--nonsense"}, 2, "Usage"},
          Case{{"a.tw", "b.tw"}, 2, "Usage"}}) {
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            environment.remove(name);
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(K470_APP_PATH, arguments);
        ASSERT_TRUE(program.waitForFinished());
        EXPECT_EQ(program.exitCode(), code) << arguments.join(" ").toStdString();
        EXPECT_TRUE(program.readAll().contains(says)) << arguments.join(" ").toStdString();
    }
}

} // namespace
} // namespace k470
