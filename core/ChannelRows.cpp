#include "core/ChannelRows.h"

#include "core/Channels.h"
#include "core/Tones.h"

#include <optional>

namespace k470 {

namespace {

constexpr int HighestShownScrambler = 7;

std::string ShownText(const GridColumn &column, std::uint8_t byte, Language language) {
    const ColumnValue *value = FindByBits(column, byte);
    return ValueText(value != nullptr ? *value : column.values.front(), language);
}

void StoreText(const GridColumn &column, std::uint8_t &byte, std::string_view text, Language language) {
    const ColumnValue *value = FindByText(column, text, language);
    const std::optional<std::uint8_t> bits = value != nullptr ? value->bits : column.otherBits;
    if (bits)
        byte = static_cast<std::uint8_t>((byte & ~column.bytes.mask) | *bits);
}

std::string ScramblerText(std::uint8_t byte) {
    const int number = byte & 0x0F;
    return std::to_string(number > HighestShownScrambler ? 0 : number);
}

void EraseChannel(MemoryImage &image, int ch) {
    for (std::uint8_t &byte : Line(image, ch))
        byte = 0xFF;
    MarkEmpty(image, ch, true);
    SetScanSkipped(image, ch, true);
}

void FillNewChannel(RowTexts &row, Language language) {
    row[ColTxFreq] = row[ColRxFreq];
    row[ColRxTone] = row[ColTxTone] = Res(language, Text::None);
    for (std::size_t column = 0; column < row.size(); ++column) {
        if (!ColumnAt(column).values.empty())
            row[column] = ValueText(ColumnAt(column).values.front(), language);
    }
}

} // namespace

RowTexts RowFromRecord(const MemoryImage &image, int ch, Language language) {
    RowTexts row;
    if (IsEmptyChannel(image, ch))
        return row;
    const auto record = Line(image, ch);
    row[ColRxFreq] = GetFreqString(image, Field::Rx, ch);
    row[ColRxTone] = GetToneString(image, Field::Rx, ch, language);
    for (std::size_t column = 0; column < row.size(); ++column) {
        const GridColumn &shape = ColumnAt(column);
        if (!shape.values.empty())
            row[column] = ShownText(shape, record[shape.bytes.first], language);
    }
    row[ColScrambler] = ScramblerText(record[Record::ScramblerNo]);
    row[ColTxFreq] = GetFreqString(image, Field::Tx, ch);
    if (!row[ColTxFreq].empty())
        row[ColTxTone] = GetToneString(image, Field::Tx, ch, language);
    return row;
}

void StoreRow(MemoryImage &image, int ch, const RowTexts &row, Language language) {
    if (row[ColRxFreq].empty()) {
        EraseChannel(image, ch);
        return;
    }
    MarkEmpty(image, ch, false);
    SetFreqString(image, Field::Rx, ch, row[ColRxFreq]);
    SetFreqString(image, Field::Tx, ch, row[ColTxFreq]);
    SetToneString(image, Field::Rx, ch, row[ColRxTone]);
    SetToneString(image, Field::Tx, ch, row[ColTxTone]);

    const auto record = Line(image, ch);
    for (std::size_t column = 0; column < row.size(); ++column) {
        const GridColumn &shape = ColumnAt(column);
        if (!shape.values.empty())
            StoreText(shape, record[shape.bytes.first], row[column], language);
    }
    if (const ColumnValue *scan = FindByText(ColumnAt(ColScanAdd), row[ColScanAdd], language))
        SetScanSkipped(image, ch, scan->bits == 0);
}

bool SetRowRx(RowTexts &row, std::string_view typed, const AppState &state) {
    if (typed.empty()) {
        for (std::size_t column = ColRxFreq; column < row.size(); ++column)
            row[column].clear();
        return false;
    }
    const NormalizedFreq freq = NormalizeFreq(typed, state.bandLow, state.bandHigh);
    row[ColRxFreq] = freq.text;
    if (row[ColTxTone].empty())
        FillNewChannel(row, state.language);
    return freq.outOfRange;
}

bool SetRowTx(RowTexts &row, std::string_view typed, const AppState &state) {
    if (typed.empty()) {
        row[ColTxFreq].clear();
        row[ColTxTone].clear();
        return false;
    }
    const NormalizedFreq freq = NormalizeFreq(typed, state.bandLow, state.bandHigh);
    row[ColTxFreq] = freq.text;
    if (row[ColTxTone].empty())
        row[ColTxTone] = Res(state.language, Text::None);
    return freq.outOfRange;
}

int EnteredColumn(const RowTexts &row, int column) {
    if (row[ColRxFreq].empty())
        return ColRxFreq;
    if (column == ColTxTone && row[ColTxFreq].empty())
        return ColTxFreq;
    return column;
}

} // namespace k470
