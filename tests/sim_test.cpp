#include "core/Channels.h"
#include "sim/Faults.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SessionRecorder.h"
#include "sim/SimFiles.h"
#include "sim/SimulatedRadio.h"
#include "sim/WireSchedule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace k470 {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

Bytes Text(std::string_view text) {
    return {text.begin(), text.end()};
}

const Bytes Handshake = Text("VZ-K470");
const Bytes Identify{0x02};
const Bytes Ack{0x06};
const Bytes End = Text("E");

Bytes operator+(Bytes left, const Bytes &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes First(std::size_t count, const Bytes &bytes) {
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
}

/// A line frame's letter, address and length.
Bytes Header(char letter, int line, std::uint8_t length = 16) {
    const auto address = static_cast<unsigned>(line) * 16;
    return {static_cast<std::uint8_t>(letter), static_cast<std::uint8_t>(address >> 8),
            static_cast<std::uint8_t>(address & 0xFF), length};
}

Bytes LineBytes(const MemoryImage &image, int line) {
    const auto bytes = Line(image, line);
    return {bytes.begin(), bytes.end()};
}

Bytes Ask(SimulatedRadio &radio, const Bytes &frame) {
    Bytes bytes;
    for (const Reply &reply : radio.Feed(frame))
        bytes = bytes + reply.bytes;
    return bytes;
}

/// A radio that waits for its first line frame.
SimulatedRadio ReadyRadio(const MemoryImage &memory, FaultInjector faults = FaultInjector()) {
    SimulatedRadio radio(memory, std::move(faults));
    Ask(radio, Handshake + Identify + Ack);
    return radio;
}

struct Turn {
    Bytes frame;
    Bytes reply;
};

std::vector<Turn> Opening(std::uint8_t channels) {
    return {{Handshake, Ack}, {Identify, Text("K470") + Bytes(11, 0) + Bytes{channels}}, {Ack, Ack}};
}

std::vector<Turn> Dialog(const MemoryImage &image, std::uint8_t radioChannels, bool reading) {
    std::vector<Turn> dialog = Opening(radioChannels);
    for (int line = 0; line <= LastSettingsLine; ++line) {
        const Bytes whole = Header('W', line) + LineBytes(image, line);
        const bool empty = line < MaxChannels && Line(image, line)[0] == 0xFF;
        if (line >= image[Address::ChannelCount] && line < FirstSettingsLine)
            continue;
        if (reading)
            dialog.insert(dialog.end(), {{Header('R', line), whole}, {Ack, Ack}});
        else
            dialog.push_back({empty ? Header('W', line, 1) + Bytes{0xFF} : whole, Ack});
    }
    dialog.push_back({End, {}});
    return dialog;
}

std::vector<Turn> ReadDialog(const MemoryImage &memory) {
    return Dialog(memory, memory[Address::ChannelCount], true);
}

/// The first byte of every frame arrives alone.
void ExpectDialog(SimulatedRadio &radio, const std::vector<Turn> &dialog) {
    for (const auto &[frame, reply] : dialog) {
        const Bytes early = Ask(radio, First(1, frame));
        ASSERT_EQ(early + Ask(radio, Bytes(frame.begin() + 1, frame.end())), reply) << frame.size();
    }
    EXPECT_EQ(radio.Complaints(), std::vector<std::string>{});
    EXPECT_TRUE(radio.EndedByE());
    EXPECT_EQ(radio.Step(), 110);
}

TEST(SimulatedRadio, StoresAWriteAndAnswersReadsSessionAfterSession) {
    MemoryImage image = MakeSampleMemory(3);
    std::fill_n(image.begin() + 16, 16, std::uint8_t{0xFF});
    const MemoryImage before = MakeSampleMemory(99);
    SimulatedRadio radio(before);
    ExpectDialog(radio, Dialog(image, 99, false));
    MemoryImage expected = before;
    for (const int line : {0, 2})
        std::ranges::copy(Line(std::as_const(image), line), Line(expected, line).begin());
    expected[16] = 0xFF; // one byte was sent, one was set
    std::copy(image.begin() + 0x630, image.begin() + 0x6C0, expected.begin() + 0x630);
    EXPECT_EQ(radio.Memory(), expected);
    ExpectDialog(radio, ReadDialog(expected));
    ExpectDialog(radio, ReadDialog(expected));
    EXPECT_EQ(radio.CompletedSessions(), 3);
    EXPECT_EQ(Dialog(image, 99, false)[4].frame, (Bytes{0x57, 0x00, 0x10, 0x01, 0xFF}));
    EXPECT_EQ(ReadDialog(image)[9].frame, (Bytes{0x52, 0x06, 0x30, 0x10}));
}

TEST(SimulatedRadio, TakesAHandshakeAfterTheStartOfAFrame) {
    const MemoryImage memory = MakeSampleMemory(2);
    for (const bool silent : {true, false})
        for (const Bytes &start : {Bytes{0x52}, Bytes{0x52, 0x00, 0x10}, Bytes{0x57, 0}, Bytes{0x57, 0, 0, 1},
                                   Text("VZ-K47"), Header('W', 0) + Bytes(15, 0xAA)}) {
            if (start.size() > Handshake.size() && !silent)
                continue; // the handshake would be its rest
            SimulatedRadio radio = ReadyRadio(memory);
            EXPECT_EQ(Ask(radio, start), Bytes{});
            EXPECT_TRUE(radio.FramePending());
            if (silent) {
                radio.Silence();
                EXPECT_FALSE(radio.FramePending());
                EXPECT_EQ(radio.Complaints().size(), 1U);
            }
            EXPECT_EQ(Ask(radio, Handshake), Ack);
            EXPECT_FALSE(radio.TakeComplaints().empty());
            ExpectDialog(radio, ReadDialog(memory));
        }
}

TEST(SimulatedRadio, ComplainsAboutMisuseAndStaysSilent) {
    const Bytes ready = Handshake + Identify + Ack;
    const struct {
        Bytes before;
        Bytes frame;
        std::string complaint;
    } cases[] = {
        {{}, Identify, "an identification request before the handshake: 02"},
        {{}, Ack, "an acknowledge before the handshake: 06"},
        {{}, End, "an end byte before the handshake: 45"},
        {ready + End, Header('R', 0), "a line request before the handshake: 52 00 00 10"},
        {Handshake, Ack, "an acknowledge out of order: 06"},
        {Handshake + Identify, Header('R', 0), "a line request out of order: 52 00 00 10"},
        {ready, Identify, "an identification request out of order: 02"},
        {ready + Header('R', 0), {0x57, 0, 0x10, 1, 0xFF}, "a line out of order: 57 00 10 01 FF"},
        {ready + Header('R', 0), End, "an end byte out of order: 45"},
        {ready, {0x52, 0x06, 0xC0, 0x10}, "an address beyond 06BF: 52 06 C0 10"},
        {ready, {0x57, 0x00, 0x01, 0x01, 0xFF}, "an address in the middle of a line: 57 00 01 01 FF"},
        {ready, {0x57, 0x06, 0x30, 0x01, 0xFF}, "a one-byte line that is no channel: 57 06 30 01 FF"},
        {ready, {0x57, 0x00, 0x00, 0x01, 0x00}, "a one-byte line other than FF: 57 00 00 01 00"},
        {ready, {0x52, 0x00, 0x00, 0x01}, "a line request with a length other than 10: 52 00 00 01"},
        {ready, {0x57, 0, 0, 0x11, 0x06, 0x45}, "a line with a length other than 10 and 01: 57 00 00 11"},
        {ready, {0x15}, "a byte that begins no frame: 15"},
        {ready, Text("VZ-470"), "a handshake was broken off: 56 5A 2D"},
    };
    const MemoryImage memory = MakeSampleMemory(3);
    for (const auto &[before, frame, complaint] : cases) {
        SimulatedRadio radio(memory);
        Ask(radio, before);
        ASSERT_TRUE(radio.Complaints().empty());
        const int completed = radio.CompletedSessions();
        EXPECT_EQ(Ask(radio, frame), Bytes{}) << complaint;
        ASSERT_FALSE(radio.Complaints().empty()) << complaint;
        EXPECT_EQ(radio.Complaints().front(), complaint);
        EXPECT_EQ(radio.Memory(), memory) << complaint;
        EXPECT_EQ(radio.CompletedSessions(), completed) << complaint;
    }
}

TEST(SimulatedRadio, ComplainsAboutARepeatedAcknowledgeUnlessAFaultHasStruck) {
    SimulatedRadio radio = ReadyRadio(MakeSampleMemory(1), FaultInjector({{FaultKind::WrongAck, 1}}));
    EXPECT_EQ(Ask(radio, Ack), Ack);
    Ask(radio, End);
    EXPECT_TRUE(radio.Complaints().empty());
    EXPECT_EQ(Ask(radio, Handshake + Identify + Ack + Ack).back(), Ack.back());
    EXPECT_EQ(radio.Complaints().size(), 1U) << "the fault's session is over";
}

TEST(SimulatedRadio, SurvivesRandomBytes) {
    std::mt19937 random(7);
    const MemoryImage memory = MakeSampleMemory(99);
    constexpr std::string_view Likely = "VZ-K470\x02\x06RWE\x10\x01";
    SimulatedRadio radio(memory,
                         FaultInjector({{FaultKind::HangUp, 0, 100}, {FaultKind::FlippedBits, 1, 100}}));
    for (int round = 0; round < 20000; ++round) {
        Bytes bytes(random() % 30);
        for (std::uint8_t &byte : bytes)
            byte = static_cast<std::uint8_t>(random() % 4 != 0 ? Likely[random() % Likely.size()]
                                                               : static_cast<char>(random() % 256));
        radio.Feed(random() % 10 == 0 ? Handshake + bytes : bytes);
        if (random() % 5 == 0)
            radio.Silence();
    }
    radio.Silence();
    radio.TakeComplaints();
    EXPECT_TRUE(std::equal(memory.begin() + 0x6C0, memory.end(), radio.Memory().begin() + 0x6C0));
    ExpectDialog(radio, ReadDialog(radio.Memory()));
}

TEST(Faults, AreReadFromTextOrRefusedWithAReason) {
    int kind = 0;
    for (const std::string name :
         {"no-reply", "short-data", "extra-byte", "wrong-ack", "late-reply", "flipped-bits", "stray-bytes",
          "hang-up", "no-store", "double-ack", "late-double-ack", "inserted-byte", "own-headers"}) {
        const ParsedFault parsed = ParseFault(name + "@110x65535");
        ASSERT_TRUE(parsed.fault) << parsed.error;
        EXPECT_EQ(static_cast<int>(parsed.fault->kind), kind++) << name;
        EXPECT_EQ(FaultKindName(parsed.fault->kind), name);
        EXPECT_EQ(parsed.fault->step, 110);
        EXPECT_EQ(parsed.fault->count, 65535);
    }
    EXPECT_EQ(ParseFault("hang-up@0").fault->count, 1);
    EXPECT_EQ(ParseFault("own-headers@2").fault->count, 65535);
    const std::pair<const char *, const char *> refused[] = {
        {"no-reply", "form"},      {"NO-REPLY@3", "kind"},   {"no-reply@", "step"},
        {"no-reply@-1", "step"},   {"no-reply@111", "step"}, {"no-reply@3.5", "step"},
        {"no-reply@3x0", "count"}, {"no-reply@3x", "count"}, {"no-reply@3x65536", "count"}};
    for (const auto &[text, reason] : refused) {
        EXPECT_FALSE(ParseFault(text).fault) << text;
        EXPECT_NE(ParseFault(text).error.find(reason), std::string::npos) << text;
    }
}

/// The replies of a read line's data, its acknowledge, and a repetition of that.
struct Spoiled {
    Reply data;
    Bytes ack;
    Bytes again;
};

Spoiled ReadLineTwo(Fault fault, std::uint32_t seed = 1) {
    SimulatedRadio radio = ReadyRadio(MakeSampleMemory(3), FaultInjector({fault}, seed));
    const std::vector<Reply> data = radio.Feed(Header('R', 2));
    return {data.empty() ? Reply{} : data.front(), Ask(radio, Ack), Ask(radio, Ack)};
}

TEST(Faults, SpoilTheFirstReplyOfTheirStep) {
    const Bytes healthy = Header('W', 2) + LineBytes(MakeSampleMemory(3), 2);
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        const auto spoiled = [seed](FaultKind kind) { return ReadLineTwo({kind, 4}, seed).data.bytes; };
        const Bytes cut = spoiled(FaultKind::ShortData);
        ASSERT_TRUE(!cut.empty() && cut.size() < healthy.size());
        EXPECT_EQ(cut, First(cut.size(), healthy));

        const Bytes longer = spoiled(FaultKind::ExtraByte);
        ASSERT_EQ(longer.size(), healthy.size() + 1);
        EXPECT_EQ(First(healthy.size(), longer), healthy);
        EXPECT_NE(longer.back(), 0x06);

        const Bytes flipped = spoiled(FaultKind::FlippedBits);
        EXPECT_EQ(flipped.size(), healthy.size());
        EXPECT_NE(flipped, healthy);

        const Bytes strays = spoiled(FaultKind::StrayBytes);
        ASSERT_TRUE(strays.size() > healthy.size() && strays.size() <= healthy.size() + MaxStrayBytes);
        EXPECT_TRUE(std::equal(healthy.rbegin(), healthy.rend(), strays.rbegin()));
        EXPECT_EQ(strays, spoiled(FaultKind::StrayBytes)) << "the same seed";

        Bytes inserted = spoiled(FaultKind::InsertedByte);
        ASSERT_EQ(inserted.size(), healthy.size() + 1);
        EXPECT_EQ(First(4, inserted), First(4, healthy));
        const auto surplus = std::ranges::mismatch(inserted, healthy).in1;
        inserted.erase(surplus);
        EXPECT_EQ(inserted, healthy);

        const Spoiled wrong = ReadLineTwo({FaultKind::WrongAck, 4}, seed);
        EXPECT_EQ(wrong.data.bytes, healthy);
        ASSERT_EQ(wrong.ack.size(), 1U);
        EXPECT_NE(wrong.ack, Ack);
        EXPECT_EQ(wrong.again, Ack);
    }
    EXPECT_NE(ReadLineTwo({FaultKind::StrayBytes, 4}, 1).data.bytes,
              ReadLineTwo({FaultKind::StrayBytes, 4}, 2).data.bytes);
    const Reply late = ReadLineTwo({FaultKind::LateReply, 4}).data;
    EXPECT_EQ(late.bytes, healthy);
    EXPECT_EQ(late.delayMs, 400);
}

