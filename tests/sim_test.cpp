#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SessionRecorder.h"
#include "sim/SimFiles.h"
#include "sim/SimulatedRadio.h"
#include "tests/Lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace k470 {
namespace {

using namespace std::chrono_literals;

const Bytes Handshake = HexBytes("56 5A 2D 4B 34 37 30");
const Bytes Identify{0x02};
const Bytes Ack{0x06};
const Bytes End{0x45};
const Bytes Ready = Handshake + Identify + Ack;

/// A line frame's letter, address and length.
Bytes Header(char letter, int line, std::uint8_t length = 16) {
    return {static_cast<std::uint8_t>(letter), static_cast<std::uint8_t>(line / 16),
            static_cast<std::uint8_t>(line % 16 * 16), length};
}

Bytes Ask(SimulatedRadio &radio, const Bytes &frame) {
    Bytes bytes;
    for (const Reply &reply : radio.Feed(frame))
        bytes = bytes + reply.bytes;
    return bytes;
}

/// A radio of three channels that waits for its first line frame.
SimulatedRadio ReadyRadio(const char *fault = "no-reply@110", std::uint32_t seed = 1) {
    SimulatedRadio radio(MakeSampleMemory(3), FaultInjector({ParseFault(fault).fault.value()}, seed));
    Ask(radio, Ready);
    return radio;
}

TEST(SimulatedRadio, AnswersByteByByteAndSetsOneByteOfAnEmptyChannel) {
    MemoryImage expected = MakeSampleMemory(3);
    SimulatedRadio radio(expected);
    const Bytes line(16, 0x33);
    Bytes heard;
    for (const std::uint8_t byte : Ready + Header('W', 99) + line + HexBytes("57 00 10 01 FF") + End + Ready +
                                       Header('R', 2) + Ack + End)
        heard = heard + Ask(radio, {byte});
    const Bytes opening = Ack + HexBytes("4B 34 37 30 00*11 03") + Ack;
    const Bytes reopening = Ack + HexBytes("4B 34 37 30 00*11 33") + Ack; // the count is in line 99
    EXPECT_EQ(heard, opening + Ack + Ack + reopening + Header('W', 2) + LineBytes(expected, 2) + Ack);
    std::ranges::copy(line, Line(expected, 99).begin());
    Line(expected, 1).front() = 0xFF;
    EXPECT_EQ(radio.Memory(), expected);
    EXPECT_EQ(radio.Complaints(), Strings{});
    EXPECT_EQ(std::pair(radio.CompletedSessions(), radio.EndedSessions()), std::pair(2, 2));
    EXPECT_TRUE(radio.EndedByE());
}

TEST(SimulatedRadio, TakesAHandshakeAfterTheStartOfAFrame) {
    for (const char *start : {"52", "52 00 10", "57 00", "57 00 00 01", "56 5A 2D 4B 34 37", "57 00 00 11"})
        for (const bool silent : {true, false}) {
            SimulatedRadio radio = ReadyRadio();
            EXPECT_EQ(Ask(radio, HexBytes(start)), Bytes{});
            EXPECT_TRUE(radio.FramePending());
            if (silent)
                radio.Silence();
            EXPECT_NE(radio.FramePending(), silent);
            EXPECT_EQ(Ask(radio, Ready).size(), 18U) << start;
            EXPECT_EQ(radio.Complaints().size(), 1U) << start;
        }
}

TEST(SimulatedRadio, ComplainsAboutMisuseAndStaysSilent) {
    const Bytes asked = Ready + Header('R', 0);
    const struct {
        Bytes before;
        const char *frame;
        const char *complaint;
    } cases[] = {
        {{}, "02", "an identification request before the handshake: 02"},
        {{}, "06", "an acknowledge before the handshake: 06"},
        {{}, "45", "an end byte before the handshake: 45"},
        {Ready + End, "52 00 00 10", "a line request before the handshake: 52 00 00 10"},
        {Handshake, "06", "an acknowledge out of order: 06"},
        {Handshake + Identify, "52 00 00 10", "a line request out of order: 52 00 00 10"},
        {Ready, "02", "an identification request out of order: 02"},
        {asked, "57 00 10 01 FF", "a line out of order: 57 00 10 01 FF"},
        {asked, "45", "an end byte out of order: 45"},
        {Ready, "52 06 C0 10", "an address beyond 06BF: 52 06 C0 10"},
        {Ready, "57 00 01 01 FF", "an address in the middle of a line: 57 00 01 01 FF"},
        {Ready, "57 06 30 01 FF", "a one-byte line that is no channel: 57 06 30 01 FF"},
        {Ready, "57 00 00 01 00", "a one-byte line other than FF: 57 00 00 01 00"},
        {Ready, "52 00 00 01", "a line request with a length other than 10: 52 00 00 01"},
        // Deaf from then on, or the rest would pass for an acknowledge and an end byte.
        {Ready, "57 00 00 11 06 45", "a line with a length other than 10 and 01: 57 00 00 11"},
        {Ready, "15", "a byte that begins no frame: 15"},
        {Ready, "56 5A 2D 34", "a handshake was broken off: 56 5A 2D"},
    };
    for (const auto &[before, frame, complaint] : cases) {
        SimulatedRadio radio(MakeSampleMemory(3));
        Ask(radio, before);
        ASSERT_TRUE(radio.Complaints().empty());
        const int completed = radio.CompletedSessions();
        EXPECT_EQ(Ask(radio, HexBytes(frame)), Bytes{}) << complaint;
        ASSERT_FALSE(radio.Complaints().empty()) << complaint;
        EXPECT_EQ(radio.Complaints().front(), complaint);
        EXPECT_EQ(radio.Memory(), MakeSampleMemory(3)) << complaint;
        EXPECT_EQ(radio.CompletedSessions(), completed) << complaint;
    }
    SimulatedRadio radio = ReadyRadio("wrong-ack@1");
    EXPECT_EQ(Ask(radio, Ack), Ack);
    Ask(radio, End);
    EXPECT_EQ(radio.Complaints(), Strings{}) << "a fault makes a repeated acknowledge right";
    Ask(radio, Ready + Ack);
    EXPECT_EQ(radio.Complaints().size(), 1U) << "until its session is over";
}

TEST(Faults, AreReadFromTextOrRefusedWithAReason) {
    EXPECT_EQ(ParseFault("hang-up@110x65535").fault->count, 65535);
    EXPECT_EQ(ParseFault("hang-up@0").fault->count, 1);
    EXPECT_EQ(ParseFault("own-headers@2").fault->count, 65535);
    for (const auto &[text, reason] : {std::pair("no-reply", "form"),
                                       {"NO-REPLY@3", "kind"},
                                       {"no-reply@", "step"},
                                       {"no-reply@-1", "step"},
                                       {"no-reply@111", "step"},
                                       {"no-reply@3.5", "step"},
                                       {"no-reply@3x0", "count"},
                                       {"no-reply@3x", "count"},
                                       {"no-reply@3x65536", "count"}}) {
        EXPECT_FALSE(ParseFault(text).fault) << text;
        EXPECT_NE(ParseFault(text).error.find(reason), std::string::npos) << text;
    }
}

TEST(Faults, SpoilAReplyAndLeaveTheRest) {
    const Bytes healthy = Header('W', 2) + LineBytes(MakeSampleMemory(3), 2);
    const auto common = [&](const Bytes &reply) {
        return std::ranges::mismatch(reply, healthy).in1 - reply.begin();
    };
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        const auto spoiled = [seed](const std::string &kind) {
            SimulatedRadio radio = ReadyRadio((kind + "@4").c_str(), seed);
            return Ask(radio, Header('R', 2));
        };
        const Bytes cut = spoiled("short-data"), longer = spoiled("extra-byte"),
                    flipped = spoiled("flipped-bits"), strays = spoiled("stray-bytes"),
                    inserted = spoiled("inserted-byte");
        EXPECT_TRUE(!cut.empty() && cut.size() < 20 && common(cut) == std::ssize(cut));
        EXPECT_TRUE(longer.size() == 21 && common(longer) == 20 && longer.back() != 0x06);
        EXPECT_TRUE(flipped.size() == 20 && flipped != healthy);
        EXPECT_TRUE(strays.size() > 20 && strays.size() <= 44 &&
                    std::equal(healthy.rbegin(), healthy.rend(), strays.rbegin()));
        EXPECT_EQ(std::count(strays.begin(), strays.end() - 20, 0x06), 0);
        EXPECT_EQ(strays, spoiled("stray-bytes")) << "the same seed";
        EXPECT_TRUE(inserted.size() == 21 && common(inserted) >= 4);
        EXPECT_TRUE(std::equal(inserted.begin() + common(inserted) + 1, inserted.end(),
                               healthy.begin() + common(inserted)));
    }
}

