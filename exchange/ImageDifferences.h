#pragma once

#include "exchange/ImageFields.h"

#include <cstdint>
#include <string>
#include <vector>

namespace k470 {

/// A value that differs between two images.
struct FieldDifference {
    FieldTable table{};
    std::string row;     ///< channel number, name of the setting or of the limit, segment
    std::size_t column;  ///< of the table; RawColumn for bytes of a channel that no other column shows
    std::string first{}; ///< "" when there is none
    std::string second{};
};

/// All values that differ, by table.
/// @param language of the values; the names of rows are those of files
std::vector<FieldDifference> CompareFields(const MemoryImage &first, const MemoryImage &second,
                                           Language language);

/// Neighbouring bytes that differ, at most to the end of their line.
struct ByteRun {
    std::size_t address;
    std::vector<std::uint8_t> first{};
    std::vector<std::uint8_t> second{};
};

/// All bytes that differ, by address.
std::vector<ByteRun> CompareBytes(const MemoryImage &first, const MemoryImage &second);

} // namespace k470