TEST(Faults, DoubleAnAcknowledgeAtOnceOrLate) {
    for (const auto &[kind, delay] : {std::pair(FaultKind::DoubleAck, 0), {FaultKind::LateDoubleAck, 1}}) {
        SimulatedRadio radio = ReadyRadio(MakeSampleMemory(3), FaultInjector({{kind, 3}}));
        const std::vector<Reply> replies = radio.Feed(Header('W', 1) + Bytes(16, 0x33));
        ASSERT_EQ(replies.size(), 2U);
        EXPECT_EQ(replies[0].bytes, Ack);
        EXPECT_EQ(replies[1].bytes, Ack);
        EXPECT_EQ(replies[0].delayMs, 0);
        EXPECT_EQ(replies[1].delayMs, delay);
    }
}

TEST(Faults, GiveLinesAHeaderWithoutAddressFromAStepOn) {
    SimulatedRadio radio =
        ReadyRadio(MakeSampleMemory(3), FaultInjector({*ParseFault("own-headers@3").fault}));
    const auto header = [&radio](int line) { return First(4, Ask(radio, Header('R', line))); };
    EXPECT_EQ(header(0), Header('W', 0));
    for (const int line : {1, 2, 99}) {
        Ask(radio, Ack);
        EXPECT_EQ(header(line), (Bytes{'K', '4', '7', '0'}));
    }
}

