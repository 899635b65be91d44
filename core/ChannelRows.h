#pragma once

#include "core/AppState.h"
#include "core/ChannelColumns.h"
#include "core/MemoryImage.h"

#include <array>
#include <string>
#include <string_view>

namespace k470 {

/// The texts of one grid row, column by column. Column 0 is not used here. A row whose receive frequency is
/// "" is an empty channel.
using RowTexts = std::array<std::string, GridCols>;

/// The texts that a channel's record shows.
/// @param ch channel, 0 to 98
RowTexts RowFromRecord(const MemoryImage &image, int ch, Language language);

/// Writes a row into the channel's record and its bits of both bitmaps. Texts are compared with those of the
/// language. Bits and bytes that belong to no column stay.
void StoreRow(MemoryImage &image, int ch, const RowTexts &row, Language language);

/// Sets a receive frequency as typed: "" empties the row; a row without a transmit tone becomes a new channel
/// with the defaults, any other keeps its cells.
/// @return whether the frequency is outside the band and the user is to be warned
bool SetRowRx(RowTexts &row, std::string_view typed, const AppState &state);

/// Sets a transmit frequency as typed: "" leaves a receive-only channel.
/// @return as SetRowRx
bool SetRowTx(RowTexts &row, std::string_view typed, const AppState &state);

/// The column that is entered instead of the one asked for: an empty channel starts with its receive
/// frequency, and a receive-only one has no transmit tone before it has a transmit frequency.
int EnteredColumn(const RowTexts &row, int column);

} // namespace k470
