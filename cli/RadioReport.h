#pragma once

#include "cli/Commands.h"
#include "exchange/ImageChecks.h"
#include "link/TransferCheck.h"

#include <optional>
#include <string>
#include <vector>

namespace k470 {

/// How a command that talks to a radio ended. What does not apply to the command, or was not come to, is left
/// empty.
struct RadioReport {
    std::string command;
    std::string port;
    ExitCode code = ExitDone;
    std::vector<std::string> successes{}; ///< for the user: what went well before something else failed
    std::vector<std::string> sentences{}; ///< of success when the code is ExitDone, else of failure

    std::optional<std::vector<int>> missingLines{}; ///< lines that a read did not bring
    std::optional<std::vector<LineDifference>> differences{};
    std::optional<std::vector<ImageWarning>> warnings{}; ///< of a write: what a check says of its file
    std::optional<bool> mayHoldMixture{}; ///< of a write: neither the old nor the new image is certain
    std::optional<std::string> backup{};  ///< of a write: the file; "" for none
    bool backupHasCount = true;           ///< whether the backup can be written as it is
};

/// "Channel 3 (line 2), address 0020: ..." and so on, a sentence a line; of many the first few.
std::vector<std::string> DifferenceSentences(const std::vector<LineDifference> &differences,
                                             const Console &console);

/// Prints the report, as JSON or in sentences. @return the code to end with
ExitCode TellReport(const RadioReport &report, bool json, const Console &console);

} // namespace k470
