#pragma once

#include "resources/StringTable.h"

#include <string>
#include <vector>

namespace k470 {

/// "Channels 5 and 8 and line 102 (band) were not received.": channels as the grid numbers them, from 1; of
/// the other lines the number and what they hold.
/// @param lines at least one, 0 to LastSettingsLine, in ascending order
std::string NotReceivedText(const std::vector<int> &lines, Language language);

/// The same with the advice to read again.
std::string MissingLinesText(const std::vector<int> &lines, Language language);

} // namespace k470
