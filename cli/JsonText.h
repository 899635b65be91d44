#pragma once

#include "cli/Commands.h"

#include <nlohmann/json.hpp>

#include <string>

namespace k470 {

/// Members keep the order in which they are added.
using Json = nlohmann::ordered_json;

/// The document as it is printed or saved, the line end included. Bytes that are not UTF-8 are replaced.
std::string DumpJson(const Json &document);

/// The members "result", in a word, and "exitCode" that every document has which tells how a command ended.
void AddOutcome(Json &document, ExitCode code);

/// A command without a result: tells why, in a document too when the arguments ask for one. @return the code
ExitCode TellFailure(ExitCode code, const std::string &sentence, const CommandArguments &arguments,
                     const Console &console);

} // namespace k470
