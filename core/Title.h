#pragma once

#include "core/AppState.h"

#include <string>

namespace k470 {

/// The band as caption and status bar show it: " [400 - 480 MHz]".
std::string BandCaption(const AppState &state);

/// The main window's caption. A file name that ends in a backslash loses that character, in the state too.
std::string CaptionText(AppState &state);

/// "COM5", in Chinese "通信端口5".
std::string PortText(const AppState &state);

} // namespace k470
