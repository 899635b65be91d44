#pragma once

#include "cli/Commands.h"

namespace k470 {

/// Reads the radio into a file, which is written only when every line has arrived.
ExitCode RunRead(const CommandArguments &arguments, const Console &console);

/// Sends the image of a file to the radio. An image whose channel count is none is refused.
ExitCode RunWrite(const CommandArguments &arguments, const Console &console);

} // namespace k470
