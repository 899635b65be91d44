#include "core/FrameLog.h"

#include "core/HexCells.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace k470 {

namespace {

constexpr std::string_view Digits = "0123456789";
constexpr std::size_t Decimals = 6;
constexpr std::string_view FromProgramMark = " >";
constexpr std::string_view FromRadioMark = " <";

/// Cuts the length of `text` off the front of the line when that is what stands there.
bool Take(std::string_view &line, std::string_view text) {
    if (!line.starts_with(text))
        return false;
    line.remove_prefix(text.size());
    return true;
}

/// @return how many digits were cut off the front of the line
std::size_t TakeDigits(std::string_view &line) {
    const std::size_t count = std::min(line.find_first_not_of(Digits), line.size());
    line.remove_prefix(count);
    return count;
}

bool TakeTime(std::string_view &line) {
    return TakeDigits(line) > 0 && Take(line, ".") && TakeDigits(line) == Decimals;
}

/// Takes " 5A".
std::optional<std::uint8_t> TakeByte(std::string_view &line) {
    constexpr std::size_t DigitsOfByte = 2;
    constexpr int Hexadecimal = 16;
    if (!Take(line, " ") || line.size() < DigitsOfByte)
        return std::nullopt;
    std::uint8_t byte = 0;
    const auto [stop, error] = std::from_chars(line.data(), line.data() + DigitsOfByte, byte, Hexadecimal);
    if (error != std::errc{} || stop != line.data() + DigitsOfByte)
        return std::nullopt;
    line.remove_prefix(DigitsOfByte);
    return byte;
}

} // namespace

std::string FormatLogLine(std::chrono::nanoseconds time, FrameDirection direction,
                          std::span<const std::uint8_t> bytes) {
    const long long micros = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
    std::array<char, 48> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "%lld.%06lld", micros / 1'000'000, micros % 1'000'000);
    const bool fromProgram = direction == FrameDirection::FromProgram;
    return std::string(stamp.data()) + std::string(fromProgram ? FromProgramMark : FromRadioMark) + " " +
           HexText(bytes);
}

std::optional<LoggedFrame> ParseLogLine(std::string_view line) {
    LoggedFrame frame;
    if (!TakeTime(line))
        return std::nullopt;
    if (Take(line, FromRadioMark))
        frame.direction = FrameDirection::FromRadio;
    else if (!Take(line, FromProgramMark))
        return std::nullopt;
    do {
        const std::optional<std::uint8_t> byte = TakeByte(line);
        if (!byte)
            return std::nullopt;
        frame.bytes.push_back(*byte);
    } while (!line.empty());
    return frame;
}

} // namespace k470
