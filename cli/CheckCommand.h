#pragma once

#include "cli/Commands.h"

namespace k470 {

/// Warns of what an image holds that a radio would not work with.
ExitCode RunCheck(const CommandArguments &arguments, const Console &console);

} // namespace k470
