#pragma once

#include "core/MemoryImage.h"

#include <cstdint>
#include <optional>

namespace k470 {

/// The channel count that a byte says: 0 to 99; nothing for 100 and more.
constexpr std::optional<int> ChannelCountOf(std::uint8_t byte) {
    return byte <= MaxChannels ? std::optional<int>(byte) : std::nullopt;
}

/// The channel count of an image.
std::optional<int> GetChannelCount(const MemoryImage &image);

/// What a count of 100 and more is taken for.
namespace CountFallback {
inline constexpr int Shown = 16;             ///< channels that lists show and that a read asks the radio for
inline constexpr int Searched = MaxChannels; ///< channels of which one may become the working channel
inline constexpr int Written = MaxChannels;  ///< channels that are compared after a write
inline constexpr int Required = 0;           ///< channels that a complete read must have brought
} // namespace CountFallback

/// Whether the count is one that a radio has: 1 to 99.
bool HasChannelCount(const MemoryImage &image);

/// The number of channels that a check takes for used: the count, all 99 when no radio has it.
int CheckedChannels(const MemoryImage &image);

} // namespace k470
