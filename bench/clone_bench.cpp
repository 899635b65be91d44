// Times whole clone sessions against the simulated radio at real wire speed, over a pseudo-terminal.

#include "link/CloneSession.h"
#include "link/QtCloneTimers.h"
#include "link/QtSerialPort.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

namespace k470 {

namespace {

constexpr int Baud = 9600;
constexpr int BitsPerByte = 11;
constexpr double Limit = 1.05;

/// A session's view that only waits for the end.
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
    std::vector<std::string> EnumComPorts() override { return {""}; }
    void CloseWindow() override { QCoreApplication::exit(0); }
};

struct Measured {
    double seconds = 0;
    double wireSeconds = 0;
    bool completed = false;
};

Measured RunSession(CloneMode mode, int channels) {
    SimulatedRadio radio(MakeSampleMemory(channels));
    PtyServer server(radio, {.baud = Baud});
    if (server.Start())
        return {};
    const ComPortTable table{{1, server.SlavePath(), ""}};
    AppState state;
    state.image = MakeSampleMemory(channels);
    state.gridRows = static_cast<std::uint8_t>(channels + 1);
    state.cloneMode = mode;
    Waiter view;
    QtSerialPort port([&table] { return table; });
    QtCloneTimers timers;
    CloneSession session(state, port, timers, view);
    timers.Drive(session);

    QElapsedTimer clock;
    clock.start();
    session.TransferDatas();
    QCoreApplication::exec();
    Measured result;
    result.seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    session.Close();
    server.Stop();
    std::size_t bytes = 0;
    for (const LoggedFrame &frame : radio.Log())
        bytes += frame.bytes.size();
    result.wireSeconds = static_cast<double>(bytes) * BitsPerByte / Baud;
    result.completed = view.completed;
    return result;
}

} // namespace

} // namespace k470

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    using namespace k470;
    bool good = true;
    std::printf("%-22s %10s %10s %8s %8s\n", "session", "measured s", "wire s", "ratio", "limit");
    for (const CloneMode mode : {CloneMode::Read, CloneMode::Write}) {
        for (const int channels : {99, 16}) {
            const Measured measured = RunSession(mode, channels);
            const double ratio = measured.seconds / measured.wireSeconds;
            good = good && measured.completed && ratio <= Limit;
            std::printf("%-5s %2d channels      %10.3f %10.3f %8.4f %8.2f\n",
                        mode == CloneMode::Read ? "read" : "write", channels, measured.seconds,
                        measured.wireSeconds, ratio, Limit);
        }
    }
    return good ? 0 : 1;
}
