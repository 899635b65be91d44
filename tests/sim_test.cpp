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
#include <sstream>
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

Bytes Joined(const std::vector<Reply> &replies) {
    Bytes bytes;
    for (const Reply &reply : replies)
        bytes = bytes + reply.bytes;
    return bytes;
}

Bytes Ask(SimulatedRadio &radio, const Bytes &frame) {
    return Joined(radio.Feed(frame));
}

/// A radio that waits for its first line frame.
SimulatedRadio ReadyRadio(const MemoryImage &memory, FaultInjector faults = FaultInjector()) {
    SimulatedRadio radio(memory, std::move(faults));
    for (const Bytes &frame : {Handshake, Identify, Ack})
        radio.Feed(frame);
    radio.TakeLog();
    return radio;
}

std::vector<int> Lines(int channels) {
    std::vector<int> lines;
    for (int line = 0; line <= LastSettingsLine; ++line)
        if (line < channels || line >= FirstSettingsLine)
            lines.push_back(line);
    return lines;
}

struct Turn {
    Bytes frame;
    Bytes reply;
};

std::vector<Turn> Opening(std::uint8_t channels) {
    return {{Handshake, Ack}, {Identify, Text("K470") + Bytes(11, 0) + Bytes{channels}}, {Ack, Ack}};
}

std::vector<Turn> ReadDialog(const MemoryImage &memory) {
    const std::uint8_t channels = memory[Address::ChannelCount];
    std::vector<Turn> dialog = Opening(channels);
    for (const int line : Lines(channels)) {
        dialog.push_back({Header('R', line), Header('W', line) + LineBytes(memory, line)});
        dialog.push_back({Ack, Ack});
    }
    dialog.push_back({End, {}});
    return dialog;
}

std::vector<Turn> WriteDialog(const MemoryImage &image, std::uint8_t radioChannels) {
    std::vector<Turn> dialog = Opening(radioChannels);
    for (const int line : Lines(image[Address::ChannelCount])) {
        const Bytes bytes = LineBytes(image, line);
        const bool empty = line < MaxChannels && bytes[0] == 0xFF;
        dialog.push_back({empty ? Header('W', line, 1) + Bytes{0xFF} : Header('W', line) + bytes, Ack});
    }
    dialog.push_back({End, {}});
    return dialog;
}

void ExpectDialog(SimulatedRadio &radio, const std::vector<Turn> &dialog, bool byteByByte) {
    std::size_t turn = 0;
    for (const auto &[frame, reply] : dialog) {
        Bytes answered;
        if (byteByByte)
            for (const std::uint8_t byte : frame)
                answered = answered + Joined(radio.Feed({&byte, 1}));
        else
            answered = Ask(radio, frame);
        ASSERT_EQ(answered, reply) << "turn " << turn;
        ++turn;
    }
    EXPECT_EQ(radio.Complaints(), std::vector<std::string>{});
    EXPECT_TRUE(radio.EndedByE());
    EXPECT_EQ(radio.Step(), 110);
}

TEST(SimulatedRadio, AnswersARead) {
    const MemoryImage memory = MakeSampleMemory(2);
    for (const bool byteByByte : {false, true}) {
        SimulatedRadio radio(memory);
        ExpectDialog(radio, ReadDialog(memory), byteByByte);
        EXPECT_EQ(radio.CompletedSessions(), 1);
        EXPECT_EQ(radio.Memory(), memory);
    }
    EXPECT_EQ(ReadDialog(memory)[3].frame, (Bytes{0x52, 0x00, 0x00, 0x10}));
    EXPECT_EQ(ReadDialog(memory)[5].frame, (Bytes{0x52, 0x00, 0x10, 0x10}));
    EXPECT_EQ(ReadDialog(memory)[7].frame, (Bytes{0x52, 0x06, 0x30, 0x10}));
    EXPECT_EQ(ReadDialog(memory)[23].frame, (Bytes{0x52, 0x06, 0xB0, 0x10}));
}

