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

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace k470 {
namespace {

/// A session over a real pseudo-terminal and the real adapter, without a window.
class PtySession : public testing::Test, private CloneView {
protected:
    /// Serves the radio and runs a session to its end.
    void Run(SimulatedRadio &radio, CloneMode mode) {
        PtyServer server(radio);
        ASSERT_FALSE(server.Start());
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
        EXPECT_EQ(session.Result(), CloneSession::Outcome::Completed);
        EXPECT_TRUE(QTest::qWaitFor([&] {
            bool ended = false;
            server.Inspect([&] { ended = radio.CompletedSessions() > 0; });
            return ended;
        })) << "the radio never saw the end of the session";
        server.Stop();
        EXPECT_EQ(radio.Complaints(), std::vector<std::string>{});
    }

    void ShowPercentLabel() override {}
    void ShowProgress(int value, int maximum) override { progress = {value, maximum}; }
    void SetPercentLabel(const std::string &) override {}
    void ShowPortNumber() override {}
    void ShowOpenFailure(const PortFailure &) override { loop.exit(2); }
    bool AskRetry() override { return false; }
    void ShowCompleted() override {}
    void RefreshAfterRead() override {}
    void WarnMissingLines(const std::vector<int> &lines) override { missing = lines; }
    std::vector<std::string> EnumComPorts() override { return {""}; }
    void CloseWindow() override { loop.exit(0); }

    AppState state;
    QEventLoop loop;
    std::pair<int, int> progress;
    std::vector<int> missing;
};

TEST_F(PtySession, AReadOfSixteenChannelsTakesTwentyFiveLines) {
    SimulatedRadio radio(MakeSampleMemory(16));
    state.image.fill(0xAA);
    Run(radio, CloneMode::Read);
    EXPECT_EQ(progress, std::pair(25, 25));
    EXPECT_TRUE(missing.empty());
    for (int line = 0; line < static_cast<int>(LineCount); ++line) {
        const auto held = Line(std::as_const(state.image), line);
        const bool read = line < 16 || (line >= FirstSettingsLine && line <= LastSettingsLine);
        EXPECT_TRUE(read ? std::ranges::equal(held, Line(radio.Memory(), line)) : held.front() == 0xAA)
            << line;
    }
}

TEST_F(PtySession, AWriteSendsTheLinesInUseAndTheEndReachesTheRadio) {
    for (const int channels : {0, 3, 99}) {
        SimulatedRadio radio(MakeSampleMemory(16));
        MemoryImage expected = radio.Memory();
        state.image = MakeSampleMemory(99);
        state.gridRows = static_cast<std::uint8_t>(channels + 1);
        const MemoryImage before = state.image;
        Run(radio, CloneMode::Write);
        EXPECT_EQ(state.image, before);
        for (int line = 0; line <= LastSettingsLine; ++line)
            if (line < channels || line >= FirstSettingsLine)
                std::ranges::copy(Line(before, line), Line(expected, line).begin());
        EXPECT_EQ(radio.Memory(), expected) << channels;
    }
}

} // namespace
} // namespace k470
