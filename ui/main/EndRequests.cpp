#include "ui/main/EndRequests.h"

#include <QCoreApplication>
#include <QEvent>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace k470 {

namespace {

constexpr std::array<int, 3> Signals{SIGTERM, SIGINT, SIGHUP};
constexpr int SignalExit = 128;  // a shell tells a signal's end this way
std::array<int, 2> ends{-1, -1}; ///< of the pipe that brings signals to the event loop: read, write

/// A handler may do little: it writes the signal's number into the pipe.
void PassOn(int signal) {
    const int error = errno;
    const auto number = static_cast<unsigned char>(signal);
    static_cast<void>(::write(ends[1], &number, 1) == 1);
    errno = error;
}

void Handle(int signal) {
    struct sigaction before {};
    ::sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
        return; // whoever started the program (nohup, a shell in the background) wants it that way
    struct sigaction action {};
    action.sa_handler = PassOn;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
}

} // namespace

EndRequests::EndRequests() {
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0) {
        auto *notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, &EndRequests::TakeSignal);
        for (const int signal : Signals)
            Handle(signal);
    }
    QCoreApplication::instance()->installEventFilter(this);
}

EndRequests::~EndRequests() {
    for (const int signal : Signals) {
        struct sigaction now {};
        if (::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == PassOn)
            ::signal(signal, SIG_DFL);
    }
    for (int &end : ends) {
        ::close(end);
        end = -1;
    }
}

void EndRequests::TakeSignal() {
    unsigned char number = 0;
    if (::read(ends[0], &number, 1) == 1)
        emit EndRequested(SignalExit + number);
}

bool EndRequests::eventFilter(QObject *watched, QEvent *event) {
    if (watched != QCoreApplication::instance() || event->type() != QEvent::Quit)
        return false;
    emit EndRequested(0);
    return true;
}

} // namespace k470