TEST(SimulatedRadio, StoresAWriteWithAnEmptyChannel) {
    MemoryImage image = MakeSampleMemory(3);
    std::fill_n(image.begin() + 16, 16, std::uint8_t{0xFF});
    const MemoryImage before = MakeSampleMemory(99);
    for (const bool byteByByte : {false, true}) {
        SimulatedRadio radio(before);
        ExpectDialog(radio, WriteDialog(image, 99), byteByByte);
        MemoryImage expected = before;
        for (const int line : Lines(3))
            std::ranges::copy(Line(std::as_const(image), line), Line(expected, line).begin());
        std::copy_n(before.begin() + 17, 15, expected.begin() + 17); // one byte was sent, one was set
        EXPECT_EQ(radio.Memory(), expected);
    }
    EXPECT_EQ(WriteDialog(image, 99)[4].frame, (Bytes{0x57, 0x00, 0x10, 0x01, 0xFF}));
}

TEST(SimulatedRadio, ServesSessionAfterSession) {
    const MemoryImage image = MakeSampleMemory(5);
    SimulatedRadio radio(MakeSampleMemory(1));
    ExpectDialog(radio, WriteDialog(image, 1), false);
    ExpectDialog(radio, ReadDialog(image), false);
    ExpectDialog(radio, ReadDialog(image), true);
    EXPECT_EQ(radio.CompletedSessions(), 3);
}

TEST(SimulatedRadio, LogsTheFramesOfBothDirections) {
    SimulatedRadio radio(MakeSampleMemory(1));
    Ask(radio, Handshake + Identify);
    ASSERT_EQ(radio.Log().size(), 4U);
    EXPECT_EQ(radio.Log()[0].bytes, Handshake);
    EXPECT_EQ(radio.Log()[1].direction, FrameDirection::FromRadio);
    EXPECT_EQ(radio.Log()[2].bytes, Identify);
    EXPECT_EQ(radio.TakeLog()[3].bytes.size(), 16U);
    EXPECT_TRUE(radio.Log().empty());
}

TEST(SimulatedRadio, TakesAHandshakeBetweenAnyTwoFrames) {
    const MemoryImage memory = MakeSampleMemory(2);
    for (const auto &dialog : {ReadDialog(memory), WriteDialog(memory, 2)})
        for (std::size_t turns = 0; turns <= dialog.size(); ++turns) {
            SimulatedRadio radio(memory);
            for (std::size_t turn = 0; turn < turns; ++turn)
                Ask(radio, dialog[turn].frame);
            ExpectDialog(radio, dialog, false);
        }
}

TEST(SimulatedRadio, TakesAHandshakeAfterHalfAFrameAndSilence) {
    const MemoryImage memory = MakeSampleMemory(2);
    for (const Bytes &frame :
         {Handshake, Header('R', 1), Header('W', 0) + Bytes(16, 0xAA), Header('W', 0, 1)})
        for (std::size_t length = 1; length < frame.size(); ++length) {
            SimulatedRadio radio = ReadyRadio(memory);
            EXPECT_EQ(Ask(radio, Bytes(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(length))),
                      Bytes{});
            EXPECT_TRUE(radio.FramePending());
            radio.Silence();
            EXPECT_FALSE(radio.FramePending());
            EXPECT_EQ(radio.TakeComplaints().size(), 1U);
            ExpectDialog(radio, ReadDialog(memory), false);
        }
}

TEST(SimulatedRadio, TakesAHandshakeThatFollowsTheStartOfAFrameWithoutSilence) {
    const MemoryImage memory = MakeSampleMemory(2);
    for (const Bytes &start :
         {Bytes{0x52}, Bytes{0x52, 0x00}, Bytes{0x52, 0x00, 0x10}, Bytes{0x57}, Bytes{0x57, 0},
          Bytes{0x57, 0, 0}, Bytes{0x57, 0, 0, 1}, Text("V"), Text("VZ-K47"), Text("VVZ-")}) {
        SimulatedRadio radio = ReadyRadio(memory);
        EXPECT_EQ(Ask(radio, start + Handshake), Ack) << start.size();
        EXPECT_FALSE(radio.TakeComplaints().empty());
        ExpectDialog(radio, ReadDialog(memory), false);
    }
}

