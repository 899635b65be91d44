#pragma once

#include "core/MemoryImage.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace k470 {

/// A working copy of the tuning area; index k stands for address 0x670 + k.
using TuneData = std::array<std::uint8_t, TuningAreaSize>;

TuneData LoadTuneData(const MemoryImage &image);
void StoreTuneData(MemoryImage &image, const TuneData &data);

/// The two levels of a segment.
enum class TuneLevel { Squelch, Noise };

/// Where a segment's level is in the working copy. @param segment frequency in MHz div 10
/// @return nothing for a segment outside 13 to 49, which the table has no place for
std::optional<std::size_t> TuneIndex(TuneLevel level, int segment);

/// A segment's level in decimal, "" for a segment without a place.
std::string GetTuneText(const TuneData &data, TuneLevel level, int segment);
/// Takes a text of NormalizeTuneLevel; nothing is done for a segment without a place.
void SetTuneText(TuneData &data, TuneLevel level, int segment, std::string_view text);

/// Rows of the tuning grid. Its columns are one of captions and one for each segment, from 1.
enum TuneRow : int { TuneCaptionRow, SquelchRow, NoiseRow, TuneRows };
inline constexpr int TuneColumns = 16; ///< segment columns
inline constexpr int TuneCols = 1 + TuneColumns;

/// Sizes of the tuning grid in twips.
inline constexpr int TuneGridWidth = 12000;
inline constexpr int TuneGridHeight = 1200;
inline constexpr int TuneCaptionWidth = 1000;

/// A segment column of the tuning grid.
struct TuneColumn {
    int segment = 0;
    int width = 0;       ///< twips; 0 for a column that is not shown
    std::string caption; ///< "405M"; "" for a column that is not shown
};

/// The tuning grid of a band.
struct TuneLayout {
    /// 0 to 16. One more than the columns that are shown when the high limit, rounded, begins a segment.
    int segmentCount = 0;
    std::array<TuneColumn, TuneColumns> columns;
};

/// Lays the grid out for a band in MHz, whatever the limits. A band that gives no segment has no column.
TuneLayout LayOutTuning(double bandLow, double bandHigh);

/// @param col grid column, 1 to 16
const TuneColumn &ColumnAt(const TuneLayout &layout, int col);

/// A cell of the tuning grid.
struct TuneCell {
    int row;
    int col;
    bool operator==(const TuneCell &) const = default;
};

/// Where Enter moves from a cell: to the right, from the end of the squelch row to the noise row, over
/// columns that are not shown or have no place in the table.
/// @param cell column 0 asks for the first cell of the row
/// @return the cell itself when none follows
TuneCell NextTuneCell(const TuneLayout &layout, TuneCell cell);

/// A typed level made valid: 0 to 255 as a whole number without leading zeros.
std::string NormalizeTuneLevel(std::string_view typed);

/// Decides about a character typed into the level editor.
/// @param text the editor's text before the key
/// @return the character to enter, or nothing when the key is refused
std::optional<char> FilterLevelKey(std::string_view text, bool anySelected, char key);

} // namespace k470
