#pragma once

#include "core/Frequency.h"
#include "core/MemoryImage.h"
#include "core/Tones.h"

#include <optional>
#include <string>
#include <string_view>

namespace k470 {

inline constexpr double LowestFrequency = 130;  ///< MHz
inline constexpr double HighestFrequency = 490; ///< MHz

/// A channel's frequency.
/// @param ch line of the record, 0 to 111; 0 to 98 are channels
/// @return nothing when one of its four bytes is 0xFF or not packed decimal
std::optional<Frequency> GetFrequency(const MemoryImage &image, Field which, int ch);

/// The text of a channel's frequency ("146.52500"); "" when there is none.
std::string GetFreqString(const MemoryImage &image, Field which, int ch);

/// Writes a text that Frequency::FromText takes into the record; "" erases the field. A text of another form
/// changes nothing.
void SetFreqString(MemoryImage &image, Field which, int ch, std::string_view text);

/// A typed frequency made valid.
struct NormalizedFreq {
    std::string text; ///< MHz, three integer digits and five decimals, 130 to 490, on the channel raster
    bool outOfRange = false; ///< outside the band: the user is to be warned
};

/// Turns what was typed into a frequency on the 5 kHz or 6.25 kHz raster, whichever point at or below is
/// nearer.
/// @param typed MHz; "," is taken as decimal separator; a comma text that is no number gives bandLow
/// @param bandLow,bandHigh the band in MHz; outside it the result only warns
NormalizedFreq NormalizeFreq(std::string_view typed, double bandLow, double bandHigh);

/// Whether the frequency is a multiple of 5 or of 6.25 kHz.
bool IsOnRaster(Frequency frequency);

/// @return whether the channel's bit is set in EmptyMap; true for a channel beyond the bitmap
bool IsMarkedEmpty(const MemoryImage &image, int ch);
void MarkEmpty(MemoryImage &image, int ch, bool empty);

bool IsScanSkipped(const MemoryImage &image, int ch);
void SetScanSkipped(MemoryImage &image, int ch, bool skipped);

/// @return whether the channel counts as not programmed: no receive frequency, or marked empty
bool IsEmptyChannel(const MemoryImage &image, int ch);

} // namespace k470