TEST(SimulatedRadio, ComplainsAboutMisuseAndStaysSilent) {
    const std::vector<Bytes> idle;
    const std::vector<Bytes> greeted{Handshake};
    const std::vector<Bytes> identified{Handshake, Identify};
    const std::vector<Bytes> ready{Handshake, Identify, Ack};
    const std::vector<Bytes> lineSent{Handshake, Identify, Ack, Header('R', 0)};
    const std::vector<Bytes> ended{Handshake, Identify, Ack, End};
    const struct {
        std::vector<Bytes> before;
        Bytes frame;
        std::string complaint;
    } cases[] = {
        {idle, Identify, "an identification request before the handshake: 02"},
        {idle, Ack, "an acknowledge before the handshake: 06"},
        {idle, Header('R', 0), "a line request before the handshake: 52 00 00 10"},
        {idle, Header('W', 1, 1) + Bytes{0xFF}, "a line before the handshake: 57 00 10 01 FF"},
        {idle, End, "an end byte before the handshake: 45"},
        {ended, Header('R', 0), "a line request before the handshake: 52 00 00 10"},
        {greeted, Ack, "an acknowledge out of order: 06"},
        {greeted, End, "an end byte out of order: 45"},
        {identified, Identify, "an identification request out of order: 02"},
        {identified, Header('R', 0), "a line request out of order: 52 00 00 10"},
        {ready, Identify, "an identification request out of order: 02"},
        {lineSent, Header('R', 1), "a line request out of order: 52 00 10 10"},
        {lineSent, Header('W', 1, 1) + Bytes{0xFF}, "a line out of order: 57 00 10 01 FF"},
        {lineSent, End, "an end byte out of order: 45"},
        {ready, {0x52, 0x06, 0xC0, 0x10}, "an address beyond 06BF: 52 06 C0 10"},
        {ready, {0x52, 0xFF, 0xF0, 0x10}, "an address beyond 06BF: 52 FF F0 10"},
        {ready, {0x52, 0x00, 0x08, 0x10}, "an address in the middle of a line: 52 00 08 10"},
        {ready, {0x57, 0x06, 0xC0, 0x01, 0xFF}, "an address beyond 06BF: 57 06 C0 01 FF"},
        {ready, {0x57, 0x00, 0x01, 0x01, 0xFF}, "an address in the middle of a line: 57 00 01 01 FF"},
        {ready, {0x57, 0x06, 0x30, 0x01, 0xFF}, "a one-byte line that is no channel: 57 06 30 01 FF"},
        {ready, {0x57, 0x00, 0x00, 0x01, 0x00}, "a one-byte line other than FF: 57 00 00 01 00"},
        {ready, {0x52, 0x00, 0x00, 0x01}, "a line request with a length other than 10: 52 00 00 01"},
        {ready,
         {0x57, 0x00, 0x00, 0x11, 0x06, 0x45},
         "a line with a length other than 10 and 01: 57 00 00 11"},
        {ready, {0x00}, "a byte that begins no frame: 00"},
        {ready, {0x15}, "a byte that begins no frame: 15"},
        {ready, Text("VZ-470"), "a handshake was broken off: 56 5A 2D"},
    };
    const MemoryImage memory = MakeSampleMemory(3);
    for (const auto &each : cases) {
        SimulatedRadio radio(memory);
        for (const Bytes &frame : each.before)
            radio.Feed(frame);
        ASSERT_TRUE(radio.Complaints().empty());
        const int completed = radio.CompletedSessions();
        const Bytes reply = Ask(radio, each.frame);
        ASSERT_FALSE(radio.Complaints().empty()) << each.complaint;
        EXPECT_EQ(radio.Complaints().front(), each.complaint);
        EXPECT_EQ(radio.Memory(), memory) << each.complaint;
        EXPECT_EQ(radio.CompletedSessions(), completed) << each.complaint;
        EXPECT_EQ(reply, Bytes{}) << each.complaint;
    }
}

TEST(SimulatedRadio, ComplainsAboutARepeatedAcknowledgeUnlessAFaultHasStruck) {
    SimulatedRadio healthy = ReadyRadio(MakeSampleMemory(1));
    EXPECT_EQ(Ask(healthy, Ack), Ack);
    EXPECT_EQ(healthy.Complaints().size(), 1U);

    SimulatedRadio faulty = ReadyRadio(MakeSampleMemory(1), FaultInjector({{FaultKind::WrongAck, 1}}));
    EXPECT_EQ(Ask(faulty, Ack), Ack);
    Ask(faulty, End);
    EXPECT_TRUE(faulty.Complaints().empty());
    for (const Bytes &frame : {Handshake, Identify, Ack, Ack})
        Ask(faulty, frame);
    EXPECT_EQ(faulty.Complaints().size(), 1U) << "the fault's session is over";
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
    EXPECT_TRUE(
        std::ranges::equal(std::span(radio.Memory()).subspan(0x6C0), std::span(memory).subspan(0x6C0)));
    ExpectDialog(radio, ReadDialog(radio.Memory()), false);
}

