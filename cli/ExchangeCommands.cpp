#include "cli/ExchangeCommands.h"

#include "cli/DifferenceTable.h"
#include "cli/ImageFiles.h"
#include "cli/Outcome.h"
#include "core/ChannelCount.h"
#include "exchange/ImageChecks.h"
#include "exchange/ImageJson.h"
#include "files/WholeFile.h"

#include <QString>

#include <algorithm>
#include <array>
#include <vector>

namespace k470 {

namespace {

constexpr std::size_t LargestFile = std::size_t{1024} * 1024;

constexpr TextPair WrongEnding{"{}: the name must end in .json or .csv", "{}：文件名须以 .json 或 .csv 结尾"};
constexpr TextPair TooLarge{"{}: larger than 1 MiB", "{}：超过 1 MiB"};
constexpr TextPair HasNul{"{}: holds a byte 00 and is no text of this kind", "{}：含有字节 00，不是此类文本"};
constexpr TextPair SystemWords{"{}: {}", "{}：{}"};
constexpr TextPair NotTaken{"{}: nothing taken over, the file is as it was",
                            "{}：未作任何更改，文件保持原样"};
constexpr TextPair Taken{"Channels taken over: {}", "已导入信道数：{}"};
constexpr TextPair NotSent{"{}: {} programmed channels are beyond the channel count {}; no write sends them",
                           "{}：有 {} 个已编程信道超出信道数 {}，写频时不会发送"};
constexpr TextPair ImageInTheWay{"{}: the export would overwrite the image", "{}：导出会覆盖映像文件"};

/// A form of exchange files.
struct ExchangeForm {
    std::string_view ending;
    std::string_view FieldColumn::*naming;
    std::string (*write)(const std::vector<FieldRow> &rows);
    ReadFields (*read)(std::string_view text, Language language);
};

constexpr std::array<ExchangeForm, 2> Forms{{
    {".json", &FieldColumn::member, FieldsAsJson, FieldsFromJson},
    {".csv", &FieldColumn::header, FieldsAsCsv, FieldsFromCsv},
}};

const ExchangeForm *FormOf(const std::string &path) {
    const auto form = std::find_if(Forms.begin(), Forms.end(), [&path](const ExchangeForm &each) {
        return HasEnding(path, each.ending);
    });
    return form == Forms.end() ? nullptr : form;
}

/// A text of a file as a terminal may show it.
std::string Shown(const std::string &text) {
    constexpr qsizetype LongestShown = 40;
    const QString whole = QString::fromStdString(text);
    QString shown = whole.left(LongestShown);
    for (QChar &c : shown) {
        if (!c.isPrint())
            c = QChar::ReplacementCharacter;
    }
    return (shown + (whole.size() > LongestShown ? "..." : "")).toStdString();
}

/// Place, field, value, reason, as far as there are.
std::string ProblemText(const FieldProblem &problem, Language language) {
    std::string text = problem.place.text;
    const std::string separator(Pick(language, {": ", "："}));
    std::string what = Shown(problem.field);
    if (!problem.value.empty())
        what += (what.empty() ? "\"" : " \"") + Shown(problem.value) + "\"";
    if (!what.empty())
        text += (text.empty() ? "" : separator) + what;
    return text + (text.empty() ? "" : separator) + Phrase(language, problem.reason, {problem.detail});
}

/// @return why the file was not read, or nothing
std::optional<std::string> ReadText(const std::string &path, std::string &text, const Console &console) {
    std::vector<std::uint8_t> bytes;
    if (const FileFailure failure = ReadWholeFile(path, LargestFile, bytes))
        return console.Phrase(SystemWords, {path, *failure});
    if (bytes.size() > LargestFile)
        return console.Phrase(TooLarge, {path});
    if (std::find(bytes.begin(), bytes.end(), 0) != bytes.end())
        return console.Phrase(HasNul, {path});
    text.assign(bytes.begin(), bytes.end());
    return std::nullopt;
}

/// Takes all rows over into an image, or none. @return what prevents it, in the order of the file
FieldProblems TakeFields(const ReadFields &fields, const ExchangeForm &form, MemoryImage &image) {
    MemoryImage changed = image;
    FieldProblems problems = ApplyImageFields(fields.rows, form.naming, changed);
    problems.insert(problems.begin(), fields.problems.begin(), fields.problems.end());
    std::stable_sort(problems.begin(), problems.end(), [](const FieldProblem &a, const FieldProblem &b) {
        return a.place.order < b.place.order;
    });
    if (problems.empty())
        image = changed;
    return problems;
}

/// Rows that only erase a channel do not count.
std::ptrdiff_t CountChannels(const ReadFields &fields) {
    return std::count_if(fields.rows.begin(), fields.rows.end(), [](const FieldRow &row) {
        return row.table == FieldTable::Channels &&
               (!row.cells[ColRxFreq].value_or("").empty() || !row.cells[RawColumn].value_or("").empty());
    });
}

std::ptrdiff_t CountUnsent(const MemoryImage &image) {
    const std::vector<ImageWarning> warnings = CheckImage(image);
    return std::count_if(warnings.begin(), warnings.end(), [](const ImageWarning &warning) {
        return warning.kind == ImageWarning::Kind::BeyondCount;
    });
}

/// Tells why nothing was taken over. @return the code to end with
ExitCode TellProblems(const FieldProblems &problems, const CommandArguments &arguments,
                      const Console &console) {
    const Language language = console.UsedLanguage();
    Json rows = Json::array();
    for (const FieldProblem &problem : problems) {
        console.PrintError(console.Phrase(SystemWords, {arguments.input, ProblemText(problem, language)}));
        rows.push_back({{"place", problem.place.text},
                        {"field", problem.field},
                        {"value", problem.value},
                        {"message", Phrase(language, problem.reason, {problem.detail})}});
    }
    console.PrintError(console.Phrase(NotTaken, {arguments.output}));
    if (arguments.json) {
        Json document = Json::object();
        AddOutcome(document, ExitFile);
        document["problems"] = std::move(rows);
        console.PrintResult(DumpJson(document));
    }
    return ExitFile;
}

/// Tells what was taken over, and what a radio would not get of it. @return the code to end with
ExitCode TellTaken(const ReadFields &fields, const MemoryImage &image, const CommandArguments &arguments,
                   const Console &console) {
    const std::ptrdiff_t unsent = CountUnsent(image);
    if (unsent > 0)
        console.PrintError(console.Phrase(
            NotSent, {arguments.output, std::to_string(unsent), std::to_string(CheckedChannels(image))}));
    if (!arguments.json) {
        console.PrintSuccess(console.Phrase(Taken, {std::to_string(CountChannels(fields))}));
        return ExitDone;
    }
    Json document = Json::object();
    AddOutcome(document, ExitDone);
    document["channels"] = CountChannels(fields);
    document["beyondChannelCount"] = unsent;
    return console.PrintResult(DumpJson(document)) ? ExitDone : ExitFile;
}

} // namespace

ExitCode RunDiff(const CommandArguments &arguments, const Console &console) {
    MemoryImage first{};
    MemoryImage second{};
    std::optional<std::string> failure = LoadImageFile(arguments.input, first, console.UsedLanguage());
    if (!failure)
        failure = LoadImageFile(arguments.other, second, console.UsedLanguage());
    if (failure)
        return TellFailure(ExitFile, *failure, arguments, console);
    const std::vector<ByteRun> bytes = CompareBytes(first, second);
    const Language language = arguments.json ? Language::English : console.UsedLanguage();
    const std::vector<FieldDifference> fields = CompareFields(first, second, language);
    const std::string text =
        arguments.json ? DifferencesAsJson(fields, bytes) : DifferencesAsText(fields, bytes, language);
    if (!console.PrintResult(text))
        return ExitFile;
    if (!bytes.empty())
        return ExitDiffers;
    if (!arguments.json)
        console.PrintSuccess(console.Phrase({"Nothing differs.", "没有差异。"}));
    return ExitDone;
}

ExitCode RunExport(const CommandArguments &arguments, const Console &console) {
    const ExchangeForm *const form = FormOf(arguments.output);
    if (form == nullptr)
        return TellFailure(ExitUsage, console.Phrase(WrongEnding, {arguments.output}), arguments, console);
    MemoryImage image{};
    if (const auto failure = LoadImageFile(arguments.input, image, console.UsedLanguage()))
        return TellFailure(ExitFile, *failure, arguments, console);
    if (IsSameFile(arguments.input, arguments.output))
        return TellFailure(ExitFile, console.Phrase(ImageInTheWay, {arguments.output}), arguments, console);
    const std::string text = form->write(ReadImageFields(image, Language::English));
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    if (const FileFailure failure = ReplaceFile(arguments.output, bytes))
        return TellFailure(ExitFile, console.Phrase(SystemWords, {arguments.output, *failure}), arguments,
                           console);
    return ExitDone;
}

ExitCode RunImport(const CommandArguments &arguments, const Console &console) {
    const ExchangeForm *const form = FormOf(arguments.input);
    if (form == nullptr)
        return TellFailure(ExitUsage, console.Phrase(WrongEnding, {arguments.input}), arguments, console);
    MemoryImage image{};
    std::string text;
    std::optional<std::string> failure = LoadImageFile(arguments.output, image, console.UsedLanguage());
    if (!failure)
        failure = ReadText(arguments.input, text, console);
    if (failure)
        return TellFailure(ExitFile, *failure, arguments, console);
    const ReadFields fields = form->read(text, console.UsedLanguage());
    if (const FieldProblems problems = TakeFields(fields, *form, image); !problems.empty())
        return TellProblems(problems, arguments, console);
    if ((failure = SaveImageFile(arguments.output, image, console.UsedLanguage())))
        return TellFailure(ExitFile, *failure, arguments, console);
    return TellTaken(fields, image, arguments, console);
}

} // namespace k470
