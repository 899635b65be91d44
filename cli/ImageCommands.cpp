#include "cli/ImageCommands.h"

#include "cli/ImageFiles.h"
#include "cli/Listing.h"
#include "cli/Outcome.h"
#include "core/AppState.h"
#include "core/Bands.h"
#include "core/Channels.h"
#include "core/NumberText.h"
#include "exchange/ImageJson.h"

#include <optional>

namespace k470 {

namespace {

constexpr TextPair BadBand{
    "{}: no band. Two limits in MHz such as 400-480 are needed, with one decimal at most, "
    "within 130 to 490, 1 to 100 apart.",
    "{}：不是有效频段。请给出两个频率（MHz，最多一位小数），例如 400-480，须在 130 至 490 之间，相差 1 至 "
    "100。"};
constexpr TextPair BadCount{"{}: a radio has 1 to 99 channels.", "{}：信道数须为 1 至 99。"};

constexpr TextPair PackNames{"pack makes a .tw file of a raw one: the second name must end in .tw, the first "
                             "must not",
                             "pack 将原始映像压缩为 .tw 文件：第二个文件名必须以 .tw 结尾，第一个则不能"};
constexpr TextPair UnpackNames{"unpack makes a raw file of a .tw one: the first name must end in .tw, the "
                               "second must not",
                               "unpack 将 .tw 文件还原为原始映像：第一个文件名必须以 .tw 结尾，第二个则不能"};

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

/// From one form to the other, as the names say.
ExitCode Convert(const CommandArguments &arguments, const Console &console) {
    MemoryImage image{};
    std::optional<std::string> failure = LoadImageFile(arguments.input, image, console.UsedLanguage());
    if (!failure)
        failure = SaveImageFile(arguments.output, image, console.UsedLanguage());
    return failure ? TellFailure(ExitFile, *failure, arguments, console) : ExitDone;
}

} // namespace

ExitCode RunNew(const CommandArguments &arguments, const Console &console) {
    const std::optional<Band> band = ParseBand(arguments.band);
    if (!band)
        return TellFailure(ExitUsage, console.Phrase(BadBand, {arguments.band}), arguments, console);
    const int channels = ParseDecimal(arguments.channels, 0).value_or(0);
    if (channels < 1 || channels > MaxChannels)
        return TellFailure(ExitUsage, console.Phrase(BadCount, {arguments.channels}), arguments, console);
    AppState state;
    state.bandLow = band->low;
    state.bandHigh = band->high;
    state.gridRows = static_cast<std::uint8_t>(channels + 1);
    StartImage(state);
    if (const auto failure = SaveImageFile(arguments.output, state.image, console.UsedLanguage()))
        return TellFailure(ExitFile, *failure, arguments, console);
    return ExitDone;
}

ExitCode RunShow(const CommandArguments &arguments, const Console &console) {
    MemoryImage image{};
    if (const auto failure = LoadImageFile(arguments.input, image, console.UsedLanguage()))
        return TellFailure(ExitFile, *failure, arguments, console);
    const std::string text = arguments.json ? FieldsAsJson(ReadImageFields(image, Language::English))
                                            : ListImage(image, console.UsedLanguage());
    return console.PrintResult(text) ? ExitDone : ExitFile;
}

ExitCode RunPack(const CommandArguments &arguments, const Console &console) {
    if (!IsPackedName(arguments.input) && IsPackedName(arguments.output))
        return Convert(arguments, console);
    return TellFailure(ExitUsage, console.Phrase(PackNames), arguments, console);
}

ExitCode RunUnpack(const CommandArguments &arguments, const Console &console) {
    if (IsPackedName(arguments.input) && !IsPackedName(arguments.output))
        return Convert(arguments, console);
    return TellFailure(ExitUsage, console.Phrase(UnpackNames), arguments, console);
}

} // namespace k470
