#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace k470 {

/// What a device does after something that it received.
struct Reply {
    std::vector<std::uint8_t> bytes{}; ///< may be empty
    int delayMs = 0;     ///< how much later than at once the reply begins; replies never overtake
    bool hangUp = false; ///< after the bytes the device is gone from the line
};

/// A device at the far end of a serial line. It knows neither time nor transport: a driver hands it what
/// arrived and takes its replies to the program. WireSchedule keeps the times for a driver, whatever its
/// clock is.
class SerialDevice {
public:
    virtual ~SerialDevice() = default;

    /// Takes bytes in any chunking.
    /// @return the replies to the frames that they complete, in order
    virtual std::vector<Reply> Feed(std::span<const std::uint8_t> bytes) = 0;

    /// Whether the start of a frame waits for its rest, so that silence would mean something.
    virtual bool FramePending() const = 0;

    /// No byte has come for SilenceMs: what waits for its rest is given up.
    virtual void Silence() = 0;
};

/// How long the line is quiet before a driver calls Silence. A program repeats a frame after 300 ms at the
/// earliest, so the start of a lost frame never swallows the repetition.
inline constexpr int SilenceMs = 100;

} // namespace k470
