#pragma once

#include "core/MemoryImage.h"
#include "resources/StringTable.h"

#include <string>

namespace k470 {

/// The image as text: the channel grid with its hidden columns, an empty line, the band and the settings.
std::string ListImage(const MemoryImage &image, Language language);

} // namespace k470