TEST(Faults, StrikeAsOftenAsTheyAreCounted) {
    const Spoiled twice = ReadLineTwo({FaultKind::NoReply, 4, 2});
    EXPECT_EQ(twice.data.bytes.size() + twice.ack.size(), 0U);
    EXPECT_EQ(twice.again, Ack);
    const Spoiled second = ReadLineTwo({.kind = FaultKind::NoReply, .step = 4, .after = 1});
    EXPECT_EQ(second.data.bytes.size(), 20U);
    EXPECT_EQ(second.ack.size(), 0U);
    EXPECT_EQ(second.again, Ack);
}

TEST(Faults, StoreALineOnlyIfItsAcknowledgeLeaves) {
    const struct {
        FaultKind kind;
        bool stored;
        int acknowledges; ///< 06 bytes in the reply
    } cases[] = {
        {FaultKind::NoReply, false, 0},   {FaultKind::ShortData, true, 1}, {FaultKind::ExtraByte, true, 1},
        {FaultKind::WrongAck, false, 0},  {FaultKind::LateReply, true, 1}, {FaultKind::FlippedBits, false, 0},
        {FaultKind::StrayBytes, true, 1}, {FaultKind::HangUp, false, 0},   {FaultKind::NoStore, false, 1},
    };
    const Bytes line(16, 0x33);
    for (const auto &[kind, stored, acknowledges] : cases) {
        SimulatedRadio radio = ReadyRadio(MakeSampleMemory(3), FaultInjector({{kind, 3}}));
        const Bytes reply = Ask(radio, Header('W', 1) + line);
        EXPECT_EQ(LineBytes(radio.Memory(), 1) == line, stored) << FaultKindName(kind);
        EXPECT_EQ(std::ranges::count(reply, 0x06), acknowledges) << FaultKindName(kind);
        EXPECT_TRUE(radio.Complaints().empty());
    }
}

