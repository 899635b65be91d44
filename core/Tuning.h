#pragma once

#include "core/MemoryImage.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

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

inline constexpr int TuneColumns = 16;      ///< segment columns of the grid
inline constexpr int TuneGridWidth = 12000; ///< twips
inline constexpr int TuneCaptionWidth = 1000;

/// A segment column of the tuning grid.
struct TuneColumn {
    int segment = 0;
    int width = 0;        ///< twips; 0 for a column that is not shown
    std::string caption;  ///< "405M"; "" for a column that is not shown
    bool counted = false; ///< holds levels of the table, shown or not
};

/// The tuning grid of a band.
struct TuneLayout {
    int segmentCount = 0; ///< 0 to 16
    std::array<TuneColumn, TuneColumns> columns;
};

/// Lays the grid out for a band in MHz, whatever the limits. A band that gives no segment has no column.
TuneLayout LayOutTuning(double bandLow, double bandHigh);

/// A typed level made valid: 0 to 255 as a whole number without leading zeros.
std::string NormalizeTuneLevel(std::string_view typed);

} // namespace k470
