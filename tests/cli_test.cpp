#include "core/Bands.h"
#include "core/ChannelRows.h"
#include "core/Preferences.h"
#include "core/Settings.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace k470 {
namespace {

constexpr int PatienceMs = 30000;
constexpr uid_t Nobody = 65534;
constexpr const char *OldContent = "what was there before";
constexpr const char *MixtureText = "The radio may now hold a mixture of old and new data.";
constexpr const char *UntouchedText = "Nothing was written to the radio.";

/// @return whether the condition came to hold
bool WaitFor(const std::function<bool()> &condition) {
    const QDeadlineTimer limit(PatienceMs);
    while (!condition()) {
        if (limit.hasExpired())
            return false;
        QThread::msleep(1);
    }
    return true;
}

QByteArray Content(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void Put(const QString &path, const QByteArray &bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QByteArray Bytes(const MemoryImage &image) {
    return {reinterpret_cast<const char *>(image.data()), static_cast<qsizetype>(image.size())};
}

QByteArray LineOf(const QByteArray &image, int line) {
    return image.mid(line * static_cast<int>(LineSize), LineSize);
}

bool IsTransferred(int line, int channels) {
    return line < channels || (line >= FirstSettingsLine && line <= LastSettingsLine);
}

class EmptyStore : public PreferenceStore {
public:
    std::string GetKeyValue(std::string_view) const override { return {}; }
    bool UpdateKey(std::string_view, std::string_view) override { return false; }
};

AppState StartedState() {
    AppState state;
    StartState(state, EmptyStore(), "");
    state.language = Language::English;
    return state;
}

/// A codeplug whose second channel is empty and whose third only receives. @param channels 3 or more
MemoryImage SampleImage(int channels) {
    AppState state = StartedState();
    state.image[Address::ChannelCount] = static_cast<std::uint8_t>(channels);
    for (int ch = 0; ch < channels; ++ch) {
        RowTexts row;
        if (ch != 1)
            SetRowRx(row, std::to_string(401 + ch % 70), state);
        if (ch == 2)
            SetRowTx(row, "", state);
        row[ColLockout] = ch == 0 ? Res(state.language, Text::Carrier) : Res(state.language, Text::Off);
        StoreRow(state.image, ch, row, state.language);
    }
    return state.image;
}

struct Ending {
    int code = -1;
    QString output;
    QString errors;
};

/// k470-cli, started. Texts are English unless the arguments or the environment say otherwise.
class Cli {
public:
    explicit Cli(const QStringList &arguments, const QMap<QString, QString> &variables = {},
                 std::function<void(QProcess &)> prepare = {}) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LC_ALL", "C.UTF-8");
        for (const QString &name : variables.keys())
            environment.insert(name, variables[name]);
        process_.setProcessEnvironment(environment);
        if (prepare)
            prepare(process_);
        process_.start(K470_CLI_PATH, arguments);
        started_ = process_.waitForStarted(PatienceMs);
    }
    ~Cli() {
        process_.kill();
        process_.waitForFinished(PatienceMs);
    }

    bool HasStarted() const { return started_; }
    void Signal(int number) { ::kill(static_cast<pid_t>(process_.processId()), number); }

    Ending Wait() {
        EXPECT_TRUE(process_.waitForFinished(PatienceMs));
        EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
        return {process_.exitCode(), process_.readAllStandardOutput(), process_.readAllStandardError()};
    }

private:
    QProcess process_;
    bool started_ = false;
};

Ending RunCli(const QStringList &arguments, const QMap<QString, QString> &variables = {}) {
    return Cli(arguments, variables).Wait();
}

/// A simulated radio. Its log and its memory after the last session are files in the folder.
class Radio {
public:
    Radio(const QString &folder, const QStringList &arguments)
        : log_(folder + "/radio.log"), memory_(folder + "/radio.bin") {
        QFile::remove(log_);
        QFile::remove(memory_);
        process_.start(K470_SIM_PATH, QStringList{"--log", log_, "--out", memory_} + arguments);
        EXPECT_TRUE(WaitFor([this] {
            process_.waitForReadyRead(10);
            return process_.canReadLine();
        })) << process_.readAllStandardError().toStdString();
        path_ = QString::fromUtf8(process_.readLine()).trimmed();
    }
    ~Radio() { Stop(); }

    /// Ends it, so that log and memory are complete. @return what it complained about
    QString Stop() {
        process_.terminate();
        process_.waitForFinished(PatienceMs);
        return process_.readAllStandardError();
    }

    const QString &Path() const { return path_; }
    /// "> 57 06 30 10 ...", "< 06", without the times.
    QStringList Frames() const {
        QStringList frames;
        for (const QByteArray &line : Content(log_).split('\n'))
            if (const auto space = line.indexOf(' '); space > 0)
                frames.append(line.mid(space + 1));
        return frames;
    }
    bool HasHeard(const QString &start) const {
        return Frames().indexOf(QRegularExpression("^> " + start + ".*")) >= 0;
    }
    QByteArray Memory() const { return Content(memory_); }

private:
    QString log_;
    QString memory_;
    QString path_;
    QProcess process_;
};

class CliTest : public testing::Test {
protected:
    QString In(const QString &name) const { return folder_.filePath(name); }

    QStringList Names() const { return QDir(folder_.path()).entryList(QDir::AllEntries | QDir::Hidden); }

    void Save(const QString &name, const MemoryImage &image) { Put(In(name), Bytes(image)); }

    QTemporaryDir folder_;
};

TEST_F(CliTest, ReadFillsANewImageWithTheLinesOfTheRadio) {
    MemoryImage memory = SampleImage(20);
    for (int line = 0; line < static_cast<int>(LineCount); ++line)
        Line(memory, line)[Record::Reserved] = static_cast<std::uint8_t>(line);
    Save("memory.bin", memory);
    const Radio radio(folder_.path(), {"--image", In("memory.bin")});
    for (const QString name : {"out.bin", "out.tw"}) {
        const Ending ending = RunCli({"read", "--port", radio.Path(), In(name)});
        EXPECT_EQ(ending.code, 0) << ending.errors.toStdString();
        EXPECT_EQ(ending.output, "Reading completed!\n");
        EXPECT_EQ(ending.errors, "") << "no progress where nobody looks";
    }
    const QByteArray fresh = Bytes(StartedState().image);
    const QByteArray read = Content(In("out.bin"));
    for (int line = 0; line < static_cast<int>(LineCount); ++line)
        EXPECT_EQ(LineOf(read, line), LineOf(IsTransferred(line, 20) ? Bytes(memory) : fresh, line)) << line;
    EXPECT_EQ(RunCli({"unpack", In("out.tw"), In("unpacked.bin")}).code, 0);
    EXPECT_EQ(Content(In("unpacked.bin")), read);
}

TEST_F(CliTest, WriteBringsTheImageIntoTheRadioAndLeavesTheFileAlone) {
    for (const int channels : {3, 99}) {
        MemoryImage image = SampleImage(channels);
        Save("in.bin", image);
        ASSERT_EQ(RunCli({"pack", In("in.bin"), In("in.tw")}).code, 0);
        MemoryImage old{};
        old.fill(0xA5);
        Save("old.bin", old);
        Radio radio(folder_.path(), {"--image", In("old.bin")});
        const Ending ending = RunCli({"write", "--port", "com7", In("in.tw"), "--lang", "zh"},
                                     {{"K470_PORTS", "COM1=/dev/null;COM7=" + radio.Path()}});
        EXPECT_EQ(ending.code, 0) << ending.errors.toStdString();
        EXPECT_EQ(ending.output, "成功写完！\n");
        EXPECT_EQ(radio.Stop(), "");

        EXPECT_EQ(Content(In("in.bin")), Bytes(image));
        PrepareForWrite(image);
        for (int line = 0; line < static_cast<int>(LineCount); ++line) {
            const QByteArray sent = LineOf(Bytes(IsTransferred(line, channels) ? image : old), line);
            const int length = line == 1 ? 1 : LineSize; // of an empty channel only the mark travels
            EXPECT_EQ(LineOf(radio.Memory(), line).left(length), sent.left(length)) << line;
        }
    }
}

TEST_F(CliTest, WriteSendsOnlyImagesWithAChannelCount) {
    MemoryImage image = SampleImage(3);
    image[Address::ChannelCount] = 100;
    Save("hundred.bin", image);
    image[Address::ChannelCount] = 0;
    Save("none.bin", image);
    Radio radio(folder_.path(), {"--channels", "5"});
    const Ending refused = RunCli({"write", "--port", radio.Path(), In("hundred.bin")});
    EXPECT_EQ(refused.code, 3);
    EXPECT_TRUE(refused.errors.contains("the channel count in it is 100")) << refused.errors.toStdString();
    EXPECT_TRUE(radio.Frames().isEmpty());

    EXPECT_EQ(RunCli({"write", "--port", radio.Path(), In("none.bin")}).code, 0);
    EXPECT_EQ(radio.Frames().filter(QRegularExpression("^> 57")).size(),
              LastSettingsLine - FirstSettingsLine + 1);
}

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

TEST_F(CliTest, ARadioThatFailsIsToldWithWhatItLeavesBehind) {
    Save("in.bin", SampleImage(16));
    const char *const NoAnswer = "No answer from the radio on /dev/";
    const char *const Broken = "broke in the middle";
    const char *const NotWritten = "out.bin was not written.";
    struct Case {
        const char *fault;
        const char *command;
        const char *what;
        const char *left;
    };
    for (const auto &[fault, command, what, left] : std::initializer_list<Case>{
             {"no-reply@0x99", "read", NoAnswer, NotWritten},
             {"no-reply@0x99", "write", NoAnswer, UntouchedText},
             {"hang-up@1", "write", Broken, UntouchedText},
             {"hang-up@4", "read", Broken, NotWritten},
             {"hang-up@4", "write", Broken, MixtureText},
             {"wrong-ack@2x99", "write", Broken, MixtureText},
             {"short-data@5", "read", "Lines 3 were not received. Read the radio again.\n", NotWritten},
         }) {
        Put(In("out.bin"), OldContent);
        const Radio radio(folder_.path(), {"--fault", fault});
        const bool reading = QString(command) == "read";
        const Ending ending = RunCli({command, "--port", radio.Path(), In(reading ? "out.bin" : "in.bin")});
        const std::string context = std::string(fault) + " " + command + ": " + ending.errors.toStdString();
        EXPECT_EQ(ending.code, 5) << context;
        EXPECT_TRUE(ending.errors.contains(what)) << context;
        EXPECT_TRUE(ending.errors.contains(left)) << context;
        EXPECT_EQ(ending.output, "") << context;
        EXPECT_EQ(Content(In("out.bin")), OldContent) << context;
    }
}

TEST_F(CliTest, TheSessionDoesNotWanderToAnotherPort) {
    const Radio silent(folder_.path(), {"--fault", "no-reply@0x99"});
    const QTemporaryDir elsewhere;
    const Radio healthy(elsewhere.path(), {});
    const Ending ending = RunCli({"read", "--port", "COM1", In("out.bin")},
                                 {{"K470_PORTS", "COM1=" + silent.Path() + ";COM2=" + healthy.Path()}});
    EXPECT_EQ(ending.code, 5);
    EXPECT_TRUE(ending.errors.contains("No answer from the radio on COM1.")) << ending.errors.toStdString();
    EXPECT_TRUE(healthy.Frames().isEmpty());
}

TEST_F(CliTest, AnInterruptedWriteStopsBehindAnAcknowledgedLine) {
    Save("in.bin", SampleImage(99));
    for (const int signal : {SIGINT, SIGTERM}) {
        Radio radio(folder_.path(), {"--baud", "1200"});
        Cli cli({"write", "--port", radio.Path(), In("in.bin")}, {}, [](QProcess &process) {
            // as a script's shell starts its background jobs
            process.setChildProcessModifier([] { ::signal(SIGINT, SIG_IGN); });
        });
        ASSERT_TRUE(WaitFor([&] { return radio.HasHeard("57 00 20"); }));
        cli.Signal(signal);
        const Ending ending = cli.Wait();
        EXPECT_EQ(ending.code, 130);
        EXPECT_TRUE(ending.errors.contains("Interrupted.")) << ending.errors.toStdString();
        EXPECT_TRUE(ending.errors.contains(MixtureText)) << ending.errors.toStdString();
        EXPECT_EQ(radio.Stop(), "") << "a frame was broken off";
        EXPECT_EQ(radio.Frames().last(), "< 06");
        EXPECT_FALSE(radio.HasHeard("57 06 30")) << "it went on to the settings";
    }
}

TEST_F(CliTest, AnInterruptionBeforeTheFirstLineChangesNothing) {
    Save("in.bin", SampleImage(3));
    Put(In("out.bin"), OldContent);
    Radio radio(folder_.path(), {"--fault", "no-reply@0x99"});
    struct Case {
        QStringList arguments;
        const char *left;
    };
    for (const auto &[arguments, left] :
         std::initializer_list<Case>{{{"write", In("in.bin")}, UntouchedText},
                                     {{"read", In("out.bin")}, "out.bin was not written."}}) {
        const auto heard = radio.Frames().size();
        Cli cli(arguments + QStringList{"--port", radio.Path()});
        ASSERT_TRUE(WaitFor([&] { return radio.Frames().size() > heard; }));
        cli.Signal(SIGINT);
        const Ending ending = cli.Wait();
        EXPECT_EQ(ending.code, 130);
        EXPECT_TRUE(ending.errors.contains(left)) << ending.errors.toStdString();
    }
    EXPECT_EQ(Content(In("out.bin")), OldContent);
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
    for (const char *text : {"read", "write", "show", "pack", "unpack", "\n  0    ", "\n  2    ", "\n  3    ",
                             "\n  4    ", "\n  5    ", "\n  130  "})
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
