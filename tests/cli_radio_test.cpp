#include "tests/CliTools.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <sys/resource.h>

namespace k470 {
namespace {

using CliRadioTest = CliTest;

constexpr const char *MixtureText = "The radio may now hold a mixture of old and new data.";
constexpr const char *UntouchedText = "Nothing was written to the radio.";

QByteArray Lines(const QByteArray &image, int first, int last) {
    constexpr int Size = LineSize;
    return image.mid(first * Size, (last - first + 1) * Size);
}

QByteArray SettingsLines(const QByteArray &image) {
    return Lines(image, FirstSettingsLine, LastSettingsLine);
}

/// What a radio holds after the image was written to it.
MemoryImage WrittenImage(int channels) {
    MemoryImage image = SampleImage(channels);
    PrepareForWrite(image);
    return image;
}

TEST_F(CliRadioTest, ReadFillsANewImageWithTheLinesOfTheRadio) {
    const Radio radio({"--image", Save("memory.bin", MakeSampleMemory(20))});
    for (const QString name : {"out.bin", "out.tw"}) {
        const Ending ending = RunCli({"read", "--port", radio.Path(), In(name)});
        EXPECT_EQ(ending.code, 0) << ending.errors.toStdString();
        EXPECT_EQ(ending.output, "Reading completed!\n");
        EXPECT_EQ(ending.errors, "") << "no progress where nobody looks";
    }
    const QByteArray read = Content(In("out.bin"));
    const QByteArray memory = Content(In("memory.bin"));
    EXPECT_EQ(Lines(read, 0, 98), Lines(memory, 0, 98)) << "from the 21st on all are empty";
    EXPECT_EQ(SettingsLines(read), SettingsLines(memory));
    EXPECT_NE(Lines(read, 108, 111), Lines(memory, 108, 111)) << "they do not travel";
    EXPECT_EQ(Unpacked(In("out.tw")), read);
}

TEST_F(CliRadioTest, WriteKeepsTheOldImageBringsTheNewOneAndLeavesTheFileAlone) {
    MemoryImage questionable = SampleImage(3);
    questionable[Address::WorkingChannel] = 1; // which is empty
    for (const std::size_t setting : {Address::Volume, Address::TimeOutTimer, Address::Squelch})
        questionable[setting] = 0xEE;
    const QByteArray image = Content(Save("in.bin", questionable));
    const QString file = In("Jo's.tw");
    ASSERT_EQ(RunCli({"pack", In("in.bin"), file}).code, 0);
    MemoryImage memory;
    memory.fill(0xA5);
    memory[Address::ChannelCount] = 7;
    const QByteArray old = Bytes(memory);
    Radio radio({"--image", Save("old.bin", memory)});
    const Variables ports{{"K470_PORTS", "COM1=/dev/null;COM7=" + radio.Path()}};
    const Ending ending = RunCli({"write", "--port", "com7", file, "--lang", "zh"}, ports);
    EXPECT_EQ(ending.code, 0) << ending.errors.toStdString();
    EXPECT_TRUE(ending.errors.startsWith("k470-cli: " + file + "：4 条警告：整机 "));
    EXPECT_TRUE(ending.errors.endsWith("；另有 1 条。查看全部：k470-cli check '" + In("Jo") + "'\\''s.tw'\n"))
        << ending.errors.toStdString();
    const QString backup = Backups(In("state")).join("");
    EXPECT_EQ(ending.output,
              "对讲机中的旧映像保存在 " + backup + "\n成功写完！\n已校验：对讲机中的数据与写入的一致。\n");
    EXPECT_EQ(RunCli({"verify", "--port", "COM7", In("in.bin"), "--quiet"}, ports).output, "");
    EXPECT_EQ(radio.Stop(), "");

    EXPECT_EQ(Content(In("in.bin")), image);
    const QByteArray held = radio.Memory();
    EXPECT_EQ(Lines(held, 0, 0), Lines(image, 0, 0));
    EXPECT_EQ(Lines(held, 1, 1), '\xFF' + Lines(old, 1, 1).mid(1)) << "of an empty channel one byte travels";
    EXPECT_EQ(Lines(held, 2, 2), Lines(image, 2, 2));
    EXPECT_EQ(Lines(held, 3, 98), Lines(old, 3, 98));
    EXPECT_EQ(SettingsLines(held), SettingsLines(image)) << "the sample bears the bytes of a write";
    EXPECT_EQ(Lines(held, 108, 111), Lines(old, 108, 111));
    EXPECT_EQ(Lines(Unpacked(backup), 0, 6), Lines(old, 0, 6));
    EXPECT_EQ(SettingsLines(Unpacked(backup)), SettingsLines(old));
}

TEST_F(CliRadioTest, OnlyImagesWithAChannelCountAreWritten) {
    MemoryImage image = SampleImage(3);
    MemoryImage other = image;
    other[Record::RxFreq] ^= 0x10;
    Save("new.bin", other);
    for (const int count : {0, 100}) {
        image[Address::ChannelCount] = static_cast<std::uint8_t>(count);
        Radio radio({"--image", Save("none.bin", image), "--fault", "no-store@2"});
        const Ending refused = RunCli({"write", "--port", radio.Path(), In("none.bin")});
        EXPECT_EQ(refused.code, 3);
        EXPECT_TRUE(refused.errors.contains("the channel count in it is " + QString::number(count)));
        EXPECT_TRUE(radio.Frames().isEmpty());

        const Ending failed = RunCli({"write", "--port", radio.Path(), In("new.bin")});
        EXPECT_EQ(failed.code, 6) << failed.errors.toStdString();
        EXPECT_TRUE(failed.errors.contains("with a channel count that no radio has. To restore it, open it"));
    }
}

struct FailureCase {
    const char *fault;
    QStringList command;
    int code;
    QStringList texts;
    int again = 0;    ///< how often a read is begun anew
    int differs = -1; ///< the one line told
};

void ExpectDocument(const FailureCase &test, const QJsonObject &json, const QStringList &backups) {
    EXPECT_EQ(json["command"], test.command[0]);
    EXPECT_EQ(json["port"], "COM1");
    EXPECT_EQ(json["result"], test.code == 6 ? "differs" : test.code == 5 ? "radioFailed" : "done");
    EXPECT_EQ(json["radioMayHoldMixture"].toBool(), test.texts.contains(MixtureText));
    QJsonArray missing;
    for (const QString &text : test.texts.filter("was not received"))
        missing.append(text.section(' ', 1, 1).toInt() - (text.startsWith("Channel") ? 1 : 0));
    EXPECT_EQ(json["missingLines"].toArray(), missing);
    if (test.command.contains("--no-backup")) {
        EXPECT_EQ(json["missingLines"].isNull(), missing.isEmpty() && test.code != 6)
            << "nothing was read but for the comparison";
    }
    EXPECT_EQ(json["warnings"].isArray(), test.command[0] == "write");
    EXPECT_FALSE(json["message"].toString().isEmpty());
    EXPECT_EQ(json["backup"].toString(), backups.join(""));
    EXPECT_EQ(json["backup"].isNull(), test.command[0] == "write" && backups.isEmpty());
    const QJsonArray lines = json["differences"].toArray();
    ASSERT_EQ(lines.size(), test.differs < 0 ? 0 : 1);
    if (test.differs >= 0) {
        EXPECT_EQ(lines[0]["line"], test.differs);
        EXPECT_EQ(lines[0]["address"].toInt() / static_cast<int>(LineSize), test.differs);
        EXPECT_NE(lines[0]["expected"], lines[0]["found"]);
    }
}

/// A radio at COM1, and the program at work with it, as a user of their own.
struct Work {
    Work(const FailureCase &test, const QString &memory, const QString &elsewhere, const QString &file)
        : radio((test.command[0] == "verify" ? QStringList{"--image", memory}
                                             : QStringList{"--channels", "2"}) +
                QString("--fault %1").arg(test.fault).split(' ')),
          cli(test.command + QStringList{"--port", "COM1", file, "--json"},
              {{"K470_PORTS", "COM1=" + radio.Path() + ";COM2=" + elsewhere},
               {"XDG_STATE_HOME", state.path()}}) {}

