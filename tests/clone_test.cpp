#include "core/AppState.h"
#include "core/Bands.h"
#include "link/CloneFrames.h"
#include "link/CloneSession.h"
#include "sim/Faults.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/FakeClone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <iostream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace k470 {
namespace {

using namespace std::chrono_literals;
using Calls = std::vector<std::string>;
using Outcome = CloneSession::Outcome;

constexpr Delivery Deliveries[] = {Delivery::AtOnce, Delivery::ByteByByte};

Bytes operator+(Bytes left, const Bytes &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Bytes Handshake = Hex("56 5A 2D 4B 34 37 30");
const Bytes Identify = Hex("02");
const Bytes Ack = Hex("06");
const Bytes End = Hex("45");

AppState ReadState() {
    AppState state;
    state.language = Language::English;
    state.image.fill(0x77);
    state.cloneMode = CloneMode::Read;
    return state;
}

/// A state whose image is sent to the radio.
AppState WriteState(int gridRows) {
    AppState state;
    state.language = Language::English;
    state.image = MakeSampleMemory(99);
    state.image[Address::ChannelCount] = static_cast<std::uint8_t>(gridRows - 1);
    state.gridRows = static_cast<std::uint8_t>(gridRows);
    state.cloneMode = CloneMode::Write;
    return state;
}

long CountFrames(const FakeClone &clone, const Bytes &frame) {
    const auto frames = clone.Frames();
    return std::count(frames.begin(), frames.end(), frame);
}

/// A device on whose replies somebody has a hand. Frames must arrive whole.
class Tampered : public SerialDevice {
public:
    using Hand = std::function<void(const Bytes &frame, std::vector<Reply> &replies)>;
    Tampered(SerialDevice &device, Hand hand) : device_(device), hand_(std::move(hand)) {}

    std::vector<Reply> Feed(std::span<const std::uint8_t> bytes) override {
        std::vector<Reply> replies = device_.Feed(bytes);
        hand_({bytes.begin(), bytes.end()}, replies);
        return replies;
    }
    bool FramePending() const override { return device_.FramePending(); }
    void Silence() override { device_.Silence(); }

private:
    SerialDevice &device_;
    Hand hand_;
};

// The frames and lines of healthy sessions

TEST(CloneRead, SendsTheFramesOfTheWorkedExample) {
    for (const Delivery delivery : Deliveries) {
        const MemoryImage memory = MakeSampleMemory(2);
        SimulatedRadio radio(memory);
        AppState state = ReadState();
        FakeClone clone(state, delivery);
        clone.Connect(1, &radio);
        ASSERT_TRUE(clone.Run());

        std::vector<Bytes> expected{Handshake, Identify, Ack};
        for (const std::string_view request :
             {"52 00 00 10", "52 00 10 10", "52 06 30 10", "52 06 40 10", "52 06 50 10", "52 06 60 10",
              "52 06 70 10", "52 06 80 10", "52 06 90 10", "52 06 A0 10", "52 06 B0 10"}) {
            expected.push_back(Hex(request));
            expected.push_back(Ack);
        }
        expected.push_back(End);
        EXPECT_EQ(clone.Frames(), expected);
        EXPECT_EQ(clone.session->Result(), Outcome::Completed);
        EXPECT_EQ(clone.view.progress.back(), std::pair(11, 11));
        EXPECT_EQ(clone.view.labels.back(), "Completion percentage: 100%");
        EXPECT_EQ(clone.Repetitions(), 0);
        EXPECT_EQ(radio.Complaints(), Calls{});
        EXPECT_TRUE(radio.EndedByE());
    }
}

TEST(CloneWrite, SendsTheFramesOfTheWorkedExample) {
    for (const Delivery delivery : Deliveries) {
        AppState state = WriteState(4);
        std::fill_n(state.image.begin() + 16, 16, std::uint8_t{0xFF});
        state.image[17] = 0x12; // only the first byte says that a channel is empty
        state.image[33] = 0xFF;
        const MemoryImage image = state.image;
        SimulatedRadio radio(MakeSampleMemory(99));
        FakeClone clone(state, delivery);
        clone.Connect(1, &radio);
        ASSERT_TRUE(clone.Run());

        std::vector<Bytes> expected{Handshake,
                                    Identify,
                                    Ack,
                                    Hex("57 00 00 10") + LineBytes(image, 0),
                                    Hex("57 00 10 01 FF"),
                                    Hex("57 00 20 10") + LineBytes(image, 2)};
        int line = 99;
        for (const std::string_view header :
             {"57 06 30 10", "57 06 40 10", "57 06 50 10", "57 06 60 10", "57 06 70 10", "57 06 80 10",
              "57 06 90 10", "57 06 A0 10", "57 06 B0 10"})
            expected.push_back(Hex(header) + LineBytes(image, line++));
        expected.push_back(End);
        EXPECT_EQ(clone.Frames(), expected);
        EXPECT_EQ(clone.session->Result(), Outcome::Completed);
        EXPECT_EQ(clone.view.progress.back(), std::pair(9, 9));
        EXPECT_EQ(clone.view.labels.back(), "Completion percentage: 100%");
        EXPECT_EQ(state.image, image);
        EXPECT_EQ(radio.Complaints(), Calls{});
        EXPECT_TRUE(radio.EndedByE());
    }
}

TEST(CloneRead, RequestsTheLinesInUseByTheIdentificationsCount) {
    struct Case {
        int count;
        int channels;
        int progress;
    };
    for (const auto &[count, channels, progress] : std::initializer_list<Case>{{16, 16, 25},
                                                                               {0, 99, 108},
                                                                               {1, 1, 10},
                                                                               {98, 98, 107},
                                                                               {99, 99, 108},
                                                                               {100, 16, 25},
                                                                               {101, 16, 25},
                                                                               {255, 16, 25}}) {
        MemoryImage memory = MakeSampleMemory(99);
        memory[0x632] = static_cast<std::uint8_t>(count);
        SimulatedRadio radio(memory);
        AppState state = ReadState();
        const MemoryImage before = state.image;
        FakeClone clone(state, Delivery::AtOnce);
        clone.Connect(1, &radio);
        ASSERT_TRUE(clone.Run());

        EXPECT_EQ(clone.LinesSent('R'), TransferredLines(channels)) << count;
        EXPECT_EQ(clone.view.progress.back(), std::pair(progress, progress)) << count;
        MemoryImage expected = before;
        for (const int line : TransferredLines(channels))
            std::ranges::copy(Line(std::as_const(memory), line), Line(expected, line).begin());
        EXPECT_EQ(state.image, expected) << count << ": skipped lines and lines 108 to 111 stay";
        EXPECT_EQ(state.gridRows, count < 100 ? count + 1 : DefaultGridRows) << count;
        EXPECT_EQ(clone.view.missing, std::vector<int>{}) << count;
    }
}

TEST(CloneWrite, SendsTheLinesInUseByTheGridsRows) {
    struct Case {
        int gridRows;
        int maximum;
        int progress;
    };
    for (const auto &[gridRows, maximum, progress] : std::initializer_list<Case>{
             {1, 6, 6}, {2, 7, 7}, {3, 8, 8}, {4, 9, 9}, {17, 22, 22}, {99, 104, 104}, {100, 105, 105}}) {
        AppState state = WriteState(gridRows);
        const MemoryImage before = MakeSampleMemory(3);
        SimulatedRadio radio(before);
        FakeClone clone(state, Delivery::AtOnce);
        clone.Connect(1, &radio);
        ASSERT_TRUE(clone.Run());

        EXPECT_EQ(clone.LinesSent('W'), TransferredLines(gridRows - 1)) << gridRows;
        EXPECT_EQ(clone.view.progress.back(), std::pair(progress, maximum)) << gridRows;
        MemoryImage expected = before;
        for (const int line : TransferredLines(gridRows - 1))
            std::ranges::copy(Line(std::as_const(state.image), line), Line(expected, line).begin());
        EXPECT_EQ(radio.Memory(), expected) << gridRows;
    }
}

TEST(CloneSession, NeverShowsMoreThanItsMaximumAndCountsUpOnly) {
    for (const int channels : {0, 1, 2, 3, 16, 98, 99}) {
        for (const CloneMode mode : {CloneMode::Read, CloneMode::Write}) {
            AppState state = mode == CloneMode::Read ? ReadState() : WriteState(channels + 1);
            SimulatedRadio radio(MakeSampleMemory(channels));
            FakeClone clone(state, Delivery::AtOnce);
            clone.Connect(1, &radio);
            ASSERT_TRUE(clone.Run());
            EXPECT_EQ(clone.view.progress.front(), std::pair(0, mode == CloneMode::Read ? 108 : 106));
            int last = 0;
            for (const auto &[value, maximum] : clone.view.progress) {
                EXPECT_LE(value, maximum) << channels;
                EXPECT_GE(value, last) << channels;
                last = value;
            }
        }
    }
}

TEST(CloneSession, CountsDataLinesOfAReadAndLinesOfAWriteFromTheFourthOn) {
    using Steps = std::vector<std::pair<int, int>>;
    const Steps read{{0, 108}, {1, 108}, {1, 11}, {2, 11}, {3, 11},  {4, 11}, {5, 11},
                     {6, 11},  {7, 11},  {8, 11}, {9, 11}, {10, 11}, {11, 11}};
    const Steps write{{0, 106}, {1, 106}, {2, 106}, {2, 11}, {3, 11},  {4, 11}, {5, 11},
                      {6, 11},  {7, 11},  {8, 11},  {9, 11}, {10, 11}, {11, 11}};
    for (const CloneMode mode : {CloneMode::Read, CloneMode::Write}) {
        AppState state = mode == CloneMode::Read ? ReadState() : WriteState(6);
        SimulatedRadio radio(MakeSampleMemory(2));
        FakeClone clone(state, Delivery::AtOnce);
        clone.Connect(1, &radio);
        ASSERT_TRUE(clone.Run());
        EXPECT_EQ(clone.view.progress, mode == CloneMode::Read ? read : write);
    }
}

TEST(CloneSession, AsksForTheLengthOfTheReplyAfterEachFrame) {
    AppState state = ReadState();
    SimulatedRadio radio(MakeSampleMemory(1));
    std::vector<std::size_t> lengths;
    FakeClone clone(state, Delivery::ByteByByte);
    clone.Connect(1, &radio);
    clone.Start();
    while (!clone.view.closed) {
        const std::size_t frames = clone.port.Frames().size();
        ASSERT_TRUE(clone.RunUntil([&] { return clone.view.closed || clone.port.Frames().size() > frames; }));
        if (clone.port.IsOpen())
            lengths.push_back(clone.port.ReplyLength());
    }
    std::vector<std::size_t> expected{1, 16, 1};
    for (int line = 0; line < 10; ++line)
        expected.insert(expected.end(), {20, 1});
    EXPECT_EQ(lengths, expected);
}

// Progress label

TEST(ProgressText, RoundsHalvesToTheEvenNeighbour) {
    struct Case {
        int value;
        int maximum;
        std::string english;
        std::string chinese;
    };
    for (const auto &[value, maximum, english, chinese] :
         std::initializer_list<Case>{{9, 20, "Completion percentage: 45%", "完成进度: 45%"},
                                     {1, 8, "Completion percentage: 12%", "完成进度: 12%"},
                                     {3, 8, "Completion percentage: 38%", "完成进度: 38%"},
                                     {1, 108, "Completion percentage: 1%", "完成进度: 1%"},
                                     {107, 108, "Completion percentage: 99%", "完成进度: 99%"},
                                     {25, 25, "Completion percentage: 100%", "完成进度: 100%"}}) {
        EXPECT_EQ(ProgressText(value, maximum, Language::English), english);
        EXPECT_EQ(ProgressText(value, maximum, Language::Chinese), chinese);
    }
    EXPECT_EQ(InitialProgressText(Language::English), "Completion percentage:  0%");
    EXPECT_EQ(InitialProgressText(Language::Chinese), "完成进度:  0%");
}

TEST(ProgressText, FollowsTheLanguageAndTheTransferredLines) {
    for (const Language language : {Language::English, Language::Chinese}) {
        AppState state = ReadState();
        state.language = language;
        SimulatedRadio radio(MakeSampleMemory(1));
        FakeClone clone(state, Delivery::AtOnce);
        clone.Connect(1, &radio);
        ASSERT_TRUE(clone.Run());
        std::vector<std::string> expected;
        for (int value = 1; value <= 10; ++value)
            expected.push_back(std::string(Pick(language, {"Completion percentage: ", "完成进度: "})) +
                               std::to_string(value * 10) + "%");
        EXPECT_EQ(clone.view.labels, expected);
    }
}

TEST(MissingLinesText, NamesTheLines) {
    EXPECT_EQ(MissingLinesText({5, 9}, Language::English),
              "Lines 5, 9 were not received. Read the radio again.");
    EXPECT_EQ(MissingLinesText({5, 9}, Language::Chinese), "第 5, 9 行未收到，请重新读取。");
}

// Completion

TEST(CloneRead, CompletesInItsOrderAndTakesNoSnapshot) {
    AppState state = ReadState();
    TakeSnapshot(state);
    const MemoryImage snapshot = state.snapshot;
    state.bandLow = 136;
    state.bandHigh = 174;
    SimulatedRadio radio(MakeSampleMemory(40)); // in the band 400 to 480 MHz
    FakeClone clone(state, Delivery::ByteByByte);
    clone.Connect(1, &radio);
    std::vector<std::tuple<std::string, bool, double, int>> seen;
    clone.view.told = [&](const std::string &call) {
        seen.emplace_back(call, clone.port.IsOpen(), state.bandLow, state.gridRows);
    };
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(seen,
              (std::vector<std::tuple<std::string, bool, double, int>>{{"ShowPercentLabel", false, 136, 17},
                                                                       {"ShowCompleted", false, 136, 17},
                                                                       {"RefreshAfterRead", false, 400, 41},
                                                                       {"CloseWindow", false, 400, 41}}));
    EXPECT_EQ(state.bandHigh, 480);
    EXPECT_EQ(state.snapshot, snapshot);
    EXPECT_TRUE(ImageModified(state));
    EXPECT_TRUE(clone.timers.Idle());
}

TEST(CloneWrite, CompletesWithoutARefreshOrASnapshot) {
    AppState state = WriteState(4);
    state.snapshot.fill(0x11);
    const AppState before = state;
    SimulatedRadio radio(MakeSampleMemory(40));
    FakeClone clone(state, Delivery::ByteByByte);
    clone.Connect(1, &radio);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.view.calls, (Calls{"ShowPercentLabel", "ShowCompleted", "CloseWindow"}));
    EXPECT_EQ(state.image, before.image);
    EXPECT_EQ(state.snapshot, before.snapshot);
    EXPECT_EQ(state.gridRows, before.gridRows);
    EXPECT_EQ(state.bandLow, before.bandLow);
}

TEST(CloneSession, ClosesThePortFiveMillisecondsAfterTheEndByteAndTheWindowOneLater) {
    AppState state = ReadState();
    SimulatedRadio radio(MakeSampleMemory(1));
    FakeClone clone(state, Delivery::AtOnce);
    clone.Connect(1, &radio);
    Moment completed{};
    Moment closed{};
    clone.view.told = [&](const std::string &call) {
        (call == "CloseWindow" ? closed : completed) = clone.now;
    };
    ASSERT_TRUE(clone.Run());
    const FakePort::SentFrame &end = clone.port.Frames().back();
    EXPECT_EQ(end.bytes, End);
    EXPECT_EQ(completed - end.time, 5ms);
    EXPECT_EQ(closed - completed, 1ms);
}

// The handshake and its strays

/// A radio that answers its first handshakes with something else.
Tampered::Hand AnswerHandshakes(std::vector<Bytes> answers) {
    return [answers = std::move(answers), next = std::size_t{0}](const Bytes &frame,
                                                                 std::vector<Reply> &replies) mutable {
        if (frame == Handshake && next < answers.size())
            replies = {{.bytes = answers[next++]}};
    };
}

TEST(Handshake, PassesOverTwentyStraysAndNoMore) {
    for (const auto &[strays, repetitions] :
         std::initializer_list<std::pair<std::size_t, int>>{{0, 0}, {1, 0}, {20, 0}, {21, 1}}) {
        AppState state = ReadState();
        SimulatedRadio radio(MakeSampleMemory(1));
        Tampered tampered(radio, AnswerHandshakes({Bytes(strays, 0x15) + Ack}));
        FakeClone clone(state, Delivery::AtOnce);
        clone.Connect(1, &tampered);
        ASSERT_TRUE(clone.Run());
        EXPECT_EQ(clone.session->Result(), Outcome::Completed) << strays;
        EXPECT_EQ(clone.Repetitions(), repetitions) << strays;
        EXPECT_EQ(CountFrames(clone, Handshake), 1 + repetitions) << strays;
    }
}

TEST(Handshake, CountsItsStraysOverTheWholeSession) {
    AppState state = ReadState();
    SimulatedRadio radio(MakeSampleMemory(1));
    // 20 strays and silence; one more stray; then a question and, after Retry, one more stray again.
    std::vector<Bytes> answers{Bytes(20, 0x15), Hex("15")};
    answers.resize(8);
    answers.push_back(Hex("15"));
    Tampered tampered(radio, AnswerHandshakes(answers));
    FakeClone clone(state, Delivery::AtOnce);
    clone.view.retries = {true};
    clone.Connect(1, &tampered);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.session->Result(), Outcome::Completed);
    EXPECT_EQ(clone.view.questions, 1);

