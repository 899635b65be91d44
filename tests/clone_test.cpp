#include "link/MissingLines.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/FakeClone.h"
#include "tests/Scenarios.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace k470 {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<int>;
using Outcome = CloneSession::Outcome;
using Replies = std::vector<Reply>;
using Progress = std::vector<std::pair<int, int>>;

const Bytes Handshake = HexBytes("56 5A 2D 4B 34 37 30");
const Bytes Identify = HexBytes("02");
const Bytes Ack = HexBytes("06");
const Bytes End = HexBytes("45");
const Bytes RequestOfLine1 = HexBytes("52 00 10 10");
const Bytes RequestOfLine2 = HexBytes("52 00 20 10");

/// A state that is filled by a read or whose image is sent to the radio.
AppState StateFor(CloneMode mode, int gridRows = DefaultGridRows) {
    AppState state;
    state.language = Language::English;
    state.cloneMode = mode;
    state.gridRows = static_cast<std::uint8_t>(gridRows);
    state.image.fill(0x77);
    if (mode == Write)
        state.image = MakeSampleMemory(99);
    return state;
}

/// Somebody who changes a radio's replies to a frame.
using Hand = std::function<void(const Bytes &frame, Replies &replies)>;

/// A radio on whose replies somebody has a hand. Frames must arrive whole.
struct Tampered : SimulatedRadio {
    Tampered(const MemoryImage &memory, std::vector<Fault> faults, Hand hand)
        : SimulatedRadio(memory, FaultInjector(std::move(faults))), hand_(std::move(hand)) {}
    Replies Feed(std::span<const std::uint8_t> bytes) override {
        Replies replies = SimulatedRadio::Feed(bytes);
        if (hand_)
            hand_({bytes.begin(), bytes.end()}, replies);
        return replies;
    }
    Hand hand_;
};

struct RadioAndState {
    AppState state;
    Tampered radio;
};

/// A session with a radio on COM1.
struct Session : RadioAndState, FakeClone {
    Session(const AppState &start, const MemoryImage &memory, Hand hand = {}, int baud = AtOnce,
            std::vector<Fault> faults = {})
        : RadioAndState{start, {memory, std::move(faults), std::move(hand)}}, FakeClone(state) {
        port.Connect(1, &radio, baud);
    }
    /// A read of a radio with that many channels.
    explicit Session(int channels, Hand hand = {})
        : Session(StateFor(Read), MakeSampleMemory(channels), std::move(hand)) {}

    std::ptrdiff_t CountFrames(const Bytes &frame) const { return std::ranges::count(Frames(), frame); }
};

// Healthy sessions

/// Runs a healthy session at either speed. @param expected the frames
void ExpectExample(const AppState &state, const MemoryImage &memory, const std::vector<Bytes> &expected,
                   const Progress &progress) {
    for (const int baud : {AtOnce, WireSpeed}) {
        Session session(state, memory, {}, baud);
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.Frames(), expected);
        EXPECT_EQ(session.view.progress, progress);
        EXPECT_EQ(session.view.label, "Completion percentage: 100%");
        EXPECT_FALSE(session.session.Disturbed());
        EXPECT_EQ(session.radio.Complaints(), Strings{});
        EXPECT_TRUE(session.radio.EndedByE());
    }
}

TEST(WorkedExample, OfARead) {
    std::vector<Bytes> expected{Handshake, Identify, Ack};
    for (const char *address :
         {"00 00", "00 10", "06 30", "06 40", "06 50", "06 60", "06 70", "06 80", "06 90", "06 A0", "06 B0"})
        expected.insert(expected.end(), {HexBytes("52") + HexBytes(address) + HexBytes("10"), Ack});
    expected.push_back(End);
    Progress progress{{0, 108}, {1, 108}};
    for (int value = 1; value <= 11; ++value)
        progress.emplace_back(value, 11);
    ExpectExample(StateFor(Read), MakeSampleMemory(2), expected, progress);
}

