#pragma once

#include "sim/Pty.h"
#include "sim/SerialDevice.h"
#include "sim/WireSchedule.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>

namespace k470 {

struct PtyServerOptions {
    int baud = 0;       ///< bits a second of the line, both ways; 0: transfers take no time
    std::string link{}; ///< symbolic link that always leads to the slave; "": none

    // Told on the server's thread, times since Start. Each may be left empty.

    /// The device has taken bytes or silence; it may be looked at.
    std::function<void(WireTime)> onHost{};
    /// A reply is out to its last byte.
    std::function<void(WireTime, std::span<const std::uint8_t>)> onReply{};
    /// The path of the slave after a hang-up.
    std::function<void(const std::string &)> onNewSlave{};
    /// Why serving has ended on its own.
    std::function<void(const std::string &)> onFailure{};
};

/// Serves a device on a pseudo-terminal, in a thread of its own. A device that hangs up comes back on a new
/// pseudo-terminal at once.
class PtyServer {
public:
    /// @param device outlives the server and is used by nobody else between Start and Stop, except in Inspect
    explicit PtyServer(SerialDevice &device, PtyServerOptions options = {});
    ~PtyServer();

    /// @return why nothing is served, or nothing
    std::optional<std::string> Start();

    /// Hangs up, ends the thread and removes the link. Harmless when nothing is served. Not for the
    /// callbacks.
    void Stop();

    /// Device path that a program opens as its port; "" when nothing is served.
    std::string SlavePath() const;

    /// Runs `look` while the device stands still. Not for the callbacks.
    void Inspect(const std::function<void()> &look) const;

private:
    void Serve();
    bool Deliver();
    bool ReplacePty();
    bool AwaitEvent();
    bool TakeHostBytes();
    void TellSilence();
    std::optional<std::string> OpenPty();
    WireTime Now() const;
    void Fail(const std::string &why);

    SerialDevice &device_;
    PtyServerOptions options_;
    std::chrono::steady_clock::time_point origin_;
    WireSchedule wire_;
    Pty pty_;
    std::optional<WireTime> silenceDue_; ///< set while the device waits for the rest of a frame
    std::atomic<bool> stopping_ = false;
    int wake_ = -1; ///< becomes readable when the thread shall end
    std::thread thread_;

    mutable std::mutex deviceMutex_;
    mutable std::mutex pathMutex_;
    std::string slavePath_;
};

} // namespace k470