TEST(Faults, HangUpEndsTheSessionAndTheNextOneIsServed) {
    const MemoryImage memory = MakeSampleMemory(2);
    SimulatedRadio radio = ReadyRadio(memory, FaultInjector({{FaultKind::HangUp, 2}}));
    const std::vector<Reply> replies = radio.Feed(Header('R', 0) + Ack + End);
    ASSERT_EQ(replies.size(), 1U);
    EXPECT_TRUE(replies.front().hangUp && replies.front().bytes.empty());
    EXPECT_EQ(radio.EndedSessions(), 1);
    EXPECT_EQ(radio.CompletedSessions(), 0);
    EXPECT_FALSE(radio.EndedByE());
    EXPECT_EQ(Ask(radio, Ack), Bytes{});
    EXPECT_EQ(radio.TakeComplaints(), std::vector<std::string>{"an acknowledge before the handshake: 06"});
    ExpectDialog(radio, ReadDialog(memory));
}

TEST(SampleMemory, HoldsItsChannelsAndConsistentBitmaps) {
    for (const int channels : {0, 1, 16, 99}) {
        const MemoryImage memory = MakeSampleMemory(channels);
        std::set<Bytes> records;
        for (int ch = 0; ch < MaxChannels; ++ch) {
            const Bytes record = LineBytes(memory, ch);
            const bool empty = std::ranges::count(record, 0xFF) == 16;
            EXPECT_EQ(empty, ch >= channels) << ch;
            EXPECT_EQ(IsMarkedEmpty(memory, ch), empty) << ch;
            EXPECT_EQ(IsScanSkipped(memory, ch), empty || (record[Record::Flags] & 0x40) == 0) << ch;
            EXPECT_TRUE(empty || records.insert(record).second) << ch;
        }
        EXPECT_EQ(memory[Address::ChannelCount], channels);
        EXPECT_EQ(memory[Address::ChannelCountCopy], channels);
    }
}