TEST(Faults, AreReadFromText) {
    const struct {
        std::string_view text;
        FaultKind kind;
        int step;
        int count;
    } cases[] = {
        {"no-reply@0", FaultKind::NoReply, 0, 1},
        {"short-data@1", FaultKind::ShortData, 1, 1},
        {"extra-byte@110", FaultKind::ExtraByte, 110, 1},
        {"wrong-ack@7x3", FaultKind::WrongAck, 7, 3},
        {"late-reply@109", FaultKind::LateReply, 109, 1},
        {"flipped-bits@2x65535", FaultKind::FlippedBits, 2, 65535},
        {"stray-bytes@0x1", FaultKind::StrayBytes, 0, 1},
        {"hang-up@50", FaultKind::HangUp, 50, 1},
        {"no-store@101", FaultKind::NoStore, 101, 1},
    };
    for (const auto &each : cases) {
        const ParsedFault parsed = ParseFault(each.text);
        ASSERT_TRUE(parsed.fault) << parsed.error;
        EXPECT_EQ(parsed.fault->kind, each.kind) << each.text;
        EXPECT_EQ(FaultKindName(each.kind), each.text.substr(0, each.text.find('@')));
        EXPECT_EQ(parsed.fault->step, each.step) << each.text;
        EXPECT_EQ(parsed.fault->count, each.count) << each.text;
    }
}

