#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace k470 {

/// A pseudo-terminal: the device's end of a serial line whose other end, the slave, programs open like a
/// port. It keeps the slave open itself, so that a program that closes it is no hang-up, and lets the next
/// program in even when the last one had claimed the port for itself alone.
class Pty {
public:
    Pty() = default;
    ~Pty();
    Pty(const Pty &) = delete;
    Pty &operator=(const Pty &) = delete;

    /// @return why there is none, or nothing
    std::optional<std::string> Open();

    /// Hangs up: what was sent has a moment to be read, then the program at the slave finds its port dead.
    void Close();

    const std::string &SlavePath() const { return slavePath_; }

    /// To wait on: becomes readable when bytes arrive.
    int Master() const { return master_; }
    /// To wait on: becomes readable when a program closes the slave. -1 when the system cannot tell.
    int Watch() const { return watch_; }

    /// A program closed the slave: the port is free again.
    void TakeWatchEvents();

    /// @return the bytes that have arrived, at most a few thousand; nothing when the line is dead
    std::optional<std::vector<std::uint8_t>> Read();

    /// Sends without waiting; what the system has no room for is lost, as on a line that nobody reads.
    void Write(std::span<const std::uint8_t> bytes);

private:
    std::optional<std::string> OpenSlave();
    void Free();

    int master_ = -1;
    int slave_ = -1;
    int watch_ = -1;
    std::string slavePath_;
};

} // namespace k470
