#pragma once

#include "cli/JsonText.h"
#include "core/ImageChecks.h"

#include <string>
#include <vector>

namespace k470 {

// How warnings of an image are told.

/// A list of objects of channel, field, value and message.
Json WarningsAsJson(const std::vector<ImageWarning> &warnings, Language language);

/// "channel 3", "radio"
std::string PlaceText(const ImageWarning &warning, Language language);

} // namespace k470
