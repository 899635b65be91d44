#include "tests/CliTools.h"

#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace k470 {
namespace {

struct Case {
    QString arguments; ///< a blank between any two
    int code;
    QString output; ///< a part of it; "": there is none
    QString errors; ///< as well
    Variables variables{};
};

void ExpectEndings(const std::vector<Case> &cases) {
    for (const auto &[arguments, code, output, errors, variables] : cases) {
        const Ending ending = RunCli(arguments.isEmpty() ? QStringList() : arguments.split(' '), variables);
        SCOPED_TRACE((arguments + "\n" + ending.output + ending.errors).toStdString());
        EXPECT_EQ(ending.code, code);
        EXPECT_TRUE(output.isEmpty() ? ending.output.isEmpty() : ending.output.contains(output));
        EXPECT_TRUE(errors.isEmpty() ? ending.errors.isEmpty() : ending.errors.contains(errors));
    }
}

MemoryImage ErasedImage(std::uint8_t channels) {
    MemoryImage image;
    image.fill(NotProgrammed);
    image[Address::ChannelCount] = channels;
    return image;
}

constexpr const char *EnglishRows =
    "CH.  Rx Freq    Tx Freq    CTCSS/DCS Dec  CTCSS/DCS Enc  TX Power  W/N     BCL      Scan Add  Option  "
    "Scrambler No.\n"
    "1    400.50000  400.50000  None           67.0           High      Wide    Off      Yes       Off     "
    "1\n";
constexpr const char *ChineseRow = "\n1     400.50000  400.50000  无              67.0            高        "
                                   "宽带   关        有        关    1\n";

TEST_F(CliTest, EveryCommandEndsWithItsCodeAndWords) {
    const QString raw = Save("raw.bin", MakeSampleMemory(3));
    const QString made = In("made.tw");
    const QString hundred = Save("hundred.bin", ErasedImage(100));
    const QString ninth = Put("ninth.csv", "Channel,Receive MHz\n9,446\n");
    const Variables ports{{"K470_PORTS", "COM7=/dev/radio;COM3=/dev/null"}};
    ExpectEndings({
        {"--help", 0, "\n  6    verify failed", ""},
        {"--version", 0, K470_VERSION "\n", ""},
        {"new --band 400-480 --channels 3 " + made, 0, "", ""},
        {"check " + made, 1, "working channel  1  channel is empty", ""},
        {"check --json " + made, 1, "\"field\": \"workingChannel\"", ""},
        {"check " + raw, 0, "Nothing to warn of.", ""},
        {"check --quiet " + raw, 0, "", ""},
        {"diff " + raw + " " + raw, 0, "Nothing differs.", ""},
        {"diff " + raw + " " + made, 1, "400.50000", ""},
        {"diff --lang zh " + raw + " " + made, 1, "信道 1", ""},
        {"export " + raw + " " + In("data.csv"), 0, "", ""},
        {"export " + raw + " " + In("data.json"), 0, "", ""},
        {"import " + In("data.csv") + " " + made, 0, "Channels taken over: 3\n", ""},
        {"diff --json " + raw + " " + made, 1, "\"fields\": []", ""},
        {"import " + ninth + " " + made, 0, "Channels taken over: 1\n",
         "1 programmed channels are beyond the channel count 3"},
        {"check " + made, 1, "channel 9  receive frequency  446.00000  beyond the channel count", ""},
        {"show --json " + raw, 0, "\"receiveFrequency\": \"400.50000\"", ""},
        {"show " + raw, 0, EnglishRows, ""},
        {"show --lang zh " + raw, 0, ChineseRow, ""},
        {"show --lang zh " + raw, 0, "\n信道数          3\n", ""},
        {"show " + hundred, 0, "\n16\n\nFrequency", ""}, // as many as the window shows then
        {"pack " + raw + " " + In("packed.tw"), 0, "", ""},
        {"unpack " + In("packed.tw") + " " + In("unpacked.bin"), 0, "", ""},
        {"ports", 0, "Port  Device      Description\nCOM7  /dev/radio\nCOM3  /dev/null\n", "", ports},
        {"ports --json", 0, "\"name\": \"COM7\",\n      \"device\": \"/dev/radio\"", "", ports},
        {"ports --quiet", 0, "There is no serial port.", "", {{"K470_PORTS", ""}}},
        {"ports", 0, "没有串口", "", {{"K470_PORTS", ""}, {"LC_ALL", "zh_CN.UTF-8"}, {"LANG", "en"}}},
        {"ports",
         0,
         "没有串口",
         "",
         {{"K470_PORTS", ""}, {"LC_ALL", ""}, {"LC_MESSAGES", ""}, {"LANG", "zh"}}},
    });
    EXPECT_EQ(Content(In("unpacked.bin")), Content(raw));
    EXPECT_EQ(QString(Content(In("data.json"))), RunCli({"show", "--json", raw}).output);
}

TEST_F(CliTest, BadInputIsToldByTextAndCodeAndChangesNothing) {
    const QString old = Put("old.bin", OldContent);
    const QString junk = Put("junk.tw", "no codeplug");
    const QString table = Put("bad.csv", "Channel,Receive MHz\n1,446\n2,x\nfoo,\n");
    const QString odd = Put("odd.csv", "Channel,Receive MHz\n1,\x1B[2J\xFF" + QByteArray(50, 'y') + "\n");
    const QString order = Put("order.csv", "Band,MHz\nlow,480\nhigh,470\nmid,1\n");
    const QString nul = Put("nul.csv", QByteArray("Channel\n\0", 9));
    const QString large = Put("large.json", QByteArray(1 << 20, ' ') + "{}");
    const QString longer = Put("longer.bin", RawBytes(SampleImage(3)) + "x");
    const QString raw = Save("raw.bin", SampleImage(3));
    const QString image = Save("image.json", SampleImage(3));
    const QString link = In("link.json");
    ASSERT_TRUE(QDir().mkdir(In("folder")) && QFile::link(image, link));
    const QString missing = In("missing");
    const QStringList before = QDir(In("")).entryList(QDir::AllEntries | QDir::Hidden);
    ExpectEndings({
        {"", 2, "", "subcommand"},
        {"read " + old, 2, "", "--port is required"},
        {"show " + raw + " --lang fr", 2, "", "--lang"},
        {"read --port  " + old, 2, "", "empty"},
        {"pack " + junk + " " + old, 2, "", "must end in .tw"},
        {"pack " + junk + " " + In("new.tw"), 2, "", "must end in .tw"},
        {"unpack " + raw + " " + old, 2, "", "must end in .tw"},
        {"new --band 480-400 --channels 9 " + missing, 2, "", "480-400"},
        {"new --band 400-480.05 --channels 9 " + missing, 2, "", "480.05: no band"},
        {"new --band 400-480 --channels 100 " + missing, 2, "", "100"},
        {"export " + raw + " " + missing, 2, "", ".json or .csv"},
        {"import " + table + " " + raw, 3, "", "line 3: Receive MHz \"x\""},
        {"import --json " + table + " " + raw, 3, "\"place\": \"line 3\"", "line 3"},
        {"import " + odd + " " + raw, 3, "",
         "Receive MHz \"\uFFFD[2J\uFFFD" + QString(35, 'y') + "...\": a frequency"},
        {"import " + order + " " + raw, 3, "",
         "below the high one\nk470-cli: " + order + ": line 4: Band \"mid\""},
        {"import " + nul + " " + raw, 3, "", "holds a byte 00"},
        {"import " + large + " " + raw, 3, "", "larger than 1 MiB"},
        {"import " + large + " " + missing, 3, "", "missing: No such file"},
        {"import " + junk + " " + raw, 2, "", ".json or .csv"},
        {"show " + longer, 3, "", "not an image; 1792 raw bytes"},
        {"export " + image + " " + image, 3, "", "would overwrite the image"},
        {"export " + image + " " + link, 3, "", "would overwrite the image"},
        {"export " + raw + " " + missing + "/a.csv", 3, "", "No such file"},
        {"show " + missing, 3, "", "missing: No such file"},
        {"show --json " + missing, 3, "\"fileFailed\"", "missing: No such file"},
        {"check " + In("folder"), 3, "", "folder: Is a directory"},
        {"show " + old, 3, "", "not an image; 1792 raw bytes"},
        {"diff " + raw + " " + junk, 3, "", "not a codeplug file"},
        {"pack " + raw + " " + missing + "/new.tw", 3, "", "No such file"},
        {"write --port COM1 " + old, 3, "", "not an image"},
        {"write --json --port COM1 " + junk, 3, "\"fileFailed\"", "not a codeplug file"},
        {"read --port COM1 " + In("folder"), 3, "", "folder: Is a directory"},
        {"read --port COM1 " + missing + "/new.bin", 3, "", "No such file"},
        {"read --port COM1 /dev/null", 3, "", "Not a regular file"},
        {"read --port COM1 " + old, 4, "", "COM1: no serial device has this name"},
        {"write --json --port " + missing + " " + raw, 4, "\"portFailed\"", "missing is not there"},
        {"verify --port " + raw + " " + raw, 4, "", "raw.bin is not a serial port"},
        {"read --port COM1 " + missing + " --retry 10", 2, "", "--retry: Value 10 not in"},
        {"read --port COM1 " + missing + " --trace /dev/full", 3, "", "No space left"},
        {"read --port COM1 " + missing + " --trace " + missing, 3, "", "would overwrite the image"},
        {"write --port COM1 " + raw + " --trace " + In("./raw.bin"), 3, "", "overwrite the image"},
        {"verify --port /dev/null " + raw + " --trace /dev/null", 3, "", "or the port"},
    });
    EXPECT_EQ(Content(old), OldContent);
    EXPECT_EQ(Content(raw), RawBytes(SampleImage(3)));
    EXPECT_EQ(QDir(In("")).entryList(QDir::AllEntries | QDir::Hidden), before + QStringList{"state"});
}

TEST_F(CliTest, ProgressShowsOnATerminal) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_TRUE(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
    const QString slave = ::ptsname(terminal);
    const Radio radio;
    Cli cli({"read", "--port", radio.Path(), In("out.bin")}, {},
            [&](QProcess &process) { process.setStandardErrorFile(slave, QIODevice::Append); });
    EXPECT_EQ(cli.Wait().code, 0);
    QByteArray shown; // what the program wrote arrives here a moment later
    const auto hasAll = [&] {
        char more[4096];
        if (const ssize_t length = ::read(terminal, more, sizeof more); length > 0)
            shown.append(more, length);
        return shown.contains("Completion percentage: 100%") && shown.endsWith("\r\x1b[K"); // a cleared line
    };
    EXPECT_TRUE(Await(hasAll)) << shown.toStdString();
    EXPECT_TRUE(shown.contains("Completion percentage:  0%")) << shown.toStdString();
    ::close(terminal);
}

TEST(WindowProgram, AnswersItsOptionsWithoutADisplay) {
    struct Answer {
        QStringList arguments;
        int code;
        const char *says;
    };
    for (const auto &[arguments, code, says] : {Answer{{"--version"}, 0, K470_VERSION "\n"},
                                                {{"--help"}, 0, "Usage"},
                                                {{"a.tw", "b.tw"}, 2, "Usage"}}) {
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
