#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// "0x" and two upper-case digits a byte.
std::string RawText(std::span<const std::uint8_t> bytes);

/// The bytes of a text in the form of RawText, in either case.
/// @return nothing for another form or number of bytes
std::optional<std::vector<std::uint8_t>> ParseRawText(std::string_view text, std::size_t size);

/// The letters A to Z in either case are the same.
bool IsSameWord(std::string_view a, std::string_view b);

/// The position of the word in the list; "true" and "false" mean "Yes" and "No".
std::optional<std::size_t> FindWord(std::string_view text, const std::vector<std::string> &words);

/// The list for the user to read, its middle left out when it is long: "Off, 15, ..., 600".
std::string ListText(const std::vector<std::string> &words);

} // namespace k470
