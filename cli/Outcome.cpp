#include "cli/Outcome.h"

#include <algorithm>

namespace k470 {

void AddOutcome(Json &document, ExitCode code) {
    const auto row = std::find_if(ExitMeanings.begin(), ExitMeanings.end(),
                                  [code](const ExitMeaning &meaning) { return meaning.code == code; });
    document["result"] = row == ExitMeanings.end() ? "" : row->result;
    document["exitCode"] = static_cast<int>(code);
}

ExitCode TellFailure(ExitCode code, const std::string &sentence, const CommandArguments &arguments,
                     const Console &console) {
    console.PrintError(sentence);
    if (arguments.json) {
        Json document = Json::object();
        AddOutcome(document, code);
        document["message"] = sentence;
        console.PrintResult(DumpJson(document));
    }
    return code;
}

} // namespace k470
