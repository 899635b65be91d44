#include "core/AppState.h"
#include "link/CloneFrames.h"
#include "link/CloneSession.h"
#include "sim/Faults.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/FakeClone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace k470 {
namespace {

using Outcome = CloneSession::Outcome;

struct FaultCase {
    FaultKind kind;
    int step;
    int count;
    std::uint32_t seed;
    CloneMode mode;
    Delivery delivery;
};

std::string Describe(const FaultCase &fault) {
    return std::string(fault.mode == CloneMode::Read ? "read, " : "write, ") +
           std::string(FaultKindName(fault.kind)) + "@" + std::to_string(fault.step) + "x" +
           std::to_string(fault.count) + ", seed " + std::to_string(fault.seed) +
           (fault.delivery == Delivery::AtOnce ? ", at once" : ", byte by byte");
}

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
    const Bytes pattern = fault.seed % 3 == 1 ? Hex("06 06 06 06") : Hex("57 00 00 10");
    MemoryImage memory = MakeSampleMemory(channels);
    for (int line = 0; line < channels && fault.seed % 3 != 0; ++line) {
        const auto bytes = Line(memory, line);
        for (std::size_t i = 0; i < LineSize; ++i)
            bytes[i] = pattern[i % pattern.size()];
        bytes[LineSize - 1] = static_cast<std::uint8_t>(line); // no two lines are alike
    }
    return memory;
}

/// What the radio sent as the data of a line.
std::vector<Bytes> DataSent(const SimulatedRadio &radio, int line) {
    std::vector<Bytes> sent;
    const Bytes request{'R', static_cast<std::uint8_t>(line / 16), static_cast<std::uint8_t>(line % 16 * 16),
                        16};
    bool requested = false;
    for (const LoggedFrame &frame : radio.Log()) {
        if (frame.direction == FrameDirection::FromRadio && requested && frame.bytes.size() == 20)
            sent.emplace_back(frame.bytes.begin() + 4, frame.bytes.end());
        requested = frame.bytes == request;
    }
    return sent;
}

class FaultySession {
public:
    explicit FaultySession(const FaultCase &fault)
        : fault_(fault), memory_(MemoryFor(fault)), state_(MakeState()), before_(state_.image),
          radio_(fault.mode == CloneMode::Read ? memory_ : OtherMemory(),
                 FaultInjector({{.kind = fault.kind, .step = fault.step, .count = fault.count}}, fault.seed)),
          clone_(state_, fault.delivery) {
        clone_.timers.hurries = fault.seed % 4 < 2;
        clone_.view.ports = {"COM1", "COM2"};
        clone_.view.retries = {true};
        clone_.Connect(1, &radio_);
        clone_.Connect(2, nullptr);
    }

    void Check() {
        EXPECT_TRUE(clone_.Run()) << "the session does not end";
        EXPECT_NE(clone_.session->Result(), Outcome::Running);
        EXPECT_LE(clone_.MostRepetitions(), 7);
        EXPECT_LE(clone_.view.questions, 2);
        for (const auto &[value, maximum] : clone_.view.progress)
            EXPECT_TRUE(value >= 0 && value <= maximum) << value << " of " << maximum;
        if (fault_.mode == CloneMode::Read)
            CheckRead();
        else
            CheckWrite();
    }
    bool Completed() const { return clone_.session->Result() == Outcome::Completed; }
    bool Struck() const { return !radio_.Strikes().empty(); }

private:
    AppState MakeState() const {
        AppState state;
        state.cloneMode = fault_.mode;
        state.image.fill(0x77);
        if (fault_.mode == CloneMode::Write) {
            state.image = memory_;
            for (std::size_t line = 1; line < 99; line += 3)
                state.image[line * LineSize] = 0xFF;
            state.gridRows = static_cast<std::uint8_t>(ChannelsFor(fault_) + 1);
        }
        return state;
    }
    /// Different from what is written in every byte that counts.
    MemoryImage OtherMemory() const {
        MemoryImage other = MakeState().image;
        for (std::uint8_t &byte : other)
            byte ^= 0x5A;
        return other;
    }