    std::vector<Moment> gaps;
    const auto &frames = clone.port.Frames();
    for (std::size_t i = 1; i < frames.size() && frames[i].bytes == Handshake; ++i)
        gaps.push_back(frames[i].time - frames[i - 1].time);
    ASSERT_EQ(gaps.size(), 9U);
    EXPECT_GE(gaps[0], 300ms) << "each stray re-arms the timeout";
    EXPECT_LT(gaps[1], 10ms) << "the next stray is a bad reply";
    for (std::size_t i = 2; i < 8; ++i)
        EXPECT_GE(gaps[i], 300ms) << i;
    EXPECT_LT(gaps[8], 10ms) << "after Retry too";
}

TEST(Handshake, WaitsAnother300MillisecondsAfterAStray) {
    AppState state = ReadState();
    SimulatedRadio radio(MakeSampleMemory(1));
    Tampered tampered(radio, [](const Bytes &frame, std::vector<Reply> &replies) {
        if (frame == Handshake)
            replies = {{.bytes = Hex("15"), .delayMs = 250}, {.bytes = Ack, .delayMs = 540}};
    });
    FakeClone clone(state, Delivery::AtOnce);
    clone.Connect(1, &tampered);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.Repetitions(), 0);
    EXPECT_EQ(clone.session->Result(), Outcome::Completed);
}

