#include "tests/CliTools.h"

#include <sys/resource.h>

namespace k470 {
namespace {

using CliRadioTest = CliTest;

TEST_F(CliRadioTest, ReadFillsANewImageWithTheLinesOfTheRadio) {
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
    EXPECT_EQ(Unpacked(In("out.tw")), read);
}

TEST_F(CliRadioTest, WriteKeepsTheOldImageBringsTheNewOneAndLeavesTheFileAlone) {
    for (const int channels : {3, 99}) {
        MemoryImage image = SampleImage(channels);
        Save("in.bin", image);
        ASSERT_EQ(RunCli({"pack", In("in.bin"), In("in.tw")}).code, 0);
        MemoryImage old{};
        old.fill(0xA5);
        old[Address::ChannelCount] = 7;
        Save("old.bin", old);
        Radio radio(folder_.path(), {"--image", In("old.bin")});
        const QMap<QString, QString> ports{{"K470_PORTS", "COM1=/dev/null;COM7=" + radio.Path()}};
        const Ending ending = RunCli({"write", "--port", "com7", In("in.tw"), "--lang", "zh"}, ports);
        EXPECT_EQ(ending.code, 0) << ending.errors.toStdString();
        const QString backup = NewBackups().join("");
        EXPECT_EQ(ending.output, "对讲机中的旧映像保存在 " + backup +
                                     "\n成功写完！\n已校验：对讲机中的数据与写入的一致。\n");
        EXPECT_EQ(RunCli({"verify", "--port", "COM7", In("in.bin"), "--quiet"}, ports).output, "");
        EXPECT_EQ(radio.Stop(), "");

        EXPECT_EQ(Content(In("in.bin")), Bytes(image));
        PrepareForWrite(image);
        for (int line = 0; line < static_cast<int>(LineCount); ++line) {
            const QByteArray sent = LineOf(Bytes(IsTransferred(line, channels) ? image : old), line);
            const int length = line == 1 ? 1 : LineSize; // of an empty channel only the mark travels
            EXPECT_EQ(LineOf(radio.Memory(), line).left(length), sent.left(length)) << line;
            if (IsTransferred(line, 7)) {
                EXPECT_EQ(LineOf(Unpacked(backup), line), LineOf(Bytes(old), line)) << line;
            }
        }
    }
}

TEST_F(CliRadioTest, OnlyImagesWithAChannelCountAreWritten) {
    MemoryImage image = SampleImage(3);
    MemoryImage other = image;
    other[Record::RxFreq] ^= 0x10;
    Save("new.bin", other);
    for (const int count : {0, 100}) {
        image[Address::ChannelCount] = static_cast<std::uint8_t>(count);
        Save("none.bin", image);
        Radio radio(folder_.path(), {"--image", In("none.bin"), "--fault", "no-store@2"});
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
    int differs = -1; ///< the one line told
};

void ExpectDocument(const FailureCase &test, const QJsonObject &json, const QStringList &newBackups) {
    EXPECT_EQ(json["command"], test.command[0]);
    EXPECT_EQ(json["result"], test.code == 6 ? "differs" : test.code == 5 ? "radioFailed" : "done");
    EXPECT_EQ(json["radioMayHoldMixture"].toBool(), test.texts.contains(MixtureText));
    QJsonArray missing;
    for (const QString &text : test.texts.filter("were not received"))
        missing.append(text.section(' ', 1, 1).toInt());
    EXPECT_EQ(json["missingLines"].toArray(), missing);
    EXPECT_FALSE(json["message"].toString().isEmpty());
    EXPECT_EQ(json["backup"].toString(), newBackups.join(""));
    EXPECT_EQ(json["backup"].isNull(), test.command[0] == "write" && newBackups.isEmpty());
    const QJsonArray lines = json["differences"].toArray();
    ASSERT_EQ(lines.size(), test.differs < 0 ? 0 : 1);
    if (test.differs >= 0) {
        EXPECT_EQ(lines[0]["line"], test.differs);
        EXPECT_EQ(lines[0]["address"].toInt() / static_cast<int>(LineSize), test.differs);
        EXPECT_NE(lines[0]["expected"], lines[0]["found"]);
    }
}

TEST_F(CliRadioTest, ARadioThatFailsIsToldWithWhatItLeavesBehind) {
    MemoryImage image = SampleImage(16);
    Save("in.bin", image);
    PrepareForWrite(image);
    Save("same.bin", image);
    const QString Broken = "broke in the middle";
    const QString NotWritten = "out.bin was not written.";
    const QString Line100 = "Lines 100 were not received.";
    const QString NotVerified = "acknowledged everything that was written, but it could not be verified";
    const QString Restore = "To restore it: k470-cli write --port /dev/";
    const QString WriteAgain = "Write it again before you use it.";
    // The radio has two channels before: what goes wrong from step 4 on lets the backup pass.
    for (const FailureCase &test : std::initializer_list<FailureCase>{
             {"wrong-ack@3x9", {"read"}, 5, {Broken, NotWritten}},
             {"wrong-ack@3x9", {"verify"}, 5, {Broken}},
             {"wrong-ack@3x9", {"write"}, 5, {Broken, UntouchedText, "--no-backup"}},
             {"wrong-ack@1x9", {"write", "--no-backup"}, 5, {Broken, UntouchedText}},
             {"wrong-ack@5x9", {"write"}, 5, {Broken, MixtureText, Restore}},
             {"hang-up@5", {"write", "--no-backup"}, 5, {Broken, MixtureText, WriteAgain}},
             {"short-data@102", {"read"}, 5, {Line100, NotWritten}},
             {"short-data@102", {"verify"}, 5, {Line100}},
             {"short-data@102", {"write"}, 5, {Line100, UntouchedText, "--no-backup"}},
             {"short-data@102", {"write", "--no-backup"}, 5, {Line100, NotVerified}},
             {"short-data@5", {"write"}, 5, {"Lines 3 were not received.", NotVerified, Restore}},
             {"no-store@5", {"write"}, 6, {"Channel 4 (line 3), address 003", MixtureText, Restore}, 3},
             {"no-store@109",
              {"write", "--no-backup"},
              6,
              {"Line 107, address 06B", MixtureText, WriteAgain},
              107},
             {"no-store@5", {"write", "--no-verify"}, 0, {Restore}},
         }) {
        Put(In("out.bin"), OldContent);
        const QStringList memory = test.command[0] == "verify" ? QStringList{"--image", In("same.bin")}
                                                               : QStringList{"--channels", "2"};
        const Radio radio(folder_.path(), memory + QStringList{"--fault", test.fault});
        const QString file = In(test.command[0] == "read" ? "out.bin" : "in.bin");
        const Ending ending = RunCli(test.command + QStringList{"--port", radio.Path(), file, "--json"});
        SCOPED_TRACE(test.fault +
                     (" " + test.command.join(" ") + ": " + ending.errors + ending.output).toStdString());
        EXPECT_EQ(ending.code, test.code);
        for (const QString &text : test.texts)
            EXPECT_EQ(ending.errors.contains(text), test.code != 0) << text.toStdString();
        EXPECT_EQ(ending.errors.contains(UntouchedText), test.texts.contains(UntouchedText));
        EXPECT_EQ(Content(In("out.bin")), OldContent);
        const QStringList added = NewBackups();
        EXPECT_EQ(added.size(), test.texts.contains(Restore) ? 1 : 0);
        ExpectDocument(test, ending.Json(), added);
    }
}

TEST_F(CliRadioTest, VerifyTellsEveryLineThatAWriteWouldHaveChanged) {
    MemoryImage image = SampleImage(12);
    Save("in.bin", image);
    PrepareForWrite(image);
    Line(image, 1)[5] ^= 0x01; // channel 2 is empty in the file: this byte does not travel
    Save("same.bin", image);
    image[Address::ChannelCount] = image[Address::ChannelCountCopy] = 10;
    Line(image, 1).front() = 0x12;
    Line(image, 4)[7] ^= 0x01;
    Save("other.bin", image);
    struct Case {
        const char *memory;
        int code;
        QJsonArray lines;
    };
    for (const auto &[memory, code, lines] :
         std::initializer_list<Case>{{"same.bin", 0, {}}, {"other.bin", 6, {1, 4, 10, 11, 99, 102}}}) {
        const Radio radio(folder_.path(), {"--image", In(memory)});
        const Ending ending = RunCli({"verify", "--json", "--port", radio.Path(), In("in.bin")});
        EXPECT_EQ(ending.code, code) << ending.errors.toStdString();
        QJsonArray told;
        for (const QJsonValue &difference : ending.Json()["differences"].toArray())
            told.append(difference["line"]);
        EXPECT_EQ(told, lines);
        EXPECT_EQ(ending.errors.contains("Channel 11 (line 10)"), code == 6) << "the radio leaves it out";
    }
}

TEST_F(CliRadioTest, NothingIsWrittenWhenThereIsNoPlaceForTheBackup) {
    Save("in.bin", SampleImage(3));
    const Radio radio(folder_.path(), {});
    const QStringList command{"write", "--quiet", "--port", radio.Path(), In("in.bin")};
    for (const QMap<QString, QString> &places : {QMap<QString, QString>{{"XDG_STATE_HOME", "/dev/null"}},
                                                 {{"XDG_STATE_HOME", "not/absolute"}, {"HOME", ""}}}) {
        const auto heard = radio.Frames().size();
        const Ending refused = RunCli(command, places);
        EXPECT_EQ(refused.code, 3);
        EXPECT_TRUE(refused.errors.contains(UntouchedText)) << refused.errors.toStdString();
        EXPECT_TRUE(refused.errors.contains("--no-backup")) << refused.errors.toStdString();
        EXPECT_EQ(radio.Frames().size(), heard);
        const Ending done = RunCli(command + QStringList{"--no-backup"}, places);
        EXPECT_EQ(done.code, 0) << done.errors.toStdString();
        EXPECT_EQ(done.output, "");
    }
}

TEST_F(CliRadioTest, TheDocumentTellsFilesFromPorts) {
    Save("in.bin", SampleImage(3));
    const QString missing = In("missing");
    for (const auto &[file, result] : {std::pair(missing, "fileFailed"), {In("in.bin"), "portFailed"}})
        for (const char *command : {"write", "verify"}) {
            const QJsonObject json = RunCli({command, "--json", "--port", missing, file}).Json();
            EXPECT_EQ(json["result"], result) << command;
            EXPECT_EQ(json["port"], missing);
        }
}

TEST_F(CliRadioTest, ATraceThatBreaksOffIsAFileErrorAfterTheWholeSession) {
    MemoryImage image = SampleImage(3);
    PrepareForWrite(image);
    Save("in.bin", image);
    Radio radio(folder_.path(), {"--image", In("in.bin")});
    Cli cli({"verify", "--port", radio.Path(), In("in.bin"), "--trace", In("trace")}, {},
            [](QProcess &process) {
                process.setChildProcessModifier([] {
                    const rlimit files{300, 300};
                    ::setrlimit(RLIMIT_FSIZE, &files);
                    ::signal(SIGXFSZ, SIG_IGN);
                });
            });
    const Ending ending = cli.Wait();
    EXPECT_EQ(ending.code, 3);
    EXPECT_TRUE(ending.errors.contains("the trace is not complete")) << ending.errors.toStdString();
    EXPECT_EQ(radio.Stop(), "");
    EXPECT_EQ(radio.Frames().last(), "> 45");
}

TEST_F(CliRadioTest, TheSessionDoesNotWanderToAnotherPort) {
    Save("in.bin", SampleImage(3));
    const Radio silent(folder_.path(), {"--fault", "no-reply@0x99"});
    const QTemporaryDir elsewhere;
    const Radio healthy(elsewhere.path(), {});
    const Ending ending = RunCli({"write", "--port", "COM1", In("in.bin")},
                                 {{"K470_PORTS", "COM1=" + silent.Path() + ";COM2=" + healthy.Path()}});
    EXPECT_EQ(ending.code, 5);
    for (const char *text : {"No answer from the radio on COM1.", UntouchedText})
        EXPECT_TRUE(ending.errors.contains(text)) << ending.errors.toStdString();
    EXPECT_TRUE(healthy.Frames().isEmpty());
}

TEST_F(CliRadioTest, AnInterruptionStopsBehindAnAcknowledgedLineInEveryPhase) {
    Save("in.bin", SampleImage(3));
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
        Radio radio(folder_.path(), {"--channels", "3", "--baud", "4800"});
        const bool reading = QString(command) == "read";
        Cli cli({command, "--json", "--port", radio.Path(), In(reading ? "out.bin" : "in.bin")}, {},
                [](QProcess &process) {
                    // as a script's shell starts its background jobs
                    process.setChildProcessModifier([] {
                        ::signal(SIGINT, SIG_IGN);
                        ::signal(SIGHUP, SIG_DFL); // nohup may run the tests
                    });
                });
        ASSERT_TRUE(WaitFor([&, from = line, ended = sessions] { return radio.HasHeard(from, ended); }));
        cli.Signal(signal);
        const Ending ending = cli.Wait();
        EXPECT_EQ(ending.code, 130);
        for (const QString &text : texts + QStringList{"Interrupted."})
            EXPECT_TRUE(ending.errors.contains(text)) << ending.errors.toStdString();
        EXPECT_EQ(ending.Json()["result"], "interrupted");
        EXPECT_EQ(ending.Json()["radioMayHoldMixture"].toBool(), mixture);
        EXPECT_EQ(ending.Json()["backup"].isString(), backup);
        EXPECT_EQ(NewBackups().size(), backup ? 1 : 0);
        EXPECT_EQ(radio.Stop(), "") << "a frame was broken off";
        EXPECT_EQ(radio.Frames().last(), "< 06");
        EXPECT_FALSE(radio.HasHeard(QString(line).left(2) + " 06 30", sessions))
            << "it went on to the settings";
    }
    EXPECT_FALSE(QFile::exists(In("out.bin")));
}

TEST_F(CliRadioTest, AnInterruptionOfAnUnansweredHandshakeEndsAtOnce) {
    Save("in.bin", SampleImage(3));
    const Radio radio(folder_.path(), {"--fault", "no-reply@0x99"});
    Cli cli({"write", In("in.bin"), "--port", radio.Path()});
    ASSERT_TRUE(WaitFor([&] { return !radio.Frames().isEmpty(); }));
    cli.Signal(SIGINT);
    const Ending ending = cli.Wait();
    EXPECT_EQ(ending.code, 130);
    EXPECT_TRUE(ending.errors.contains(UntouchedText)) << ending.errors.toStdString();
}

TEST_F(CliRadioTest, ATraceHoldsEveryFrameAndAnswersTheSameSessions) {
    Save("in.bin", SampleImage(5));
    const QStringList write{"write", In("in.bin"), "--trace", In("trace"), "--port"};
    {
        Radio radio(folder_.path(),
                    {"--channels", "4", "--fault", "wrong-ack@0", "--fault", "wrong-ack@3x2"});
        const Ending ending = RunCli(write + QStringList{radio.Path()});
        EXPECT_EQ(ending.code, 0) << ending.errors.toStdString();
        radio.Stop();
        EXPECT_EQ(FramesOf(In("trace")), radio.Frames());
        EXPECT_EQ(Content(In("trace")).count("session on"), 3);
    }
    ASSERT_TRUE(QFile::rename(In("trace"), In("recorded")));
    for (const int channels : {5, 6}) {
        Save("in.bin", SampleImage(channels));
        Radio again(folder_.path(), {"--replay", In("recorded")});
        const bool same = channels == 5;
        EXPECT_EQ(RunCli(write + QStringList{again.Path()}).code, same ? 0 : 5);
        const QString said = again.Stop();
        EXPECT_EQ(said.isEmpty(), same);
        EXPECT_EQ(said.contains("k470-sim: complaint: frame "), !same) << said.toStdString();
        EXPECT_EQ(again.Code(), same ? 0 : 1);
        EXPECT_EQ(FramesOf(In("trace")) == FramesOf(In("recorded")), same);
    }
}

} // namespace
} // namespace k470
