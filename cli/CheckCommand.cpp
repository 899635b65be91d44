#include "cli/CheckCommand.h"

#include "cli/ImageFiles.h"
#include "cli/ImageWarnings.h"
#include "cli/Outcome.h"
#include "cli/TextTable.h"
#include "exchange/ImageChecks.h"

namespace k470 {

namespace {

std::string WarningsAsText(const std::vector<ImageWarning> &warnings, Language language) {
    std::vector<TextRow> rows;
    rows.reserve(warnings.size());
    for (const ImageWarning &warning : warnings)
        rows.push_back({PlaceText(warning, language), std::string(FieldName(warning, language)),
                        warning.value, std::string(WarningText(warning.kind, language))});
    return FormatTable(rows);
}

} // namespace

ExitCode RunCheck(const CommandArguments &arguments, const Console &console) {
    const Language language = console.UsedLanguage();
    MemoryImage image{};
    if (const auto failure = LoadImageFile(arguments.input, image, language))
        return TellFailure(ExitFile, *failure, arguments, console);
    const std::vector<ImageWarning> warnings = CheckImage(image);
    const std::string text = arguments.json ? DumpJson({{"warnings", WarningsAsJson(warnings, language)}})
                                            : WarningsAsText(warnings, language);
    if (!console.PrintResult(text))
        return ExitFile;
    if (!warnings.empty())
        return ExitDiffers;
    if (!arguments.json)
        console.PrintSuccess(console.Phrase({"Nothing to warn of.", "没有警告。"}));
    return ExitDone;
}

} // namespace k470
