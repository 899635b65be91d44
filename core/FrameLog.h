#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

enum class FrameDirection : std::uint8_t { FromProgram, FromRadio };

struct LoggedFrame {
    FrameDirection direction = FrameDirection::FromProgram;
    std::vector<std::uint8_t> bytes;
};

/// A line of a log of frames: seconds with six decimals, ">" from the program or "<" from the radio, the
/// bytes in hexadecimal ("12.034567 > 52 00 10 10"). No line end.
std::string FormatLogLine(std::chrono::nanoseconds time, FrameDirection direction,
                          std::span<const std::uint8_t> bytes);

/// Reads such a line; the digits of the bytes may be in either case.
/// @return nothing when the line has another form or no byte
std::optional<LoggedFrame> ParseLogLine(std::string_view line);

} // namespace k470
