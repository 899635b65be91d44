#include "cli/ImageCommands.h"

#include "cli/ImageFiles.h"
#include "cli/ImageJson.h"
#include "cli/JsonText.h"
#include "cli/Listing.h"

namespace k470 {

namespace {

constexpr TextPair PackNames{"pack makes a .tw file of a raw one: the second name must end in .tw, the first "
                             "must not",
                             "pack 将原始映像压缩为 .tw 文件：第二个文件名必须以 .tw 结尾，第一个则不能"};
constexpr TextPair UnpackNames{"unpack makes a raw file of a .tw one: the first name must end in .tw, the "
                               "second must not",
                               "unpack 将 .tw 文件还原为原始映像：第一个文件名必须以 .tw 结尾，第二个则不能"};

/// From one form to the other, as the names say.
ExitCode Convert(const CommandArguments &arguments, const Console &console) {
    MemoryImage image{};
    std::optional<std::string> failure = LoadImageFile(arguments.input, image, console.UsedLanguage());
    if (!failure)
        failure = SaveImageFile(arguments.output, image, console.UsedLanguage());
    if (!failure)
        return ExitDone;
    console.PrintError(*failure);
    return ExitFile;
}

} // namespace

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
    console.PrintError(console.Phrase(PackNames));
    return ExitUsage;
}

ExitCode RunUnpack(const CommandArguments &arguments, const Console &console) {
    if (IsPackedName(arguments.input) && !IsPackedName(arguments.output))
        return Convert(arguments, console);
    console.PrintError(console.Phrase(UnpackNames));
    return ExitUsage;
}

} // namespace k470
