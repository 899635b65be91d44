#pragma once

#include "core/MemoryImage.h"
#include "resources/StringTable.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// Which of a channel's two frequencies, or tones, is meant.
enum class Field { Rx, Tx };

/// The tone that a channel's record holds.
/// @param ch channel, 0 to 98
/// @return "67.0", "D023N", the None text of the language; "" for a word of an unknown kind
std::string GetToneString(const MemoryImage &image, Field which, int ch, Language language);

/// Writes a tone text in the forms of GetToneString into the record. "" and the None text of either language
/// erase.
void SetToneString(MemoryImage &image, Field which, int ch, std::string_view text);

/// The 261 tones that the editor offers: none, 50 CTCSS tones, 105 DCS codes normal, the same inverted.
std::vector<std::string> BuildToneList(Language language);

/// Decides about a character typed into the tone editor.
/// @param text the editor's text before the key
/// @param allSelected the selection covers the whole text (true for an empty text)
/// @return the character to enter ("d" comes back as "D"), or nothing when the key is refused
std::optional<char> FilterToneKey(std::string_view text, bool allSelected, char key);

/// Any typed text as a valid tone text: CTCSS clamped to 60.0 to 260.0 Hz, DCS forced to three octal digits
/// and a polarity, anything else the None text of the language.
std::string NormalizeTone(std::string_view typed, Language language);

} // namespace k470
