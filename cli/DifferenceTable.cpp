#include "cli/DifferenceTable.h"

#include "cli/Console.h"
#include "cli/TextTable.h"
#include "core/HexCells.h"
#include "core/Settings.h"

namespace k470 {

namespace {

std::string RowName(const FieldDifference &difference, Language language) {
    constexpr TextPair Channel{"Channel {}", "信道 {}"};
    constexpr TextPair Setting{"Setting", "设置"};
    constexpr TextPair Band{"Band", "频段"};
    constexpr TextPair Segment{"Tuning from {}0 MHz", "{}0 MHz 起的调谐"};
    switch (difference.table) {
    case FieldTable::Channels:
        return Phrase(language, Channel, {difference.row});
    case FieldTable::Settings:
        return std::string(Pick(language, Setting));
    case FieldTable::Band:
        return std::string(Pick(language, Band));
    case FieldTable::Tuning:
        return Phrase(language, Segment, {difference.row});
    }
    return {};
}

std::string FieldName(const FieldDifference &difference, Language language) {
    constexpr TextPair RawBytes{"Bytes", "字节"};
    constexpr TextPair Low{"Low limit", "下限"};
    constexpr TextPair High{"High limit", "上限"};
    constexpr TextPair Squelch{"Squelch", "静噪"};
    constexpr TextPair Noise{"Noise", "噪声"};
    switch (difference.table) {
    case FieldTable::Channels:
        if (difference.column == RawColumn)
            return std::string(Pick(language, RawBytes));
        return ColumnHeader(static_cast<int>(difference.column), language);
    case FieldTable::Settings:
        return SettingName(SettingNamed(difference.row), language);
    case FieldTable::Band:
        return std::string(Pick(language, difference.row == LimitNames.front() ? Low : High));
    case FieldTable::Tuning:
        return std::string(Pick(language, difference.column == SquelchColumn ? Squelch : Noise));
    }
    return {};
}

/// Nothing at all reads as a mark, so that the columns of the table stay.
std::string ValueText(const std::string &value) {
    return value.empty() ? "-" : value;
}

} // namespace

std::string DifferencesAsText(const std::vector<FieldDifference> &fields, const std::vector<ByteRun> &bytes,
                              Language language) {
    std::vector<TextRow> fieldRows;
    fieldRows.reserve(fields.size());
    for (const FieldDifference &difference : fields)
        fieldRows.push_back({RowName(difference, language), FieldName(difference, language),
                             ValueText(difference.first), ValueText(difference.second)});
    std::vector<TextRow> byteRows;
    byteRows.reserve(bytes.size());
    for (const ByteRun &run : bytes)
        byteRows.push_back({HexAddress(run.address), HexText(run.first), HexText(run.second)});
    return FormatTable(fieldRows) + (fields.empty() ? "" : "\n") + FormatTable(byteRows);
}

} // namespace k470
