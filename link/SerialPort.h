#pragma once

#include "resources/StringTable.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace k470 {

/// Line settings of every session: 9600 baud, no parity, 8 data bits, 2 stop bits.
inline constexpr const char *LineSettings = "9600,N,8,2";
inline constexpr std::size_t InBufferSize = 1024;

/// Why a port could not be opened.
struct PortFailure {
    enum class Kind {
        NoSuchPort,   ///< no device bears this COM name
        NoSuchDevice, ///< the device file is not there
        Denied,       ///< the user may not use the device
        Busy,         ///< another program has it
        NotSerial,    ///< a folder, a plain file, a device without line settings
        NoLockFile,   ///< no lock file can be written for it; detail holds folder and reason, may be ""
        Other,        ///< detail holds the system's words
    };
    Kind kind = Kind::Other;
    std::string port;   ///< "COM5"
    std::string device; ///< "/dev/ttyUSB0"; "" when no device bears the name
    std::string detail; ///< the system's own description, may be ""
};

/// The failure worded for the user: what is wrong and what to do.
std::string PortFailureText(const PortFailure &failure, Language language);

/// The serial port as the clone session uses it. One notification is raised when at least `k` bytes wait (see
/// SetReplyLength), always from the event loop and never inside a handler; it is raised again for bytes that
/// already wait after a read that leaves enough of them and after the reply length changes.
class SerialPort {
public:
    virtual ~SerialPort() = default;

    /// Selects the port that the next Open opens. @param number n of the name COM followed by n, 1 to 255
    virtual void SetCommPort(int number) = 0;
    /// Opens the selected port with LineSettings and binary input. @return why not, or nothing
    virtual std::optional<PortFailure> Open() = 0;
    /// Closes the port when it is open.
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;

    /// Discards everything received and not yet read. A frame on its way still goes out to its end: 300 ms
    /// after a frame of 23 ms nothing of it is left to discard, except on a line that is stuck, and there a
    /// radio that got half a frame would take the next for the rest of it.
    virtual void EmptyBuffers() = 0;
    /// Sets both the receive threshold and the read length to `k` bytes. 0 turns the notification off.
    virtual void SetReplyLength(std::size_t k) = 0;
    /// Sends a frame in one piece. On a closed port nothing happens.
    virtual void Output(std::span<const std::uint8_t> frame) = 0;
    /// @return whether everything output so far can have left by now, and the reply length of bytes have
    /// come after it, at the speed of the line. A reply that was read sooner answers an earlier frame, unless
    /// the device behind the port has no line of that speed. A pseudo-terminal and a closed port give true.
    virtual bool CanBeAnswered() const = 0;
    /// @return how many bytes have arrived and were not read, whatever the read length is
    virtual std::size_t BytesWaiting() const = 0;
    /// @return the bytes that wait, at most the read length, removed from the port
    virtual std::vector<std::uint8_t> Input() = 0;

    /// Who is told that data arrived (an empty function: nobody).
    virtual void OnReceived(std::function<void()> handler) = 0;
};

} // namespace k470
