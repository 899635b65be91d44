#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/FakeClone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace k470 {
namespace {

using Outcome = CloneSession::Outcome;

struct FaultCase {
    FaultKind kind;
    int step;
    int count;
    std::uint32_t seed;
    CloneMode mode;
    int baud;
};

/// As few channels as make the step happen, so that the session is short; by turns the step is that of the
/// last channel or not, and behind the channels the radio has none or some.
int ChannelsFor(const FaultCase &fault) {
    const int line = fault.step - Clone::FirstLineStep;
    const bool odd = fault.seed % 2 != 0;
    if (line < 0 || line >= MaxChannels)
        return odd ? 0 : 3;
    return odd ? line + 1 : std::min(line + 3, MaxChannels);
}

/// The radio's memory: by turns ordinary, full of bytes that look like acknowledges, full of bytes that look
/// like headers of other lines.
MemoryImage MemoryFor(const FaultCase &fault) {
    const int channels = ChannelsFor(fault);
    const Bytes pattern = fault.seed % 3 == 1 ? HexBytes("06 06 06 06") : HexBytes("57 00 00 10");
    MemoryImage memory = MakeSampleMemory(channels);
    for (int line = 0; line < channels && fault.seed % 3 != 0; ++line) {
        const auto bytes = Line(memory, line);
        for (std::size_t i = 0; i < LineSize; ++i)
            bytes[i] = pattern[i % pattern.size()];
        bytes[LineSize - 1] = static_cast<std::uint8_t>(line); // no two lines are alike
    }
    return memory;
}

AppState StateFor(const FaultCase &fault) {
    AppState state;
    state.cloneMode = fault.mode;
    state.image.fill(0x77);
    if (fault.mode == CloneMode::Write) {
        state.image = MemoryFor(fault);
        for (std::size_t line = 1; line < 99; line += 3)
            state.image[line * LineSize] = 0xFF;
        state.gridRows = static_cast<std::uint8_t>(ChannelsFor(fault) + 1);
    }
    return state;
}

/// What the radio holds before; for a write, what differs from the image in every byte that counts.
MemoryImage RadioMemoryFor(const FaultCase &fault) {
    if (fault.mode == CloneMode::Read)
        return MemoryFor(fault);
    MemoryImage other = StateFor(fault).image;
    for (std::uint8_t &byte : other)
        byte ^= 0x5A;
    return other;
}

/// A doubled acknowledge does harm only where a later line goes unanswered.
std::vector<Fault> FaultsOf(const FaultCase &fault) {
    std::vector<Fault> faults{{.kind = fault.kind, .step = fault.step, .count = fault.count}};
    const bool doubled = fault.kind == FaultKind::DoubleAck || fault.kind == FaultKind::LateDoubleAck;
    if (doubled && fault.step + 4 <= Clone::LastLineStep)
        faults.push_back({.kind = FaultKind::NoReply, .step = fault.step + 4});
    return faults;
}

class FaultySession {
public:
    explicit FaultySession(const FaultCase &fault)
        : fault_(fault), state_(StateFor(fault)), before_(state_.image),
          radio_(RadioMemoryFor(fault), FaultInjector(FaultsOf(fault), fault.seed)), clone_(state_) {
        clone_.timers.hurries = fault.seed % 4 < 2;
        clone_.view.ports = {1, 2};
        clone_.view.retries = 1;
        clone_.port.Connect(1, &radio_, fault.baud);
        clone_.port.Connect(2, nullptr, fault.baud);
    }

