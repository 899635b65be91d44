#pragma once

#include "cli/Commands.h"
#include "exchange/JsonText.h"

#include <string>

namespace k470 {

/// Adds the members "result", in a word, and "exitCode" that every document has which tells how a command
/// ended.
void AddOutcome(Json &document, ExitCode code);

/// For a command without a result: tells why, in a document too when the arguments ask for one. @return the
/// code
ExitCode TellFailure(ExitCode code, const std::string &sentence, const CommandArguments &arguments,
                     const Console &console);

} // namespace k470
