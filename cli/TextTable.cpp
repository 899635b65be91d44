#include "cli/TextTable.h"

#include <QList>
#include <QString>

#include <algorithm>
#include <array>
#include <cstdint>

namespace k470 {

namespace {

constexpr std::size_t ColumnGap = 2;

struct CodeRange {
    std::uint32_t first;
    std::uint32_t last;
};

/// Characters that a terminal shows two columns wide.
constexpr std::array<CodeRange, 8> WideRanges{{
    {0x1100, 0x115F},
    {0x2E80, 0x303E},
    {0x3041, 0xA4CF},
    {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F},
    {0xFF01, 0xFF60},
    {0x20000, 0x3FFFD},
}};

std::string Trimmed(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

} // namespace

std::size_t DisplayWidth(std::string_view text) {
    const auto characters = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toUcs4();
    const auto wide = std::count_if(characters.begin(), characters.end(), [](std::uint32_t code) {
        return std::any_of(WideRanges.begin(), WideRanges.end(), [code](const CodeRange &range) {
            return code >= range.first && code <= range.last;
        });
    });
    return static_cast<std::size_t>(characters.size() + wide);
}

std::string FormatTable(const std::vector<TextRow> &rows) {
    std::vector<std::size_t> widths;
    for (const TextRow &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], DisplayWidth(row[column]));
    }
    std::string text;
    for (const TextRow &row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column];
            line.append(widths[column] + ColumnGap - DisplayWidth(row[column]), ' ');
        }
        text += Trimmed(std::move(line)) + "\n";
    }
    return text;
}

} // namespace k470