TEST(WorkedExample, OfAWrite) {
    AppState state = StateFor(Write, 4);
    for (const std::size_t address : {16, 33, 47, 99 * 16}) // of a channel, and only its first byte, says
        state.image[address] = 0xFF;                        // that it is empty
    std::vector<Bytes> expected{Handshake,
                                Identify,
                                Ack,
                                HexBytes("57 00 00 10") + LineBytes(state.image, 0),
                                HexBytes("57 00 10 01 FF"),
                                HexBytes("57 00 20 10") + LineBytes(state.image, 2)};
    int line = 99;
    for (const char *address : {"30", "40", "50", "60", "70", "80", "90", "A0", "B0"})
        expected.push_back(HexBytes("57 06") + HexBytes(address) + HexBytes("10") +
                           LineBytes(state.image, line++));
    expected.push_back(End);
    ExpectExample(state, MakeSampleMemory(98), expected,
                  {{0, 106}, {0, 9}, {1, 9}, {2, 9}, {3, 9}, {4, 9}, {5, 9}, {6, 9}, {7, 9}, {8, 9}, {9, 9}});
}

TEST(CloneRead, RequestsTheLinesInUseByTheIdentificationsCount) {
    for (const auto &[count, channels] :
         {std::pair(1, 1), {98, 98}, {99, 99}, {0, 99}, {100, 16}, {255, 16}}) {
        MemoryImage memory = MakeSampleMemory(99);
        memory[Address::ChannelCount] = static_cast<std::uint8_t>(count);
        memory[Address::ChannelCountCopy] = 7;
        Session session(StateFor(Read), memory);
        MemoryImage expected = session.state.image;
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.LinesSent('R'), TransferredLines(channels)) << count;
        EXPECT_EQ(session.view.progress.back(), std::pair(channels + 9, channels + 9)) << count;
        for (const int line : TransferredLines(channels))
            std::ranges::copy(LineBytes(memory, line), Line(expected, line).begin());
        EXPECT_EQ(session.state.image, expected) << count << ": skipped lines and lines 108 to 111 stay";
        EXPECT_EQ(session.state.gridRows, count < 100 ? count + 1 : DefaultGridRows);
        EXPECT_EQ(session.view.missing, Lines{}) << count;
    }
}

TEST(CloneWrite, SendsTheLinesInUseByTheGridsRows) {
    for (const int gridRows : {1, 2, 17, 99, 100}) {
        Session session(StateFor(Write, gridRows), MakeSampleMemory(3));
        MemoryImage expected = session.radio.Memory();
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.LinesSent('W'), TransferredLines(gridRows - 1));
        EXPECT_EQ(session.view.progress.back(), std::pair(gridRows + 5, gridRows + 5));
        for (const auto &[value, maximum] : session.view.progress)
            EXPECT_LE(value, maximum);
        for (const int line : TransferredLines(gridRows - 1))
            std::ranges::copy(LineBytes(session.state.image, line), Line(expected, line).begin());
        EXPECT_EQ(session.radio.Memory(), expected) << gridRows;
    }
}

TEST(CloneSession, CompletesInItsOrderAndTakesNoSnapshot) {
    using Seen = std::tuple<std::string, double, int, Moment>;
    for (const CloneMode mode : {Read, Write}) {
        AppState state = StateFor(mode);
        state.snapshot.fill(0x11);
        state.bandLow = 136;
        Session session(state, MakeSampleMemory(40)); // in the band 400 to 480 MHz
        std::vector<Seen> seen;
        session.view.told = [&](const std::string &call) {
            EXPECT_FALSE(session.port.IsOpen()) << call;
            const auto &frames = session.port.Frames();
            seen.emplace_back(call, session.state.bandLow, session.state.gridRows,
                              session.now - (frames.empty() ? 0ms : frames.back().time));
        };
        ASSERT_TRUE(session.Run());
        std::vector<Seen> expected{{"ShowPercentLabel", 136, 17, 0ms}, {"ShowCompleted", 136, 17, 5ms}};
        if (mode == Read)
            expected.insert(expected.end(),
                            {{"RefreshAfterRead", 400, 41, 5ms}, {"CloseWindow", 400, 41, 6ms}});
        else
            expected.emplace_back("CloseWindow", 136, 17, 6ms);
        EXPECT_EQ(seen, expected);
        EXPECT_EQ(session.state.snapshot, state.snapshot);
    }
}

TEST(ProgressText, RoundsHalvesToTheEvenNeighbour) {
    for (const auto &[value, maximum, percent] :
         {std::tuple(9, 20, "45%"), {1, 8, "12%"}, {3, 8, "38%"}, {107, 108, "99%"}})
        EXPECT_EQ(ProgressText(value, maximum, Language::Chinese), std::string("完成进度: ") + percent);
}

