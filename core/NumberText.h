#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace k470 {

/// The number that a text begins with: leading blanks are skipped, then the longest run that forms a decimal
/// number (sign, digits, one ".", exponent) counts; "&h" begins a hexadecimal one ("&h1F" is 31).
/// @return 0 when there is no number; always finite
double NumericPrefix(std::string_view text);

/// The whole text as one number, with "." or "," as decimal separator.
/// @return nothing when anything else is in the text
std::optional<double> NumberWithComma(std::string_view text);

/// Nearest whole number, halves to the even neighbour.
double RoundHalfEven(double value);

/// 136 gives "136", 136.5 gives "136.5": at most 15 significant digits and none too many.
std::string ShortestDecimal(double value);

/// A fixed number of decimals, halves of the last one to the even neighbour (67.25 with one decimal: "67.2").
std::string FixedDecimals(double value, int decimals);

/// An unsigned decimal number ("446.00625", "5") counted in its last decimal: 44600625 with five decimals.
/// @param decimals more than these may only be zeros
/// @return nothing for another form, or for more than nine digits
std::optional<int> ParseDecimal(std::string_view text, int decimals);

/// The number that ParseDecimal gives the count of, with all its decimals.
std::string FormatDecimal(int count, int decimals);

} // namespace k470
