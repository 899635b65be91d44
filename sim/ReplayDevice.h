#pragma once

#include "core/FrameLog.h"
#include "sim/SerialDevice.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace k470 {

struct LoadedTrace {
    std::vector<LoggedFrame> frames; ///< empty when there is an error
    std::string error;               ///< what is wrong with the file, with the number of the line
};

/// Reads a log of frames; empty lines and those that begin with "#" are passed over. A log without any frame
/// of a program is refused.
LoadedTrace LoadTrace(const std::string &path);

/// A radio that knows one dialog by heart: it expects the bytes that the program sent when the log was
/// recorded, in any chunking, and gives the replies of that time as soon as what precedes them in the log has
/// arrived. From the first other byte on it is silent. Replies before the first byte of the program answered
/// nothing and are left out.
class ReplayDevice : public SerialDevice {
public:
    explicit ReplayDevice(std::vector<LoggedFrame> frames);

    std::vector<Reply> Feed(std::span<const std::uint8_t> bytes) override;
    bool FramePending() const override { return false; }
    void Silence() override {}

    /// What the program sent otherwise than recorded, a sentence; nothing so far.
    const std::optional<std::string> &Complaint() const { return complaint_; }
    /// How many recorded frames of the program have not arrived in full.
    std::size_t FramesLeft() const;

private:
    bool TakeByte(std::uint8_t byte);
    void Complain(const std::string &what);

    std::vector<LoggedFrame> frames_;
    std::size_t frame_ = 0; ///< the program's frame that arrives
    std::size_t byte_ = 0;  ///< how much of it has arrived
    std::optional<std::string> complaint_;
};

} // namespace k470