TEST(MissingLinesText, NamesChannelsByTheirNumbersAndOtherLinesByWhatTheyHold) {
    for (const auto &[lines, text] : std::initializer_list<std::pair<Lines, std::string>>{
             {{98}, "Channel 99 was"},
             {{4, 5, 7}, "Channels 5, 6 and 8 were"},
             {{4, 7, 102}, "Channels 5 and 8 and line 102 (band) were"},
             {{99}, "Line 99 (settings) was"},
             {{103, 105, 107},
              "Lines 103 (squelch tuning), 105 (squelch and noise tuning) and 107 (noise tuning) were"}})
        EXPECT_EQ(MissingLinesText(lines, Language::English), text + " not received. Read the radio again.");
    EXPECT_EQ(MissingLinesText({4, 7, 100, 101}, Language::Chinese),
              "信道 5、8 和第 100 行（空信道表）、第 101 行（扫描列表）未收到。请重新读取。");
}

// What goes wrong

/// The words of the table for what the user was told.
std::string Told(const Strings &calls) {
    const std::map<std::string, std::string> words{{"AskRetry", "ask"},
                                                   {"ShowCompleted", "done"},
                                                   {"WarnMissingLines", "lines"},
                                                   {"WarnDisturbedWrite", "disturbed"}};
    std::string told;
    for (const std::string &call : calls)
        if (const auto word = words.find(call); word != words.end())
            told += (told.empty() ? "" : " ") + word->second;
    return told;
}

TEST(Scenarios, EndAsTheTableSays) {
    for (const Scenario &row : Scenarios) {
        SCOPED_TRACE(std::string(row.mode == Read ? "read: " : "write: ") + row.name);
        const MemoryImage image = MakeSampleMemory(row.channels);
        MemoryImage other;
        other.fill(0x77);
        AppState state = StateFor(row.mode, row.channels + 1);
        state.image = row.mode == Read ? other : image;
        Session session(state, row.mode == Read ? image : other, {}, AtOnce, row.Faults());
        session.view.ports = {1};
        session.view.retries = row.retries;
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.session.Result(), row.Completes() ? Outcome::Completed : Outcome::Cancelled);
        EXPECT_EQ(Told(session.view.calls), row.told);
        EXPECT_EQ(std::ranges::count(session.view.calls, "RefreshAfterRead"),
                  row.mode == Read && row.Completes());
        EXPECT_EQ(session.Repetitions(), row.repetitions);
        EXPECT_LE(session.MostRepetitions(), 7);
        EXPECT_EQ(session.view.missing, row.missing);
        EXPECT_EQ(session.session.LineSent(), !session.LinesSent('W').empty());
        EXPECT_EQ(session.radio.Complaints(), Strings{});
        const auto differing = ChangedLines(session.radio.Memory(), session.state.image);
        for (const int line : row.Completes() ? TransferredLines(row.channels) : Lines{})
            EXPECT_TRUE(std::ranges::count(differing, line) == 0 ||
                        std::ranges::count(row.missing, line) > 0 || session.session.Disturbed())
                << line;
    }
}

/// The times between the frames in whole ms, from the frame with that number on.
Lines Gaps(const FakeClone &clone, std::size_t first, std::size_t count) {
    Lines gaps;
    const auto &frames = clone.port.Frames();
    for (std::size_t i = first + 1; i < frames.size() && gaps.size() < count; ++i)
        gaps.push_back(static_cast<int>((frames[i].time - frames[i - 1].time) / 1ms));
    return gaps;
}

TEST(Repetition, SendsTheAcknowledgeFrameOfItsStepEvery300Ms) {
    for (const CloneMode mode : {Read, Write}) {
        Session session(StateFor(mode, 5), MakeSampleMemory(4), {}, AtOnce,
                        {{.kind = FaultKind::NoReply, .step = 4, .count = 99}});
        ASSERT_TRUE(session.Run());
        const auto frames = session.Frames();
        const auto last = frames.size() - 8;
        for (std::size_t i = last + 1; i < frames.size(); ++i)
            EXPECT_EQ(frames[i], mode == Read ? Ack : frames[last]);
        EXPECT_EQ(Gaps(session, last, 7), Lines(7, 301));
        EXPECT_EQ(session.LinesSent(mode == Read ? 'R' : 'W').back(), 2);
        EXPECT_EQ(session.view.calls, (Strings{"ShowPercentLabel", "AskRetry", "CloseWindow"}))
            << "no search and no port to restore behind the handshake";
        EXPECT_EQ(session.view.progress.back().first, 0) << "a repetition sets the bar back";
        EXPECT_EQ(session.view.label, "Completion percentage:  0%");
    }
}

