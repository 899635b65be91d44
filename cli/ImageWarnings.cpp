#include "cli/ImageWarnings.h"

#include "cli/Console.h"
#include "cli/ShellText.h"

#include <algorithm>
#include <utility>

namespace k470 {

namespace {

/// "channel 3, receive frequency 500.00000 (outside the band)"
std::string WarningPhrase(const ImageWarning &warning, Language language) {
    constexpr TextPair Warning{"{}, {} {} ({})", "{} {} {}（{}）"};
    return Phrase(language, Warning,
                  {PlaceText(warning, language), FieldName(warning, language), warning.value,
                   WarningText(warning.kind, language)});
}

} // namespace

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
    return list;
}

std::string PlaceText(const ImageWarning &warning, Language language) {
    constexpr TextPair Channel{"channel {}", "信道 {}"};
    constexpr TextPair Radio{"radio", "整机"};
    return warning.channel == ImageWarning::WholeRadio
               ? std::string(Pick(language, Radio))
               : Phrase(language, Channel, {std::to_string(warning.channel + 1)});
}

std::string WarningSummary(const std::string &path, const std::vector<ImageWarning> &warnings,
                           Language language) {
    constexpr std::size_t MostTold = 3;
    constexpr TextPair One{"{}: {} warning: {}. To show it: k470-cli check {}",
                           "{}：{} 条警告：{}。查看：k470-cli check {}"};
    constexpr TextPair Many{"{}: {} warnings: {}. To show all: k470-cli check {}",
                            "{}：{} 条警告：{}。查看全部：k470-cli check {}"};
    constexpr TextPair Next{"; ", "；"};
    constexpr TextPair More{"; and {} more", "；另有 {} 条"};
    const std::size_t told = std::min(warnings.size(), MostTold);
    std::string phrases;
    for (std::size_t i = 0; i < told; ++i) {
        phrases += i == 0 ? "" : Pick(language, Next);
        phrases += WarningPhrase(warnings[i], language);
    }
    if (told < warnings.size())
        phrases += Phrase(language, More, {std::to_string(warnings.size() - told)});
    return Phrase(language, warnings.size() == 1 ? One : Many,
                  {path, std::to_string(warnings.size()), phrases, ForShell(path)});
}

} // namespace k470
