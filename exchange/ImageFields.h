#pragma once

#include "core/ChannelColumns.h"
#include "core/MemoryImage.h"
#include "core/Settings.h"
#include "resources/StringTable.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// What an image holds as tables of texts, for files that people and scripts edit: channels, settings, band,
/// tuning. In English the texts of an image, applied to any other image, give its bytes back.
enum class FieldTable { Channels, Settings, Band, Tuning };
inline constexpr std::array<FieldTable, 4> AllTables{FieldTable::Channels, FieldTable::Settings,
                                                     FieldTable::Band, FieldTable::Tuning};

/// A column under the two names that files use for it.
struct FieldColumn {
    std::string_view member; ///< in JSON
    std::string_view header; ///< in a table of CSV
};

struct FieldTableShape {
    std::string_view member;          ///< of the table in JSON
    std::vector<FieldColumn> columns; ///< the first one names the row

    /// Whether a row is a name and one value.
    bool IsPairs() const { return columns.size() == 2; }
};
const FieldTableShape &ShapeOf(FieldTable table);

/// Columns of the channel table: those of the grid, then the bytes of a channel that they do not give back.
inline constexpr std::size_t RawColumn = GridCols;
/// Columns of the others.
inline constexpr std::size_t NameColumn = 0;
inline constexpr std::size_t ValueColumn = 1; ///< of settings and band limits
inline constexpr std::size_t SquelchColumn = 1;
inline constexpr std::size_t NoiseColumn = 2;

/// The texts of a row by column. Nothing: the file says nothing about it; "": its cell is empty.
using FieldCells = std::vector<std::optional<std::string>>;

/// Where a row stands in a file.
struct FieldPlace {
    std::size_t order = 0; ///< ascending through the file
    std::string text;      ///< for the user
};

/// Names of the two band limits.
inline constexpr std::array<std::string_view, 2> LimitNames{"low", "high"};

/// The setting of that name in files, which must be one.
const SettingShape &SettingNamed(std::string_view name);

/// Whether a setting's list offers the byte: the entry shown for it gives the same byte back.
bool IsOffered(const SettingShape &shape, std::uint8_t byte);

/// A setting's value as files have it: the text of its list, "0x" and two digits for a byte that it does not
/// offer.
std::string SettingValue(const MemoryImage &image, const SettingShape &shape, Language language);

/// A band limit as files have it: MHz with one decimal, "0x" and four digits when the two limits are none.
/// @param limit position in LimitNames
std::string LimitText(const MemoryImage &image, std::size_t limit);

struct FieldRow {
    FieldTable table{};
    FieldCells cells;
    FieldPlace place{};
};

/// All rows, by table. Channels are listed up to the channel count, when it is one, and up to the last that
/// is not blank.
/// @param language of the values; files are in English
std::vector<FieldRow> ReadImageFields(const MemoryImage &image, Language language);

/// Rows of one table, the channel table with all its 99 channels.
std::vector<FieldRow> ReadFieldTable(const MemoryImage &image, FieldTable table, Language language);

/// Something in a file that cannot be taken over.
struct FieldProblem {
    FieldPlace place;
    std::string field; ///< the column's name in the file, "" when the whole row is meant
    std::string value; ///< what stands there
    TextPair reason;   ///< with a "{}" for the detail when there is one
    std::string detail{};
};
using FieldProblems = std::vector<FieldProblem>;

/// Puts English texts into the image. What no row says stays as it is.
/// @param naming which of the names of a column the problems use
/// @return everything that cannot be taken over, the image being untouched then; none when all is done
FieldProblems ApplyImageFields(const std::vector<FieldRow> &rows, std::string_view FieldColumn::*naming,
                               MemoryImage &image);

} // namespace k470
