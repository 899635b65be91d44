#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace k470 {

/// Two upper-case digits a byte, a blank between: "52 00 10 10".
std::string HexText(std::span<const std::uint8_t> bytes);

} // namespace k470
