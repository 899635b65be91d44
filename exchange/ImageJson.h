#pragma once

#include "exchange/ImageCsv.h"
#include "exchange/ImageDifferences.h"

#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// The rows as one object.
std::string FieldsAsJson(const std::vector<FieldRow> &rows);

/// The rows of such an object.
/// @param language of the places
ReadFields FieldsFromJson(std::string_view text, Language language);

/// What differs between two images, as one object.
std::string DifferencesAsJson(const std::vector<FieldDifference> &fields, const std::vector<ByteRun> &bytes);

} // namespace k470
