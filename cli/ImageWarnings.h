#pragma once

#include "exchange/ImageChecks.h"
#include "exchange/JsonText.h"

#include <string>
#include <vector>

namespace k470 {

// How warnings of an image are told.

/// A list of objects of channel, field, value and message.
Json WarningsAsJson(const std::vector<ImageWarning> &warnings, Language language);

/// "channel 3", "radio"
std::string PlaceText(const ImageWarning &warning, Language language);

/// One line: how many warnings there are, the first three, and the command that shows all.
/// @param path the image's file
/// @param warnings at least one
std::string WarningSummary(const std::string &path, const std::vector<ImageWarning> &warnings,
                           Language language);

} // namespace k470
