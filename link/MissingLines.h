#pragma once

#include "resources/StringTable.h"

#include <string>
#include <vector>

namespace k470 {

/// The warning that names the lines which a completed read lacks.
std::string MissingLinesText(const std::vector<int> &lines, Language language);

} // namespace k470
