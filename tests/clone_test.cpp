#include "core/AppState.h"
#include "link/CloneFrames.h"
#include "link/CloneSession.h"
#include "link/MissingLines.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/FakeClone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace k470 {
namespace {

using namespace std::chrono_literals;
using Calls = std::vector<std::string>;
using Lines = std::vector<int>;
using Outcome = CloneSession::Outcome;
using Replies = std::vector<Reply>;

constexpr Delivery Deliveries[] = {Delivery::AtOnce, Delivery::ByteByByte};
constexpr CloneMode Modes[] = {CloneMode::Read, CloneMode::Write};

Bytes operator+(Bytes left, const Bytes &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Bytes Handshake = Hex("56 5A 2D 4B 34 37 30");
const Bytes Identify = Hex("02");
const Bytes Ack = Hex("06");
const Bytes End = Hex("45");
const Bytes RequestOfLine1 = Hex("52 00 10 10");
const Bytes RequestOfLine2 = Hex("52 00 20 10");

/// A state that is filled by a read or whose image is sent to the radio.
AppState StateFor(CloneMode mode, int gridRows = DefaultGridRows) {
    AppState state;
    state.language = Language::English;
    state.cloneMode = mode;
    state.gridRows = static_cast<std::uint8_t>(gridRows);
    state.image.fill(0x77);
    if (mode == CloneMode::Write)
        state.image = MakeSampleMemory(99);
    return state;
}

/// Somebody who changes a radio's replies to a frame.
using Hand = std::function<void(const Bytes &frame, Replies &replies)>;

/// A device on whose replies somebody has a hand. Frames must arrive whole.
class Tampered : public SerialDevice {
public:
    Tampered(SerialDevice &device, Hand hand) : device_(device), hand_(std::move(hand)) {}

    Replies Feed(std::span<const std::uint8_t> bytes) override {
        Replies replies = device_.Feed(bytes);
        if (hand_)
            hand_({bytes.begin(), bytes.end()}, replies);
        return replies;
    }
    bool FramePending() const override { return device_.FramePending(); }
    void Silence() override { device_.Silence(); }

private:
    SerialDevice &device_;
    Hand hand_;
};

struct RadioAndState {
    AppState state;
    SimulatedRadio radio;
    Tampered tampered;
};

/// A session with a radio on COM1.
struct Session : RadioAndState, FakeClone {
    Session(const AppState &start, const MemoryImage &memory, Hand hand = {},
            Delivery delivery = Delivery::AtOnce)
        : RadioAndState{start, SimulatedRadio(memory), {radio, std::move(hand)}}, FakeClone(state, delivery) {
        Connect(1, &tampered);
    }
    /// A read of a radio with that many channels.
    Session(int channels, Hand hand = {})
        : Session(StateFor(CloneMode::Read), MakeSampleMemory(channels), std::move(hand)) {}

    std::ptrdiff_t CountFrames(const Bytes &frame) const { return std::ranges::count(Frames(), frame); }
};

void ExpectHealthy(const Session &session) {
    EXPECT_EQ(session.session.Result(), Outcome::Completed);
    EXPECT_EQ(session.view.label, "Completion percentage: 100%");
    EXPECT_EQ(session.Repetitions(), 0);
    EXPECT_FALSE(session.session.Disturbed());
    EXPECT_EQ(session.radio.Complaints(), Calls{});
    EXPECT_TRUE(session.radio.EndedByE());
}

// Healthy sessions

using Progress = std::vector<std::pair<int, int>>;

TEST(CloneRead, SendsTheFramesOfTheWorkedExample) {
    for (const Delivery delivery : Deliveries) {
        Session session(StateFor(CloneMode::Read), MakeSampleMemory(2), {}, delivery);
        ASSERT_TRUE(session.Run());
        ExpectHealthy(session);
        std::vector<Bytes> expected{Handshake, Identify, Ack};
        for (const char *address : {"00 00", "00 10", "06 30", "06 40", "06 50", "06 60", "06 70", "06 80",
                                    "06 90", "06 A0", "06 B0"})
            expected.insert(expected.end(), {Hex("52") + Hex(address) + Hex("10"), Ack});
        expected.push_back(End);
        EXPECT_EQ(session.Frames(), expected);
        const Progress progress{{0, 108}, {1, 108}, {1, 11}, {2, 11}, {3, 11},  {4, 11}, {5, 11},
                                {6, 11},  {7, 11},  {8, 11}, {9, 11}, {10, 11}, {11, 11}};
        EXPECT_EQ(session.view.progress, progress);
    }
}

TEST(CloneWrite, SendsTheFramesOfTheWorkedExample) {
    for (const Delivery delivery : Deliveries) {
        AppState state = StateFor(CloneMode::Write, 4);
        state.image[16] = 0xFF; // only the first byte says that a channel is empty
        state.image[33] = 0xFF;
        state.image[47] = 0xFF;
        state.image[99 * 16] = 0xFF; // and only of a channel
        Session session(state, MakeSampleMemory(98), {}, delivery);
        ASSERT_TRUE(session.Run());
        ExpectHealthy(session);
        const MemoryImage &image = session.state.image;
        std::vector<Bytes> expected{Handshake,
                                    Identify,
                                    Ack,
                                    Hex("57 00 00 10") + LineBytes(image, 0),
                                    Hex("57 00 10 01 FF"),
                                    Hex("57 00 20 10") + LineBytes(image, 2)};
        int line = 99;
        for (const char *address : {"30", "40", "50", "60", "70", "80", "90", "A0", "B0"})
            expected.push_back(Hex("57 06") + Hex(address) + Hex("10") + LineBytes(image, line++));
        expected.push_back(End);
        EXPECT_EQ(session.Frames(), expected);
        const Progress progress{{0, 106}, {0, 9}, {1, 9}, {2, 9}, {3, 9}, {4, 9},
                                {5, 9},   {6, 9}, {7, 9}, {8, 9}, {9, 9}};
        EXPECT_EQ(session.view.progress, progress);
        EXPECT_EQ(image, state.image);
    }
}

TEST(CloneRead, RequestsTheLinesInUseByTheIdentificationsCount) {
    struct Case {
        int count, channels;
    };
    for (const Case &c : {Case{1, 1}, {98, 98}, {99, 99}, {0, 99}, {100, 16}, {255, 16}}) {
        MemoryImage memory = MakeSampleMemory(99);
        memory[Address::ChannelCount] = static_cast<std::uint8_t>(c.count);
        Session session(StateFor(CloneMode::Read), memory);
        MemoryImage expected = session.state.image;
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.LinesSent('R'), TransferredLines(c.channels)) << c.count;
        EXPECT_EQ(session.view.progress.back(), std::pair(c.channels + 9, c.channels + 9)) << c.count;
        for (const int line : TransferredLines(c.channels))
            std::ranges::copy(LineBytes(memory, line), Line(expected, line).begin());
        EXPECT_EQ(session.state.image, expected) << c.count << ": skipped lines and lines 108 to 111 stay";
        EXPECT_EQ(session.state.gridRows, c.count < 100 ? c.count + 1 : DefaultGridRows);
        EXPECT_EQ(session.view.missing, Lines{}) << c.count;
    }
}

TEST(CloneWrite, SendsTheLinesInUseByTheGridsRows) {
    for (const int gridRows : {1, 2, 17, 99, 100}) {
        Session session(StateFor(CloneMode::Write, gridRows), MakeSampleMemory(3));
        MemoryImage expected = session.radio.Memory();
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.LinesSent('W'), TransferredLines(gridRows - 1));
        EXPECT_EQ(session.view.progress.back(), std::pair(gridRows + 5, gridRows + 5));
        for (const int line : TransferredLines(gridRows - 1))
            std::ranges::copy(LineBytes(session.state.image, line), Line(expected, line).begin());
        EXPECT_EQ(session.radio.Memory(), expected) << gridRows;
    }
}

