#pragma once

#include <QObject>

namespace k470 {

/// Hears when the system wants the program to end: the signals SIGTERM, SIGINT and SIGHUP, and the toolkit's
/// request to quit, which also stands for the end of a session. A second signal of the same kind ends the
/// program at once, as without this object. One object at a time; made after the application object.
class EndRequests : public QObject {
    Q_OBJECT

public:
    EndRequests();
    ~EndRequests() override;

signals:
    /// Raised from the event loop, also from one inside a dialog.
    /// @param exitCode for the program: 128 + the signal's number, or 0
    void EndRequested(int exitCode);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void TakeSignal();
};

} // namespace k470
