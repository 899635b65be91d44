#include "sim/PtyServer.h"

#include "sim/SimFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace k470 {

PtyServer::PtyServer(SerialDevice &device, PtyServerOptions options)
    : device_(device), options_(std::move(options)) {
}

PtyServer::~PtyServer() {
    Stop();
}

std::optional<std::string> PtyServer::Start() {
    Stop();
    origin_ = std::chrono::steady_clock::now();
    wire_ = WireSchedule(options_.baud);
    silenceDue_.reset();
    stopping_ = false;
    if (auto failure = OpenPty())
        return failure;
    wake_ = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (wake_ < 0) {
        pty_.Close();
        return "no event descriptor: " + std::system_category().message(errno);
    }
    thread_ = std::thread(&PtyServer::Serve, this);
    return std::nullopt;
}

void PtyServer::Stop() {
    if (!thread_.joinable())
        return;
    stopping_ = true;
    ::eventfd_write(wake_, 1);
    thread_.join();
    ::close(wake_);
    wake_ = -1;
    if (!options_.link.empty())
        RemoveLink(options_.link, SlavePath());
    const std::lock_guard lock(pathMutex_);
    slavePath_.clear();
}

std::string PtyServer::SlavePath() const {
    const std::lock_guard lock(pathMutex_);
    return slavePath_;
}

void PtyServer::Inspect(const std::function<void()> &look) const {
    const std::lock_guard lock(deviceMutex_);
    look();
}

std::optional<std::string> PtyServer::OpenPty() {
    if (auto failure = pty_.Open())
        return failure;
    const std::string path = pty_.SlavePath();
    if (!options_.link.empty()) {
        if (auto failure = PointLink(options_.link, path)) {
            pty_.Close();
            return failure;
        }
    }
    const std::lock_guard lock(pathMutex_);
    slavePath_ = path;
    return std::nullopt;
}

void PtyServer::Serve() {
    ::prctl(PR_SET_TIMERSLACK, 1UL); // a due byte waits for its moment, not for a batch of timers
    while (!stopping_ && Deliver() && AwaitEvent() && TakeHostBytes())
        TellSilence();
    pty_.Close();
}

/// Sends what is due. @return whether to go on
bool PtyServer::Deliver() {
    const WireTime now = Now();
    const WireSchedule::Delivery delivery = wire_.TakeDue(now);
    pty_.Write(delivery.bytes);
    if (options_.onReply)
        for (const auto &reply : delivery.finished)
            options_.onReply(now, reply);
    return !delivery.hangUp || ReplacePty();
}

bool PtyServer::ReplacePty() {
    pty_.Close();
    wire_ = WireSchedule(options_.baud);
    silenceDue_.reset();
    if (const auto failure = OpenPty()) {
        Fail(*failure);
        return false;
    }
    if (options_.onNewSlave)
        options_.onNewSlave(pty_.SlavePath());
    return true;
}

/// Waits for bytes, a closed slave, Stop, or the next moment at which something is due.
bool PtyServer::AwaitEvent() {
    std::array<pollfd, 3> sources{
        {{pty_.Master(), POLLIN, 0}, {wake_, POLLIN, 0}, {pty_.Watch(), POLLIN, 0}}};
    std::optional<WireTime> due = wire_.NextDue();
    if (silenceDue_)
        due = due ? std::min(*due, *silenceDue_) : *silenceDue_;
    timespec wait{};
    if (due) {
        const WireTime rest = std::max(*due - Now(), WireTime::zero());
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
        wait = {.tv_sec = seconds.count(), .tv_nsec = (rest - seconds).count()};
    }
    if (::ppoll(sources.data(), sources.size(), due ? &wait : nullptr, nullptr) < 0 && errno != EINTR) {
        Fail("waiting for the pseudo-terminal failed");
        return false;
    }
    if (sources[2].revents != 0)
        pty_.TakeWatchEvents();
    return true;
}

bool PtyServer::TakeHostBytes() {
    const WireTime now = Now();
    const auto bytes = pty_.Read();
    if (!bytes) {
        Fail("the pseudo-terminal is dead");
        return false;
    }
    if (bytes->empty())
        return true;
    wire_.HostSent(bytes->size(), now);
    std::vector<Reply> replies;
    {
        const std::lock_guard lock(deviceMutex_);
        replies = device_.Feed(*bytes);
        silenceDue_.reset();
        if (device_.FramePending())
            silenceDue_ = now + std::chrono::milliseconds(SilenceMs);
        if (options_.onHost)
            options_.onHost(now);
    }
    for (Reply &reply : replies)
        wire_.Send(std::move(reply));
    return true;
}

void PtyServer::TellSilence() {
    const WireTime now = Now();
    if (!silenceDue_ || now < *silenceDue_)
        return;
    silenceDue_.reset();
    const std::lock_guard lock(deviceMutex_);
    device_.Silence();
    if (options_.onHost)
        options_.onHost(now);
}

WireTime PtyServer::Now() const {
    return std::chrono::steady_clock::now() - origin_;
}

void PtyServer::Fail(const std::string &why) {
    if (options_.onFailure)
        options_.onFailure(why);
}

} // namespace k470
