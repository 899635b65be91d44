#include "bench/Figures.h"

#include "link/CloneSession.h"
#include "link/QtCloneTimers.h"
#include "link/QtSerialPort.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <optional>

namespace k470 {

namespace {

constexpr int Baud = 9600;
constexpr double Limit = 1.05;

/// The view of a session that only waits for the end.
class Waiter : public CloneView {
public:
    bool completed = false;

    void ShowPercentLabel() override {}
    void ShowProgress(int, int) override {}
    void SetPercentLabel(const std::string &) override {}
    void ShowPortNumber() override {}
    void ShowOpenFailure(const PortFailure &) override { QCoreApplication::exit(1); }
    bool AskRetry() override { return false; }
    void ShowCompleted() override { completed = true; }
    void RefreshAfterRead() override {}
    void WarnMissingLines(const std::vector<int> &) override { completed = false; }
    void WarnDisturbedWrite() override { completed = false; }
    ComPortTable ComPorts() override { return {}; }
    void CloseWindow() override { QCoreApplication::exit(0); }
};

/// A session's duration divided by the time that its bytes take on the wire: 9600 baud, a start bit, eight
/// data bits and two stop bits each. Opening the port and the pause before it closes count. Nothing when it
/// failed.
std::optional<double> RunSession(CloneMode mode, int channels) {
    SimulatedRadio radio(MakeSampleMemory(channels));
    PtyServer server(radio, {.baud = Baud});
    if (server.Start())
        return std::nullopt;
    const ComPortTable table{{1, server.SlavePath(), ""}};
    AppState state;
    state.image = MakeSampleMemory(channels);
    state.gridRows = static_cast<std::uint8_t>(channels + 1);
    state.cloneMode = mode;
    Waiter view;
    QtSerialPort port([&table] { return table; });
    QtCloneTimers timers;
    CloneSession session(state, port, timers, view);
    timers.Drive([&] { session.SendTick(); }, [&] { session.OvertimeTick(); });

    QElapsedTimer clock;
    QTimer::singleShot(0, [&] { // an end before the loop runs would not end it
        clock.start();
        session.TransferDatas();
    });
    QCoreApplication::exec();
    const double seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    session.Close();
    server.Stop();
    std::size_t bytes = 0;
    for (const LoggedFrame &frame : radio.Log())
        bytes += frame.bytes.size();
    const double wireSeconds = static_cast<double>(bytes) * BitsPerByte / Baud;
    return view.completed ? std::optional(seconds / wireSeconds) : std::nullopt;
}

Figure MeasureSessions(CloneMode mode, int channels, int runs) {
    const char *const direction = mode == CloneMode::Read ? "read" : "write";
    Figure figure{QString("%1 of %2 channels / wire time").arg(direction).arg(channels), "", {}, Limit};
    for (int run = 0; run < runs; ++run) {
        const std::optional<double> ratio = RunSession(mode, channels);
        if (!ratio)
            return {figure.name, "", {}, Limit};
        figure.samples.push_back(*ratio);
    }
    return figure;
}

} // namespace

std::vector<Figure> MeasureClone() {
    constexpr int LongRuns = 3;
    constexpr int ShortRuns = 7;
    std::vector<Figure> figures;
    for (const CloneMode mode : {CloneMode::Read, CloneMode::Write}) {
        figures.push_back(MeasureSessions(mode, 99, LongRuns));
        figures.push_back(MeasureSessions(mode, 16, ShortRuns));
    }
    return figures;
}

} // namespace k470
