#pragma once

#include <array>
#include <csignal>

namespace k470 {

/// While one of these lives, Ctrl+C and the other ending signals end nothing by themselves: they are kept
/// until somebody asks. Nor does output that nobody reads any more end the program. One at a time.
class InterruptWatch {
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch &) = delete;
    InterruptWatch &operator=(const InterruptWatch &) = delete;

    /// Whether such a signal has come since the watch began.
    bool Interrupted() const;

private:
    static constexpr std::array<int, 3> Signals{SIGINT, SIGTERM, SIGHUP};

    std::array<struct sigaction, Signals.size()> before_{};
    struct sigaction pipeBefore_ {};
};

} // namespace k470