// Timeouts, the port search, the question

/// The times between a frame that met silence and the next frame lie between 300 ms and a few ticks more.
void ExpectTimeouts(const std::vector<FakePort::SentFrame> &frames, std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; ++i) {
        EXPECT_GE(frames[i + 1].time - frames[i].time, 300ms) << i;
        EXPECT_LE(frames[i + 1].time - frames[i].time, 303ms) << i;
    }
}

TEST(Timeouts, RepeatTheHandshakeSevenTimesThenSearchPortByPortThenAsk) {
    AppState state = ReadState();
    state.portNumber = 5;
    FakeClone clone(state, Delivery::AtOnce);
    clone.view.ports = {"COM2", "COM5", "COM12"};
    for (const int number : {2, 5, 12})
        clone.Connect(number, nullptr);
    ASSERT_TRUE(clone.Run());

    std::vector<int> ports(8, 5);
    ports.insert(ports.end(), {2, 5, 12});
    std::vector<int> used;
    for (const FakePort::SentFrame &frame : clone.port.Frames()) {
        EXPECT_EQ(frame.bytes, Handshake);
        used.push_back(frame.port);
    }
    EXPECT_EQ(used, ports);
    ExpectTimeouts(clone.port.Frames(), 0, 10);
    EXPECT_EQ(clone.view.calls, (Calls{"ShowPercentLabel", "ShowPortNumber 2", "ShowPercentLabel",
                                       "ShowPortNumber 5", "ShowPercentLabel", "ShowPortNumber 12",
                                       "ShowPercentLabel", "AskRetry", "ShowPortNumber 5", "CloseWindow"}));
    EXPECT_EQ(clone.MostRepetitions(), 7);
    EXPECT_EQ(state.portNumber, 5) << "Cancel restores the port";
    EXPECT_EQ(state.comPortList, clone.view.ports);
    EXPECT_EQ(clone.session->Result(), Outcome::Cancelled);
    EXPECT_FALSE(clone.port.IsOpen());
    EXPECT_TRUE(clone.timers.Idle());
}

