#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// How many columns of a terminal the text takes: Chinese characters and full-width signs take two. Bytes
/// that are not UTF-8 count one each.
std::size_t DisplayWidth(std::string_view text);

using TextRow = std::vector<std::string>;

/// The rows as lines of aligned columns, two blanks apart, no blank at the end of a line.
std::string FormatTable(const std::vector<TextRow> &rows);

} // namespace k470
