#include "core/Channels.h"
#include "link/CloneSession.h"
#include "link/QtCloneTimers.h"
#include "link/QtSerialPort.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"

#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace k470 {

namespace {

/// A session over a real pseudo-terminal and the real adapter, without a window.
class PtySession : public testing::Test, private CloneView {
protected:
    /// Serves the radio and runs a session to its end.
    void Run(SimulatedRadio &radio, CloneMode mode) {
        PtyServer server(radio);
        const auto failure = server.Start();
        ASSERT_FALSE(failure.has_value()) << *failure;
        const ComPortTable table{{1, server.SlavePath(), ""}};
        state.cloneMode = mode;
        state.portNumber = 1;
        QtSerialPort port([&table] { return table; });
        QtCloneTimers timers;
        CloneSession session(state, port, timers, *this);
        timers.Drive(session);
        QTimer::singleShot(20000, &loop, [this] { loop.exit(1); });
        QTimer::singleShot(0, &loop, [&session] { session.TransferDatas(); });
        ASSERT_EQ(loop.exec(), 0) << "the session did not end";
        session.Close();
        outcome = session.Result();
        EXPECT_TRUE(QTest::qWaitFor([&] {
            bool ended = false;
            server.Inspect([&] { ended = radio.CompletedSessions() > 0; });
            return ended;
        })) << "the radio never saw the end of the session";
        server.Stop();
        for (const auto &complaint : radio.Complaints())
            ADD_FAILURE() << complaint;
    }

    /// What the program sent, in order.
    static std::vector<std::vector<std::uint8_t>> Sent(const SimulatedRadio &radio) {
        std::vector<std::vector<std::uint8_t>> frames;
        for (const auto &entry : radio.Log()) {
            if (entry.direction == FrameDirection::FromProgram)
                frames.push_back(entry.bytes);
        }
        return frames;
    }

    static std::vector<int> LinesOf(const std::vector<std::vector<std::uint8_t>> &frames,
                                    std::uint8_t command) {
        std::vector<int> lines;
        for (const auto &frame : frames) {
            if (frame.size() >= 4 && frame[0] == command)
                lines.push_back((frame[1] * 256 + frame[2]) / 16);
        }
        return lines;
    }

    static std::vector<int> ExpectedLines(int channels) {
        std::vector<int> lines;
        for (int line = 0; line < channels; ++line)
            lines.push_back(line);
        for (int line = FirstSettingsLine; line <= LastSettingsLine; ++line)
            lines.push_back(line);
        return lines;
    }

    void ShowPercentLabel() override {}
    void ShowProgress(int value, int maximum) override { progress = {value, maximum}; }
    void SetPercentLabel(const std::string &) override {}
    void ShowPortNumber() override {}
    void ShowOpenFailure(const PortFailure &failure) override {
        ADD_FAILURE() << PortFailureText(failure, Language::English);
        loop.exit(2);
    }
    bool AskRetry() override {
        ADD_FAILURE() << "the session asked";
        return false;
    }
    void ShowCompleted() override {}
    void RefreshAfterRead() override {}
    void WarnMissingLines(const std::vector<int> &lines) override { missing = lines; }
    std::vector<std::string> EnumComPorts() override { return {""}; }
    void CloseWindow() override { loop.exit(0); }

    AppState state;
    QEventLoop loop;
    CloneSession::Outcome outcome = CloneSession::Outcome::Running;
    std::pair<int, int> progress;
    std::vector<int> missing;
};

TEST_F(PtySession, AReadOfSixteenChannelsTakesTwentyFiveLines) {
    SimulatedRadio radio(MakeSampleMemory(16));
    state.image.fill(0xAA);
    Run(radio, CloneMode::Read);
    EXPECT_EQ(outcome, CloneSession::Outcome::Completed);
    EXPECT_EQ(LinesOf(Sent(radio), 'R'), ExpectedLines(16));
    EXPECT_EQ(progress, std::pair(25, 25));
    EXPECT_TRUE(missing.empty());
    for (const int line : ExpectedLines(16))
        EXPECT_TRUE(std::ranges::equal(Line(state.image, line), Line(radio.Memory(), line))) << line;
    for (const int line : {16, 98, 108, 111})
        EXPECT_EQ(Line(state.image, line).front(), 0xAA) << line;
    EXPECT_EQ(Sent(radio).back(), std::vector<std::uint8_t>{'E'});
}

TEST_F(PtySession, AWriteSendsTheLinesInUseAndTheEndReachesTheRadio) {
    for (const int channels : {0, 1, 3, 99}) {
        SimulatedRadio radio(MakeSampleMemory(16));
        state.image = MakeSampleMemory(99);
        state.gridRows = static_cast<std::uint8_t>(channels + 1);
        if (channels == 3)
            Line(state.image, 1).front() = 0xFF;
        const MemoryImage before = state.image;
        Run(radio, CloneMode::Write);
        const auto sent = Sent(radio);
        EXPECT_EQ(LinesOf(sent, 'W'), ExpectedLines(channels));
        EXPECT_EQ(sent.back(), std::vector<std::uint8_t>{'E'});
        EXPECT_EQ(state.image, before);
        if (channels == 3) {
            EXPECT_EQ(sent[4], (std::vector<std::uint8_t>{'W', 0x00, 0x10, 0x01, 0xFF}));
            EXPECT_EQ(progress, std::pair(9, 9));
        }
        for (const int line : ExpectedLines(channels)) {
            const bool sentAsFirstByte = channels == 3 && line == 1;
            EXPECT_TRUE(sentAsFirstByte ||
                        std::ranges::equal(Line(state.image, line), Line(radio.Memory(), line)))
                << line;
        }
    }
}

} // namespace

} // namespace k470
