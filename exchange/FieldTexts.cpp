#include "exchange/FieldTexts.h"

#include "core/HexCells.h"

#include <algorithm>

namespace k470 {

namespace {

constexpr std::string_view HexPrefix = "0x";
constexpr std::size_t MaxDigits = 9; ///< that any int holds

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

std::optional<int> ParseDecimal(std::string_view text, int decimals) {
    const std::size_t point = std::min(text.find('.'), text.size());
    std::string digits(text.substr(0, point));
    std::string fraction(text.substr(std::min(point + 1, text.size())));
    const bool wholeAndFraction = !digits.empty() && (point == text.size() || !fraction.empty());
    if (!wholeAndFraction || !std::all_of(digits.begin(), digits.end(), IsDigit) ||
        !std::all_of(fraction.begin(), fraction.end(), IsDigit))
        return std::nullopt;
    const auto kept = static_cast<std::size_t>(decimals);
    fraction.resize(std::max(fraction.size(), kept), '0');
    if (fraction.find_first_not_of('0', kept) != std::string::npos)
        return std::nullopt;
    digits += fraction.substr(0, kept);
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    if (digits.size() > MaxDigits)
        return std::nullopt;
    return digits.empty() ? 0 : std::stoi(digits);
}

std::string FormatDecimal(int count, int decimals) {
    const auto kept = static_cast<std::size_t>(decimals);
    std::string text = std::to_string(count);
    if (text.size() <= kept)
        text.insert(0, kept + 1 - text.size(), '0');
    if (decimals > 0)
        text.insert(text.size() - kept, ".");
    return text;
}

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