TEST(Timeouts, AskAtOnceWhenThereIsNoPortToSearch) {
    for (const Calls &ports : {Calls{""}, Calls{}}) {
        AppState state = ReadState();
        FakeClone clone(state, Delivery::AtOnce);
        clone.view.ports = ports;
        clone.Connect(1, nullptr);
        ASSERT_TRUE(clone.Run());
        EXPECT_EQ(CountFrames(clone, Handshake), 8);
        EXPECT_EQ(clone.view.calls,
                  (Calls{"ShowPercentLabel", "AskRetry", "ShowPortNumber 1", "CloseWindow"}));
    }
}

TEST(PortSearch, FindsTheRadioAndKeepsItsPort) {
    AppState state = ReadState();
    SimulatedRadio radio(MakeSampleMemory(1));
    FakeClone clone(state, Delivery::ByteByByte);
    clone.view.ports = {"COM1", "COM9", "COM11"};
    clone.Connect(1, nullptr);
    clone.Connect(9, &radio);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.session->Result(), Outcome::Completed);
    EXPECT_EQ(state.portNumber, 9);
    EXPECT_EQ(clone.view.questions, 0);
}

TEST(PortSearch, IgnoresANumberThatIsNone) {
    AppState state = ReadState();
    state.portNumber = 3;
    FakeClone clone(state, Delivery::AtOnce);
    clone.view.ports = {"COM300", "COMX", "COM0"};
    clone.Connect(3, nullptr);
    ASSERT_TRUE(clone.Run());
    for (const FakePort::SentFrame &frame : clone.port.Frames())
        EXPECT_EQ(frame.port, 3);
    EXPECT_EQ(clone.port.Frames().size(), 11U);
    EXPECT_EQ(state.portNumber, 3);
}