TEST(CloneRead, CompletesInItsOrderAndTakesNoSnapshot) {
    AppState state = StateFor(CloneMode::Read);
    TakeSnapshot(state);
    state.bandLow = 136;
    Session session(state, MakeSampleMemory(40)); // in the band 400 to 480 MHz
    using Seen = std::tuple<std::string, bool, double, int, Moment>;
    std::vector<Seen> seen;
    session.view.told = [&](const std::string &call) {
        const auto &frames = session.port.Frames();
        seen.emplace_back(call, session.port.IsOpen(), session.state.bandLow, session.state.gridRows,
                          session.now - (frames.empty() ? 0ms : frames.back().time));
    };
    ASSERT_TRUE(session.Run());
    EXPECT_EQ(seen, (std::vector<Seen>{{"ShowPercentLabel", false, 136, 17, 0ms},
                                       {"ShowCompleted", false, 136, 17, 5ms},
                                       {"RefreshAfterRead", false, 400, 41, 5ms},
                                       {"CloseWindow", false, 400, 41, 6ms}}));
    EXPECT_EQ(session.state.snapshot, state.snapshot);
}

TEST(CloneWrite, CompletesWithoutARefreshOrASnapshot) {
    AppState state = StateFor(CloneMode::Write, 4);
    state.snapshot.fill(0x11);
    Session session(state, MakeSampleMemory(40));
    ASSERT_TRUE(session.Run());
    EXPECT_EQ(session.view.calls, (Calls{"ShowPercentLabel", "ShowCompleted", "CloseWindow"}));
    EXPECT_EQ(session.state.snapshot, state.snapshot);
    EXPECT_EQ(session.state.gridRows, state.gridRows);
}

