#pragma once

#include "cli/Commands.h"

namespace k470 {

/// Makes the image file of a radio without programmed channels.
ExitCode RunNew(const CommandArguments &arguments, const Console &console);

/// Prints the channels, the band and the settings of an image file.
ExitCode RunShow(const CommandArguments &arguments, const Console &console);

/// Raw image file to packed one.
ExitCode RunPack(const CommandArguments &arguments, const Console &console);

/// Packed image file to raw one.
ExitCode RunUnpack(const CommandArguments &arguments, const Console &console);

} // namespace k470
