#pragma once

#include "core/MemoryMap.h"

#include <array>
#include <cstdint>
#include <span>

namespace k470 {

struct AppState;

/// The radio's configuration memory, byte for byte.
using MemoryImage = std::array<std::uint8_t, ImageSize>;

/// A byte of a field that holds nothing.
inline constexpr std::uint8_t NotProgrammed = 0xFF;

/// The 16 bytes of a line. @param line 0 to 111
std::span<std::uint8_t, LineSize> Line(MemoryImage &image, int line);
std::span<const std::uint8_t, LineSize> Line(const MemoryImage &image, int line);

/// Turns the image into a new, empty codeplug that keeps the channel count and the band limits; takes a
/// snapshot.
void NewImage(AppState &state);

/// Erases all 99 channel records and takes a snapshot. Settings, bitmaps and band stay.
void ClearChannels(AppState &state);

/// Makes the image as it stands the reference of ImageModified.
void TakeSnapshot(AppState &state);

/// @return whether any byte differs from the last snapshot
bool ImageModified(const AppState &state);

/// What the radio wants to find in an image that is sent to it: the mark byte and a copy of the channel
/// count.
void PrepareForWrite(MemoryImage &image);

} // namespace k470