TEST(Faults, StrikeTheRepliesThatTheyCount) {
    const auto lengths = [](Fault fault) { // of a line, its acknowledge and the repetition of that
        SimulatedRadio radio(MakeSampleMemory(3), FaultInjector({fault}));
        Ask(radio, Ready);
        const std::size_t data = Ask(radio, Header('R', 2)).size();
        const std::size_t ack = Ask(radio, Ack).size();
        return std::vector{data, ack, Ask(radio, Ack).size()};
    };
    EXPECT_EQ(lengths({FaultKind::NoReply, 4, 2}), (std::vector<std::size_t>{0, 0, 1}));
    EXPECT_EQ(lengths({.kind = FaultKind::NoReply, .step = 4, .after = 1}),
              (std::vector<std::size_t>{20, 0, 1}));
    SimulatedRadio radio = ReadyRadio("own-headers@3");
    for (const int line : {0, 1, 2, 99}) {
        const Bytes reply = Ask(radio, Header('R', line));
        EXPECT_EQ(Bytes(reply.begin(), reply.begin() + 4),
                  line == 0 ? Header('W', 0) : HexBytes("4B 34 37 30"));
        Ask(radio, Ack);
    }
}

TEST(Faults, StoreALineOnlyIfItsAcknowledgeLeaves) {
    const struct {
        const char *kind;
        bool stored;
        std::ptrdiff_t acknowledges; ///< 06 bytes in the replies
        int delay = 0;               ///< of the last reply, ms
    } cases[] = {{"no-reply", false, 0},          {"short-data", true, 1},      {"extra-byte", true, 1},
                 {"wrong-ack", false, 0},         {"late-reply", true, 1, 400}, {"flipped-bits", false, 0},
                 {"stray-bytes", true, 1},        {"hang-up", false, 0},        {"no-store", false, 1},
                 {"late-double-ack", true, 2, 1}, {"double-ack", true, 2},      {"inserted-byte", true, 1}};
    const Bytes line(16, 0x33);
    for (const auto &[kind, stored, acknowledges, delay] : cases) {
        SimulatedRadio radio = ReadyRadio((std::string(kind) + "@3").c_str());
        Bytes heard;
        int lastDelay = 0;
        for (const Reply &reply : radio.Feed(Header('W', 1) + line)) {
            heard = heard + reply.bytes;
            lastDelay = reply.delayMs;
        }
        EXPECT_EQ(LineBytes(radio.Memory(), 1) == line, stored) << kind;
        EXPECT_EQ(std::ranges::count(heard, 0x06), acknowledges) << kind;
        EXPECT_EQ(lastDelay, delay) << kind;
        EXPECT_EQ(radio.Complaints(), Strings{});
    }
}