TEST(WireSchedule, GivesEveryByteItsWireTime) {
    WireSchedule wire(9600);
    const auto at = [](double bytes) { return WireTime(static_cast<WireTime::rep>(bytes * 11e9 / 9600)); };
    wire.HostSent(3, at(100));
    wire.HostSent(1, at(101)); // the rest of a frame that is still arriving
    wire.Send({.bytes = {1, 2}});
    EXPECT_TRUE(wire.TakeDue(at(104.99)).bytes.empty());
    EXPECT_EQ(wire.TakeDue(at(105.01)).bytes, Bytes{1});
    const WireSchedule::Delivery second = wire.TakeDue(at(106.01));
    EXPECT_EQ(second.bytes, Bytes{2});
    EXPECT_EQ(second.finished, (std::vector<Bytes>{{1, 2}}));
    EXPECT_FALSE(wire.NextDue());
}

TEST(WireSchedule, KeepsLateRepliesInOrderAndLosesWhatFollowsAHangUp) {
    WireSchedule wire;
    wire.HostSent(4, 0ms);
    wire.Send({.bytes = Bytes(20, 1), .delayMs = 400});
    wire.HostSent(1, 300ms);
    wire.Send({.bytes = {2}});
    wire.Send({.hangUp = true});
    wire.Send({.bytes = {3}});
    EXPECT_EQ(wire.NextDue(), 400ms);
    EXPECT_TRUE(wire.TakeDue(399ms).bytes.empty());
    const WireSchedule::Delivery delivery = wire.TakeDue(400ms);
    EXPECT_EQ(delivery.bytes, Bytes(20, 1) + Bytes{2});
    EXPECT_TRUE(delivery.hangUp);
    EXPECT_FALSE(wire.NextDue());
}

