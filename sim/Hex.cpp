#include "sim/Hex.h"

#include <string_view>

namespace k470 {

std::string HexText(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view Digits = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty())
            text += ' ';
        text += Digits[byte >> 4];
        text += Digits[byte & 0x0F];
    }
    return text;
}

} // namespace k470