TEST(ProgressText, RoundsHalvesToTheEvenNeighbour) {
    struct Case {
        int value, maximum;
        const char *percent;
    };
    for (const Case &c : {Case{9, 20, "45%"}, {1, 8, "12%"}, {3, 8, "38%"}, {107, 108, "99%"}})
        EXPECT_EQ(ProgressText(c.value, c.maximum, Language::Chinese), std::string("完成进度: ") + c.percent);
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

// Strays, timeouts, the port search

/// A radio that answers its first handshakes with something else, or not at all.
Hand AnswerHandshakes(std::vector<Bytes> answers) {
    return
        [answers = std::move(answers), next = std::size_t{0}](const Bytes &frame, Replies &replies) mutable {
            if (frame == Handshake && next < answers.size())
                replies = {{.bytes = answers[next++]}};
        };
}

TEST(Handshake, PassesOverTwentyStraysAndNoMore) {
    for (const std::size_t strays : {20U, 21U}) {
        Session session(1, AnswerHandshakes({Bytes(strays, 0x15) + Ack}));
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.session.Result(), Outcome::Completed);
        EXPECT_EQ(session.Repetitions(), strays - 20);
        EXPECT_EQ(session.CountFrames(Handshake), strays - 19);
    }
}

/// The times between the frames in whole ms, from the frame with that number on.
std::vector<int> Gaps(const FakeClone &clone, std::size_t first, std::size_t count) {
    std::vector<int> gaps;
    const auto &frames = clone.port.Frames();
    for (std::size_t i = first + 1; i < frames.size() && gaps.size() < count; ++i)
        gaps.push_back(static_cast<int>((frames[i].time - frames[i - 1].time) / 1ms));
    return gaps;
}

TEST(Handshake, CountsItsStraysOverTheWholeSession) {
    // 20 strays and silence; one more stray; then a question and, after Retry, one more stray again.
    std::vector<Bytes> answers{Bytes(20, 0x15), Hex("15")};
    answers.resize(8);
    answers.push_back(Hex("15"));
    Session session(1, AnswerHandshakes(answers));
    session.view.retries = 1;
    ASSERT_TRUE(session.Run());
    EXPECT_EQ(session.session.Result(), Outcome::Completed);
    EXPECT_EQ(session.CountFrames(Handshake), 10);
    EXPECT_EQ(Gaps(session, 0, 9), (std::vector{301, 2, 301, 301, 301, 301, 301, 301, 2}))
        << "each stray up to the twentieth re-arms the timeout, later ones are bad replies, after Retry too";
}