    void CheckRead() {
        const std::vector<int> requested = clone_.LinesSent('R');
        for (const int line : ChangedLines(before_, state_.image))
            EXPECT_TRUE(std::ranges::count(requested, line) > 0) << "line " << line << " was not asked for";
        if (!Completed())
            return;
        const std::vector<int> &missing = clone_.view.missing;
        for (const int line : ChangedLines(memory_, state_.image)) {
            if ((line >= ChannelsFor(fault_) && line < 99) || line > 107 ||
                std::ranges::count(missing, line) > 0)
                continue;
            const bool flipped =
                fault_.kind == FaultKind::FlippedBits && line == fault_.step - 2 &&
                std::ranges::count(DataSent(radio_, line), LineBytes(state_.image, line)) > 0;
            EXPECT_TRUE(flipped) << "line " << line << " was lost in silence";
        }
    }
    void CheckWrite() {
        EXPECT_EQ(state_.image, before_);
        if (!Completed())
            return;
        EXPECT_TRUE(radio_.EndedByE());
        for (const int line : TransferredLines(ChannelsFor(fault_))) {
            const Bytes wanted = LineBytes(before_, line);
            Bytes there = LineBytes(radio_.Memory(), line);
            if (line < 99 && wanted[0] == 0xFF) // only that byte is sent
                there = there[0] == 0xFF ? wanted : there;
            const bool lied = fault_.kind == FaultKind::NoStore && line == fault_.step - 2;
            EXPECT_TRUE(there == wanted || lied) << "line " << line << " is not in the radio";
        }
    }

    FaultCase fault_;
    MemoryImage memory_;
    AppState state_;
    MemoryImage before_;
    SimulatedRadio radio_;
    FakeClone clone_;
};

/// Whether a session meets a reply that a fault of the kind can strike at the step.
bool CanStrike(const FaultCase &fault) {
    const bool read = fault.mode == CloneMode::Read;
    switch (fault.kind) {
    case FaultKind::ExtraByte:
    case FaultKind::StrayBytes:
    case FaultKind::HangUp:
        return true;
    case FaultKind::ShortData:
        return fault.step == Clone::StepIdentify ||
               (read && fault.step > Clone::StepIdentify && fault.step < Clone::EndStep);
    case FaultKind::NoStore:
        return !read && fault.step > Clone::StepIdentify && fault.step < Clone::EndStep;
    default:
        return fault.step < Clone::EndStep;
    }
}

/// Every kind of fault at every step, with seeds that make no two sessions alike.
void RunFaultMatrix(CloneMode mode, Delivery delivery) {
    int sessions = 0;
    int completed = 0;
    for (int kind = 0; kind <= static_cast<int>(FaultKind::NoStore); ++kind) {
        for (int step = Clone::StepHandshake; step <= Clone::EndStep; ++step) {
            for (const int count : {1, 3, 8, 30}) {
                const auto seed = static_cast<std::uint32_t>(step + 7 * count);
                const FaultCase fault{static_cast<FaultKind>(kind), step, count, seed, mode, delivery};
                FaultySession session(fault);
                session.Check();
                EXPECT_EQ(session.Struck(), CanStrike(fault));
                ASSERT_FALSE(testing::Test::HasFailure()) << Describe(fault);
                ++sessions;
                completed += session.Completed() ? 1 : 0;
                if (!CanStrike(fault))
                    break;
            }
        }
    }
    EXPECT_GT(completed, sessions / 3) << "what does not complete shows little";
}

TEST(FaultMatrix, OfReadsAtOnceLosesNothingInSilence) {
    RunFaultMatrix(CloneMode::Read, Delivery::AtOnce);
}

TEST(FaultMatrix, OfReadsByteByByteLosesNothingInSilence) {
    RunFaultMatrix(CloneMode::Read, Delivery::ByteByByte);
}

TEST(FaultMatrix, OfWritesAtOnceLosesNothingInSilence) {
    RunFaultMatrix(CloneMode::Write, Delivery::AtOnce);
}

TEST(FaultMatrix, OfWritesByteByByteLosesNothingInSilence) {
    RunFaultMatrix(CloneMode::Write, Delivery::ByteByByte);
}

} // namespace
} // namespace k470
