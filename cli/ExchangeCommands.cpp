#include "cli/ExchangeCommands.h"

#include "cli/DifferenceTable.h"
#include "cli/ImageFiles.h"
#include "cli/ImageJson.h"
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

const ExchangeForm *FormOf(const std::string &path, const Console &console) {
    const QString name = QString::fromStdString(path);
    for (const ExchangeForm &form : Forms) {
        if (name.endsWith(QString::fromUtf8(form.ending.data()), Qt::CaseInsensitive))
            return &form;
    }
    console.PrintError(console.Phrase(WrongEnding, {path}));
    return nullptr;
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

/// @return whether the file was read; else an error is printed
bool ReadText(const std::string &path, std::string &text, const Console &console) {
    std::vector<std::uint8_t> bytes;
    const FileFailure failure = ReadWholeFile(path, LargestFile, bytes);
    if (failure)
        console.PrintError(console.Phrase(SystemWords, {path, *failure}));
    else if (bytes.size() > LargestFile)
        console.PrintError(console.Phrase(TooLarge, {path}));
    else if (std::find(bytes.begin(), bytes.end(), 0) != bytes.end())
        console.PrintError(console.Phrase(HasNul, {path}));
    else
        text.assign(bytes.begin(), bytes.end());
    return !failure && text.size() == bytes.size();
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

std::ptrdiff_t CountChannels(const ReadFields &fields) {
    return std::count_if(fields.rows.begin(), fields.rows.end(),
                         [](const FieldRow &row) { return row.table == FieldTable::Channels; });
}

/// Loads both images of a comparison. @return whether that went well; else an error is printed
bool LoadBoth(const CommandArguments &arguments, MemoryImage &first, MemoryImage &second,
              const Console &console) {
    std::optional<std::string> failure = LoadImageFile(arguments.input, first, console.UsedLanguage());
    if (!failure)
        failure = LoadImageFile(arguments.other, second, console.UsedLanguage());
    if (failure)
        console.PrintError(*failure);
    return !failure;
}

} // namespace

ExitCode RunDiff(const CommandArguments &arguments, const Console &console) {
    MemoryImage first{};
    MemoryImage second{};
    if (!LoadBoth(arguments, first, second, console))
        return ExitFile;
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
    const ExchangeForm *const form = FormOf(arguments.output, console);
    if (form == nullptr)
        return ExitUsage;
    MemoryImage image{};
    if (const auto failure = LoadImageFile(arguments.input, image, console.UsedLanguage())) {
        console.PrintError(*failure);
        return ExitFile;
    }
    const std::string text = form->write(ReadImageFields(image, Language::English));
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    if (const FileFailure failure = ReplaceFile(arguments.output, bytes)) {
        console.PrintError(console.Phrase(SystemWords, {arguments.output, *failure}));
        return ExitFile;
    }
    return ExitDone;
}

ExitCode RunImport(const CommandArguments &arguments, const Console &console) {
    const ExchangeForm *const form = FormOf(arguments.input, console);
    if (form == nullptr)
        return ExitUsage;
    MemoryImage image{};
    if (const auto failure = LoadImageFile(arguments.output, image, console.UsedLanguage())) {
        console.PrintError(*failure);
        return ExitFile;
    }
    std::string text;
    if (!ReadText(arguments.input, text, console))
        return ExitFile;
    const ReadFields fields = form->read(text, console.UsedLanguage());
    if (const FieldProblems problems = TakeFields(fields, *form, image); !problems.empty()) {
        for (const FieldProblem &problem : problems)
            console.PrintError(
                console.Phrase(SystemWords, {arguments.input, ProblemText(problem, console.UsedLanguage())}));
        console.PrintError(console.Phrase(NotTaken, {arguments.output}));
        return ExitFile;
    }
    if (const auto failure = SaveImageFile(arguments.output, image, console.UsedLanguage())) {
        console.PrintError(*failure);
        return ExitFile;
    }
    console.PrintSuccess(console.Phrase(Taken, {std::to_string(CountChannels(fields))}));
    return ExitDone;
}

} // namespace k470