TEST(Retry, StartsFromTheHandshakeWithAFreshBar) {
    for (const CloneMode mode : {Read, Write}) {
        Session session(StateFor(mode, 6), MakeSampleMemory(5), {}, AtOnce,
                        {{.kind = FaultKind::NoReply, .step = 102, .count = 8}});
        session.view.retries = 1;
        session.session.TransferDatas();
        ASSERT_TRUE(session.RunUntil([&] { return session.view.questions == 1; }));
        EXPECT_EQ(session.view.progress.back(), std::pair(0, mode == Read ? 108 : 106));
        ASSERT_TRUE(session.RunUntil([&] { return session.view.closed; }));
        EXPECT_EQ(session.CountFrames(Handshake), 2);
        EXPECT_EQ(session.view.progress.back(), mode == Read ? std::pair(14, 14) : std::pair(11, 11));
    }
}

TEST(Handshake, CountsTwentyStraysOverTheWholeSession) {
    // Repetition after a 21st stray comes at once, and so does one after Retry.
    std::vector<Bytes> answers{Bytes(20, 0x15), Bytes{0x15}, {}, {}, {}, {}, {}, {}, Bytes{0x15}};
    Session session(1, [&answers](const Bytes &frame, Replies &replies) {
        if (frame == Handshake && !answers.empty()) {
            replies = {{.bytes = answers.front()}};
            answers.erase(answers.begin());
        }
    });
    session.view.retries = 1;
    ASSERT_TRUE(session.Run());
    EXPECT_EQ(session.session.Result(), Outcome::Completed);
    EXPECT_EQ(Gaps(session, 0, 9), (Lines{301, 2, 301, 301, 301, 301, 301, 301, 2}));
}

TEST(Handshake, IsNotDisturbedByNoiseBeforeIt) {
    for (const int baud : {AtOnce, WireSpeed}) {
        const auto echo = [](const Bytes &frame, Replies &replies) {
            if (frame == Bytes{0x15})
                replies = {{.bytes = frame}};
        };
        Session session(StateFor(Write), MakeSampleMemory(1), echo, baud);
        session.session.TransferDatas();
        session.port.Output(Bytes{0x15});
        ASSERT_TRUE(session.RunUntil([&] { return session.view.closed; }));
        EXPECT_EQ(Told(session.view.calls), "done");
    }
}

TEST(PortSearch, FollowsSevenRepetitionsOfTheHandshakeOnceAndEndsInTheQuestion) {
    struct Case {
        int start;
        Lines ports;
        int retries;
        Lines used;    ///< the ports of the frames behind the first eight
        Strings calls; ///< but for "ShowPercentLabel"
    };
    const Case cases[] = {
        {5, {2, 5, 12}, 0, {2, 5, 12}, {"2", "5", "12", "AskRetry", "5"}},
        {5, {}, 0, {}, {"AskRetry", "5"}},
        {2, {300, 256, 0}, 0, {2, 2, 2}, {"2", "2", "2", "AskRetry", "2"}},
        {2, {5}, 1, {5, 5, 5, 5, 5, 5, 5, 5, 5}, {"5", "AskRetry", "AskRetry", "2"}},
        {2, {5, 4}, 1, {5}, {"5", "4", "ShowOpenFailure COM4"}},
    };
    for (const Case &c : cases) {
        const bool fails = c.ports.size() == 2;
        AppState state = StateFor(Read);
        state.portNumber = static_cast<std::uint8_t>(c.start);
        FakeClone clone(state);
        clone.view.ports = c.ports;
        clone.view.retries = c.retries;
        for (const int number : {2, 5, 12})
            clone.port.Connect(number, nullptr, AtOnce);
        EXPECT_EQ(clone.Run(), !fails) << "a failure to open leaves the window open";
        EXPECT_EQ(clone.timers.Idle(), true);

        Lines used;
        for (const FakePort::SentFrame &frame : clone.port.Frames()) {
            EXPECT_EQ(frame.bytes, Handshake);
            used.push_back(frame.port);
        }
        Lines expected(8, c.start);
        expected.insert(expected.end(), c.used.begin(), c.used.end());
        EXPECT_EQ(used, expected);
        Strings calls;
        for (const std::string &call : clone.view.calls)
            if (call != "ShowPercentLabel" && call != "CloseWindow")
                calls.push_back(call.starts_with("ShowPortNumber ") ? call.substr(15) : call);
        EXPECT_EQ(calls, c.calls);
        EXPECT_EQ(state.portNumber, fails ? 4 : c.start) << "Cancel restores the port";
        EXPECT_EQ(state.comPortList.back(), c.ports.empty() ? "" : ComPortName(c.ports.back()));
        clone.session.Close();
        EXPECT_EQ(clone.session.Result(), fails ? Outcome::OpenFailed : Outcome::Cancelled);
    }
}

