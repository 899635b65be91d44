#pragma once

#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <functional>
#include <optional>

namespace k470 {

/// While one of these lives, Ctrl+C and the other ending signals end nothing by themselves: they are told
/// from the event loop. One at a time.
class InterruptWatch {
public:
    explicit InterruptWatch(std::function<void()> interrupted);
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch &) = delete;
    InterruptWatch &operator=(const InterruptWatch &) = delete;

private:
    static constexpr std::array<int, 3> Signals{SIGINT, SIGTERM, SIGHUP};

    void TakeSignals();

    std::function<void()> interrupted_;
    std::array<int, 2> pipe_{-1, -1};
    std::array<struct sigaction, Signals.size()> before_{};
    std::optional<QSocketNotifier> notifier_;
};

} // namespace k470
