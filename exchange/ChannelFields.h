#pragma once

#include "exchange/ImageFields.h"

namespace k470 {

/// A cell that cannot be taken over.
struct CellProblem {
    std::size_t column;
    TextPair reason; ///< with a "{}" for the detail when there is one
    std::string detail{};
};
using CellProblems = std::vector<CellProblem>;

/// The row of a channel: what the grid shows and, where a row of that does not give all bytes back, the raw
/// bytes. An empty channel has an empty receive frequency and nothing in the other columns.
/// @param ch channel, 0 to 98
FieldCells ReadChannelCells(const MemoryImage &image, int ch, Language language);

/// Makes a channel what its row says, whatever it was. Without raw bytes the row gives the bytes that the
/// grid stores for its texts into an erased channel: what it does not say is as in a new channel, an empty
/// receive frequency leaves it erased. With raw bytes, these are taken and what the row says otherwise is
/// changed.
/// @return the cells that cannot be taken over, the image being untouched then
CellProblems ApplyChannelCells(MemoryImage &image, int ch, const FieldCells &cells);

/// The channel's record and its bits of both bitmaps: "0x", 32 hexadecimal digits, ":", the bit of the empty
/// map and the one of the scan skip map.
std::string RawChannelText(const MemoryImage &image, int ch);

/// Copies the bytes of a column from a channel to the same one of another image.
void CopyChannelField(const MemoryImage &from, MemoryImage &to, int ch, std::size_t column);

} // namespace k470
