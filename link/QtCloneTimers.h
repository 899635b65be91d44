#pragma once

#include "link/CloneSession.h"

#include <QTimer>

#include <functional>

namespace k470 {

/// The timers of a session on Qt's event loop. Connect their timeouts to the session's ticks.
class QtCloneTimers : public CloneTimers {
public:
    QtCloneTimers();

    void EnableSend(bool enabled) override;
    void HurrySend() override;
    void SetOvertimeInterval(int milliseconds) override;
    void EnableOvertime(bool enabled) override;
    void Pause(int milliseconds) override;

    QTimer &SendTimer() { return tmrSend_; }
    QTimer &OvertimeTimer() { return tmrOvertime_; }

    /// Feeds the ticks to a session, or to who stands before it, for as long as `this` lives.
    void Drive(const std::function<void()> &sendTick, const std::function<void()> &overtimeTick);

private:
    QTimer tmrSend_;
    QTimer hurry_; ///< ticks once, as soon as the event loop gets to it
    QTimer tmrOvertime_;
};

} // namespace k470
