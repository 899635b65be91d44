#include "core/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace k470 {

namespace {

constexpr int SignificantDigits = 15;

std::string_view WithoutLeadingBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

double HexPrefix(std::string_view digits) {
    std::uint64_t value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    return result.ec == std::errc() ? static_cast<double>(value) : 0;
}

struct Parsed {
    double value = 0;
    std::size_t length = 0; ///< characters used, 0 when there is no number
};

/// Whether a number that no double can hold is too small for one, not too large: from_chars fails alike for
/// both.
bool IsTooSmall(std::string_view number) {
    const std::string_view digits = number.substr(0, number.find_first_of("eE"));
    std::string_view power = number.substr(digits.size());
    power.remove_prefix(std::min(power.find_first_not_of("eE+"), power.size()));
    int exponent = 0;
    const auto result = std::from_chars(power.data(), power.data() + power.size(), exponent);
    if (result.ec == std::errc::result_out_of_range)
        return power.starts_with('-');
    const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
    const auto first = static_cast<std::int64_t>(digits.find_first_of("123456789"));
    return point - first + exponent < 0;
}

/// Only what starts with a digit or a point may reach from_chars, which would also take "inf" and "nan".
Parsed DecimalPrefix(std::string_view text) {
    const bool negative = text.starts_with('-');
    const std::size_t sign = negative || text.starts_with('+') ? 1 : 0;
    const std::string_view digits = text.substr(sign);
    if (digits.empty() || (!IsDigit(digits.front()) && digits.front() != '.'))
        return {};
    double value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec == std::errc::invalid_argument)
        return {};
    const auto length = static_cast<std::size_t>(result.ptr - digits.data());
    if (result.ec == std::errc::result_out_of_range)
        value = IsTooSmall(digits.substr(0, length)) ? 0 : std::numeric_limits<double>::max();
    return {negative ? -value : value, sign + length};
}

} // namespace

double NumericPrefix(std::string_view text) {
    text = WithoutLeadingBlanks(text);
    if (text.starts_with("&h") || text.starts_with("&H"))
        return HexPrefix(text.substr(2));
    return DecimalPrefix(text).value;
}

std::optional<double> NumberWithComma(std::string_view text) {
    std::string pointed(WithoutLeadingBlanks(text));
    pointed.erase(pointed.find_last_not_of(" \t") + 1);
    for (char &c : pointed) {
        if (c == ',')
            c = '.';
    }
    const Parsed parsed = DecimalPrefix(pointed);
    if (parsed.length == 0 || parsed.length != pointed.size())
        return std::nullopt;
    return parsed.value;
}

double RoundHalfEven(double value) {
    const double below = std::floor(value);
    const double rest = value - below;
    if (rest > 0.5 || (rest == 0.5 && std::fmod(below, 2.0) != 0))
        return below + 1;
    return below;
}

std::string ShortestDecimal(double value) {
    std::array<char, 40> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), value == 0 ? 0.0 : value,
                                      std::chars_format::general, SignificantDigits);
    return std::string(text.data(), result.ptr);
}

std::string FixedDecimals(double value, int decimals) {
    const double scale = std::pow(10.0, decimals);
    std::array<char, 340> text{};
    // Not printf: its separator is the one of the user's locale.
    const auto result =
        std::to_chars(text.data(), text.data() + text.size(), RoundHalfEven(value * scale) / scale,
                      std::chars_format::fixed, decimals);
    return std::string(text.data(), result.ptr);
}

std::optional<int> ParseDecimal(std::string_view text, int decimals) {
    constexpr std::size_t MaxDigits = 9; // that any int holds
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

} // namespace k470