TEST(PortSearch, IsNotBegunAnewAfterRetry) {
    AppState state = ReadState();
    FakeClone clone(state, Delivery::AtOnce);
    clone.view.ports = {"COM1", "COM2"};
    clone.view.retries = {true};
    clone.Connect(1, nullptr);
    clone.Connect(2, nullptr);
    ASSERT_TRUE(clone.Run());
    std::vector<int> used;
    for (const FakePort::SentFrame &frame : clone.port.Frames())
        used.push_back(frame.port);
    std::vector<int> expected(9, 1);       // 1 + 7 repetitions, COM1 of the search
    expected.insert(expected.end(), 9, 2); // COM2 of the search, after Retry 1 + 7 repetitions
    EXPECT_EQ(used, expected);
    EXPECT_EQ(clone.view.questions, 2);
    EXPECT_EQ(clone.MostRepetitions(), 7);
    EXPECT_EQ(state.portNumber, 1);
}

TEST(Timeouts, RepeatALaterStepByItsAcknowledgeFrameAndAsk) {
    for (const CloneMode mode : {CloneMode::Read, CloneMode::Write}) {
        AppState state = mode == CloneMode::Read ? ReadState() : WriteState(5);
        SimulatedRadio radio(MakeSampleMemory(4));
        bool gone = false;
        Tampered tampered(radio, [&gone](const Bytes &frame, std::vector<Reply> &replies) {
            gone = gone || (frame.size() >= 4 && frame[2] == 0x20 && frame[1] == 0); // line 2
            if (gone)
                replies.clear();
        });
        FakeClone clone(state, Delivery::AtOnce);
        clone.view.ports = {"COM1", "COM2"};
        clone.Connect(1, &tampered);
        ASSERT_TRUE(clone.Run());

        const auto frames = clone.Frames();
        ASSERT_GE(frames.size(), 8U);
        for (std::size_t i = frames.size() - 7; i < frames.size(); ++i)
            EXPECT_EQ(frames[i], mode == CloneMode::Read ? Ack : frames[frames.size() - 8]);
        EXPECT_EQ(clone.LinesSent(mode == CloneMode::Read ? 'R' : 'W').back(), 2);
        ExpectTimeouts(clone.port.Frames(), frames.size() - 8, frames.size() - 1);
        EXPECT_EQ(clone.view.calls, (Calls{"ShowPercentLabel", "AskRetry", "CloseWindow"}))
            << "no search and no port to restore behind the handshake";
        EXPECT_EQ(clone.session->Result(), Outcome::Cancelled);
        if (mode == CloneMode::Read) {
            EXPECT_EQ(LineBytes(state.image, 1), LineBytes(radio.Memory(), 1)) << "what was stored stays";
        }
        EXPECT_EQ(clone.view.progress.back().first, 0) << "a repetition sets the bar back";
        EXPECT_EQ(clone.view.labels.back(), "Completion percentage:  0%");
    }
}

TEST(Timeouts, AreCountedOverTheWholeSession) {
    for (const int silentHandshakes : {0, 4, 7}) {
        AppState state = ReadState();
        SimulatedRadio radio(MakeSampleMemory(4));
        int handshakes = 0;
        Tampered tampered(radio, [&](const Bytes &frame, std::vector<Reply> &replies) {
            handshakes += frame == Handshake ? 1 : 0;
            if (handshakes <= silentHandshakes || (frame.size() == 4 && frame[2] == 0x10))
                replies.clear();
            if (frame == Ack && radio.Step() == 3)
                replies.clear();
        });
        FakeClone clone(state, Delivery::AtOnce);
        clone.Connect(1, &tampered);
        ASSERT_TRUE(clone.Run());
        EXPECT_EQ(clone.Repetitions(), 7) << silentHandshakes;
        EXPECT_EQ(CountFrames(clone, Handshake), silentHandshakes + 1);
        EXPECT_EQ(clone.Frames().back(), silentHandshakes == 7 ? Hex("52 00 10 10") : Ack);
        EXPECT_EQ(clone.view.questions, 1);
    }
}