    void Check() {
        EXPECT_TRUE(clone_.Run()) << "the session does not end";
        EXPECT_NE(clone_.session.Result(), Outcome::Running);
        EXPECT_LE(clone_.MostRepetitions(), 7);
        EXPECT_LE(clone_.view.questions, 2);
        for (const auto &[value, maximum] : clone_.view.progress)
            EXPECT_TRUE(value >= 0 && value <= maximum) << value << " of " << maximum;
        if (fault_.mode == CloneMode::Read)
            CheckRead();
        else
            CheckWrite();
    }
    bool Completed() const { return clone_.session.Result() == Outcome::Completed; }
    bool Struck() const { return !radio_.Strikes().empty(); }

private:
    void CheckRead() {
        const std::vector<int> requested = clone_.LinesSent('R');
        for (const int line : ChangedLines(before_, state_.image))
            EXPECT_TRUE(std::ranges::count(requested, line) > 0) << "line " << line << " was not asked for";
        if (!Completed())
            return;
        for (const int line : ChangedLines(radio_.Memory(), state_.image)) {
            const bool transferred = line < ChannelsFor(fault_) || (line >= 99 && line <= 107);
            const bool named = std::ranges::count(clone_.view.missing, line) > 0;
            EXPECT_TRUE(!transferred || named || Flipped(line)) << "line " << line << " was lost in silence";
        }
    }
    /// Whether the fault has changed bits of the line: then the radio sent it as the image holds it.
    bool Flipped(int line) const {
        const Bytes held = LineBytes(state_.image, line);
        return fault_.kind == FaultKind::FlippedBits && line == LineOfStep(fault_.step) &&
               std::ranges::any_of(radio_.Log(), [&held](const LoggedFrame &frame) {
                   return frame.bytes.size() == Clone::LineReplyLength &&
                          std::equal(held.begin(), held.end(), frame.bytes.begin() + Clone::HeaderLength);
               });
    }
    void CheckWrite() {
        EXPECT_EQ(state_.image, before_);
        if (!Completed())
            return;
        EXPECT_TRUE(radio_.EndedByE());
        const bool warned = std::ranges::count(clone_.view.calls, "WarnDisturbedWrite") > 0;
        for (const int line : TransferredLines(ChannelsFor(fault_))) {
            const auto wanted = Line(before_, line);
            const auto there = Line(radio_.Memory(), line);
            const bool empty = line < 99 && wanted[0] == 0xFF; // only that byte is sent
            const bool lied = fault_.kind == FaultKind::NoStore && line == LineOfStep(fault_.step);
            EXPECT_TRUE((empty ? there[0] == 0xFF : std::ranges::equal(there, wanted)) || lied || warned)
                << "line " << line << " is not in the radio";
        }
    }

    FaultCase fault_;
    AppState state_;
    MemoryImage before_;
    SimulatedRadio radio_;
    FakeClone clone_;
};

/// The first and the last step at which a kind of fault finds a reply that it can strike, in the order of
/// FaultKind; none when the last one comes first.
struct Strikes {
    int readFirst, readLast, writeFirst, writeLast;
};
constexpr std::array<Strikes, 13> StrikesByKind{{{0, 109, 0, 109},
                                                 {1, 109, 1, 1},
                                                 {0, 110, 0, 110},
                                                 {0, 109, 0, 109},
                                                 {0, 109, 0, 109},
                                                 {0, 109, 0, 109},
                                                 {0, 110, 0, 110},
                                                 {0, 110, 0, 110},
                                                 {1, 0, 2, 109},
                                                 {0, 109, 0, 109},
                                                 {0, 109, 0, 109},
                                                 {2, 109, 1, 0},
                                                 {0, 109, 1, 0}}};

/// Every step but those of channels that are neither among the first nor the last: they are all alike.
constexpr std::array<int, 24> Steps{0,  1,   2,   3,   4,   5,   6,   7,   8,   9,   40,  71,
                                    99, 100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110};

/// Every kind of fault at the steps, once, a few times and often, by turns at either speed, with seeds that
/// make no two sessions alike.
void RunFaultMatrix(CloneMode mode) {
    int sessions = 0;
    int completed = 0;
    for (std::size_t row = 0; row < StrikesByKind.size(); ++row)
        for (const int step : Steps)
            for (const int count : {1, 3, 8, 30}) {
                const auto kind = static_cast<FaultKind>(row);
                const Strikes &range = StrikesByKind[row];
                const bool strikes = mode == CloneMode::Read
                                         ? step >= range.readFirst && step <= range.readLast
                                         : step >= range.writeFirst && step <= range.writeLast;
                const auto seed = static_cast<std::uint32_t>(step + 7 * count);
                // Only a line with a speed shows that an acknowledge came before its frame had left.
                const bool timed = kind == FaultKind::LateDoubleAck || (sessions / 3) % 2 == 0;
                FaultySession session({kind, step, count, seed, mode, timed ? WireSpeed : AtOnce});
                session.Check();
                EXPECT_EQ(session.Struck(), strikes);
                ASSERT_FALSE(testing::Test::HasFailure())
                    << FaultKindName(kind) << "@" << step << "x" << count;
                ++sessions;
                completed += session.Completed() ? 1 : 0;
                if (!strikes)
                    break;
            }
    EXPECT_GT(completed, sessions / 3) << "what does not complete shows little";
}

TEST(FaultMatrix, OfReadsLosesNothingInSilence) {
    RunFaultMatrix(CloneMode::Read);
}

TEST(FaultMatrix, OfWritesLosesNothingInSilence) {
    RunFaultMatrix(CloneMode::Write);
}

} // namespace
} // namespace k470
