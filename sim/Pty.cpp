#include "sim/Pty.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace k470 {

namespace {

std::string Failure(const char *what) {
    return std::string(what) + ": " + std::generic_category().message(errno);
}

void CloseDescriptor(int &descriptor) {
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

} // namespace

Pty::~Pty() {
    Close();
}

std::optional<std::string> Pty::Open() {
    Close();
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master_ < 0)
        return Failure("no pseudo-terminal");
    std::array<char, 128> path{};
    if (::grantpt(master_) != 0 || ::unlockpt(master_) != 0 ||
        ::ptsname_r(master_, path.data(), path.size()) != 0 || ::fcntl(master_, F_SETFL, O_NONBLOCK) != 0) {
        const std::string failure = Failure("no usable pseudo-terminal");
        Free();
        return failure;
    }
    slavePath_ = path.data();
    return OpenSlave();
}

std::optional<std::string> Pty::OpenSlave() {
    termios settings{};
    slave_ = ::open(slavePath_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (slave_ < 0 || ::tcgetattr(slave_, &settings) != 0) {
        const std::string failure = Failure(slavePath_.c_str());
        Free();
        return failure;
    }
    ::cfmakeraw(&settings);
    ::tcsetattr(slave_, TCSANOW, &settings);
    watch_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (watch_ >= 0 && ::inotify_add_watch(watch_, slavePath_.c_str(), IN_CLOSE) < 0)
        CloseDescriptor(watch_);
    return std::nullopt;
}

void Pty::Close() {
    using namespace std::chrono_literals;
    constexpr int LingerRounds = 25;
    if (slave_ >= 0) {
        // Bytes that the program has not read die with the master.
        int waiting = 0;
        int round = 0;
        do
            std::this_thread::sleep_for(2ms);
        while (++round < LingerRounds && ::ioctl(slave_, FIONREAD, &waiting) == 0 && waiting > 0);
    }
    Free();
}

void Pty::Free() {
    CloseDescriptor(watch_);
    CloseDescriptor(slave_);
    CloseDescriptor(master_);
    slavePath_.clear();
}

void Pty::TakeWatchEvents() {
    std::array<char, 4096> events;
    while (::read(watch_, events.data(), events.size()) > 0) {
    }
    ::ioctl(slave_, TIOCNXCL);
}

std::optional<std::vector<std::uint8_t>> Pty::Read() {
    std::vector<std::uint8_t> bytes(4096);
    const ssize_t count = ::read(master_, bytes.data(), bytes.size());
    if (count < 0 && errno != EAGAIN && errno != EINTR)
        return std::nullopt;
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    // The claim of the program that sent this lies on the terminal, which stays open: it would outlive the
    // program.
    if (!bytes.empty())
        ::ioctl(slave_, TIOCNXCL);
    return bytes;
}

void Pty::Write(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(master_, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

} // namespace k470