TEST(Question, HoldsEverythingUpAndOpensAPortThatIsClosed) {
    Session session(StateFor(Read), MakeSampleMemory(4), {}, AtOnce, {{FaultKind::HangUp, 4}});
    session.view.retries = 1;
    session.view.whileOpen = [&] {
        const auto frames = session.Frames();
        const Strings calls = session.view.calls;
        const MemoryImage image = session.state.image;
        EXPECT_EQ(session.port.IsOpen(), calls.back() == "AskRetry");
        // Not even events that nobody ought to send change anything.
        for (int i = 0; i < 3; ++i) {
            session.session.SendTick();
            session.session.Received();
            session.session.OvertimeTick();
            session.RunFor(1s);
        }
        EXPECT_TRUE(session.timers.Idle());
        EXPECT_EQ(session.Frames(), frames);
        EXPECT_EQ(session.view.calls, calls);
        EXPECT_EQ(session.state.image, image);
    };
    ASSERT_TRUE(session.Run());
    EXPECT_EQ(session.view.calls,
              (Strings{"ShowPercentLabel", "AskRetry", "ShowCompleted", "RefreshAfterRead", "CloseWindow"}));
    EXPECT_EQ(LineBytes(session.state.image, 3), LineBytes(session.radio.Memory(), 3));
}

TEST(BadReply, IsANotificationWithoutTheBytes) {
    for (const std::size_t frame : {2U, 3U, 4U, 5U}) { // the identification, a line, their acknowledges
        Session session(StateFor(Read), MakeSampleMemory(4), {}, WireSpeed);
        session.session.TransferDatas();
        ASSERT_TRUE(session.RunUntil([&] { return session.Frames().size() == frame; }));
        const MemoryImage image = session.state.image;
        session.session.Received();
        EXPECT_EQ(session.state.image, image);
        ASSERT_TRUE(session.RunUntil([&] { return session.Frames().size() == frame + 1; }));
        EXPECT_EQ(session.Frames().back(), Ack) << "the repetition";
        EXPECT_EQ(session.Repetitions(), 1);
        EXPECT_LE(Gaps(session, frame - 1, 1).at(0), 2);
    }
}

TEST(UserCloses, EndsTheSessionAtAnyMoment) {
    for (std::size_t frames = 1; frames < 20; ++frames) {
        Session session(4);
        const MemoryImage before = session.state.image;
        session.session.TransferDatas();
        ASSERT_TRUE(session.RunUntil([&] { return session.Frames().size() == frames; }));
        session.session.Close();
        session.port.SetCommPort(1);
        ASSERT_FALSE(session.port.Open()) << "somebody else's by now";
        session.port.SetReplyLength(1);
        session.port.Output(Handshake);
        session.RunFor(5s);
        EXPECT_EQ(session.session.Result(), Outcome::Cancelled);
        EXPECT_EQ(session.port.Input(), Ack) << "what comes later is no reply to this session";
        EXPECT_TRUE(session.timers.Idle());
        EXPECT_EQ(session.view.calls, Strings{"ShowPercentLabel"}) << "no refresh, no message";
        // The request of the first line is frame 4, that of the next one frame 6, and so on.
        Lines lines = TransferredLines(4);
        lines.resize(frames < 3 ? 0 : (frames - 3) / 2);
        EXPECT_EQ(ChangedLines(before, session.state.image), lines) << "after " << frames << " frames";
    }
}

// Lines that may be lost

/// A radio that puts this header before its lines, to the requests that the frame begins.
Hand HeaderOf(const Bytes &requests, const char *header) {
    return [requests, header = HexBytes(header)](const Bytes &frame, Replies &replies) {
        if (frame.size() == 4 && std::equal(requests.begin(), requests.end(), frame.begin()))
            std::ranges::copy(header, replies.front().bytes.begin());
    };
}