TEST(PortSearch, FollowsSevenRepetitionsOfTheHandshakeOnceAndEndsInTheQuestion) {
    struct Case {
        int start;
        std::vector<int> ports;
        int retries;
        std::vector<int> used; ///< the ports of the frames behind the first eight
        Calls calls;           ///< but for "ShowPercentLabel"
    };
    const Case cases[] = {
        {5, {2, 5, 12}, 0, {2, 5, 12}, {"2", "5", "12", "AskRetry", "5"}},
        {5, {}, 0, {}, {"AskRetry", "5"}},
        {2, {300, 256, 0}, 0, {2, 2, 2}, {"2", "2", "2", "AskRetry", "2"}},
        {2, {5}, 1, {5, 5, 5, 5, 5, 5, 5, 5, 5}, {"5", "AskRetry", "AskRetry", "2"}},
    };
    for (const Case &c : cases) {
        AppState state = StateFor(CloneMode::Read);
        state.portNumber = static_cast<std::uint8_t>(c.start);
        FakeClone clone(state, Delivery::AtOnce);
        clone.view.ports = c.ports;
        clone.view.retries = c.retries;
        for (const int number : {2, 5, 12})
            clone.Connect(number, nullptr);
        ASSERT_TRUE(clone.Run());

        std::vector<int> used;
        for (const FakePort::SentFrame &frame : clone.port.Frames()) {
            EXPECT_EQ(frame.bytes, Handshake);
            used.push_back(frame.port);
        }
        EXPECT_EQ(std::vector(used.begin(), used.begin() + 8), std::vector(8, c.start));
        EXPECT_EQ(std::vector(used.begin() + 8, used.end()), c.used);
        Calls calls;
        for (const std::string &call : clone.view.calls)
            if (call != "ShowPercentLabel" && call != "CloseWindow")
                calls.push_back(call.starts_with("ShowPortNumber ") ? call.substr(15) : call);
        EXPECT_EQ(calls, c.calls);
        for (const int gap : Gaps(clone, 0, 7))
            EXPECT_EQ(gap, 301);
        EXPECT_EQ(state.portNumber, c.start) << "Cancel restores the port";
        EXPECT_EQ(state.comPortList.back(), c.ports.empty() ? "" : ComPortName(c.ports.back()));
        EXPECT_EQ(clone.session.Result(), Outcome::Cancelled);
        EXPECT_FALSE(clone.port.IsOpen());
    }
}

TEST(PortSearch, FindsTheRadioAndKeepsItsPort) {
    Session session(1);
    session.view.ports = {1, 9, 11};
    session.Connect(1, nullptr);
    session.Connect(9, &session.radio);
    ASSERT_TRUE(session.Run());
    EXPECT_EQ(session.session.Result(), Outcome::Completed);
    EXPECT_EQ(session.state.portNumber, 9);
}

TEST(PortSearch, EndsIdleAtAPortThatDoesNotOpen) {
    Session session(1);
    session.view.ports = {4, 1};
    session.Connect(1, nullptr);
    session.view.whileOpen = [&] { session.RunFor(1s); };
    EXPECT_FALSE(session.Run());
    EXPECT_EQ(session.view.calls,
              (Calls{"ShowPercentLabel", "ShowPortNumber 4", "ShowPercentLabel", "ShowOpenFailure COM4"}));
    EXPECT_TRUE(session.timers.Idle());
    EXPECT_EQ(session.Frames().size(), 8U);
    EXPECT_EQ(session.state.portNumber, 4);
    session.session.Close();
    EXPECT_EQ(session.session.Result(), Outcome::OpenFailed);
}

