#include "cli/CheckCommand.h"

#include "cli/ImageFiles.h"
#include "cli/Outcome.h"
#include "cli/TextTable.h"
#include "core/ImageChecks.h"

#include <utility>

namespace k470 {

namespace {

Json WarningsAsJson(const std::vector<ImageWarning> &warnings, Language language) {
    Json list = Json::array();
    for (const ImageWarning &warning : warnings) {
        Json row;
        row["channel"] =
            warning.channel == ImageWarning::WholeRadio ? Json(nullptr) : Json(warning.channel + 1);
        row["field"] = warning.field;
        row["value"] = warning.value;
        row["message"] = WarningText(warning.kind, language);
        list.push_back(std::move(row));
    }
    return Json{{"warnings", std::move(list)}};
}

std::string WarningsAsText(const std::vector<ImageWarning> &warnings, Language language) {
    constexpr TextPair Channel{"channel {}", "信道 {}"};
    constexpr TextPair Radio{"radio", "整机"};
    std::vector<TextRow> rows;
    for (const ImageWarning &warning : warnings) {
        const bool whole = warning.channel == ImageWarning::WholeRadio;
        rows.push_back({whole ? std::string(Pick(language, Radio))
                              : Phrase(language, Channel, {std::to_string(warning.channel + 1)}),
                        std::string(FieldName(warning, language)), warning.value,
                        std::string(WarningText(warning.kind, language))});
    }
    return FormatTable(rows);
}

} // namespace

ExitCode RunCheck(const CommandArguments &arguments, const Console &console) {
    const Language language = console.UsedLanguage();
    MemoryImage image{};
    if (const auto failure = LoadImageFile(arguments.input, image, language))
        return TellFailure(ExitFile, *failure, arguments, console);
    const std::vector<ImageWarning> warnings = CheckImage(image);
    const std::string text =
        arguments.json ? DumpJson(WarningsAsJson(warnings, language)) : WarningsAsText(warnings, language);
    if (!console.PrintResult(text))
        return ExitFile;
    if (!warnings.empty())
        return ExitDiffers;
    if (!arguments.json)
        console.PrintSuccess(console.Phrase({"Nothing to warn of.", "没有警告。"}));
    return ExitDone;
}

} // namespace k470
