#include "cli/CloneRun.h"

#include "link/CloneSession.h"
#include "link/QtCloneTimers.h"
#include "link/QtSerialPort.h"
#include "link/TracedPort.h"

#include <QDateTime>
#include <QEventLoop>

namespace k470 {

namespace {

using End = CloneReport::End;

class CloneRun : public CloneView {
public:
    CloneRun(AppState &state, const CloneTask &task, const CloneLine &line);

    CloneReport Run();

    void ShowPercentLabel() override { SetPercentLabel(InitialProgressText(state_.language)); }
    void ShowProgress(int, int) override {}
    void SetPercentLabel(const std::string &text) override {
        line_.console.ShowProgress(line_.console.Phrase(task_.progress) + text);
    }
    void ShowPortNumber() override {}
    void ShowOpenFailure(const PortFailure &failure) override;
    bool AskRetry() override;
    void ShowCompleted() override;
    void RefreshAfterRead() override {}
    void WarnMissingLines(const std::vector<int> &lines) override { report_.missingLines = lines; }
    void WarnDisturbedWrite() override { report_.disturbed = true; }
    ComPortTable ComPorts() override { return line_.port.table(); }
    void CloseWindow() override;

private:
    void SendTick();
    void OvertimeTick();
    bool IsBetweenLines() const;

    AppState &state_;
    const CloneTask &task_;
    const CloneLine &line_;
    QEventLoop loop_;
    QtSerialPort port_;
    TracedPort tracedPort_;
    QtCloneTimers timers_;
    CloneSession session_;

    int sentStep_ = Clone::NothingSent; ///< step of the last frame
    bool closed_ = false;
    CloneReport report_;
};

CloneRun::CloneRun(AppState &state, const CloneTask &task, const CloneLine &line)
    : state_(state), task_(task), line_(line), port_(line.port.table), tracedPort_(port_, line.trace),
      session_(state, tracedPort_, timers_, *this) {
    timers_.Drive([this] { SendTick(); }, [this] { OvertimeTick(); });
}

CloneReport CloneRun::Run() {
    const QString now = QDateTime::currentDateTime().toString(Qt::ISODate);
    line_.trace.AddComment(now.toStdString() + " session on " + line_.port.name + ": " + task_.purpose);
    session_.TransferDatas();
    if (!closed_)
        loop_.exec();
    session_.Close();
    return report_;
}

void CloneRun::SendTick() {
    if (line_.interrupts.Interrupted() && IsBetweenLines()) {
        CloseWindow();
        return;
    }
    session_.SendTick();
    sentStep_ = session_.Step();
    report_.lineSent = report_.lineSent || sentStep_ >= Clone::FirstLineStep;
}

void CloneRun::OvertimeTick() {
    // A line that has just failed is not repeated for a user who wants to stop.
    if (line_.interrupts.Interrupted() && session_.Result() == CloneSession::Outcome::Running)
        CloseWindow();
    else
        session_.OvertimeTick();
}

/// The step moves on with the acknowledge that ends a line. After the last line only the end byte is left: to
/// send it harms nobody, to withhold it leaves the radio waiting.
bool CloneRun::IsBetweenLines() const {
    return session_.Step() != sentStep_ && session_.Step() != Clone::EndStep;
}

void CloneRun::ShowOpenFailure(const PortFailure &failure) {
    report_.end = End::OpenFailed;
    report_.failure = failure;
    if (line_.port.byPath)
        report_.failure.port.clear();
    CloseWindow();
}

void CloneRun::ShowCompleted() {
    report_.end = End::Completed;
    if (task_.mode == CloneMode::Read)
        report_.missingLines.emplace(); // none, unless a warning follows
}

/// Nobody is there to plug the cable in and press Retry.
bool CloneRun::AskRetry() {
    report_.end = session_.Step() == Clone::StepHandshake ? End::NoAnswer : End::Broken;
    return false;
}

void CloneRun::CloseWindow() {
    closed_ = true;
    loop_.quit();
}

} // namespace

CloneReport RunClone(AppState &state, const CloneTask &task, const CloneLine &line) {
    state.cloneMode = task.mode;
    state.portNumber = line.port.number;
    return line.interrupts.Interrupted() ? CloneReport() : CloneRun(state, task, line).Run();
}

} // namespace k470