TEST(Timeouts, RepeatALaterStepByItsAcknowledgeFrameAndAsk) {
    for (const CloneMode mode : Modes) {
        bool gone = false;
        Session session(StateFor(mode, 5), MakeSampleMemory(4),
                        [&gone](const Bytes &frame, Replies &replies) {
                            gone = gone || (frame.size() >= 4 && frame[2] == 0x20 && frame[1] == 0); // line 2
                            if (gone)
                                replies.clear();
                        });
        session.view.ports = {1, 2};
        ASSERT_TRUE(session.Run());

        const auto frames = session.Frames();
        const auto last = frames.size() - 8;
        for (std::size_t i = last + 1; i < frames.size(); ++i)
            EXPECT_EQ(frames[i], mode == CloneMode::Read ? Ack : frames[last]);
        EXPECT_EQ(Gaps(session, last, 7), std::vector(7, 301));
        EXPECT_EQ(session.LinesSent(mode == CloneMode::Read ? 'R' : 'W').back(), 2);
        EXPECT_EQ(session.view.calls, (Calls{"ShowPercentLabel", "AskRetry", "CloseWindow"}))
            << "no search and no port to restore behind the handshake";
        EXPECT_EQ(session.session.Result(), Outcome::Cancelled);
        EXPECT_EQ(session.view.progress.back().first, 0) << "a repetition sets the bar back";
        EXPECT_EQ(session.view.label, "Completion percentage:  0%");
    }
}

TEST(Timeouts, AreCountedOverTheWholeSession) {
    for (const int silentHandshakes : {0, 4, 7}) {
        Session session(4, [&, handshakes = 0, gone = false](const Bytes &frame, Replies &replies) mutable {
            handshakes += frame == Handshake ? 1 : 0;
            gone = gone || frame == RequestOfLine1;
            if (handshakes <= silentHandshakes || gone)
                replies.clear();
        });
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.Repetitions(), 7) << silentHandshakes;
        EXPECT_EQ(session.CountFrames(Handshake), silentHandshakes + 1);
        EXPECT_EQ(session.Frames().back(), silentHandshakes == 7 ? RequestOfLine1 : Ack);
    }
}

// Questions, bad replies, users who close

TEST(Retry, StartsFromTheHandshakeWithAFreshBarAndSevenNewRepetitions) {
    for (const CloneMode mode : Modes) {
        // Line 100, behind the skip of the unused channels, meets silence 8 times, then again 7 times.
        const auto hand = [silent = 0, there = false](const Bytes &frame, Replies &replies) mutable {
            there = frame != Handshake && (there || (frame.size() >= 4 && frame[1] == 6 && frame[2] == 0x40));
            if (there && silent++ < 15)
                replies.clear();
        };
        Session session(StateFor(mode, 6), MakeSampleMemory(5), hand);
        session.view.retries = 1;
        session.session.TransferDatas();
        ASSERT_TRUE(session.RunUntil([&] { return session.view.questions == 1; }));
        EXPECT_EQ(session.view.progress.back(), std::pair(0, mode == CloneMode::Read ? 108 : 106));
        EXPECT_EQ(session.view.label, "Completion percentage:  0%");
        ASSERT_TRUE(session.RunUntil([&] { return session.view.closed; }));
        EXPECT_EQ(session.session.Result(), Outcome::Completed);
        EXPECT_EQ(session.CountFrames(Handshake), 2);
        EXPECT_EQ(session.Repetitions(), 14);
        EXPECT_EQ(session.view.progress.back().second, mode == CloneMode::Read ? 14 : 11);
    }
}

TEST(Question, HoldsEverythingUpAndOpensAPortThatIsClosed) {
    Session session(4, [hungUp = false](const Bytes &frame, Replies &replies) mutable {
        if (frame == RequestOfLine2 && !std::exchange(hungUp, true))
            replies = {{.hangUp = true}};
    });
    session.view.retries = 1;
    session.view.whileOpen = [&] {
        const auto frames = session.Frames();
        const Calls calls = session.view.calls;
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
    };
    ASSERT_TRUE(session.Run());
    EXPECT_EQ(session.view.calls,
              (Calls{"ShowPercentLabel", "AskRetry", "ShowCompleted", "RefreshAfterRead", "CloseWindow"}));
    EXPECT_EQ(LineBytes(session.state.image, 3), LineBytes(session.radio.Memory(), 3));
}

