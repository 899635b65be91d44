#include "link/QtCloneTimers.h"

#include <QThread>

namespace k470 {

QtCloneTimers::QtCloneTimers() {
    tmrSend_.setObjectName("tmrSend");
    tmrSend_.setTimerType(Qt::PreciseTimer);
    tmrSend_.setInterval(Clone::SendInterval);
    hurry_.setSingleShot(true);
    hurry_.setInterval(0);
    tmrOvertime_.setObjectName("tmrOvertime");
    tmrOvertime_.setTimerType(Qt::PreciseTimer);
    tmrOvertime_.setInterval(Clone::ReplyTimeout);
}

void QtCloneTimers::EnableSend(bool enabled) {
    if (enabled)
        tmrSend_.start();
    else
        tmrSend_.stop();
    if (!enabled)
        hurry_.stop();
}

void QtCloneTimers::HurrySend() {
    if (tmrSend_.isActive())
        hurry_.start();
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

void QtCloneTimers::Drive(const std::function<void()> &sendTick, const std::function<void()> &overtimeTick) {
    for (QTimer *timer : {&tmrSend_, &hurry_})
        QObject::connect(timer, &QTimer::timeout, timer, sendTick);
    QObject::connect(&tmrOvertime_, &QTimer::timeout, &tmrOvertime_, overtimeTick);
}

} // namespace k470
