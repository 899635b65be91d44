#pragma once

#include "cli/Commands.h"

namespace k470 {

/// Compares two image files by field and by byte.
ExitCode RunDiff(const CommandArguments &arguments, const Console &console);

/// Writes what an image file holds as JSON or CSV.
ExitCode RunExport(const CommandArguments &arguments, const Console &console);

/// Takes the values of a JSON or CSV file into an image file: all of them or, when one is bad, none.
ExitCode RunImport(const CommandArguments &arguments, const Console &console);

} // namespace k470
