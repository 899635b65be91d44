#pragma once

#include "exchange/ImageDifferences.h"
#include "resources/StringTable.h"

#include <string>
#include <vector>

namespace k470 {

/// What differs between two images: a table of the values and, after an empty line, one of the bytes in
/// hexadecimal. "" when nothing differs.
std::string DifferencesAsText(const std::vector<FieldDifference> &fields, const std::vector<ByteRun> &bytes,
                              Language language);

} // namespace k470
