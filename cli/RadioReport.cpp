#include "cli/RadioReport.h"

#include "cli/ImageWarnings.h"
#include "cli/Outcome.h"
#include "core/HexCells.h"

#include <algorithm>

namespace k470 {

namespace {

constexpr std::size_t MostTold = 10;

constexpr TextPair LineName{"Line {}", "第 {} 行"};
constexpr TextPair ChannelName{"Channel {} (line {})", "信道 {}（第 {} 行）"};
constexpr TextPair OtherBytes{"{}, address {}: {} expected, {} found.", "{}，地址 {}：应为 {}，实为 {}。"};
constexpr TextPair LeftOut{"{}, address {}: {} expected, but the radio leaves the line out.",
                           "{}，地址 {}：应为 {}，但对讲机没有此行。"};
constexpr TextPair More{"{} more lines differ.", "另有 {} 行不同。"};

std::string DifferenceSentence(const LineDifference &difference, const Console &console) {
    const std::string line = std::to_string(difference.line);
    const std::string place = difference.line < MaxChannels
                                  ? console.Phrase(ChannelName, {std::to_string(difference.line + 1), line})
                                  : console.Phrase(LineName, {line});
    return console.Phrase(
        difference.found.empty() ? LeftOut : OtherBytes,
        {place, HexAddress(difference.address), HexText(difference.expected), HexText(difference.found)});
}

Json JsonOf(const std::vector<LineDifference> &differences) {
    Json rows = Json::array();
    for (const LineDifference &difference : differences)
        rows.push_back({{"line", difference.line},
                        {"address", difference.address},
                        {"expected", HexText(difference.expected)},
                        {"found", HexText(difference.found)}});
    return rows;
}

std::string Join(const std::vector<std::string> &sentences) {
    std::string text;
    for (const std::string &sentence : sentences)
        text += (text.empty() ? "" : " ") + sentence;
    return text;
}

Json JsonOf(const RadioReport &report, Language language) {
    Json json{{"command", report.command}, {"port", report.port}};
    AddOutcome(json, report.code);
    if (report.backup)
        json["backup"] = report.backup->empty() ? Json() : Json(*report.backup);
    if (report.mayHoldMixture) {
        json["radioMayHoldMixture"] = *report.mayHoldMixture;
        json["warnings"] = report.warnings ? WarningsAsJson(*report.warnings, language) : Json();
    }
    json["differences"] = report.differences ? JsonOf(*report.differences) : Json();
    json["missingLines"] = report.missingLines ? Json(*report.missingLines) : Json();
    std::vector<std::string> sentences = report.successes;
    sentences.insert(sentences.end(), report.sentences.begin(), report.sentences.end());
    json["message"] = Join(sentences);
    return json;
}

} // namespace

std::vector<std::string> DifferenceSentences(const std::vector<LineDifference> &differences,
                                             const Console &console) {
    std::vector<std::string> sentences;
    const std::size_t told = std::min(differences.size(), MostTold);
    for (std::size_t i = 0; i < told; ++i)
        sentences.push_back(DifferenceSentence(differences[i], console));
    if (told < differences.size())
        sentences.push_back(console.Phrase(More, {std::to_string(differences.size() - told)}));
    return sentences;
}

ExitCode TellReport(const RadioReport &report, bool json, const Console &console) {
    const bool failed = report.code != ExitDone;
    for (const std::string &sentence : failed ? report.successes : report.sentences)
        if (!json)
            console.PrintSuccess(sentence);
    if (failed)
        for (const std::string &sentence : report.sentences)
            console.PrintError(sentence);
    const bool told = !json || console.PrintResult(DumpJson(JsonOf(report, console.UsedLanguage())));
    return report.code == ExitDone && !told ? ExitFile : report.code;
}

} // namespace k470
