#include "cli/Backup.h"
#include "cli/CloneRun.h"
#include "cli/ImageFiles.h"
#include "link/TracedPort.h"
#include "link/TransferCheck.h"
#include "sim/ReplayDevice.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

namespace k470 {
namespace {

using Bytes = std::vector<std::uint8_t>;

class TraceFolder : public testing::Test {
protected:
    TraceFolder() { std::filesystem::create_directories(folder_); }
    ~TraceFolder() override { std::filesystem::remove_all(folder_); }

    std::string Path(const std::string &name) const { return (folder_ / name).string(); }
    std::string Content(const std::string &name) const {
        std::ostringstream text;
        text << std::ifstream(Path(name)).rdbuf();
        return text.str();
    }

private:
    std::filesystem::path folder_ =
        std::filesystem::path(testing::TempDir()) / ("k470-trace-" + std::to_string(::getpid()));
};

TEST(LogLine, IsReadAsItIsWrittenAndInNoOtherForm) {
    const Bytes bytes{0x52, 0x0A, 0xFF};
    for (const FrameDirection direction : {FrameDirection::FromProgram, FrameDirection::FromRadio}) {
        const auto frame =
            ParseLogLine(FormatLogLine(std::chrono::microseconds(61'000'002), direction, bytes));
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->direction, direction);
        EXPECT_EQ(frame->bytes, bytes);
    }
    EXPECT_EQ(ParseLogLine("0.000000 < ab")->bytes, Bytes{0xAB});
    for (const char *line :
         {"", "0.000000", "0.000000 >", "0.000000 > ", "0.00000 > 06", ".000000 > 06", "0.0000000 > 06",
          "-1.000000 > 06", "0.000000 = 06", "0.000000 >06", "0.000000 > 6", "0.000000 > 0G",
          "0.000000 > 006", "0.000000 > 06 ", "0.000000 > 06\r", "0.000000 > +6", "0.000000  > 06"})
        EXPECT_FALSE(ParseLogLine(line)) << line;
}

/// A port into which a test puts what arrives.
class ScriptedPort : public SerialPort {
public:
    void SetCommPort(int) override {}
    std::optional<PortFailure> Open() override {
        open_ = true;
        return std::nullopt;
    }
    void Close() override { open_ = false; }
    bool IsOpen() const override { return open_; }
    void EmptyBuffers() override { waiting.clear(); }
    void SetReplyLength(std::size_t k) override { replyLength = k; }
    void Output(std::span<const std::uint8_t>) override {}
    Bytes Input() override {
        const std::size_t count = replyLength == 0 ? waiting.size() : std::min(waiting.size(), replyLength);
        const auto end = waiting.begin() + static_cast<std::ptrdiff_t>(count);
        const Bytes bytes(waiting.begin(), end);
        waiting.erase(waiting.begin(), end);
        return bytes;
    }
    void OnReceived(std::function<void()>) override {}

