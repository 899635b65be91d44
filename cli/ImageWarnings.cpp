#include "cli/ImageWarnings.h"

#include "cli/Console.h"

#include <utility>

namespace k470 {

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

} // namespace k470
