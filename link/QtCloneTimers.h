#pragma once

#include "link/CloneSession.h"

#include <QTimer>

namespace k470 {

/// The timers of a session on Qt's event loop. Connect their timeouts to the session's ticks.
class QtCloneTimers : public CloneTimers {
public:
    QtCloneTimers();

    void EnableSend(bool enabled) override;
    void SetOvertimeInterval(int milliseconds) override;
    void EnableOvertime(bool enabled) override;
    void Pause(int milliseconds) override;

    QTimer &SendTimer() { return tmrSend_; }
    QTimer &OvertimeTimer() { return tmrOvertime_; }

    /// Feeds the ticks to a session for as long as `this` lives.
    void Drive(CloneSession &session);

private:
    QTimer tmrSend_;
    QTimer tmrOvertime_;
};

} // namespace k470