/// A folder that goes when the test does.
class SimFolder : public testing::Test {
protected:
    SimFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "k470-sim-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
    }
    ~SimFolder() override { std::filesystem::remove_all(folder_); }

    std::string Path(const std::string &name) const { return folder_ / name; }

private:
    std::filesystem::path folder_;
};

using SimFiles = SimFolder;

TEST_F(SimFiles, BringAMemoryBackAndRefuseWhatIsNone) {
    const MemoryImage memory = MakeSampleMemory(7);
    for (const MemoryImage &image : {MakeSampleMemory(1), memory}) // the second replaces the first
        EXPECT_EQ(SaveMemory(Path("memory"), image), std::nullopt);
    EXPECT_EQ(LoadMemory(Path("memory")).image, memory);
    EXPECT_FALSE(CheckSavable(Path("new")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("")), {}), 1);
    for (const std::size_t size : {1791U, 1793U}) {
        std::ofstream(Path("memory")) << std::string(size, 'x');
        EXPECT_NE(LoadMemory(Path("memory")).error.find("1792"), std::string::npos) << size;
    }
    EXPECT_NE(LoadMemory(Path("missing")).error, "");
    EXPECT_NE(LoadMemory(Path("")).error, "");
    EXPECT_TRUE(SaveMemory(Path("missing/memory"), memory));
    EXPECT_TRUE(CheckSavable(Path("missing/memory")));
}

TEST_F(SimFiles, ReplaceLinksButNothingElse) {
    EXPECT_EQ(PointLink(Path("link"), "/dev/one"), std::nullopt);
    EXPECT_EQ(PointLink(Path("link"), "/dev/two"), std::nullopt);
    EXPECT_EQ(std::filesystem::read_symlink(Path("link")), "/dev/two");
    RemoveLink(Path("link"), "/dev/one");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link"))) << "someone else's by now";
    EXPECT_NE(PointLink(Path("missing/link"), "/dev/two").value_or("").find("missing/link"),
              std::string::npos);
    std::ofstream(Path("file")) << "kept";
    EXPECT_TRUE(PointLink(Path("file"), "/dev/two"));
    EXPECT_TRUE(std::filesystem::is_regular_file(Path("file")));
}

using Recorder = SimFolder;

