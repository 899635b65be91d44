#include "exchange/ImageDifferences.h"

#include "exchange/ChannelFields.h"

namespace k470 {

namespace {

/// What differs of a channel beyond the columns that are already known to differ.
void CompareRaw(const MemoryImage &first, const MemoryImage &second, int ch,
                const std::vector<std::size_t> &columns, std::vector<FieldDifference> &differences) {
    MemoryImage explained = first;
    for (const std::size_t column : columns)
        CopyChannelField(second, explained, ch, column);
    const std::string other = RawChannelText(second, ch);
    if (RawChannelText(explained, ch) != other)
        differences.push_back(
            {FieldTable::Channels, std::to_string(ch + 1), RawColumn, RawChannelText(first, ch), other});
}

/// @return the columns that differ
std::vector<std::size_t> CompareCells(const FieldRow &first, const FieldRow &second,
                                      std::vector<FieldDifference> &differences) {
    std::vector<std::size_t> columns;
    for (std::size_t column = NameColumn + 1; column < first.cells.size(); ++column) {
        const std::string one = first.cells[column].value_or("");
        const std::string other = second.cells[column].value_or("");
        if (one == other || (first.table == FieldTable::Channels && column == RawColumn))
            continue;
        columns.push_back(column);
        differences.push_back({first.table, first.cells[NameColumn].value_or(""), column, one, other});
    }
    return columns;
}

} // namespace

std::vector<FieldDifference> CompareFields(const MemoryImage &first, const MemoryImage &second,
                                           Language language) {
    std::vector<FieldDifference> differences;
    for (const FieldTable table : AllTables) {
        const std::vector<FieldRow> rows = ReadFieldTable(first, table, language);
        const std::vector<FieldRow> others = ReadFieldTable(second, table, language);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const std::vector<std::size_t> columns = CompareCells(rows[i], others[i], differences);
            if (table == FieldTable::Channels)
                CompareRaw(first, second, static_cast<int>(i), columns, differences);
        }
    }
    return differences;
}

std::vector<ByteRun> CompareBytes(const MemoryImage &first, const MemoryImage &second) {
    std::vector<ByteRun> runs;
    for (std::size_t address = 0; address < ImageSize; ++address) {
        if (first[address] == second[address])
            continue;
        const bool follows = !runs.empty() && runs.back().address + runs.back().first.size() == address;
        if (!follows || address % LineSize == 0)
            runs.push_back({address});
        runs.back().first.push_back(first[address]);
        runs.back().second.push_back(second[address]);
    }
    return runs;
}

} // namespace k470
