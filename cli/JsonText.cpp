#include "cli/JsonText.h"

#include <algorithm>
#include <array>

namespace k470 {

namespace {

struct ResultName {
    ExitCode code;
    const char *name;
};

constexpr std::array<ResultName, 7> ResultNames{{
    {ExitDone, "done"},
    {ExitUsage, "usage"},
    {ExitFile, "fileFailed"},
    {ExitPort, "portFailed"},
    {ExitRadio, "radioFailed"},
    {ExitVerify, "differs"},
    {ExitInterrupted, "interrupted"},
}};

} // namespace

std::string DumpJson(const Json &document) {
    constexpr int Indent = 2;
    return document.dump(Indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

void AddOutcome(Json &document, ExitCode code) {
    const auto row = std::find_if(ResultNames.begin(), ResultNames.end() - 1,
                                  [code](const ResultName &name) { return name.code == code; });
    document["result"] = row->name;
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
