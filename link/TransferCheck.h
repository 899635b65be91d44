#pragma once

#include "core/MemoryImage.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace k470 {

/// Whether a write transfers the line: the channel lines below the channel count, and the settings.
/// @param channels channel count of the image, 0 to 99
bool IsLineWritten(int line, int channels);

/// A line in which a radio holds other bytes than it was sent.
struct LineDifference {
    int line = 0;
    std::size_t address = 0;              ///< of the first byte that differs
    std::vector<std::uint8_t> expected{}; ///< the bytes from there to the last one that differs
    std::vector<std::uint8_t> found{}; ///< the same bytes of the radio; none when the read left the line out
};

/// What an image holds before a radio is read into it to be compared: whatever the read leaves out differs
/// from what was sent in every byte.
MemoryImage UnlikeImage(const MemoryImage &sent);

/// Compares each line that a write of `sent` transfers. Of an empty channel only the first byte travels, so
/// only this one is compared: the radio may keep the others.
/// @param sent with the bytes that PrepareForWrite sets; its channel count is 0 to 99
/// @param found a radio's image, read into UnlikeImage(sent)
/// @return the lines that differ, in ascending order
std::vector<LineDifference> CompareWritten(const MemoryImage &sent, const MemoryImage &found);

/// The same for an image that nobody has sent, such as one that was read. At the bytes that PrepareForWrite
/// sets a radio may hold those of the image or what a write of it sets there.
/// @param image its channel count is 0 to 99
/// @param found a radio's image, read into UnlikeImage(image)
std::vector<LineDifference> CompareHeld(const MemoryImage &image, const MemoryImage &found);

} // namespace k470