TEST(BadReply, IsANotificationWithoutTheBytes) {
    for (const std::size_t frame : {2U, 3U, 4U, 5U}) { // the identification, a line, their acknowledges
        Session session(StateFor(CloneMode::Read), MakeSampleMemory(4), {}, Delivery::ByteByByte);
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
        session.RunFor(5s);
        EXPECT_EQ(session.session.Result(), Outcome::Cancelled);
        EXPECT_FALSE(session.port.IsOpen());
        EXPECT_TRUE(session.timers.Idle());
        EXPECT_EQ(session.view.calls, Calls{"ShowPercentLabel"}) << "no refresh, no message";
        EXPECT_EQ(session.Frames().size(), frames);
        // The request of the first line is frame 4, that of the next one frame 6, and so on.
        Lines lines = TransferredLines(4);
        lines.resize(frames < 3 ? 0 : (frames - 3) / 2);
        EXPECT_EQ(ChangedLines(before, session.state.image), lines) << "after " << frames << " frames";
    }
}

// Lines that are lost

/// A radio that answers requests for these channel lines never.
Hand SilentAt(const Lines &lines) {
    return [lines](const Bytes &frame, Replies &replies) {
        if (frame.size() == 4 && frame[1] == 0 && std::ranges::count(lines, frame[2] / 16) > 0)
            replies.clear();
    };
}

