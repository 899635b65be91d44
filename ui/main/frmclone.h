#pragma once

#include "core/AppState.h"
#include "link/CloneSession.h"
#include "link/ComPorts.h"
#include "link/QtCloneTimers.h"
#include "link/QtSerialPort.h"

#include <QDialog>
#include <QMessageBox>

#include <functional>
#include <string>
#include <vector>

class QLabel;
class QProgressBar;

namespace k470 {

/// The transfer window: runs one clone session in the direction of state.cloneMode from the moment it is
/// shown, and closes when the session ends. Closed by the user, at any time, it ends the session and closes
/// the port, and when a line was written, says that the radio holds a mixture; only while a message stands
/// over it does it stay, whoever wants it closed. After a port that could not be opened it stays open and
/// idle.
class frmclone : public QDialog, private CloneView {
    Q_OBJECT

public:
    /// @param comPorts the system's serial devices now
    frmclone(AppState &state, std::function<ComPortTable()> comPorts, QWidget *owner);
    ~frmclone() override;

    /// Opens the port and starts from the handshake, unless the window has been closed.
    void TransferDatas();

    void done(int result) override;

signals:
    /// The port search has given the state another port number, or the user the old one back.
    void PortChanged();
    /// A read has completed: image, band limits and grid rows of the state are those of the radio.
    void ImageRead();

protected:
    void showEvent(QShowEvent *event) override;

private:
    /// Captions and progress. The session starts when the window is shown.
    void Form_Load();
    void Form_Unload();
    void tmrSend_Timer();
    void tmrOvertime_Timer();
    void MSComm1_OnComm();

    bool IsBrokenOff() const;
    void LayOut();
    QMessageBox::StandardButton Ask(QMessageBox::Icon icon, const QString &title, const QString &text,
                                    QMessageBox::StandardButtons buttons = QMessageBox::Ok);

    void ShowPercentLabel() override;
    void ShowProgress(int value, int maximum) override;
    void SetPercentLabel(const std::string &text) override;
    void ShowPortNumber() override;
    void ShowOpenFailure(const PortFailure &failure) override;
    bool AskRetry() override;
    void ShowCompleted() override;
    void RefreshAfterRead() override;
    void WarnMissingLines(const std::vector<int> &lines) override;
    void WarnDisturbedWrite() override;
    ComPortTable ComPorts() override;
    void CloseWindow() override;

    AppState &state_;
    std::function<ComPortTable()> comPorts_;
    QProgressBar *prgPercent_;
    QLabel *lblPercent_;
    QtSerialPort port_;
    QtCloneTimers timers_;
    CloneSession session_;
    bool started_ = false;
    bool messageOpen_ = false;
};

} // namespace k470