/// A radio that repeats the reply to the line before, as one that a repeated handshake has brought behind.
Hand OneBehind() {
    return [handshakes = 0, late = Bytes(20, 0x00)](const Bytes &frame, Replies &replies) mutable {
        if (frame == Handshake && ++handshakes == 1)
            replies.clear();
        if (frame.size() == 4)
            replies.front().bytes.swap(late);
    };
}

/// A radio that changes the reply to one frame.
Hand Change(const Bytes &changed, const std::function<void(Bytes &reply)> &change) {
    return [=](const Bytes &frame, Replies &replies) {
        if (frame == changed)
            change(replies.front().bytes);
    };
}

/// What is pushed out of the line passes for its acknowledge.
void InsertByteBefore06(Bytes &reply) {
    reply.back() = 0x06;
    reply.insert(reply.begin() + 7, 0x06);
}

TEST(MissingLines, AreThoseWhoseRepliesMayBeOthers) {
    struct Case {
        const char *what;
        int channels;
        Hand hand;
        Lines missing;
        bool stored = false; ///< what is named has been stored all the same
        int baud = AtOnce;
    };
    const Bytes any = HexBytes("52"), lastLine = HexBytes("52 06 B0 10");
    const Case cases[] = {
        {"a smaller count told", 6, Change(Identify, [](Bytes &reply) { reply.back() = 3; }), {3, 4, 5}},
        {"another line's header", 5, HeaderOf(RequestOfLine2, "57 00 30 10"), {1, 2}, true},
        {"no header", 5, HeaderOf(RequestOfLine2, "57 00 20 00"), {1, 2}, true},
        {"an acknowledge inside a line", 4, Change(RequestOfLine1, InsertByteBefore06), {1, 2}},
        {"one too many", 4, Change(RequestOfLine1, [](Bytes &reply) { reply.push_back(6); }), {1, 2}},
        {"the start of something else",
         4,
         Change(RequestOfLine2,
                [](Bytes &reply) {
                    reply = {9, 9};
                }),
         {1, 2}},
        {"the line before", 5, OneBehind(), TransferredLines(99)},
        {"an acknowledge inside the last line", 4, Change(lastLine, InsertByteBefore06), {107}},
        {"and at wire speed", 4, Change(lastLine, InsertByteBefore06), {107}, false, WireSpeed},
        {"a radio that repeats no addresses", 5, HeaderOf(any, "00 00 00 00"), {}},
        {"what happens to look like one of them", 5, HeaderOf(any, "57 00 20 10"), {}},
        {"or like a request", 5, HeaderOf(any, "52 06 30 10"), {}},
    };
    for (const Case &c : cases) {
        Session session(StateFor(Read), MakeSampleMemory(c.channels), c.hand, c.baud);
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.view.missing, c.missing) << c.what;
        EXPECT_EQ(session.session.MissingLines(), c.missing);
        EXPECT_EQ(Told(session.view.calls), c.missing.empty() ? "done" : "done lines") << c.what;
        for (const int changed : ChangedLines(session.radio.Memory(), session.state.image))
            EXPECT_TRUE((!c.stored && std::ranges::count(c.missing, changed) > 0) ||
                        (changed >= c.channels && changed < 99) || changed > 107)
                << c.what << ", line " << changed;
    }
}

TEST(DisturbedWrite, IsToldWhereALineMayBeLostBehindAnAcknowledge) {
    struct Case {
        const char *faults;
        bool warned;
        bool lost; ///< line 9
    };
    for (const auto &[faults, warned, lost] : {Case{"", false, false},
                                               {"late-reply@5 no-reply@11", true, true},
                                               {"double-ack@5 no-reply@11", true, true},
                                               {"late-double-ack@5 no-reply@11", true, true},
                                               {"late-double-ack@5 wrong-ack@11", true, true},
                                               {"no-reply@1 no-reply@11", true, false}})
        for (const int baud : {AtOnce, WireSpeed}) {
            Session session(StateFor(Write), MakeSampleMemory(1), {}, baud,
                            Scenario{"", Write, 16, faults, 0, "", 0}.Faults());
            ASSERT_TRUE(session.Run());
            EXPECT_EQ(Told(session.view.calls), warned ? "done disturbed" : "done") << faults;
            EXPECT_EQ(LineBytes(session.radio.Memory(), 9) != LineBytes(session.state.image, 9), lost)
                << faults;
        }
}

} // namespace
} // namespace k470