    std::deque<std::uint8_t> waiting;
    std::size_t replyLength = 0;

private:
    bool open_ = false;
};

TEST_F(TraceFolder, HoldsWhatASessionSendsReadsAndThrowsAway) {
    ScriptedPort port;
    TraceFile trace;
    ASSERT_EQ(trace.Open(Path("trace")), std::nullopt);
    TracedPort traced(port, trace);
    trace.AddComment("one\ntwo");
    for (int session = 0; session < 2; ++session) {
        traced.Open();
        port.waiting = {0x41}; // noise from before the session answers nothing
        traced.EmptyBuffers();
        traced.Output(Bytes{0x02});
        traced.SetReplyLength(2);
        port.waiting = {1, 2, 3};
        EXPECT_EQ(traced.Input(), (Bytes{1, 2}));
        traced.EmptyBuffers();
        EXPECT_EQ(port.replyLength, 2U);
        traced.Output(Bytes{0x06});
        port.waiting = {4};
        traced.Close();
        traced.Output(Bytes{0x45});
    }
    const std::string log = Content("trace");
    const std::string session = "> 02\nT < 01 02\nT < 03\nT > 06\nT < 04\n";
    const std::string shown = std::regex_replace(log, std::regex(R"(\d+\.\d{6})"), "T");
    EXPECT_EQ(shown.substr(shown.find('\n') + 1), "# one two\nT " + session + "T " + session) << log;
}

TEST_F(TraceFolder, ATraceThatCannotBeWrittenSaysSo) {
    std::filesystem::create_directory(Path("folder"));
    ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
    for (const std::string &path : {Path("folder"), Path("pipe"), Path("no/where"), std::string("/dev/full")})
        EXPECT_TRUE(TraceFile().Open(path)) << path;
}

std::string Said(const std::vector<Reply> &replies) {
    std::string text;
    for (const Reply &reply : replies)
        text += "<" + HexText(reply.bytes);
    return text;
}

TEST_F(TraceFolder, AReplayAnswersInAnyChunkingUntilTheFirstOtherByte) {
    std::ofstream(Path("log"))
        << "# comment\n0.000001 < 09\n0.000002 > 56 5A\n0.000003 < 06\n0.000004 < 07\n\n"
           "1.000000 > 45\n2.000000 > 02\n2.500000 < 11 22\n";
    const LoadedTrace trace = LoadTrace(Path("log"));
    ASSERT_EQ(trace.error, "");
    struct Case {
        std::vector<Bytes> chunks;
        std::string said; ///< ";" behind each chunk
        std::string complaint;
        std::size_t left;
    };
    for (const auto &[chunks, said, complaint, left] : std::vector<Case>{
             {{{0x56}, {0x5A}, {0x45}, {0x02}}, ";<06<07;;<11 22;", "", 0},
             {{{0x56, 0x5A, 0x45, 0x02}}, "<06<07<11 22;", "", 0},
             {{{0x56}}, ";", "", 3},
             {{{0x56, 0x5A}, {0x44, 0x02}, {0x45, 0x02}},
              "<06<07;;;",
              "frame 2 of the program, byte 1: 44 instead of 45 of 45",
              2},
             {{{0x56, 0x5B}, {0x5A}}, ";;", "frame 1 of the program, byte 2: 5B instead of 5A of 56 5A", 3},
             {{{0x56, 0x5A, 0x45}, {0x02, 0x06}},
              "<06<07;<11 22;",
              "frame 4 of the program, byte 1: 06 follows the end of the recording",
              0}}) {
        ReplayDevice device(trace.frames);
        std::string heard;
        for (const Bytes &chunk : chunks)
            heard += Said(device.Feed(chunk)) + ";";
        EXPECT_EQ(heard, said);
        EXPECT_EQ(device.Complaint().value_or(""), complaint);
        EXPECT_EQ(device.FramesLeft(), left);
    }
}

TEST_F(TraceFolder, TheDocumentedTraceAnswersASession) {
    std::ifstream page(K470_SOURCE_DIR "/docs/wire-protocol.md");
    std::ofstream block(Path("log"));
    bool inside = false;
    for (std::string line; std::getline(page, line); inside = line == "```trace" || (inside && line != "```"))
        block << (inside && line != "```" ? line + "\n" : "");
    block.close();
    const LoadedTrace trace = LoadTrace(Path("log"));
    ASSERT_EQ(trace.error, "");
    SimulatedRadio radio(MakeSampleMemory(2));
    for (const LoggedFrame &frame : trace.frames)
        if (frame.direction == FrameDirection::FromProgram)
            radio.Feed(frame.bytes);
    const auto asText = [](const std::vector<LoggedFrame> &frames) {
        std::string text;
        for (const LoggedFrame &frame : frames)
            text += (frame.direction == FrameDirection::FromProgram ? ">" : "<") + HexText(frame.bytes);
        return text;
    };
    EXPECT_EQ(asText(trace.frames), asText(radio.Log()));
    EXPECT_TRUE(radio.Complaints().empty());
}

TEST_F(TraceFolder, ALogThatIsNoneIsRefusedWithItsLine) {
    struct Case {
        const char *text;
        const char *error;
    };
    for (const auto &[text, error] :
         {Case{"# c\n0.000000 > 06\n0.000000 > 0\n", "line 3 is no frame"},
          Case{"0.000000 > 06\r\n", "line 1 is no frame"}, Case{" # c\n", "line 1 is no frame"},
          Case{"", "no frame of a program"}, Case{"0.000000 < 06\n", "no frame of a program"}}) {
        std::ofstream(Path("log")) << text;
        const LoadedTrace trace = LoadTrace(Path("log"));
        EXPECT_NE(trace.error.find(error), std::string::npos) << text << trace.error;
        EXPECT_TRUE(trace.frames.empty() || trace.error.empty());
    }
    for (const std::string &path : {Path("none"), Path("."), std::string("/dev/zero")})
        EXPECT_NE(LoadTrace(path).error, "") << path;
}

/// An image of three channels, the second one empty.
MemoryImage SentImage() {
    MemoryImage image;
    for (std::size_t i = 0; i < ImageSize; ++i)
        image[i] = static_cast<std::uint8_t>(i / LineSize);
    Line(image, 1).front() = NotProgrammed;
    Line(image, FirstSettingsLine + 1).front() = NotProgrammed; // no channel
    image[Address::ChannelCount] = 3;
    return image;
}

TEST(TransferCheck, TellsTheLinesWhereARadioHoldsSomethingElse) {
    struct Case {
        std::size_t address;
        int line; ///< -1: no difference
    };
    for (const auto &[address, line] : {Case{0x00F, 0},
                                        {0x010, 1},
                                        {0x011, -1},
                                        {0x01F, -1},
                                        {0x020, 2},
                                        {0x030, -1},
                                        {0x62F, -1},
                                        {0x630, 99},
                                        {0x641, 100},
                                        {0x6BF, 107},
                                        {0x6C0, -1},
                                        {0x6FF, -1}}) {
        MemoryImage found = SentImage();
        found[address] ^= 0x80;
        const auto differences = CompareWritten(SentImage(), found);
        ASSERT_EQ(differences.size(), line < 0 ? 0U : 1U) << address;
        if (line < 0)
            continue;
        EXPECT_EQ(differences[0].line, line);
        EXPECT_EQ(differences[0].address, address);
        EXPECT_EQ(differences[0].expected, Bytes{SentImage()[address]});
        EXPECT_EQ(differences[0].found, Bytes{found[address]});
    }
    MemoryImage found = SentImage();
    found[0x022] = found[0x027] = 0xAA;
    EXPECT_EQ(CompareWritten(SentImage(), found)[0].found, (Bytes{0xAA, 2, 2, 2, 2, 0xAA}));
}

TEST(TransferCheck, WhatAReadLeavesOutDiffers) {
    MemoryImage found = UnlikeImage(SentImage());
    const auto differences = CompareWritten(SentImage(), found);
    ASSERT_EQ(differences.size(), 3U + 9U);
    EXPECT_EQ(differences[1].expected, Bytes{NotProgrammed}) << "of an empty channel one byte travels";
    for (const LineDifference &difference : differences)
        EXPECT_TRUE(difference.found.empty()) << difference.line;
    Line(found, 2).front() = 0x02;
    EXPECT_EQ(CompareWritten(SentImage(), found)[2].address, 0x021U);
}

TEST_F(TraceFolder, ABackupNeverTakesTheNameOfAnother) {
    ::setenv("XDG_STATE_HOME", Path("state").c_str(), 1);
    std::string folder;
    ASSERT_EQ(MakeBackupFolder(folder, Language::English), std::nullopt);
    ASSERT_EQ(MakeBackupFolder(folder, Language::English), std::nullopt) << "it is there";
    EXPECT_EQ(folder, Path("state") + "/k470/backups");
    EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
    for (const auto &[argument, name] : {std::pair{"com5", "COM5"}, {"/dev/pts/my port", "my_port"}}) {
        const std::regex form(R"(.*/\d{4}-\d\d-\d\dT\d{6}-)" + std::string(name) + R"((-[2-9])?\.tw)");
        std::set<std::string> paths;
        for (std::uint8_t number = 0; number < 5; ++number) { // most of them within a second
            MemoryImage image{};
            image[0] = number;
            std::string path;
            ASSERT_EQ(KeepBackup(folder, ChoosePort(argument), image, path, Language::English), std::nullopt);
            EXPECT_TRUE(std::regex_match(path, form)) << path;
            EXPECT_TRUE(paths.insert(path).second) << path;
            MemoryImage kept;
            ASSERT_EQ(LoadImageFile(path, kept, Language::English), std::nullopt);
            EXPECT_EQ(kept, image);
        }
    }
    std::string path;
    EXPECT_TRUE(KeepBackup(Path("none"), ChoosePort("COM5"), {}, path, Language::English));
}

TEST(InterruptWatch, ASignalBetweenSessionsKeepsTheNextFromThePort) {
    const InterruptWatch interrupts;
    EXPECT_FALSE(interrupts.Interrupted());
    ::raise(SIGTERM);
    EXPECT_TRUE(interrupts.Interrupted());
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
