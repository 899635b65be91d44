#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace k470 {

/// A byte as the two upper-case hexadecimal characters of its cell: 10 gives "0A".
std::string HexCellText(std::uint8_t byte);

/// The cells of the bytes, a blank between: "52 00 10 10".
std::string HexText(std::span<const std::uint8_t> bytes);

/// An address of the image in four digits: "066F".
std::string HexAddress(std::size_t address);

/// The byte of a cell's text. @param text two characters "0" to "9", "A" to "F"; 0 for a shorter text
std::uint8_t HexCellByte(std::string_view text);

/// The cell text of what was typed, at most two characters: "" gives "FF", "7" gives "07".
std::string CompleteHexCell(std::string_view typed);

/// Decides about a character typed into the cell editor.
/// @param text the editor's text before the key
/// @return the character to enter ("a" comes back as "A"), or nothing when the key is refused
std::optional<char> FilterHexKey(std::string_view text, bool anySelected, char key);

} // namespace k470
