#include "cli/InterruptWatch.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace k470 {

namespace {

/// A signal handler reaches nothing but this.
volatile std::sig_atomic_t wakeUp = -1;

extern "C" void WriteWakeUp(int) {
    const int before = errno;
    const char byte = 0;
    // A full pipe wakes up as well as one more byte would.
    [[maybe_unused]] const ssize_t written = ::write(wakeUp, &byte, 1);
    errno = before;
}

} // namespace

InterruptWatch::InterruptWatch(std::function<void()> interrupted) : interrupted_(std::move(interrupted)) {
    if (::pipe2(pipe_.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return; // the signals end the program, as they do without a watch
    wakeUp = pipe_[1];
    notifier_.emplace(pipe_[0], QSocketNotifier::Read);
    QObject::connect(&*notifier_, &QSocketNotifier::activated, &*notifier_, [this] { TakeSignals(); });

    struct sigaction action {};
    action.sa_handler = WriteWakeUp;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < Signals.size(); ++i) {
        ::sigaction(Signals[i], nullptr, &before_[i]);
        // A program started by nohup outlives its terminal. Ctrl+C is heard in any case: shells make their
        // background jobs ignore it, and it is a user's or a script's only way to stop one between two lines.
        if (Signals[i] != SIGHUP || before_[i].sa_handler != SIG_IGN)
            ::sigaction(Signals[i], &action, nullptr);
    }
}

InterruptWatch::~InterruptWatch() {
    if (!notifier_)
        return;
    for (std::size_t i = 0; i < Signals.size(); ++i)
        ::sigaction(Signals[i], &before_[i], nullptr);
    notifier_.reset();
    wakeUp = -1;
    ::close(pipe_[0]);
    ::close(pipe_[1]);
}

void InterruptWatch::TakeSignals() {
    std::array<char, 16> bytes{};
    while (::read(pipe_[0], bytes.data(), bytes.size()) > 0) {
    }
    interrupted_();
}

} // namespace k470
