#pragma once

#include "core/MemoryMap.h"
#include "resources/StringTable.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// Columns of the channel grid.
enum Column : int {
    ColNumber,
    ColRxFreq,
    ColTxFreq,
    ColRxTone,
    ColTxTone,
    ColPower,
    ColWidth,
    ColLockout,
    ColScanAdd,
    ColOption,
    ColScrambler,
    GridCols
};

/// A value of a column's list: its text and its bits.
struct ColumnValue {
    int text;               ///< id of the text, 0 for a fixed one
    std::string_view fixed; ///< the same in both languages
    std::uint8_t bits;
};

/// The bits of a channel's record in which a column lives.
struct ColumnBytes {
    std::size_t first = 0;    ///< offset in the record
    std::size_t size = 0;     ///< bytes, 0 for none
    std::uint8_t mask = 0xFF; ///< bits of each byte
    std::size_t bitmap = 0;   ///< address of the channel bitmap that changes with it, 0 for none
};

/// A column of the channels: all that is known of it, but for what its editor makes of frequencies and tones.
struct GridColumn {
    enum class Editor { None, Frequency, Tone, Choice };
    int header = 0;             ///< id of the header text, 0 when only the prefix counts
    TextPair prefix = {"", ""}; ///< fixed text before it
    int width = 0;              ///< twips; 0 hides the column
    Editor editor = Editor::None;
    std::string_view fileName = {}; ///< in JSON
    std::string_view csvName = {};  ///< in the header of CSV
    TextPair words = {"", ""};      ///< the name in a sentence
    ColumnBytes bytes = {};
    /// Of a choice, in list order. Bits of none of them show the first one, which is also that of a new
    /// channel.
    std::span<const ColumnValue> values = {};
    /// Bits to store for a text that is none of the values; nothing leaves the bits as they are.
    std::optional<std::uint8_t> otherBits = {};
};
extern const std::array<GridColumn, GridCols> ChannelColumns;

/// The row of a column. @param column of Column
const GridColumn &ColumnAt(std::size_t column);

/// The header of a column in the language.
std::string ColumnHeader(int column, Language language);

/// The text of a value in the language.
std::string ValueText(const ColumnValue &value, Language language);

/// The value with this text; nullptr when there is none.
const ColumnValue *FindByText(const GridColumn &column, std::string_view text, Language language);

/// The value with the bits that the byte has in the column's mask; nullptr when there is none.
const ColumnValue *FindByBits(const GridColumn &column, std::uint8_t byte);

/// The texts of a column's values in list order; none for a column without a list.
std::vector<std::string> ColumnChoices(int column, Language language);

} // namespace k470