TEST(Faults, HangUpEndsTheSessionAndTheNextOneIsServed) {
    SimulatedRadio radio = ReadyRadio("hang-up@2");
    const std::vector<Reply> replies = radio.Feed(Header('R', 0) + Ack + End);
    ASSERT_EQ(replies.size(), 1U);
    EXPECT_TRUE(replies.front().hangUp && replies.front().bytes.empty());
    EXPECT_EQ(std::pair(radio.CompletedSessions(), radio.EndedSessions()), std::pair(0, 1));
    EXPECT_FALSE(radio.EndedByE());
    EXPECT_EQ(Ask(radio, Ack), Bytes{});
    EXPECT_EQ(radio.TakeComplaints(), Strings{"an acknowledge before the handshake: 06"});
    EXPECT_EQ(Ask(radio, Ready).size(), 18U);
    SimulatedRadio gone = ReadyRadio("hang-up@110");
    Ask(gone, End);
    EXPECT_EQ(gone.EndedSessions(), 1) << "the end byte has ended it";
}

TEST(WireSchedule, GivesEveryByteItsWireTime) {
    WireSchedule wire(9600);
    const auto at = [](double bytes) { return WireTime(static_cast<WireTime::rep>(bytes * 11e9 / 9600)); };
    wire.HostSent(3, at(100));
    wire.HostSent(1, at(101)); // the rest of a frame that is still arriving
    wire.Send({.bytes = {1, 2}});
    wire.Send({.bytes = {3}});
    EXPECT_TRUE(wire.TakeDue(at(104.99)).bytes.empty());
    EXPECT_EQ(wire.TakeDue(at(105.01)).bytes, Bytes{1});
    const WireSchedule::Delivery second = wire.TakeDue(at(106.01));
    EXPECT_EQ(second.bytes, Bytes{2});
    EXPECT_EQ(second.finished, (std::vector<Bytes>{{1, 2}}));
    EXPECT_EQ(wire.TakeDue(at(107.01)).bytes, Bytes{3});
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

TEST(SimFiles, BringAMemoryBackAndReplaceNothingElse) {
    const TempFolder folder;
    for (const int channels : {1, 7}) // the second replaces the first
        EXPECT_EQ(SaveMemory(folder.In("memory"), MakeSampleMemory(channels)), std::nullopt);
    EXPECT_EQ(LoadMemory(folder.In("memory")).image, MakeSampleMemory(7));
    EXPECT_FALSE(CheckSavable(folder.In("new")));
    for (const std::size_t size : {1791U, 1793U}) {
        Put(folder.In("memory"), Bytes(size));
        EXPECT_NE(LoadMemory(folder.In("memory")).error.find("1792"), std::string::npos) << size;
    }
    EXPECT_NE(LoadMemory(folder.In("")).error, "");
    EXPECT_TRUE(SaveMemory(folder.In("missing/memory"), {}) && CheckSavable(folder.In("missing/memory")));
    for (const char *target : {"/dev/one", "/dev/two"})
        EXPECT_EQ(PointLink(folder.In("link"), target), std::nullopt);
    RemoveLink(folder.In("link"), "/dev/one");
    EXPECT_EQ(std::filesystem::read_symlink(folder.In("link")), "/dev/two") << "someone else's by now";
    EXPECT_TRUE(PointLink(folder.In("memory"), "/dev/two") &&
                PointLink(folder.In("missing/link"), "/dev/two"));
    EXPECT_EQ(folder.Names(), (Strings{"link", "memory"}));
}

TEST(Recorder, WritesALineAFrameAndTheMemoryAfterEachSession) {
    const TempFolder folder;
    SimulatedRadio radio(MakeSampleMemory(1));
    std::string said;
    SessionRecorder recorder(radio, folder.In("out"), [&](const std::string &text) { said += text; });
    ASSERT_EQ(recorder.OpenLog(folder.In("log")), std::nullopt);
    const auto send = [&](const Bytes &frame) {
        const Bytes reply = Ask(radio, frame);
        recorder.TakeHost(12'034'567'890ns);
        recorder.TakeReply(12'500ms, reply);
    };
    send(Handshake);
    EXPECT_FALSE(std::filesystem::exists(folder.In("out")));
    send(End);
    EXPECT_EQ(LoadMemory(folder.In("out")).image, radio.Memory());
    std::filesystem::remove(folder.In("out"));
    send(Ready + HexBytes("57 00 00 01 FF"));
    EXPECT_FALSE(std::filesystem::exists(folder.In("out"))) << "in the middle of a session";
    recorder.Finish();
    EXPECT_EQ(LoadMemory(folder.In("out")).image, radio.Memory()) << "the session is not over";
    EXPECT_EQ(said, "complaint: an end byte out of order: 45");
    EXPECT_EQ(ContentOf<std::string>(folder.In("log"))
                  .find("12.034567 > 56 5A 2D 4B 34 37 30\n12.500000 < 06\n"
                        "12.034567 > 45\n"),
              0U);
}

/// A program's end of a pty.
class Port {
public:
    explicit Port(const std::string &path) : descriptor(::open(path.c_str(), O_RDWR | O_NOCTTY)) {
        EXPECT_GE(descriptor, 0) << path;
    }
    ~Port() { ::close(descriptor); }
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;

    /// @return so many bytes of the reply; fewer when the line is dead
    Bytes Ask(const Bytes &frame, std::size_t length) const {
        EXPECT_EQ(::write(descriptor, frame.data(), frame.size()), std::ssize(frame));
        Bytes bytes;
        std::uint8_t byte = 0;
        pollfd source{descriptor, POLLIN, 0};
        while (bytes.size() < length && ::poll(&source, 1, 30000) > 0 && ::read(descriptor, &byte, 1) == 1)
            bytes.push_back(byte);
        return bytes;
    }

    const int descriptor;
};

TEST(Pseudoterminal, CanBeOpenedAgainAfterAProgramClaimedIt) {
    SimulatedRadio radio(MakeSampleMemory(2));
    PtyServer server(radio);
    ASSERT_EQ(server.Start(), std::nullopt);
    const Port witness(server.SlavePath());
    const auto claimed = [&] {
        int claim = -1;
        EXPECT_EQ(::ioctl(witness.descriptor, TIOCGEXCL, &claim), 0);
        return claim != 0;
    };
    {
        const Port port(server.SlavePath());
        ASSERT_EQ(::ioctl(port.descriptor, TIOCEXCL), 0);
        EXPECT_TRUE(claimed());
        EXPECT_EQ(port.Ask(Handshake, 1), Ack);
        EXPECT_TRUE(Await([&] { return !claimed(); })) << "of a program that has sent something";
        ASSERT_EQ(::ioctl(port.descriptor, TIOCEXCL), 0);
    }
    EXPECT_TRUE(Await([&] { return !claimed(); }));
}

TEST(Pseudoterminal, ForgetsHalfAFrameAndComesBackUnderItsLinkAfterAHangUp) {
    const TempFolder folder;
    SimulatedRadio radio(MakeSampleMemory(2), FaultInjector({{FaultKind::HangUp, 1}}));
    std::atomic<bool> back = false;
    PtyServer server(radio,
                     {.link = folder.In("port"), .onNewSlave = [&](const std::string &) { back = true; }});
    ASSERT_EQ(server.Start(), std::nullopt);
    const Port dead(folder.In("port"));
    dead.Ask(HexBytes("57 00 00 10"), 0);
    EXPECT_TRUE(Await([&] {
        bool complained = false;
        server.Inspect([&] { complained = !radio.Complaints().empty(); });
        return complained;
    }));
    EXPECT_EQ(dead.Ask(Handshake, 1), Ack);
    EXPECT_EQ(dead.Ask(Identify, 16), Bytes{});
    EXPECT_EQ(::write(dead.descriptor, "E", 1), -1);
    EXPECT_EQ(errno, EIO);
    ASSERT_TRUE(Await([&] { return back.load(); }));
    EXPECT_EQ(std::filesystem::read_symlink(folder.In("port")), server.SlavePath());
    EXPECT_EQ(Port(folder.In("port")).Ask(Handshake, 1), Ack);
    server.Stop();
    EXPECT_FALSE(std::filesystem::is_symlink(folder.In("port")));
    EXPECT_EQ(server.SlavePath(), "");
}

} // namespace
} // namespace k470
