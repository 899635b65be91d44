#include "link/QtCloneTimers.h"

#include <QThread>

namespace k470 {

QtCloneTimers::QtCloneTimers() {
    tmrSend_.setObjectName("tmrSend");
    tmrSend_.setTimerType(Qt::PreciseTimer);
    tmrSend_.setInterval(Clone::SendInterval);
    tmrOvertime_.setObjectName("tmrOvertime");
    tmrOvertime_.setTimerType(Qt::PreciseTimer);
    tmrOvertime_.setInterval(Clone::ReplyTimeout);
}

void QtCloneTimers::EnableSend(bool enabled) {
    if (enabled)
        tmrSend_.start();
    else
        tmrSend_.stop();
}

void QtCloneTimers::SetOvertimeInterval(int milliseconds) {
    tmrOvertime_.setInterval(milliseconds);
}

void QtCloneTimers::EnableOvertime(bool enabled) {
    if (enabled)
        tmrOvertime_.start();
    else
        tmrOvertime_.stop();
}

void QtCloneTimers::Pause(int milliseconds) {
    QThread::msleep(static_cast<unsigned long>(milliseconds));
}

void QtCloneTimers::Drive(CloneSession &session) {
    QObject::connect(&tmrSend_, &QTimer::timeout, &tmrSend_, [&session] { session.SendTick(); });
    QObject::connect(&tmrOvertime_, &QTimer::timeout, &tmrOvertime_, [&session] { session.OvertimeTick(); });
}

} // namespace k470