/// A radio that puts these headers before its lines, in turn, to the requests that the frame begins.
Hand HeaderOf(const Bytes &requests, const Bytes &header) {
    return [=](const Bytes &frame, Replies &replies) {
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

void InsertByte(Bytes &reply) {
    reply.insert(reply.begin() + 7, 0x06);
}

/// What is pushed out of the line passes for its acknowledge.
void InsertByteBefore06(Bytes &reply) {
    reply.back() = 0x06;
    InsertByte(reply);
}

Hand OwnHeaders() {
    return [greeted = false](const Bytes &frame, Replies &replies) mutable {
        if (frame == Handshake && !std::exchange(greeted, true))
            replies.clear();
        if (frame.size() == 4)
            std::ranges::copy(Hex("4B 34 37 30"), replies.front().bytes.begin());
    };
}

TEST(LostLines, AreNamedAfterTheCompletion) {
    struct Case {
        const char *what;
        int channels;
        Hand hand;
        Lines missing;
        bool stored = false; ///< what is named has been stored all the same
        Delivery delivery = Delivery::AtOnce;
    };
    const Bytes line = Hex("52"), noHeader = Hex("00 00 00 00");
    const Case cases[] = {
        {"two requests unanswered", 5, SilentAt({0, 3}), {0, 3}},
        {"the last channel's, so that nothing is skipped", 2, SilentAt({1}), {1}},
        {"a smaller count told", 6, Change(Identify, [](Bytes &reply) { reply.back() = 3; }), {3, 4, 5}},
        {"another line's header", 5, HeaderOf(RequestOfLine2, Hex("57 00 30 10")), {1, 2}, true},
        {"no header", 5, HeaderOf(RequestOfLine2, Hex("57 00 20 00")), {1, 2}, true},
        {"a byte behind a line", 4, Change(RequestOfLine1, [](Bytes &reply) { reply.push_back(9); }), {1}},
        {"a byte inside a line", 4, Change(RequestOfLine1, InsertByte), {1}},
        {"a last byte that looks like an acknowledge", 4, Change(RequestOfLine1, InsertByteBefore06), {1, 2}},
        {"the line before", 5, OneBehind(), TransferredLines(99)},
        {"an acknowledge too many",
         4,
         Change(RequestOfLine1, [](Bytes &reply) { reply.push_back(6); }),
         {1, 2}},
        {"the same in the last line", 4, Change(Hex("52 06 B0 10"), InsertByteBefore06), {107}},
        {"and at wire speed",
         4,
         Change(Hex("52 06 B0 10"), InsertByteBefore06),
         {107},
         false,
         Delivery::ByteByByte},
        {"headers of its own, behind a lost handshake", 5, OwnHeaders(), {}},
        {"a radio that repeats no addresses", 5, HeaderOf(line, noHeader), {}},
        {"what happens to look like one of them", 5, HeaderOf(line, Hex("57 00 20 10")), {}},
        {"or like a request", 5, HeaderOf(line, Hex("52 06 30 10")), {}},
    };
    for (const Case &c : cases) {
        Session session(StateFor(CloneMode::Read), MakeSampleMemory(c.channels), c.hand, c.delivery);
        ASSERT_TRUE(session.Run());
        EXPECT_EQ(session.session.Result(), Outcome::Completed) << c.what;
        EXPECT_EQ(session.view.missing, c.missing) << c.what;
        EXPECT_EQ(session.session.MissingLines(), c.missing);
        Calls calls{"ShowPercentLabel", "ShowCompleted", "RefreshAfterRead", "CloseWindow"};
        if (!c.missing.empty())
            calls.insert(calls.end() - 1, "WarnMissingLines");
        EXPECT_EQ(session.view.calls, calls) << c.what;
        for (const int changed : ChangedLines(session.radio.Memory(), session.state.image))
            EXPECT_TRUE((!c.stored && std::ranges::count(c.missing, changed) > 0) ||
                        (changed >= c.channels && changed < 99) || changed > 107)
                << c.what << ", line " << changed;
    }
}

TEST(DisturbedWrite, IsToldWhereALineMayBeLostBehindAnAcknowledge) {
    struct Case {
        std::vector<Fault> faults;
        bool warned;
        bool lost; ///< line 9
    };
    constexpr FaultKind Refused = FaultKind::WrongAck, Ignored = FaultKind::NoReply;
    const Case cases[] = {
        {{}, false, false},
        {{{FaultKind::NoReply, 0}}, false, false}, // switched on a moment late
        {{{FaultKind::LateReply, 5}, {Ignored, 11}}, true, true},
        {{{FaultKind::DoubleAck, 5}, {Ignored, 11}}, true, true},
        {{{FaultKind::DoubleAck, 5}}, true, false},
        {{{FaultKind::LateDoubleAck, 5}, {Ignored, 11}}, true, true},
        {{{FaultKind::LateDoubleAck, 5}, {Refused, 11}}, true, true},
        {{{FaultKind::NoReply, 1}, {Ignored, 11}}, true, false},
    };
    for (std::size_t i = 0; i < 2 * std::size(cases); ++i) {
        const Case &c = cases[i / 2];
        Session session(StateFor(CloneMode::Write), MakeSampleMemory(1), {}, Deliveries[i % 2]);
        session.radio = SimulatedRadio(MakeSampleMemory(1), FaultInjector(c.faults));
        ASSERT_TRUE(session.Run());
        Calls calls{"ShowPercentLabel", "ShowCompleted", "CloseWindow"};
        if (c.warned)
            calls.insert(calls.end() - 1, "WarnDisturbedWrite");
        EXPECT_EQ(session.view.calls, calls) << "case " << i;
        EXPECT_EQ(session.session.Disturbed(), c.warned) << "case " << i;
        EXPECT_EQ(LineBytes(session.radio.Memory(), 9) != LineBytes(session.state.image, 9), c.lost)
            << "case " << i;
    }
}

TEST(LostLines, AreForgottenWhenRetryAsksForEveryLineAgain) {
    // The first time the radio falls silent at line 99, the second time line 1 alone is lost.
    Session session(4, [handshakes = 0, silent = false](const Bytes &frame, Replies &replies) mutable {
        handshakes += frame == Handshake ? 1 : 0;
        silent = handshakes == 1 && (silent || frame == Hex("52 06 30 10"));
        if (silent || (handshakes == 2 && frame == RequestOfLine1))
            replies.clear();
    });
    session.view.retries = 1;
    ASSERT_TRUE(session.Run());
    EXPECT_EQ(session.session.Result(), Outcome::Completed);
    EXPECT_EQ(std::ranges::count(session.LinesSent('R'), 0), 2);
    EXPECT_EQ(session.view.missing, Lines{1});
}

} // namespace
} // namespace k470