    /// Whether it has ended, or a fault without end makes it ask again and again: then it needs little time.
    bool IsIdle(const QString &fault) {
        const QStringList frames = radio.Frames().filter("> ");
        return cli.HasEnded() ||
               (fault.contains("x") && std::adjacent_find(frames.begin(), frames.end()) != frames.end());
    }

    QTemporaryDir state;
    Radio radio;
    Cli cli;
};

TEST_F(CliRadioTest, ARadioThatFailsIsToldWithWhatItLeavesBehind) {
    const QString Broken = "broke in the middle";
    const QString NotWritten = "out.bin was not written.";
    const QString Line100 = "Line 100 (empty channels) was not received.";
    const QString NotVerified = "acknowledged everything that was written, but it could not be verified";
    const QString Restore = "To restore it: k470-cli write --port COM1 ";
    const QString WriteAgain = "Write it again before you use it.";
    // The radio has two channels before: what goes wrong from step 4 on lets the backup pass.
    const std::vector<FailureCase> cases{
        {"no-reply@0x99", {"write"}, 5, {"No answer from the radio on COM1.", UntouchedText}},
        {"wrong-ack@3x99", {"read"}, 5, {Broken, NotWritten}, 2},
        {"wrong-ack@3x99", {"write", "--retry", "0"}, 5, {Broken, UntouchedText}},
        {"wrong-ack@3x8", {"verify"}, 0, {}, 1},
        {"wrong-ack@1x9", {"write", "--no-backup"}, 5, {Broken, UntouchedText}},
        {"wrong-ack@5x9", {"write"}, 5, {Broken, MixtureText, Restore}},
        {"short-data@102", {"read", "--retry", "0"}, 5, {Line100, NotWritten}},
        {"short-data@102x9", {"write", "--retry", "1"}, 5, {Line100, UntouchedText}, 1},
        {"short-data@102x2", {"write"}, 0, {Restore}, 2},
        {"short-data@5x2",
         {"write", "--retry", "1"},
         5,
         {"Channel 4 was not received.", NotVerified, Restore},
         1},
        {"short-data@5", {"write"}, 0, {Restore}, 1},
        {"no-store@5", {"write"}, 6, {"Channel 4 (line 3), address 003", MixtureText, Restore}, 0, 3},
        {"no-store@109",
         {"write", "--no-backup"},
         6,
         {"Line 107, address 06B", MixtureText, WriteAgain},
         0,
         107},
        {"double-ack@5 --fault wrong-ack@11",
         {"write", "--no-backup", "--no-verify"},
         6,
         {"Channel 10 (line 9)", MixtureText, WriteAgain},
         0,
         9},
        {"double-ack@5 --fault short-data@6",
         {"write", "--no-verify", "--retry", "0"},
         5,
         {"Channel 5 was not received.", MixtureText, Restore}},
        {"no-store@5", {"write", "--no-verify"}, 0, {Restore}},
        {"no-store@5", {"write", "--no-verify", "--no-backup"}, 0, {}},
    };
    const QString in = Save("in.bin", SampleImage(16));
    const QString same = Save("same.bin", WrittenImage(16));
    const QString out = Put("out.bin", OldContent);
    const Radio elsewhere;
    std::vector<std::unique_ptr<Work>> works; // those that wait for answers do so side by side
    for (const FailureCase &test : cases) {
        works.push_back(
            std::make_unique<Work>(test, same, elsewhere.Path(), test.command[0] == "read" ? out : in));
        ASSERT_TRUE(WaitFor([&] { return works.back()->IsIdle(test.fault); }));
    }
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const FailureCase &test = cases[i];
        const Ending ending = works[i]->cli.Wait();
        SCOPED_TRACE(test.fault +
                     (" " + test.command.join(" ") + ": " + ending.errors + ending.output).toStdString());
        EXPECT_EQ(ending.code, test.code);
        for (const QString &text : test.texts)
            EXPECT_EQ(ending.errors.contains(text), test.code != 0) << text.toStdString();
        EXPECT_EQ(ending.errors.contains(UntouchedText), test.texts.contains(UntouchedText));
        EXPECT_EQ(ending.errors.count(" Reading the radio again ("), test.again);
        EXPECT_FALSE(ending.errors.contains("--no-backup")) << "it would not help";
        const QStringList backups = Backups(works[i]->state.path());
        EXPECT_EQ(backups.size(), test.texts.contains(Restore) ? 1 : 0);
        ExpectDocument(test, ending.Json(), backups);
    }
    EXPECT_EQ(Content(out), OldContent);
    EXPECT_TRUE(elsewhere.Frames().isEmpty()) << "a session wandered to another port";
}

TEST_F(CliRadioTest, VerifyTellsEveryLineThatAWriteWouldHaveChanged) {
    MemoryImage image = SampleImage(12);
    image[Address::ChannelCountCopy] = image[Address::WriteMark] =
        0xEE; // as of a radio that was never written
    const QString in = Save("in.bin", image);
    Line(image, 1)[5] ^= 0x01; // channel 2 is empty in the file: this byte does not travel
    const Radio same({"--image", Save("same.bin", image)});
    EXPECT_EQ(RunCli({"verify", "--port", same.Path(), in}).output,
              "The radio holds the image of " + in + ".\n");

    image[Address::ChannelCount] = image[Address::ChannelCountCopy] = 10;
    Line(image, 1).front() = 0x12;
    Line(image, 4)[7] ^= 0x01;
    const Radio other({"--image", Save("other.bin", image)});
    const Ending ending = RunCli({"verify", "--json", "--port", other.Path(), in});
    EXPECT_EQ(ending.code, 6);
    QJsonArray told;
    for (const QJsonValue &difference : ending.Json()["differences"].toArray())
        told.append(difference["line"]);
    EXPECT_EQ(told, (QJsonArray{1, 4, 10, 11, 99, 102}));
    EXPECT_TRUE(ending.errors.contains("Channel 11 (line 10)")) << "the radio leaves it out";
}

TEST_F(CliRadioTest, NothingIsWrittenWhenThereIsNoPlaceForTheBackup) {
    const Radio radio;
    const QStringList command{"write", "--quiet", "--port", radio.Path(), Save("in.bin", SampleImage(3))};
    for (const Variables &places :
         {Variables{{"XDG_STATE_HOME", "/dev/null"}}, {{"XDG_STATE_HOME", "not/absolute"}, {"HOME", ""}}}) {
        const auto heard = radio.Frames().size();
        const Ending refused = RunCli(command, places);
        EXPECT_EQ(refused.code, 3);
        for (const char *text : {UntouchedText, "--no-backup"})
            EXPECT_TRUE(refused.errors.contains(text)) << refused.errors.toStdString();
        EXPECT_EQ(radio.Frames().size(), heard);
        const Ending done = RunCli(command + QStringList{"--no-backup"}, places);
        EXPECT_EQ(done.code, 0) << done.errors.toStdString();
        EXPECT_EQ(done.output, "");
    }
}

TEST_F(CliRadioTest, ATraceThatBreaksOffIsAFileErrorAfterTheWholeSession) {
    Radio radio({"--image", Save("in.bin", WrittenImage(3))});
    Cli cli({"verify", "--port", radio.Path(), In("in.bin"), "--trace", In("trace")}, {},
            [](QProcess &process) {
                process.setChildProcessModifier([] {
                    const rlimit files{300, 300};
                    ::setrlimit(RLIMIT_FSIZE, &files);
                });
            });
    const Ending ending = cli.Wait();
    EXPECT_EQ(ending.code, 3);
    EXPECT_TRUE(ending.output.startsWith("The radio holds the image of")) << ending.output.toStdString();
    EXPECT_TRUE(ending.errors.contains("the trace is not complete")) << ending.errors.toStdString();
    EXPECT_FALSE(ending.errors.contains("The radio holds")) << "a success told as an error";
    EXPECT_EQ(radio.Stop(), "");
    EXPECT_EQ(radio.Frames().last(), "> 45");
}

/// @param sessions that have ended before
bool HasHeard(const Radio &radio, const QString &start, int sessions) {
    const QStringList frames = radio.Frames();
    qsizetype from = 0;
    for (int ended = 0; ended < sessions; ++ended)
        if ((from = frames.indexOf("> 45", from) + 1) == 0)
            return false;
    return frames.indexOf(QRegularExpression("^> " + start + ".*"), from) >= 0;
}

TEST_F(CliRadioTest, AnInterruptionStopsBehindAnAcknowledgedLineInEveryPhase) {
    constexpr const char *Channels = "60"; // the line is slow and has many to go until the signal arrives
    const QString in = Save("in.bin", SampleImage(60));
    struct Case {
        const char *command;
        int sessions; ///< that have ended
        const char *line;
        int signal;
        QStringList texts;
        bool mixture;
        bool backup;
    };
    for (const auto &[command, sessions, line, signal, texts, mixture, backup] : std::initializer_list<Case>{
             {"read", 0, "52 00 10", SIGINT, {"out.bin was not written."}, false, false},
             {"write", 0, "52 00 10", SIGHUP, {UntouchedText}, false, false},
             {"write", 1, "57 00 00", SIGINT, {MixtureText, "To restore it:"}, true, true},
             {"write", 2, "52 00 10", SIGTERM, {"could not be verified", "To restore it:"}, false, true},
             {"verify", 0, "52 00 10", SIGINT, {}, false, false}}) {
        Radio radio({"--channels", sessions == 0 ? Channels : "1", "--baud", "19200"});
        const QTemporaryDir state;
        Cli cli({command, "--json", "--port", radio.Path(), QString(command) == "read" ? In("out.bin") : in},
                {{"XDG_STATE_HOME", state.path()}}, [](QProcess &process) {
                    // as a script's shell starts its background jobs
                    process.setChildProcessModifier([] {
                        ::signal(SIGINT, SIG_IGN);
                        ::signal(SIGHUP, SIG_DFL); // nohup may run the tests
                    });
                });
        ASSERT_TRUE(WaitFor([&, from = line, ended = sessions] { return HasHeard(radio, from, ended); }));
        cli.Signal(signal);
        const Ending ending = cli.Wait();
        EXPECT_EQ(ending.code, 130);
        for (const QString &text : texts + QStringList{"Interrupted."})
            EXPECT_TRUE(ending.errors.contains(text)) << ending.errors.toStdString();
        EXPECT_EQ(ending.Json()["result"], "interrupted");
        EXPECT_EQ(ending.Json()["radioMayHoldMixture"].toBool(), mixture);
        EXPECT_EQ(ending.Json()["backup"].isString(), backup);
        EXPECT_EQ(Backups(state.path()).size(), backup ? 1 : 0);
        EXPECT_EQ(radio.Stop(), "") << "a frame was broken off";
        EXPECT_EQ(radio.Frames().last(), "< 06");
        EXPECT_FALSE(HasHeard(radio, QString(line).left(2) + " 06 30", sessions))
            << "it went on to the settings";
    }
    EXPECT_FALSE(QFile::exists(In("out.bin")));
}

TEST_F(CliRadioTest, AnInterruptionOfAnUnansweredHandshakeEndsAtOnce) {
    const Radio radio({"--fault", "no-reply@0x99"});
    Cli cli({"write", Save("in.bin", SampleImage(3)), "--port", radio.Path()});
    ASSERT_TRUE(WaitFor([&] { return !radio.Frames().isEmpty(); }));
    cli.Signal(SIGINT);
    const Ending ending = cli.Wait();
    EXPECT_EQ(ending.code, 130);
    EXPECT_TRUE(ending.errors.contains(UntouchedText)) << ending.errors.toStdString();
}

TEST_F(CliRadioTest, ATraceHoldsEveryFrameAndAnswersTheSameSessions) {
    const QStringList write{"write", Save("in.bin", SampleImage(5)), "--trace", In("trace"), "--port"};
    Radio radio({"--channels", "4", "--fault", "wrong-ack@3"});
    const Ending ending = RunCli(write + QStringList{radio.Path()});
    EXPECT_EQ(ending.code, 0) << ending.errors.toStdString();
    radio.Stop();
    EXPECT_EQ(FramesOf(In("trace")), radio.Frames());
    EXPECT_EQ(Content(In("trace")).count("session on"), 4) << "the old image is read twice";
    ASSERT_TRUE(QFile::rename(In("trace"), In("recorded")));
    Radio same({"--replay", In("recorded")});
    EXPECT_EQ(RunCli(write + QStringList{same.Path()}).code, 0);
    EXPECT_EQ(same.Stop(), "");
    EXPECT_EQ(same.Code(), 0);
    Radio other({"--replay", In("recorded")});
    EXPECT_EQ(RunCli({"write", Save("other.bin", SampleImage(6)), "--port", other.Path()}).code, 5);
    EXPECT_TRUE(other.Stop().contains("k470-sim: complaint: frame "));
    EXPECT_EQ(other.Code(), 1);
}

} // namespace
} // namespace k470
