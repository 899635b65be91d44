#pragma once

#include "core/AppState.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace k470 {

/// Limits in MHz.
struct Band {
    double low;
    double high;
};

/// The standard bands by position in the band list; the position behind them is the custom band.
inline constexpr std::array<Band, 4> StandardBands{{{136, 174}, {200, 260}, {350, 390}, {400, 480}}};
inline constexpr std::uint8_t CustomBand = StandardBands.size();
inline constexpr std::size_t BandPositions = StandardBands.size() + 1;

/// The text of a position of the band list.
std::string BandText(std::size_t position, Language language);

/// The position of the standard band whose limits are exactly these, CustomBand when none is.
std::uint8_t FindBand(double low, double high);

/// Whether a band may span these limits: 1 to 100 MHz between them, each rounded to whole MHz.
bool IsSpanAllowed(Band band);

/// The bytes of a band limit: four packed decimal digits of 0.1 MHz, most significant byte first.
namespace BandLimit {
using Bytes = std::array<std::uint8_t, BandLimitSize>;
inline constexpr int HighestTenths = 9999;

/// @param tenths 0 to HighestTenths
Bytes Encode(int tenths);

/// The limit in 0.1 MHz. A byte reads up to its first hexadecimal digit that is no decimal one.
int Decode(Bytes bytes);

/// @return nothing when one of the bytes is not packed decimal
std::optional<int> DecodeExactly(Bytes bytes);
} // namespace BandLimit

/// Writes the band limits of the state into the image as four packed decimal digits, rounded to 0.1 MHz. A
/// limit outside 0 to 999.9 MHz leaves its bytes as they are.
void StoreBandLimits(AppState &state);

/// The band limits of an image. Bytes that are not packed decimal read as far as they are.
Band GetBandLimits(const MemoryImage &image);

/// Sets the band limits of the state from its image.
void LoadBandLimits(AppState &state);

/// Makes another band the band in force: limits, list position, image; erases the channels.
/// @param position position in the band list; previousBand becomes it
void ChangeBand(AppState &state, std::uint8_t position, Band limits);

} // namespace k470
