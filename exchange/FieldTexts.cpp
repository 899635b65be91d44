#include "exchange/FieldTexts.h"

#include "core/HexCells.h"

#include <algorithm>

namespace k470 {

namespace {

constexpr std::string_view HexPrefix = "0x";

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool IsHexDigit(char c) {
    return IsDigit(c) || (Upper(c) >= 'A' && Upper(c) <= 'F');
}

} // namespace

std::string RawText(std::span<const std::uint8_t> bytes) {
    std::string text(HexPrefix);
    for (const std::uint8_t byte : bytes)
        text += HexCellText(byte);
    return text;
}

std::optional<std::vector<std::uint8_t>> ParseRawText(std::string_view text, std::size_t size) {
    if (!IsSameWord(text.substr(0, HexPrefix.size()), HexPrefix))
        return std::nullopt;
    std::string digits(text.substr(HexPrefix.size()));
    if (digits.size() != 2 * size || !std::all_of(digits.begin(), digits.end(), IsHexDigit))
        return std::nullopt;
    std::transform(digits.begin(), digits.end(), digits.begin(), Upper);
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(HexCellByte(std::string_view(digits).substr(i, 2)));
    return bytes;
}

bool IsSameWord(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char first, char second) { return Upper(first) == Upper(second); });
}

std::optional<std::size_t> FindWord(std::string_view text, const std::vector<std::string> &words) {
    // What a spreadsheet makes of a yes or no.
    if (IsSameWord(text, "true"))
        text = "Yes";
    else if (IsSameWord(text, "false"))
        text = "No";
    const auto found = std::find_if(words.begin(), words.end(),
                                    [text](const std::string &word) { return IsSameWord(word, text); });
    if (found == words.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - words.begin());
}

std::string ListText(const std::vector<std::string> &words) {
    constexpr std::size_t FirstOnes = 2;
    constexpr std::size_t LongestWhole = 4;
    const bool cut = words.size() > LongestWhole;
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool last = i + 1 == words.size();
        if (cut && i >= FirstOnes && !last)
            continue;
        text += i == 0 ? "" : cut && last ? ", ..., " : ", ";
        text += words[i];
    }
    return text;
}

} // namespace k470
