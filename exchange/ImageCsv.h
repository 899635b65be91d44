#pragma once

#include "exchange/ImageFields.h"

#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// The rows of an exchange file and what cannot be read of it.
struct ReadFields {
    std::vector<FieldRow> rows;
    FieldProblems problems;
};

/// The rows as tables of CSV, one for each kind, an empty line between them.
std::string FieldsAsCsv(const std::vector<FieldRow> &rows);

/// The rows of such tables: separated by "," or ";" as the first line shows, with decimal commas in the
/// latter case.
/// @param language of the places
ReadFields FieldsFromCsv(std::string_view text, Language language);

} // namespace k470
