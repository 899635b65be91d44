#include "core/HexCells.h"

namespace k470 {

namespace {

constexpr std::size_t CellDigits = 2;
constexpr int LettersBehindDigits = 'A' - 10;

char HexDigit(int nibble) {
    return static_cast<char>(nibble + (nibble < 10 ? '0' : LettersBehindDigits));
}

int Nibble(char digit) {
    return digit - (digit > '9' ? LettersBehindDigits : '0');
}

} // namespace

std::string HexCellText(std::uint8_t byte) {
    return {HexDigit(byte / 16), HexDigit(byte % 16)};
}

std::string HexText(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += (text.empty() ? "" : " ") + HexCellText(byte);
    return text;
}

std::string HexAddress(std::size_t address) {
    return HexCellText(static_cast<std::uint8_t>(address >> 8 & 0xFF)) +
           HexCellText(static_cast<std::uint8_t>(address & 0xFF));
}

std::uint8_t HexCellByte(std::string_view text) {
    if (text.size() < CellDigits)
        return 0;
    return static_cast<std::uint8_t>(Nibble(text[0]) * 16 + Nibble(text[1]));
}

std::string CompleteHexCell(std::string_view typed) {
    if (typed.empty())
        return "FF";
    return typed.size() < CellDigits ? "0" + std::string(typed) : std::string(typed);
}

std::optional<char> FilterHexKey(std::string_view text, bool anySelected, char key) {
    constexpr char Backspace = 8;
    if (key == Backspace)
        return key;
    const char upper = static_cast<char>(key >= 'a' && key <= 'f' ? key - 'a' + 'A' : key);
    const bool isHex = (upper >= '0' && upper <= '9') || (upper >= 'A' && upper <= 'F');
    if (isHex && (anySelected || text.size() < CellDigits))
        return upper;
    return std::nullopt;
}

} // namespace k470
