#pragma once

#include "cli/Commands.h"

namespace k470 {

/// Lists the serial ports: COM name, device, description.
ExitCode RunPorts(const CommandArguments &arguments, const Console &console);

/// Reads the radio into a file, which is written only when every line has arrived.
ExitCode RunRead(const CommandArguments &arguments, const Console &console);

/// Sends the image of a file to the radio. Unless told otherwise, first keeps the radio's own image as a
/// backup and afterwards reads back and compares. An image whose channel count is none is refused.
ExitCode RunWrite(const CommandArguments &arguments, const Console &console);

/// Reads the radio and compares it with the image of a file.
ExitCode RunVerify(const CommandArguments &arguments, const Console &console);

} // namespace k470
