#include "cli/NewAndCheck.h"

#include "cli/ImageFiles.h"
#include "cli/JsonText.h"
#include "cli/TextTable.h"
#include "core/AppState.h"
#include "core/Bands.h"
#include "core/Channels.h"
#include "core/FieldTexts.h"
#include "core/ImageChecks.h"
#include "core/NumberText.h"

#include <optional>
#include <utility>

namespace k470 {

namespace {

constexpr TextPair BadBand{
    "{}: no band. Two limits in MHz such as 400-480 are needed, with one decimal at most, "
    "within 130 to 490, 1 to 100 apart.",
    "{}：不是有效频段。请给出两个频率（MHz，最多一位小数），例如 400-480，须在 130 至 490 之间，相差 1 至 "
    "100。"};
constexpr TextPair BadCount{"{}: a radio has 1 to 99 channels.", "{}：信道数须为 1 至 99。"};

/// "LOW-HIGH" in MHz; a radio stores tenths.
std::optional<Band> ParseBand(std::string_view text) {
    const std::size_t dash = text.find('-');
    if (dash == std::string_view::npos)
        return std::nullopt;
    const std::optional<double> low = NumberWithComma(text.substr(0, dash));
    const std::optional<double> high = NumberWithComma(text.substr(dash + 1));
    const auto isStorable = [](double limit) { return RoundHalfEven(limit * 10) / 10 == limit; };
    if (!low || !high || !isStorable(*low) || !isStorable(*high) || *low < LowestFrequency ||
        *high > HighestFrequency || !IsSpanAllowed({*low, *high}))
        return std::nullopt;
    return Band{*low, *high};
}

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

ExitCode RunNew(const CommandArguments &arguments, const Console &console) {
    const std::optional<Band> band = ParseBand(arguments.band);
    if (!band) {
        console.PrintError(console.Phrase(BadBand, {arguments.band}));
        return ExitUsage;
    }
    const int channels = ParseDecimal(arguments.channels, 0).value_or(0);
    if (channels < 1 || channels > MaxChannels) {
        console.PrintError(console.Phrase(BadCount, {arguments.channels}));
        return ExitUsage;
    }
    AppState state;
    state.bandLow = band->low;
    state.bandHigh = band->high;
    StoreBandLimits(state);
    state.image[Address::ChannelCount] = static_cast<std::uint8_t>(channels);
    NewImage(state);
    if (const auto failure = SaveImageFile(arguments.output, state.image, console.UsedLanguage())) {
        console.PrintError(*failure);
        return ExitFile;
    }
    return ExitDone;
}

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