TEST(Retry, StartsFromTheHandshakeWithAFreshBarAndSevenNewRepetitions) {
    struct Case {
        CloneMode mode;
        int maximum;
        int end;
    };
    for (const auto &[mode, maximum, end] :
         std::initializer_list<Case>{{CloneMode::Read, 108, 14}, {CloneMode::Write, 106, 11}}) {
        AppState state = mode == CloneMode::Read ? ReadState() : WriteState(6);
        // Line 100, behind the skip of the unused channels, meets silence 8 times, then again 7 times.
        SimulatedRadio radio(MakeSampleMemory(5));
        int silent = 0;
        bool there = false;
        Tampered tampered(radio, [&](const Bytes &frame, std::vector<Reply> &replies) {
            if (frame == Handshake)
                there = false;
            there = there || (frame.size() >= 4 && frame[1] == 0x06 && frame[2] == 0x40);
            if (there && silent < 15) {
                ++silent;
                replies.clear();
            }
        });
        FakeClone clone(state, Delivery::AtOnce);
        clone.view.retries = {true};
        clone.Connect(1, &tampered);
        ASSERT_TRUE(clone.RunUntil([&, started = false]() mutable {
            if (!started)
                clone.Start();
            started = true;
            return clone.view.questions == 1;
        }));
        EXPECT_EQ(clone.view.progress.back(), std::pair(0, maximum));
        EXPECT_EQ(clone.view.labels.back(), "Completion percentage:  0%");
        ASSERT_TRUE(clone.RunUntil([&] { return clone.view.closed; }));
        EXPECT_EQ(clone.session->Result(), Outcome::Completed);
        EXPECT_EQ(CountFrames(clone, Handshake), 2);
        EXPECT_EQ(clone.Repetitions(), 14);
        EXPECT_EQ(clone.view.progress.back().second, end) << "the skip counts once";
        for (const auto &[value, limit] : clone.view.progress)
            EXPECT_TRUE(value <= limit && limit > 0) << value << " of " << limit;
    }
}

TEST(Question, OpensAPortThatIsClosed) {
    AppState state = ReadState();
    const MemoryImage memory = MakeSampleMemory(4);
    SimulatedRadio radio(memory, FaultInjector({{.kind = FaultKind::HangUp, .step = 4}}));
    FakeClone clone(state, Delivery::ByteByByte);
    clone.view.retries = {true};
    clone.Connect(1, &radio);
    std::vector<bool> open;
    clone.view.told = [&](const std::string &) { open.push_back(clone.port.IsOpen()); };
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.view.calls,
              (Calls{"ShowPercentLabel", "AskRetry", "ShowCompleted", "RefreshAfterRead", "CloseWindow"}));
    EXPECT_TRUE(open.at(1)) << "open again while it is asked";
    EXPECT_EQ(clone.session->Result(), Outcome::Completed);
    EXPECT_EQ(Line(std::as_const(state.image), 3)[0], memory[48]);
}

TEST(Question, HoldsEverythingUpWhileItIsOpen) {
    AppState state = ReadState();
    SimulatedRadio radio(MakeSampleMemory(4),
                         FaultInjector({{.kind = FaultKind::NoReply, .step = 4, .count = 8}}));
    FakeClone clone(state, Delivery::AtOnce);
    clone.view.retries = {true};
    clone.Connect(1, &radio);
    clone.view.whileOpen = [&] {
        EXPECT_TRUE(clone.timers.Idle());
        const std::size_t frames = clone.port.Frames().size();
        const std::size_t calls = clone.view.calls.size();
        // Not even events that nobody ought to send change anything.
        for (int i = 0; i < 3; ++i) {
            clone.session->SendTick();
            clone.session->Received();
            clone.session->OvertimeTick();
            clone.RunFor(1s);
        }
        EXPECT_EQ(clone.port.Frames().size(), frames);
        EXPECT_EQ(clone.view.calls.size(), calls);
    };
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.view.calls,
              (Calls{"ShowPercentLabel", "AskRetry", "ShowCompleted", "RefreshAfterRead", "CloseWindow"}));
}

TEST(Retry, AsksForEveryLineAgainAndNamesWhatThenIsLost) {
    AppState state = ReadState();
    SimulatedRadio radio(MakeSampleMemory(4));
    bool silent = false;
    int handshakes = 0;
    Tampered tampered(radio, [&](const Bytes &frame, std::vector<Reply> &replies) {
        handshakes += frame == Handshake ? 1 : 0;
        // The first time the radio falls silent at line 99, the second time line 1 alone is lost.
        silent = handshakes == 1 && (silent || frame == Hex("52 06 30 10"));
        if (silent || (handshakes == 2 && frame == Hex("52 00 10 10")))
            replies.clear();
    });
    FakeClone clone(state, Delivery::AtOnce);
    clone.view.retries = {true};
    clone.Connect(1, &tampered);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.session->Result(), Outcome::Completed);
    EXPECT_EQ(std::ranges::count(clone.LinesSent('R'), 0), 2);
    EXPECT_EQ(clone.view.missing, std::vector<int>{1});
}