TEST(Faults, AreRefusedWithAReason) {
    for (const auto &[text, reason] : std::initializer_list<std::pair<std::string_view, std::string_view>>{
             {"", "form"},
             {"no-reply", "form"},
             {"noreply@3", "kind"},
             {"@3", "kind"},
             {"NO-REPLY@3", "kind"},
             {"no-reply@", "step"},
             {"no-reply@-1", "step"},
             {"no-reply@111", "step"},
             {"no-reply@ 3", "step"},
             {"no-reply@3.5", "step"},
             {"no-reply@x2", "step"},
             {"no-reply@99999999999", "step"},
             {"no-reply@3x", "count"},
             {"no-reply@3x0", "count"},
             {"no-reply@3x65536", "count"},
             {"no-reply@3x-2", "count"},
             {"no-reply@3x2x2", "count"},
             {"no-reply@3x2 ", "count"}}) {
        const ParsedFault parsed = ParseFault(text);
        EXPECT_FALSE(parsed.fault) << text;
        EXPECT_NE(parsed.error.find(reason), std::string::npos) << parsed.error;
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
    const MemoryImage memory = MakeSampleMemory(3);
    const Bytes healthy = Header('W', 2) + LineBytes(memory, 2);
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        EXPECT_TRUE(ReadLineTwo({FaultKind::NoReply, 4}, seed).data.bytes.empty());

        const Bytes cut = ReadLineTwo({FaultKind::ShortData, 4}, seed).data.bytes;
        ASSERT_TRUE(!cut.empty() && cut.size() < healthy.size());
        EXPECT_TRUE(std::equal(cut.begin(), cut.end(), healthy.begin()));

        const Bytes longer = ReadLineTwo({FaultKind::ExtraByte, 4}, seed).data.bytes;
        ASSERT_EQ(longer.size(), healthy.size() + 1);
        EXPECT_TRUE(std::equal(healthy.begin(), healthy.end(), longer.begin()));
        EXPECT_NE(longer.back(), 0x06);

        const Bytes flipped = ReadLineTwo({FaultKind::FlippedBits, 4}, seed).data.bytes;
        ASSERT_EQ(flipped.size(), healthy.size());
        EXPECT_NE(flipped, healthy);

        const Bytes strays = ReadLineTwo({FaultKind::StrayBytes, 4}, seed).data.bytes;
        ASSERT_TRUE(strays.size() > healthy.size() && strays.size() <= healthy.size() + MaxStrayBytes);
        EXPECT_TRUE(std::equal(healthy.rbegin(), healthy.rend(), strays.rbegin()));

        const Spoiled wrong = ReadLineTwo({FaultKind::WrongAck, 4}, seed);
        EXPECT_EQ(wrong.data.bytes, healthy);
        ASSERT_EQ(wrong.ack.size(), 1U);
        EXPECT_NE(wrong.ack, Ack);
        EXPECT_EQ(wrong.again, Ack);
    }
    const Reply late = ReadLineTwo({FaultKind::LateReply, 4}).data;
    EXPECT_EQ(late.bytes, healthy);
    EXPECT_EQ(late.delayMs, 400);
    EXPECT_EQ(ReadLineTwo({FaultKind::NoReply, 5}).data.bytes, healthy) << "another step";
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

TEST(Faults, RepeatThemselvesUnderTheSameSeed) {
    std::set<std::string> different;
    for (std::uint32_t seed = 0; seed < 50; ++seed) {
        const Bytes once = ReadLineTwo({FaultKind::StrayBytes, 4}, seed).data.bytes;
        EXPECT_EQ(once, ReadLineTwo({FaultKind::StrayBytes, 4}, seed).data.bytes);
        different.emplace(once.begin(), once.end());
    }
    EXPECT_GT(different.size(), 40U);
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
    const MemoryImage memory = MakeSampleMemory(3);
    const Bytes line(16, 0x33);
    for (const auto &each : cases) {
        SimulatedRadio radio = ReadyRadio(memory, FaultInjector({{each.kind, 3}}));
        const Bytes reply = Ask(radio, Header('W', 1) + line);
        EXPECT_EQ(LineBytes(radio.Memory(), 1) == line, each.stored) << FaultKindName(each.kind);
        EXPECT_EQ(std::ranges::count(reply, 0x06), each.acknowledges) << FaultKindName(each.kind);
        EXPECT_TRUE(radio.Complaints().empty());
    }
}

TEST(Faults, FindTheStepOfEveryFrame) {
    const MemoryImage memory = MakeSampleMemory(99);
    for (const auto &dialog : {ReadDialog(memory), WriteDialog(memory, 99)})
        for (int step = 0; step <= 110; ++step) {
            SimulatedRadio radio(memory, FaultInjector({{FaultKind::ExtraByte, step}}));
            std::size_t spoiledTurns = 0;
            for (const auto &[frame, reply] : dialog)
                spoiledTurns += Ask(radio, frame) != reply ? 1U : 0U;
            EXPECT_EQ(spoiledTurns, 1U) << step;
            ASSERT_EQ(radio.Strikes().size(), 1U);
            EXPECT_EQ(radio.Strikes().front().step, step);
        }
}

TEST(Faults, HangUpEndsTheSessionAndTheNextOneIsServed) {
    const MemoryImage memory = MakeSampleMemory(2);
    SimulatedRadio radio = ReadyRadio(memory, FaultInjector({{FaultKind::HangUp, 2}}));
    const std::vector<Reply> replies = radio.Feed(Header('R', 0) + Ack + End);
    ASSERT_EQ(replies.size(), 1U);
    EXPECT_TRUE(replies.front().hangUp);
    EXPECT_TRUE(replies.front().bytes.empty());
    EXPECT_EQ(radio.EndedSessions(), 1);
    EXPECT_EQ(radio.CompletedSessions(), 0);
    EXPECT_FALSE(radio.EndedByE());
    ExpectDialog(radio, ReadDialog(memory), false);
}

TEST(SampleMemory, HoldsItsChannelsAndConsistentBitmaps) {
    for (const int channels : {0, 1, 16, 99}) {
        const MemoryImage memory = MakeSampleMemory(channels);
        std::set<std::string> records;
        for (int ch = 0; ch < static_cast<int>(BitmapChannels); ++ch) {
            const auto at = static_cast<std::size_t>(ch) / 8;
            const bool empty = (memory[Address::EmptyMap + at] >> ch % 8 & 1) != 0;
            const bool skipped = (memory[Address::ScanSkipMap + at] >> ch % 8 & 1) != 0;
            EXPECT_EQ(empty, ch >= channels) << ch;
            const Bytes record = ch < MaxChannels ? LineBytes(memory, ch) : Bytes(16, 0xFF);
            EXPECT_EQ(record == Bytes(16, 0xFF), empty) << ch;
            EXPECT_EQ(skipped, empty || (record[Record::Flags] & 0x40) == 0) << ch;
            if (!empty) {
                EXPECT_TRUE(record[3] >= 0x40 && record[3] < 0x48) << ch;
                EXPECT_TRUE(records.emplace(record.begin(), record.end()).second) << ch;
            }
        }
        EXPECT_EQ(memory[Address::ChannelCount], channels);
        EXPECT_EQ(memory[Address::ChannelCountCopy], channels);
        EXPECT_EQ(Bytes(memory.begin() + 0x660, memory.begin() + 0x66A),
                  Text("VZ-470") + (Bytes{0x40, 0x00, 0x48, 0x00}));
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

TEST(WireSchedule, KeepsLateRepliesInOrder) {
    for (const int baud : {0, 9600}) {
        WireSchedule wire(baud);
        wire.HostSent(4, 0ms);
        wire.Send({.bytes = Bytes(20, 1), .delayMs = 400});
        wire.HostSent(1, 300ms);
        wire.Send({.bytes = {2}});
        EXPECT_TRUE(wire.TakeDue(399ms).bytes.empty());
        EXPECT_EQ(wire.TakeDue(450ms).bytes, Bytes(20, 1) + Bytes{2});
    }
}

TEST(WireSchedule, LosesWhatFollowsAHangUp) {
    WireSchedule wire;
    wire.HostSent(1, 5ms);
    wire.Send({.bytes = {1}});
    wire.Send({.hangUp = true});
    wire.Send({.bytes = {2}});
    EXPECT_EQ(wire.NextDue(), 5ms);
    const WireSchedule::Delivery delivery = wire.TakeDue(5ms);
    EXPECT_EQ(delivery.bytes, Bytes{1});
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

TEST_F(SimFiles, BringAMemoryBack) {
    const MemoryImage memory = MakeSampleMemory(7);
    for (const MemoryImage &image : {MakeSampleMemory(1), memory}) // the second replaces the first
        EXPECT_EQ(SaveMemory(Path("memory"), image), std::nullopt);
    EXPECT_EQ(LoadMemory(Path("memory")).image, memory);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("")), {}), 1);
}

TEST_F(SimFiles, RefuseWhatIsNoMemory) {
    for (const std::size_t size : {0U, 1791U, 1793U, 9000U}) {
        std::ofstream(Path("memory")) << std::string(size, 'x');
        EXPECT_FALSE(LoadMemory(Path("memory")).image) << size;
        EXPECT_NE(LoadMemory(Path("memory")).error.find("1792"), std::string::npos);
    }
    for (const std::string &path : {Path("missing"), Path("")}) {
        EXPECT_FALSE(LoadMemory(path).image);
        EXPECT_FALSE(LoadMemory(path).error.empty());
    }
    EXPECT_TRUE(SaveMemory(Path("missing/memory"), MakeSampleMemory(1)));
    EXPECT_TRUE(CheckSavable(Path("missing/memory")));
    EXPECT_FALSE(CheckSavable(Path("new")));
    EXPECT_FALSE(std::filesystem::exists(Path("new")));
}

TEST_F(SimFiles, ReplaceLinksButNothingElse) {
    EXPECT_EQ(PointLink(Path("link"), "/dev/one"), std::nullopt);
    EXPECT_EQ(PointLink(Path("link"), "/dev/two"), std::nullopt);
    EXPECT_EQ(std::filesystem::read_symlink(Path("link")), "/dev/two");
    RemoveLink(Path("link"), "/dev/one");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link"))) << "someone else's by now";
    RemoveLink(Path("link"), "/dev/two");
    EXPECT_FALSE(std::filesystem::is_symlink(Path("link")));
    std::ofstream(Path("file")) << "kept";
    EXPECT_TRUE(PointLink(Path("file"), "/dev/two"));
    EXPECT_TRUE(std::filesystem::is_regular_file(Path("file")));
}

using Recorder = SimFolder;

TEST_F(Recorder, WritesALineAFrameAndTheMemoryAfterEachSession) {
    EXPECT_EQ(FormatLogLine(12'034'567'890ns, FrameDirection::FromProgram, Header('R', 1)),
              "12.034567 > 52 00 10 10");
    const MemoryImage image = MakeSampleMemory(3);
    SimulatedRadio radio(MakeSampleMemory(1));
    std::string said;
    {
        SessionRecorder recorder(radio, Path("out"), [&](const std::string &text) { said += text; });
        ASSERT_EQ(recorder.OpenLog(Path("log")), std::nullopt);
        for (const auto &[frame, reply] : WriteDialog(image, 1)) {
            EXPECT_FALSE(std::filesystem::exists(Path("out")));
            radio.Feed(frame);
            recorder.TakeHost(1s);
            if (!reply.empty())
                recorder.TakeReply(1500ms, reply);
        }
        EXPECT_EQ(LoadMemory(Path("out")).image, radio.Memory());
        EXPECT_EQ(said, "");
        radio.Feed(Ack);
        recorder.TakeHost(2s);
    }
    EXPECT_EQ(said, "complaint: an acknowledge before the handshake: 06");
    std::ifstream log(Path("log"));
    std::string first, second;
    ASSERT_TRUE(std::getline(log, first) && std::getline(log, second));
    EXPECT_EQ(first, "1.000000 > 56 5A 2D 4B 34 37 30");
    EXPECT_EQ(second, "1.500000 < 06");
}

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

    /// The next bytes; fewer when the line is dead or stays silent for far too long.
    Bytes Receive(std::size_t count) const {
        constexpr int FarTooLongMs = 20000;
        Bytes bytes;
        while (bytes.size() < count) {
            Bytes more(count - bytes.size());
            pollfd source{descriptor_, POLLIN, 0};
            const ssize_t got =
                ::poll(&source, 1, FarTooLongMs) > 0 ? ::read(descriptor_, more.data(), more.size()) : 0;
            if (got <= 0)
                break;
            bytes.insert(bytes.end(), more.begin(), more.begin() + got);
        }
        return bytes;
    }

    Bytes Ask(const Turn &turn) const {
        Send(turn.frame);
        return Receive(turn.reply.size());
    }

private:
    int descriptor_;
};

/// @return whether the condition came true before far too long
bool Await(const std::function<bool()> &condition) {
    const auto giveUp = std::chrono::steady_clock::now() + 20s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > giveUp)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

using Pseudoterminal = SimFolder;

TEST_F(Pseudoterminal, ServesProgramsOneAfterTheOther) {
    const MemoryImage image = MakeSampleMemory(4);
    SimulatedRadio radio(MakeSampleMemory(2));
    PtyServer server(radio, {.link = Path("port")});
    ASSERT_EQ(server.Start(), std::nullopt);
    EXPECT_EQ(std::filesystem::read_symlink(Path("port")), server.SlavePath());
    int sessions = 0;
    for (const auto &dialog : {WriteDialog(image, 2), ReadDialog(image)}) {
        const Port port(Path("port"));
        for (const Turn &turn : dialog)
            ASSERT_EQ(port.Ask(turn), turn.reply);
        ++sessions;
        EXPECT_TRUE(Await([&] {
            int completed = 0;
            server.Inspect([&] { completed = radio.CompletedSessions(); });
            return completed == sessions;
        }));
    }
    server.Stop();
    EXPECT_FALSE(std::filesystem::is_symlink(Path("port")));
    EXPECT_EQ(server.SlavePath(), "");
    EXPECT_TRUE(radio.Complaints().empty());
}

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
    const std::string first = server.SlavePath();
    const Port dead(Path("port"));
    EXPECT_EQ(dead.Ask({Handshake, Ack}), Ack);
    EXPECT_TRUE(dead.Ask({Identify, Bytes(16)}).empty());
    EXPECT_EQ(::write(dead.Descriptor(), "E", 1), -1);
    EXPECT_EQ(errno, EIO);
    ASSERT_TRUE(Await([&] { return back.load(); }));
    EXPECT_NE(server.SlavePath(), first);
    const Port port(Path("port"));
    for (const Turn &turn : ReadDialog(memory))
        ASSERT_EQ(port.Ask(turn), turn.reply);
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

TEST_F(Pseudoterminal, SaysWhyItCannotBeLinked) {
    SimulatedRadio radio(MakeSampleMemory(1));
    PtyServer server(radio, {.link = Path("missing/port")});
    const auto failure = server.Start();
    ASSERT_TRUE(failure);
    EXPECT_NE(failure->find("missing/port"), std::string::npos);
    EXPECT_EQ(server.SlavePath(), "");
}

} // namespace
} // namespace k470
