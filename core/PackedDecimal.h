#pragma once

#include <cstdint>

namespace k470 {

/// Whether the byte holds two decimal digits, the tens in its high nibble.
constexpr bool IsPackedDecimal(std::uint8_t byte) {
    return (byte >> 4) <= 9 && (byte & 0x0F) <= 9;
}

/// The number of a byte of packed decimal, 0 to 99.
constexpr int UnpackDigits(std::uint8_t byte) {
    return (byte >> 4) * 10 + (byte & 0x0F);
}

/// @param number its last two digits count
constexpr std::uint8_t PackDigits(int number) {
    return static_cast<std::uint8_t>(number / 10 % 10 * 16 + number % 10);
}

} // namespace k470
