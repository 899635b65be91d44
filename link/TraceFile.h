#pragma once

#include "core/FrameLog.h"

#include <chrono>
#include <cstdint>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace k470 {

/// A log of the frames of sessions, each line written as its frame travels. Times count from Open.
class TraceFile {
public:
    /// Begins the file anew. What is there must be a plain file, a device or nothing.
    /// @return why it cannot be written, in the system's own words, or nothing
    [[nodiscard]] std::optional<std::string> Open(const std::string &path);

    // On a file that is not open nothing happens; once a line could not be written none follows.

    /// A line that no replay looks at.
    void AddComment(std::string_view text);
    /// No bytes, no line.
    void AddFrame(FrameDirection direction, std::span<const std::uint8_t> bytes);

    /// @return why a line could not be written, in the system's own words, or nothing
    const std::optional<std::string> &Failure() const { return failure_; }

private:
    void AddLine(const std::string &line);

    std::ofstream file_;
    std::chrono::steady_clock::time_point start_;
    std::optional<std::string> failure_;
};

} // namespace k470
