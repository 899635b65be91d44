#pragma once

#include "resources/StringTable.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace k470 {

/// Where the commands speak: results on standard output, errors on standard error, progress there too when it
/// is a terminal. A quiet one keeps progress and words of success to itself.
class Console {
public:
    Console(Language language, bool quiet);

    Language UsedLanguage() const { return language_; }
    std::string Phrase(const TextPair &pair, std::initializer_list<std::string_view> parts = {}) const;

    // Both take a progress line away first.

    /// What the command was asked for. @return whether standard output took it; the first time that
    /// it does not, an error is printed
    bool PrintResult(std::string_view text) const;
    void PrintError(std::string_view text) const;
    /// A word of success, a line; nothing when quiet.
    void PrintSuccess(std::string_view text) const;

    /// Replaces the progress line.
    void ShowProgress(std::string_view text) const;

private:
    void ClearProgress() const;

    Language language_;
    bool quiet_;
    bool progressShown_;
};

/// The language of the user's locale: Chinese when LC_ALL, LC_MESSAGES or LANG, the first of them that is
/// set, names it, else English.
Language LocaleLanguage();

} // namespace k470
