#include "cli/Console.h"

#include <cstdlib>
#include <iostream>

#include <unistd.h>

namespace k470 {

namespace {

constexpr std::string_view ProgramPrefix = "k470-cli: ";
constexpr std::string_view EraseLine = "\r\x1b[K";

} // namespace

Console::Console(Language language, bool quiet)
    : language_(language), quiet_(quiet), progressShown_(!quiet && ::isatty(STDERR_FILENO) == 1) {
}

std::string Console::Phrase(const TextPair &pair, std::initializer_list<std::string_view> parts) const {
    return k470::Phrase(language_, pair, parts);
}

bool Console::PrintResult(std::string_view text) const {
    constexpr TextPair NotWritten{"The output could not be written.", "无法写入输出。"};
    ClearProgress();
    const bool before = std::cout.good();
    std::cout << text << std::flush;
    if (before && !std::cout.good())
        PrintError(Phrase(NotWritten));
    return std::cout.good();
}

void Console::PrintError(std::string_view text) const {
    ClearProgress();
    std::cerr << ProgramPrefix << text << std::endl;
}

void Console::PrintSuccess(std::string_view text) const {
    if (!quiet_)
        PrintResult(std::string(text) + "\n");
}

void Console::ShowProgress(std::string_view text) const {
    if (progressShown_)
        std::cerr << EraseLine << text << std::flush;
}

void Console::ClearProgress() const {
    ShowProgress("");
}

Language LocaleLanguage() {
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char *const value = std::getenv(name);
        if (value != nullptr && *value != '\0')
            return std::string_view(value).starts_with("zh") ? Language::Chinese : Language::English;
    }
    return Language::English;
}

} // namespace k470