TEST(BadReply, IsANotificationWithoutTheBytes) {
    for (const std::size_t frame :
         {2U, 3U, 4U, 5U}) { // identification, its acknowledge, a line, its acknowledge
        AppState state = ReadState();
        SimulatedRadio radio(MakeSampleMemory(4));
        FakeClone clone(state, Delivery::ByteByByte);
        clone.Connect(1, &radio);
        clone.Start();
        ASSERT_TRUE(clone.RunUntil([&] { return clone.port.Frames().size() == frame; }));
        const MemoryImage image = state.image;
        clone.session->Received();
        EXPECT_EQ(state.image, image);
        ASSERT_TRUE(clone.RunUntil([&] { return clone.port.Frames().size() == frame + 1; }));
        EXPECT_EQ(clone.Frames().back(), Ack) << "the repetition";
        EXPECT_EQ(clone.Repetitions(), 1);
        EXPECT_LE(clone.port.Frames()[frame].time - clone.port.Frames()[frame - 1].time, 3ms);
    }
}

// Ports that do not open, users who close

TEST(OpenFailure, LeavesTheSessionIdle) {
    AppState state = ReadState();
    const AppState before = state;
    FakeClone clone(state, Delivery::AtOnce);
    clone.view.whileOpen = [&] { clone.RunFor(1s); };
    EXPECT_FALSE(clone.Run());
    EXPECT_EQ(clone.view.calls, (Calls{"ShowPercentLabel", "ShowOpenFailure COM1"}));
    EXPECT_EQ(clone.session->Result(), Outcome::OpenFailed);
    EXPECT_TRUE(clone.timers.Idle());
    EXPECT_TRUE(clone.port.Frames().empty());
    EXPECT_EQ(state.image, before.image);
    clone.session->Close();
    EXPECT_EQ(clone.session->Result(), Outcome::OpenFailed);
}

TEST(OpenFailure, LeavesTheSessionIdleInThePortSearchToo) {
    AppState state = ReadState();
    FakeClone clone(state, Delivery::AtOnce);
    clone.view.ports = {"COM4", "COM1"};
    clone.Connect(1, nullptr);
    clone.view.whileOpen = [&] { clone.RunFor(1s); };
    EXPECT_FALSE(clone.Run());
    EXPECT_EQ(clone.view.calls,
              (Calls{"ShowPercentLabel", "ShowPortNumber 4", "ShowPercentLabel", "ShowOpenFailure COM4"}));
    EXPECT_EQ(clone.session->Result(), Outcome::OpenFailed);
    EXPECT_TRUE(clone.timers.Idle());
    EXPECT_EQ(clone.port.Frames().size(), 8U);
    EXPECT_EQ(state.portNumber, 4);
}

TEST(UserCloses, EndsTheSessionAtAnyMoment) {
    for (const Delivery delivery : Deliveries) {
        for (int frames = 1; frames < 20; ++frames) {
            AppState state = ReadState();
            const MemoryImage before = state.image;
            const MemoryImage memory = MakeSampleMemory(4);
            SimulatedRadio radio(memory);
            FakeClone clone(state, delivery);
            clone.Connect(1, &radio);
            clone.Start();
            ASSERT_TRUE(
                clone.RunUntil([&] { return static_cast<int>(clone.port.Frames().size()) == frames; }));
            clone.session->Close();
            const MemoryImage stored = state.image;
            clone.RunFor(5s);
            EXPECT_EQ(clone.session->Result(), Outcome::Cancelled);
            EXPECT_FALSE(clone.port.IsOpen());
            EXPECT_TRUE(clone.timers.Idle());
            EXPECT_EQ(clone.view.calls, Calls{"ShowPercentLabel"}) << "no refresh, no message";
            EXPECT_EQ(static_cast<int>(clone.port.Frames().size()), frames);
            EXPECT_EQ(state.image, stored);
            // The request of the first line is frame 4, that of the next one frame 6, and so on.
            const std::vector<int> lines = TransferredLines(4);
            const auto count = std::max(0, (frames - 3) / 2);
            EXPECT_EQ(ChangedLines(before, stored), std::vector(lines.begin(), lines.begin() + count))
                << "after " << frames << " frames";
        }
    }
}

// Replies that are too long, and lines that are lost

TEST(ExtraBytes, BeginTheNextReply) {
    AppState state = ReadState();
    const MemoryImage memory = MakeSampleMemory(4);
    SimulatedRadio radio(memory, FaultInjector({{.kind = FaultKind::ExtraByte, .step = 3}}));
    FakeClone clone(state, Delivery::AtOnce);
    clone.Connect(1, &radio);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.Repetitions(), 1) << "the acknowledge after the data is a bad reply";
    EXPECT_EQ(clone.session->Result(), Outcome::Completed);
    EXPECT_EQ(clone.view.missing, std::vector<int>{});
    EXPECT_EQ(LineBytes(state.image, 1), LineBytes(memory, 1));
}

TEST(ExtraBytes, ThatLookLikeAnAcknowledgeShiftTheNextLineWhichIsNamed) {
    AppState state = ReadState();
    const MemoryImage memory = MakeSampleMemory(4);
    SimulatedRadio radio(memory);
    Tampered tampered(radio, [](const Bytes &frame, std::vector<Reply> &replies) {
        if (frame == Hex("52 00 10 10"))
            replies.front().bytes.push_back(0x06);
    });
    FakeClone clone(state, Delivery::AtOnce);
    clone.Connect(1, &tampered);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.session->Result(), Outcome::Completed);
    EXPECT_EQ(clone.view.missing, std::vector<int>{2});
    for (const int line : ChangedLines(memory, state.image))
        EXPECT_TRUE(line == 2 || (line >= 4 && line < 99) || line > 107) << line;
}

