#include "tests/CliTools.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

namespace k470 {
namespace {

using CliRadioTest = CliTest;

constexpr const char *Mixture = "The radio may now hold a mixture of old and new data.";
constexpr const char *Untouched = "Nothing was written to the radio.";
constexpr const char *NotWritten = "out.bin was not written.";
constexpr const char *Restore = "To restore it: k470-cli write --port ";

QByteArray Lines(const QByteArray &image, int first, int last) {
    constexpr int Size = LineSize;
    return image.mid(first * Size, (last - first + 1) * Size);
}

/// What the settings of an image are in a radio to which it was written.
QByteArray WrittenSettings(QByteArray image) {
    image[0x66F] = image[0x632];
    image[0x670] = 0x55;
    return Lines(image, 99, 107);
}

/// The memory of a radio that was never written, with seven channels.
MemoryImage OldImage() {
    MemoryImage memory;
    memory.fill(0xA5);
    memory[Address::ChannelCount] = 7;
    return memory;
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
    EXPECT_EQ(Lines(read, 0, 107), Lines(memory, 0, 107)) << "from the 21st channel on all are empty";
    EXPECT_NE(Lines(read, 108, 111), Lines(memory, 108, 111)) << "they do not travel";
    EXPECT_EQ(Unpacked(In("out.tw")), read);
}

TEST_F(CliRadioTest, WriteKeepsTheOldImageBringsTheNewOneAndLeavesTheFileAlone) {
    MemoryImage questionable = SampleImage(3);
    questionable[Address::WorkingChannel] = 1; // which is empty
    for (const std::size_t setting : {Address::Volume, Address::TimeOutTimer, Address::Squelch})
        questionable[setting] = 0xEE;
    const QByteArray image = Content(Save("in.bin", questionable)), old = RawBytes(OldImage());
    const QString file = In("Jo's.tw");
    ASSERT_EQ(RunCli({"pack", In("in.bin"), file}).code, 0);
    Radio radio({"--image", Save("old.bin", OldImage())});
    const Variables ports{{"K470_PORTS", "COM1=/dev/null;COM7=" + radio.Path()}};
    const Ending ending = RunCli({"write", "--port", "com7", file, "--lang", "zh"}, ports);
    EXPECT_EQ(ending.code, 0) << ending.errors.toStdString();
    EXPECT_TRUE(ending.errors.startsWith("k470-cli: " + file + "：4 条警告：整机 "));
    EXPECT_TRUE(ending.errors.contains("；另有 1 条。查看全部：k470-cli check '" + In("Jo") + "'\\''s.tw'\n"))
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
    EXPECT_EQ(Lines(held, 99, 107), WrittenSettings(image));
    EXPECT_EQ(Lines(held, 108, 111), Lines(old, 108, 111));
    EXPECT_EQ(Lines(Unpacked(backup), 0, 6), Lines(old, 0, 6));
    EXPECT_EQ(Lines(Unpacked(backup), 99, 107), Lines(old, 99, 107));
}

TEST_F(CliRadioTest, TheCommandThatIsPrintedRestoresTheOldImageAsAShellRunsIt) {
    const QString port = In("Jo's port"), state = In("what Jo's radios held");
    const Variables place{{"XDG_STATE_HOME", state}};
    const mode_t mask = ::umask(0);
    Radio radio({"--image", Save("old.bin", OldImage()), "--link", port, "--fault", "no-store@5"});
    const Ending failed = RunCli({"write", "--port", port, Save("in.bin", SampleImage(16))}, place);
    EXPECT_EQ(failed.code, 6) << failed.errors.toStdString();
    const qsizetype at = failed.errors.indexOf("k470-cli write --port ");
    ASSERT_GE(at, 0) << failed.errors.toStdString();
    const QString command = failed.errors.mid(at).section('\n', 0, 0);
    const QString folder = QFileInfo(K470_CLI_PATH).path();
    for (const QString &line : {command, command}) // both within a second, most of the time
        EXPECT_EQ(RunProgram("sh", {"-c", "PATH='" + folder + "' && " + line}, place).code, 0)
            << line.toStdString();
    ::umask(mask);
    EXPECT_EQ(radio.Stop(), "");
    EXPECT_EQ(Lines(radio.Memory(), 0, 6), Lines(RawBytes(OldImage()), 0, 6));
    EXPECT_EQ(Lines(radio.Memory(), 99, 107), WrittenSettings(RawBytes(OldImage())));

    const QStringList backups = Backups(state);
    EXPECT_EQ(backups.size(), 3);
    const QRegularExpression form(R"(/\d{4}-\d\d-\d\dT\d{6}-Jo_s_port(-[2-9])?\.tw$)");
    for (const QString &path : backups + QStringList{state, QFileInfo(backups[0]).path()}) {
        struct stat status {};
        ASSERT_EQ(::stat(path.toLocal8Bit(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, path.endsWith(".tw") ? 0600u : 0700u) << path.toStdString();
        EXPECT_EQ(form.match(path).hasMatch(), path.endsWith(".tw")) << path.toStdString();
    }
}

TEST_F(CliRadioTest, OnlyImagesWithAChannelCountAreWritten) {
    MemoryImage image = SampleImage(3);
    Save("new.bin", image);
    image[Record::RxFreq] ^= 0x10;
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
    const char *command;
    int code;
    QString told;         ///< letters of what stands on standard error; K for a backup that nothing tells of
    int again;            ///< how often a read is begun anew
    const char *document; ///< its result, whether a mixture may be held, the lines missing and differing
};

const QMap<QChar, QString> Told{
    {'A', "No answer from the radio on COM1."},
    {'B', "broke in the middle"},
    {'L', "received. Read the radio again."},
    {'F', NotWritten},
    {'U', Untouched},
    {'M', Mixture},
    {'R', Restore},
    {'W', "Write it again before you use it."},
    {'V', "acknowledged everything that was written, but it could not be verified"},
    {'C', "Channel 4 (line 3), address 003"},
    {'N', "--no-backup"}, // it would not help
};

/// A radio at COM1, and the program at work with it, as a user of their own.
struct Work {
    Work(const FailureCase &test, const QString &memory, const QString &elsewhere, const QString &file)
        : radio((QString(test.command).startsWith("verify") ? QStringList{"--image", memory}
                                                            : QStringList{"--channels", "2"}) +
                QString("--fault %1").arg(test.fault).split(' ')),
          cli(QString(test.command).split(' ') + QStringList{"--port", "COM1", file, "--json"},
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
    // The radio has two channels before: what goes wrong from step 4 on lets the backup pass.
    const std::vector<FailureCase> cases{
        {"no-reply@0x99", "write", 5, "AU", 0, R"(["radioFailed",false,null,null])"},
        {"wrong-ack@3x99", "read", 5, "BF", 2, R"(["radioFailed",null,null,null])"},
        {"wrong-ack@3x8", "verify --retry 9", 0, "B", 1, R"(["done",null,[],[]])"},
        {"wrong-ack@5x9", "write", 5, "BMR", 0, R"(["radioFailed",true,[],null])"},
        {"short-data@102", "read --retry 0", 5, "LF", 0, R"(["radioFailed",null,[100],null])"},
        {"short-data@102x9", "write --retry 1", 5, "LU", 1, R"(["radioFailed",false,[100],null])"},
        {"short-data@102", "write --retry 9", 0, "K", 1, R"(["done",false,[],[]])"},
        {"short-data@5x99", "write --retry 3", 5, "LVR", 3, R"(["radioFailed",false,[3],[]])"},
        {"no-store@5", "write", 6, "CMR", 0, R"(["differs",true,[],[3]])"},
        {"double-ack@5 --fault wrong-ack@11", "write --no-backup --no-verify", 6, "MW", 0,
         R"(["differs",true,[],[9]])"},
        {"double-ack@5 --fault short-data@6x99", "write --no-verify --retry 3", 5, "LMR", 3,
         R"(["radioFailed",true,[4],[]])"},
        {"no-store@5", "write --no-verify --no-backup", 0, "", 0, R"(["done",false,null,null])"},
    };
    const QString in = Save("in.bin", SampleImage(16)), same = Save("same.bin", SampleImage(16));
    const QString out = Put("out.bin", OldContent);
    const Radio elsewhere;
    std::vector<std::unique_ptr<Work>> works; // those that wait for answers do so side by side
    for (const FailureCase &test : cases) {
        works.push_back(
            std::make_unique<Work>(test, same, elsewhere.Path(), test.told.contains('F') ? out : in));
        ASSERT_TRUE(Await([&] { return works.back()->IsIdle(test.fault); }));
    }
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const FailureCase &test = cases[i];
        const QStringList command = QString(test.command).split(' ');
        const Ending ending = works[i]->cli.Wait();
        SCOPED_TRACE(
            (test.fault + (" " + (test.command + (": " + ending.errors + ending.output)))).toStdString());
        EXPECT_EQ(ending.code, test.code);
        for (const QChar key : Told.keys())
            EXPECT_EQ(ending.errors.contains(Told[key]), test.told.contains(key)) << Told[key].toStdString();
        const auto again = ending.errors.count(" Reading the radio again (");
        EXPECT_GE(again, test.again); // a loaded machine may lose another line
        EXPECT_LE(again, command.contains("--retry") ? command.back().toInt()
                         : test.told.contains('A')   ? 0
                                                     : 2);
        const QJsonObject json = ending.Json();
        const QJsonArray expected = QJsonDocument::fromJson(test.document).array();
        EXPECT_EQ(json["result"], expected[0]);
        EXPECT_EQ(json["radioMayHoldMixture"].toBool(), expected[1].toBool());
        EXPECT_EQ(json["missingLines"].isArray(), expected[2].isArray());
        for (const QJsonValue &line : expected[2].toArray())
            EXPECT_TRUE(json["missingLines"].toArray().contains(line));
        EXPECT_EQ(json["differences"].isArray(), expected[3].isArray());
        EXPECT_EQ(json["differences"].toArray().size(), expected[3].toArray().size());
        EXPECT_EQ(json["differences"][0]["line"], expected[3][0]);
        EXPECT_EQ(json["command"], command[0]);
        EXPECT_EQ(json["port"], "COM1");
        EXPECT_EQ(json["warnings"].isArray(), json["command"] == "write");
        const QStringList backups = Backups(works[i]->state.path());
        EXPECT_EQ(backups.size(), test.told.contains(QRegularExpression("[RK]")) ? 1 : 0);
        EXPECT_EQ(json["backup"].toString(), backups.join(""));
    }
    EXPECT_EQ(Content(out), OldContent);
    EXPECT_TRUE(elsewhere.Frames().isEmpty()) << "a session wandered to another port";
}

TEST_F(CliRadioTest, VerifyTellsEveryLineThatAWriteWouldHaveChanged) {
    MemoryImage image = SampleImage(14);
    const QString in = Save("in.bin", image);
    Line(image, 1)[5] ^= 0x01; // channel 2 is empty in the file: this byte does not travel
    const Radio same({"--image", Save("same.bin", image)});
    EXPECT_EQ(RunCli({"verify", "--port", same.Path(), in}).output,
              "The radio holds the image of " + in + ".\n");

    image[Address::ChannelCount] = image[Address::ChannelCountCopy] = 10;
    Line(image, 1).front() = 0x12;
    for (const int line : {3, 4, 5, 6})
        Line(image, line)[7] ^= 0x01;
    const Radio other({"--image", Save("other.bin", image)});
    const Ending ending = RunCli({"verify", "--json", "--port", other.Path(), in});
    EXPECT_EQ(ending.code, 6);
    QJsonArray told;
    for (const QJsonValue &difference : ending.Json()["differences"].toArray())
        told.append(difference["line"]);
    EXPECT_EQ(told, (QJsonArray{1, 3, 4, 5, 6, 10, 11, 12, 13, 99, 102}));
    EXPECT_TRUE(ending.errors.contains("Channel 14 (line 13), address 00D0")) << ending.errors.toStdString();
    EXPECT_TRUE(ending.errors.contains("but the radio leaves the line out."));
    EXPECT_TRUE(ending.errors.contains("Line 99, address 0632: ")) << ending.errors.toStdString();
    EXPECT_TRUE(ending.errors.endsWith("1 more lines differ.\n")) << "ten are told";
}

TEST_F(CliRadioTest, NothingIsWrittenWhenThereIsNoPlaceForTheBackup) {
    const Radio radio;
    const QStringList command{"write", "--quiet", "--port", radio.Path(), Save("in.bin", SampleImage(3))};
    for (const Variables &places :
         {Variables{{"XDG_STATE_HOME", "/dev/null"}}, {{"XDG_STATE_HOME", "not/absolute"}, {"HOME", ""}}}) {
        const auto heard = radio.Frames().size();
        const Ending refused = RunCli(command, places);
        EXPECT_EQ(refused.code, 3);
        for (const char *text : {Untouched, "--no-backup"})
            EXPECT_TRUE(refused.errors.contains(text)) << refused.errors.toStdString();
        EXPECT_EQ(radio.Frames().size(), heard);
        const Ending done = RunCli(command + QStringList{"--no-backup"}, places);
        EXPECT_EQ(done.code, 0) << done.errors.toStdString();
        EXPECT_EQ(done.output, "");
    }
}

TEST_F(CliRadioTest, ATraceThatBreaksOffIsAFileErrorAfterTheWholeSession) {
    Radio radio({"--image", Save("in.bin", SampleImage(3))});
    Cli cli({"verify", "--port", radio.Path(), In("in.bin"), "--trace", In("trace")}, {},
            [](QProcess &process) {
                process.setChildProcessModifier([] {
                    const rlimit files{300, 300};
                    ::setrlimit(RLIMIT_FSIZE, &files);
                });
            });
    const Ending ending = cli.Wait();
    EXPECT_EQ(ending.code, 3);
    EXPECT_EQ(ending.output, "The radio holds the image of " + In("in.bin") + ".\n");
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
    const QString in = Save("in.bin", SampleImage(60)); // many lines to go until the signal arrives
    struct Case {
        const char *command;
        int sessions; ///< that have ended
        const char *line;
        int signal;
        QStringList texts;
        bool mixture;
        int backups;
    };
    for (const auto &[command, sessions, line, signal, texts, mixture, backups] : std::initializer_list<Case>{
             {"read", 0, "52 00 10", SIGINT, {NotWritten}, false, 0},
             {"write", 0, "52 00 10", SIGHUP, {Untouched}, false, 0},
             {"write", 1, "57 00 00", SIGINT, {Mixture, Restore}, true, 1},
             {"write", 2, "52 00 10", SIGTERM, {"could not be verified", Restore}, false, 1}}) {
        Radio radio({"--channels", sessions == 0 ? "60" : "1", "--baud", "19200"});
        const QTemporaryDir state;
        Cli cli({command, "--json", "--port", radio.Path(), QString(command) == "read" ? In("out.bin") : in},
                {{"XDG_STATE_HOME", state.path()}}, [](QProcess &process) {
                    // as a script's shell starts its background jobs
                    process.setChildProcessModifier([] {
                        ::signal(SIGINT, SIG_IGN);
                        ::signal(SIGHUP, SIG_DFL); // nohup may run the tests
                    });
                });
        ASSERT_TRUE(Await([&, from = line, ended = sessions] { return HasHeard(radio, from, ended); }));
        cli.Signal(signal);
        const Ending ending = cli.Wait();
        EXPECT_EQ(ending.code, 130);
        for (const QString &text : texts + QStringList{"Interrupted."})
            EXPECT_TRUE(ending.errors.contains(text)) << ending.errors.toStdString();
        EXPECT_EQ(ending.Json()["result"], "interrupted");
        EXPECT_EQ(ending.Json()["radioMayHoldMixture"].toBool(), mixture);
        EXPECT_EQ(Backups(state.path()).size(), backups);
        EXPECT_FALSE(radio.Stop().contains("a frame was broken off"));
        EXPECT_EQ(radio.Frames().last(), "< 06");
        EXPECT_FALSE(HasHeard(radio, QString(line).left(2) + " 06 30", sessions))
            << "it went on to the settings";
    }
    EXPECT_FALSE(QFile::exists(In("out.bin")));
}

TEST_F(CliRadioTest, SignalsBeforeTheFirstAnswerEndAtOnceUnlessNohupKeepsThemAway) {
    const Radio radio({"--fault", "no-reply@0x99"});
    Cli cli({"write", Save("in.bin", SampleImage(3)), "--port", radio.Path()}, {},
            [](QProcess &process) { process.setChildProcessModifier([] { ::signal(SIGHUP, SIG_IGN); }); });
    ASSERT_TRUE(Await([&] { return !radio.Frames().isEmpty(); }));
    cli.Signal(SIGHUP);
    ASSERT_TRUE(Await([&] { return radio.Frames().size() > 2 || cli.HasEnded(); }));
    ASSERT_FALSE(cli.HasEnded()) << "it went on trying";
    cli.Signal(SIGINT);
    const Ending ending = cli.Wait();
    EXPECT_EQ(ending.code, 130);
    EXPECT_TRUE(ending.errors.contains(Untouched)) << ending.errors.toStdString();
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
