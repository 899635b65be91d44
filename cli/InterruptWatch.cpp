#include "cli/InterruptWatch.h"

namespace k470 {

namespace {

/// A signal handler reaches nothing but this.
volatile std::sig_atomic_t signalled = 0;

extern "C" void TakeSignal(int) {
    signalled = 1;
}

} // namespace

InterruptWatch::InterruptWatch() {
    signalled = 0;
    struct sigaction action {};
    action.sa_handler = TakeSignal;
    action.sa_flags = SA_RESTART;
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &pipeBefore_);
    for (std::size_t i = 0; i < Signals.size(); ++i) {
        ::sigaction(Signals[i], nullptr, &before_[i]);
        // A program started by nohup outlives its terminal. Ctrl+C is heard in any case: shells make their
        // background jobs ignore it, and it is a user's or a script's only way to stop one between two lines.
        if (Signals[i] != SIGHUP || before_[i].sa_handler != SIG_IGN)
            ::sigaction(Signals[i], &action, nullptr);
    }
}

InterruptWatch::~InterruptWatch() {
    ::sigaction(SIGPIPE, &pipeBefore_, nullptr);
    for (std::size_t i = 0; i < Signals.size(); ++i)
        ::sigaction(Signals[i], &before_[i], nullptr);
}

bool InterruptWatch::Interrupted() const {
    return signalled != 0;
}

} // namespace k470