TEST(LostLines, AreNamedAfterTheCompletion) {
    struct Case {
        std::vector<std::uint8_t> silentAddresses; ///< low bytes of channel lines
        std::vector<int> missing;
    };
    for (const auto &[addresses, missing] :
         std::initializer_list<Case>{{{}, {}}, {{0x20}, {2}}, {{0x00, 0x30}, {0, 3}}}) {
        AppState state = ReadState();
        const MemoryImage memory = MakeSampleMemory(5);
        SimulatedRadio radio(memory);
        Tampered tampered(radio, [&silent = addresses](const Bytes &frame, std::vector<Reply> &replies) {
            if (frame.size() == 4 && frame[1] == 0 &&
                std::find(silent.begin(), silent.end(), frame[2]) != silent.end())
                replies.clear();
        });
        FakeClone clone(state, Delivery::AtOnce);
        clone.Connect(1, &tampered);
        ASSERT_TRUE(clone.Run());
        Calls calls{"ShowPercentLabel", "ShowCompleted", "RefreshAfterRead"};
        if (!missing.empty())
            calls.emplace_back("WarnMissingLines");
        calls.emplace_back("CloseWindow");
        EXPECT_EQ(clone.view.calls, calls);
        EXPECT_EQ(clone.view.missing, missing);
        EXPECT_EQ(clone.session->MissingLines(), missing);
        EXPECT_EQ(clone.LinesSent('R'), TransferredLines(5)) << "frame by frame as if nothing were lost";
    }
}

TEST(LostLines, OfTheLastChannelInUseAreNamedThoughNothingIsSkippedThen) {
    AppState state = ReadState();
    const MemoryImage memory = MakeSampleMemory(2);
    SimulatedRadio radio(memory, FaultInjector({{.kind = FaultKind::NoReply, .step = 3}}));
    FakeClone clone(state, Delivery::AtOnce);
    clone.Connect(1, &radio);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.view.missing, std::vector<int>{1});
    EXPECT_EQ(clone.LinesSent('R').size(), 108U);
}

TEST(LostLines, OfAWrongChannelCountAreNamed) {
    // The identification tells fewer channels than the radio has.
    AppState state = ReadState();
    SimulatedRadio radio(MakeSampleMemory(6));
    Tampered tampered(radio, [](const Bytes &frame, std::vector<Reply> &replies) {
        if (frame == Identify)
            replies.front().bytes.back() = 3;
    });
    FakeClone clone(state, Delivery::AtOnce);
    clone.Connect(1, &tampered);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.view.missing, (std::vector<int>{3, 4, 5}));
}

TEST(LostLines, AreThoseUnderAHeaderThatIsNotTheirs) {
    for (const std::string_view header : {"57 00 30 10", "57 01 20 10", "00 00 20 10", "57 00 20 00"}) {
        AppState state = ReadState();
        SimulatedRadio radio(MakeSampleMemory(5));
        Tampered tampered(radio, [&](const Bytes &frame, std::vector<Reply> &replies) {
            if (frame == Hex("52 00 20 10"))
                std::ranges::copy(Hex(header), replies.front().bytes.begin());
        });
        FakeClone clone(state, Delivery::AtOnce);
        clone.Connect(1, &tampered);
        ASSERT_TRUE(clone.Run());
        EXPECT_EQ(clone.view.missing, std::vector<int>{2}) << header;
        EXPECT_EQ(LineBytes(state.image, 2), LineBytes(radio.Memory(), 2)) << "stored all the same";
    }
}

TEST(LostLines, AreAllWhenEveryReplyIsThatToTheLineBefore) {
    // A repeated handshake has brought the radio behind; nobody knows then how many channels it has.
    AppState state = ReadState();
    SimulatedRadio radio(MakeSampleMemory(5));
    Tampered tampered(radio, [handshakes = 0, late = Bytes(20, 0x00)](const Bytes &frame,
                                                                      std::vector<Reply> &replies) mutable {
        if (frame == Handshake && ++handshakes == 1)
            replies.clear();
        if (frame.size() == 4)
            replies.front().bytes.swap(late);
    });
    FakeClone clone(state, Delivery::AtOnce);
    clone.Connect(1, &tampered);
    ASSERT_TRUE(clone.Run());
    EXPECT_EQ(clone.session->Result(), Outcome::Completed);
    EXPECT_EQ(clone.view.missing, TransferredLines(99));
}

TEST(LostLines, AreNotSuspectedWhenARadioRepeatsNoAddresses) {
    // What the headers hold is the radio's business, even when it happens to look like one of the addresses.
    for (const Bytes &header : {Bytes(4, 0x00), Bytes(4, 0xFF), Hex("57 00 20 10"), Hex("52 06 30 10")}) {
        AppState state = ReadState();
        const MemoryImage memory = MakeSampleMemory(5);
        SimulatedRadio radio(memory);
        Tampered tampered(radio, [&header](const Bytes &frame, std::vector<Reply> &replies) {
            if (frame.size() == 4)
                std::copy(header.begin(), header.end(), replies.front().bytes.begin());
        });
        FakeClone clone(state, Delivery::AtOnce);
        clone.Connect(1, &tampered);
        ASSERT_TRUE(clone.Run());
        EXPECT_EQ(clone.session->Result(), Outcome::Completed);
        EXPECT_EQ(clone.view.missing, std::vector<int>{}) << +header[1] << +header[2];
        EXPECT_EQ(LineBytes(state.image, 4), LineBytes(memory, 4));
    }
}

} // namespace
} // namespace k470