TEST_F(Recorder, WritesALineAFrameAndTheMemoryAfterEachSession) {
    const MemoryImage image = MakeSampleMemory(3);
    SimulatedRadio radio(MakeSampleMemory(1));
    std::string said;
    {
        SessionRecorder recorder(radio, Path("out"), [&](const std::string &text) { said += text; });
        ASSERT_EQ(recorder.OpenLog(Path("log")), std::nullopt);
        for (const auto &[frame, reply] : Dialog(image, 1, false)) {
            EXPECT_FALSE(std::filesystem::exists(Path("out")));
            radio.Feed(frame);
            recorder.TakeHost(12'034'567'890ns);
            recorder.TakeReply(12'500ms, reply);
        }
        EXPECT_EQ(LoadMemory(Path("out")).image, radio.Memory());
        EXPECT_EQ(said, "");
        Ask(radio, Ack);
        recorder.TakeHost(13s);
        Ask(radio, Handshake + Identify + Ack + Header('W', 0, 1) + Bytes{0xFF});
        recorder.Finish();
        EXPECT_EQ(LoadMemory(Path("out")).image, radio.Memory()) << "the session is not over";
    }
    EXPECT_EQ(said, "complaint: an acknowledge before the handshake: 06");
    std::ifstream log(Path("log"));
    for (const char *expected : {"12.034567 > 56 5A 2D 4B 34 37 30", "12.500000 < 06", "12.034567 > 02"}) {
        std::string line;
        EXPECT_TRUE(std::getline(log, line));
        EXPECT_EQ(line, expected);
    }
}

constexpr int FarTooLongMs = 20000;

/// A program's end of a pty.
class Port {
public:
    explicit Port(const std::string &path) : descriptor_(::open(path.c_str(), O_RDWR | O_NOCTTY)) {
        EXPECT_GE(descriptor_, 0) << path;
    }
    ~Port() { ::close(descriptor_); }
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;

    int Descriptor() const { return descriptor_; }

    void Send(const Bytes &frame) const {
        EXPECT_EQ(::write(descriptor_, frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
    }

    /// @return as many bytes as the reply has; fewer when the line is dead or silent for far too long
    Bytes Ask(const Turn &turn) const {
        Send(turn.frame);
        Bytes bytes;
        std::uint8_t byte = 0;
        pollfd source{descriptor_, POLLIN, 0};
        while (bytes.size() < turn.reply.size() && ::poll(&source, 1, FarTooLongMs) > 0 &&
               ::read(descriptor_, &byte, 1) == 1)
            bytes.push_back(byte);
        return bytes;
    }

private:
    int descriptor_;
};

/// @return whether the condition came true before far too long
bool Await(const std::function<bool()> &condition) {
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::milliseconds(FarTooLongMs);
    while (!condition() && std::chrono::steady_clock::now() < giveUp)
        std::this_thread::sleep_for(1ms);
    return condition();
}

using Pseudoterminal = SimFolder;

TEST_F(Pseudoterminal, CanBeOpenedAgainAfterAProgramClaimedIt) {
    SimulatedRadio radio(MakeSampleMemory(2));
    PtyServer server(radio);
    ASSERT_EQ(server.Start(), std::nullopt);
    const Port witness(server.SlavePath());
    const auto claimed = [&] {
        int claim = -1;
        EXPECT_EQ(::ioctl(witness.Descriptor(), TIOCGEXCL, &claim), 0);
        return claim != 0;
    };
    {
        const Port port(server.SlavePath());
        ASSERT_EQ(::ioctl(port.Descriptor(), TIOCEXCL), 0);
        EXPECT_TRUE(claimed());
    }
    EXPECT_TRUE(Await([&] { return !claimed(); }));
}

TEST_F(Pseudoterminal, ForgetsHalfAFrameWhenTheLineFallsSilent) {
    SimulatedRadio radio(MakeSampleMemory(2));
    PtyServer server(radio);
    ASSERT_EQ(server.Start(), std::nullopt);
    const Port port(server.SlavePath());
    port.Send(Header('W', 0) + Bytes(3, 0));
    EXPECT_TRUE(Await([&] {
        bool complained = false;
        server.Inspect([&] { complained = !radio.Complaints().empty(); });
        return complained;
    }));
    EXPECT_EQ(port.Ask({Handshake, Ack}), Ack);
}

TEST_F(Pseudoterminal, DiesAtAHangUpAndComesBackUnderItsLink) {
    const MemoryImage memory = MakeSampleMemory(2);
    SimulatedRadio radio(memory, FaultInjector({{FaultKind::HangUp, 1}}));
    std::atomic<bool> back = false;
    PtyServer server(radio, {.link = Path("port"), .onNewSlave = [&](const std::string &) { back = true; }});
    ASSERT_EQ(server.Start(), std::nullopt);
    const Port dead(Path("port"));
    EXPECT_EQ(dead.Ask({Handshake, Ack}), Ack);
    EXPECT_TRUE(dead.Ask({Identify, Bytes(16)}).empty());
    EXPECT_EQ(::write(dead.Descriptor(), "E", 1), -1);
    EXPECT_EQ(errno, EIO);
    ASSERT_TRUE(Await([&] { return back.load(); }));
    EXPECT_EQ(std::filesystem::read_symlink(Path("port")), server.SlavePath());
    EXPECT_EQ(Port(Path("port")).Ask({Handshake, Ack}), Ack);
    server.Stop();
    EXPECT_FALSE(std::filesystem::is_symlink(Path("port")));
    EXPECT_EQ(server.SlavePath(), "");
}

TEST_F(Pseudoterminal, DeliversNoReplyBeforeItsWireTime) {
    SimulatedRadio radio(MakeSampleMemory(2));
    PtyServer server(radio, {.baud = 9600});
    ASSERT_EQ(server.Start(), std::nullopt);
    const Port port(server.SlavePath());
    const auto start = std::chrono::steady_clock::now();
    std::size_t bytes = 0;
    for (const Turn &turn : Opening(2)) {
        ASSERT_EQ(port.Ask(turn), turn.reply);
        bytes += turn.frame.size() + turn.reply.size();
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken.count(), static_cast<double>(bytes * BitsPerByte) / 9600);
}

} // namespace
} // namespace k470
