#include "cli/Backup.h"
#include "cli/CloneRun.h"
#include "cli/ImageFiles.h"
#include "core/HexCells.h"
#include "link/TracedPort.h"
#include "link/TransferCheck.h"
#include "sim/ReplayDevice.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/FakeClone.h"

#include <gtest/gtest.h>

#include <csignal>
#include <regex>
#include <set>

#include <sys/stat.h>

namespace k470 {
namespace {

LoadedTrace Loaded(const TempFolder &folder, const std::string &text) {
    Put(folder.In("log"), text);
    return LoadTrace(folder.In("log"));
}

/// ">02<0611": what the frames hold and who sent them.
std::string TextOf(const std::vector<LoggedFrame> &frames) {
    std::string text;
    for (const LoggedFrame &frame : frames)
        text += (frame.direction == FrameDirection::FromProgram ? ">" : "<") + HexText(frame.bytes);
    return text;
}

TEST(LogLine, IsReadAsItIsWrittenAndInNoOtherForm) {
    for (const FrameDirection direction : {FrameDirection::FromProgram, FrameDirection::FromRadio}) {
        const auto frame =
            ParseLogLine(FormatLogLine(std::chrono::microseconds(61'000'002), direction, Bytes{0x0A, 0xFF}));
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->direction, direction);
        EXPECT_EQ(frame->bytes, (Bytes{0x0A, 0xFF}));
    }
    for (const char *line : {"", "0.000000 >", "0.000000 > ", "0.00000 > 06", ".000000 > 06", "0.000000 = 06",
                             "0.000000 >06", "0.000000 > 6", "0.000000 > 0G", "0.000000 > 06 "})
        EXPECT_FALSE(ParseLogLine(line)) << line;
}

/// A device that answers each frame with as many bytes as the frame says.
struct Counter : SerialDevice {
    std::vector<Reply> Feed(std::span<const std::uint8_t> bytes) override {
        Reply reply;
        for (std::uint8_t byte = 1; byte <= bytes[0]; ++byte)
            reply.bytes.push_back(byte);
        return {reply};
    }
    bool FramePending() const override { return false; }
    void Silence() override {}
};

TEST(TracedPort, HoldsWhatASessionSendsReadsAndThrowsAway) {
    const TempFolder folder;
    const Moment now{};
    Counter device;
    FakePort port(now);
    port.Connect(1, &device, AtOnce);
    TraceFile trace;
    ASSERT_EQ(trace.Open(folder.In("trace")), std::nullopt);
    TracedPort traced(port, trace);
    trace.AddComment("one\ntwo");
    traced.SetCommPort(1);
    for (int session = 0; session < 2; ++session) {
        traced.Open();
        port.Output(Bytes{9}); // noise from before the session answers nothing
        traced.EmptyBuffers();
        traced.Output(Bytes{3});
        traced.SetReplyLength(2);
        EXPECT_EQ(traced.Input(), (Bytes{1, 2}));
        traced.EmptyBuffers();
        traced.Output(Bytes{4});
        port.Receive();
        EXPECT_EQ(traced.Input(), (Bytes{1, 2})) << "the reply length stays";
        traced.Close();
        traced.Output(Bytes{5});
    }
    const LoadedTrace loaded = LoadTrace(folder.In("trace"));
    EXPECT_EQ(loaded.error, "");
    EXPECT_EQ(TextOf(loaded.frames), ">03<01 02<03>04<01 02<03 04>03<01 02<03>04<01 02<03 04");
    ASSERT_EQ(::mkfifo(folder.In("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(TraceFile().Open(folder.In("pipe"))) << "nobody may read it";
}

TEST(Replay, AnswersInAnyChunkingUntilTheFirstOtherByte) {
    const TempFolder folder;
    const LoadedTrace trace =
        Loaded(folder, "# comment\n0.000001 < 09\n0.000002 > 56 5A\n0.000003 < 06\n0.000004 < 07\n\n"
                       "1.000000 > 45\n2.000000 > 02\n2.500000 < 11 22\n");
    ASSERT_EQ(trace.error, "");
    const struct {
        std::vector<Bytes> chunks;
        std::string said; ///< ";" behind each chunk
        std::string complaint;
        std::size_t left;
    } cases[] = {
        {{{0x56}, {0x5A}, {0x45}, {0x02}}, ";<06<07;;<11 22;", "", 0},
        {{{0x56, 0x5A}, {0x44, 0x02}, {0x45}},
         "<06<07;;;",
         "frame 2 of the program, byte 1: 44 instead of 45 of 45",
         2},
        {{{0x56, 0x5B}}, ";", "frame 1 of the program, byte 2: 5B instead of 5A of 56 5A", 3},
        {{{0x56, 0x5A, 0x45, 0x02, 0x06}},
         "<06<07<11 22;",
         "frame 4 of the program, byte 1: 06 follows the end of the recording",
         0},
    };
    for (const auto &[chunks, said, complaint, left] : cases) {
        ReplayDevice device(trace.frames);
        std::string heard;
        for (const Bytes &chunk : chunks) {
            for (const Reply &reply : device.Feed(chunk))
                heard += "<" + HexText(reply.bytes);
            heard += ";";
        }
        EXPECT_EQ(heard, said);
        EXPECT_EQ(device.Complaint().value_or(""), complaint);
        EXPECT_EQ(device.FramesLeft(), left);
    }
}

TEST(Replay, OfTheDocumentedTraceAnswersASession) {
    const TempFolder folder;
    const LoadedTrace trace = Loaded(folder, BlockOf("wire-protocol.md", "trace"));
    ASSERT_EQ(trace.error, "");
    SimulatedRadio radio(MakeSampleMemory(2));
    for (const LoggedFrame &frame : trace.frames)
        if (frame.direction == FrameDirection::FromProgram)
            radio.Feed(frame.bytes);
    EXPECT_EQ(TextOf(trace.frames), TextOf(radio.Log()));
    EXPECT_TRUE(radio.Complaints().empty());
}

TEST(Replay, OfALogThatIsNoneIsRefusedWithItsLine) {
    const TempFolder folder;
    for (const auto &[text, error] : {std::pair("# c\n0.000000 > 06\n0.000000 > 0\n", "line 3 is no frame"),
                                      {"0.000000 > 06\r\n", "line 1 is no frame"},
                                      {"0.000000 < 06\n", "no frame of a program"}})
        EXPECT_NE(Loaded(folder, text).error.find(error), std::string::npos) << text;
    for (const std::string &path : {folder.In("none"), folder.In("."), std::string("/dev/zero")})
        EXPECT_NE(LoadTrace(path).error, "") << path;
}

TEST(TransferCheck, TellsTheLinesWhereARadioHoldsSomethingElse) {
    MemoryImage sent; // three channels, the second one empty
    for (std::size_t i = 0; i < ImageSize; ++i)
        sent[i] = static_cast<std::uint8_t>(i / LineSize);
    Line(sent, 1).front() = NotProgrammed;
    Line(sent, FirstSettingsLine + 1).front() = NotProgrammed; // no channel
    sent[Address::ChannelCount] = 3;
    const std::pair<std::size_t, int> cases[] = {// address, line or -1 for no difference
                                                 {0x00F, 0},   {0x010, 1},  {0x011, -1}, {0x020, 2},
                                                 {0x030, -1},  {0x62F, -1}, {0x630, 99}, {0x641, 100},
                                                 {0x6BF, 107}, {0x6C0, -1}};
    for (const auto &[address, line] : cases) {
        MemoryImage found = sent;
        found[address] ^= 0x80;
        const auto differences = CompareWritten(sent, found);
        ASSERT_EQ(differences.size(), line < 0 ? 0U : 1U) << address;
        if (line < 0)
            continue;
        EXPECT_EQ(differences[0].line, line);
        EXPECT_EQ(differences[0].address, address);
        EXPECT_EQ(differences[0].expected, Bytes{sent[address]});
        EXPECT_EQ(differences[0].found, Bytes{found[address]});
    }
    MemoryImage found = UnlikeImage(sent); // what a read leaves out
    for (const LineDifference &difference : CompareWritten(sent, found))
        EXPECT_TRUE(difference.found.empty()) << difference.line;
    Line(found, 2)[0] = 2;
    Line(found, 2)[15] = 2;
    const auto differences = CompareWritten(sent, found);
    ASSERT_EQ(differences.size(), 3U + 9U);
    EXPECT_EQ(differences[1].expected, Bytes{NotProgrammed}) << "of an empty channel one byte travels";
    EXPECT_EQ(differences[2].address, 0x021U);
    EXPECT_EQ(differences[2].found, Bytes(14, 0xFD));
}

TEST(TransferCheck, TakesTheImagesOwnBytesWhereAWriteSetsOthers) {
    MemoryImage image{};
    image[Address::ChannelCount] = 3;
    image[Address::ChannelCountCopy] = 1;
    image[Address::WriteMark] = 2;
    for (const auto &[copy, mark, differing] : std::initializer_list<std::array<std::uint8_t, 3>>{
             {1, 2, 0}, {3, 0x55, 0}, {1, 0x55, 0}, {3, 2, 0}, {2, 2, 1}, {3, 1, 1}, {0x55, 3, 2}}) {
        MemoryImage found = image;
        found[Address::ChannelCountCopy] = copy;
        found[Address::WriteMark] = mark;
        EXPECT_EQ(CompareHeld(image, found).size(), differing) << +copy << " " << +mark;
    }
}

TEST(Backup, NeverTakesTheNameOfAnother) {
    const TempFolder home;
    ::setenv("XDG_STATE_HOME", home.In("state").c_str(), 1);
    std::string folder;
    ASSERT_EQ(MakeBackupFolder(folder, Language::English), std::nullopt);
    ASSERT_EQ(MakeBackupFolder(folder, Language::English), std::nullopt) << "it is there";
    EXPECT_EQ(folder, home.In("state") + "/k470/backups");
    EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
    const std::regex form(R"(.*/\d{4}-\d\d-\d\dT\d{6}-my_port(-[2-9])?\.tw)");
    std::set<std::string> paths;
    std::string path;
    for (std::uint8_t number = 0; number < 5; ++number) { // most of them within a second
        MemoryImage image{number};
        ASSERT_EQ(KeepBackup(folder, ChoosePort("/dev/pts/my port"), image, path, Language::English),
                  std::nullopt);
        EXPECT_TRUE(std::regex_match(path, form)) << path;
        EXPECT_TRUE(paths.insert(path).second) << path;
        EXPECT_EQ(std::filesystem::status(path).permissions() & std::filesystem::perms(077),
                  std::filesystem::perms::none);
        MemoryImage kept;
        ASSERT_EQ(LoadImageFile(path, kept, Language::English), std::nullopt);
        EXPECT_EQ(kept, image);
    }
    EXPECT_TRUE(KeepBackup(home.In("none"), ChoosePort("COM5"), {}, path, Language::English));
}

TEST(InterruptWatch, ASignalBetweenSessionsKeepsTheNextFromThePort) {
    const InterruptWatch interrupts;
    EXPECT_FALSE(interrupts.Interrupted());
    ::raise(SIGTERM);
    AppState state;
    TraceFile trace;
    const PortChoice port = ChoosePort("/nonexistent");
    const Console console(Language::English, true);
    const CloneReport report = RunClone(state, {}, {port, interrupts, trace, console});
    EXPECT_EQ(report.end, CloneReport::End::Interrupted);
    EXPECT_FALSE(report.lineSent);
}

} // namespace
} // namespace k470
