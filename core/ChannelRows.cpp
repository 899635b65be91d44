#include "core/ChannelRows.h"

#include "core/Channels.h"
#include "core/Tones.h"

namespace k470 {

namespace {

constexpr int HighestShownScrambler = 7;
constexpr std::uint8_t StoredScramblerNo = 1;

/// A value of a settings column: its text (an id, or a fixed text) and its bits in the flags byte.
struct FlagValue {
    int text;
    std::string_view fixed;
    std::uint8_t bits;
};

/// A settings column: its bits in the flags byte and its values in list order. Bits of none of the values
/// show the text of `shownOtherwise`.
struct FlagColumn {
    int column;
    std::uint8_t mask;
    bool clearedByUnknownText;
    std::size_t shownOtherwise;
    std::vector<FlagValue> values;
};

const std::array<FlagColumn, 5> FlagColumns{{
    {ColPower, 0x20, false, 0, {{Text::High, "", 0x20}, {Text::Low, "", 0x00}}},
    {ColWidth, 0x10, false, 0, {{Text::Wide, "", 0x10}, {Text::Narrow, "", 0x00}}},
    {ColLockout, Record::LockoutMask, true, 0, {{Text::Off, "", 0}, {Text::Carrier, "", 1}, {0, QtDqt, 2}}},
    {ColScanAdd, 0x40, false, 0, {{Text::No, "", 0x00}, {Text::Yes, "", 0x40}}},
    {ColOption,
     Record::OptionMask,
     true,
     0,
     {{Text::Off, "", 0}, {Text::Scrambler, "", 4}, {Text::Compander, "", 8}}},
}};

const FlagColumn &ScanColumn() {
    return FlagColumns[3];
}

std::string ValueText(const FlagValue &value, Language language) {
    return std::string(value.text != 0 ? Res(language, value.text) : value.fixed);
}

const FlagValue *FindByText(const FlagColumn &column, std::string_view text, Language language) {
    for (const FlagValue &value : column.values) {
        if (ValueText(value, language) == text)
            return &value;
    }
    return nullptr;
}

std::string ShownText(const FlagColumn &column, std::uint8_t flags, Language language) {
    for (const FlagValue &value : column.values) {
        if ((flags & column.mask) == value.bits)
            return ValueText(value, language);
    }
    return ValueText(column.values[column.shownOtherwise], language);
}

std::uint8_t StoredFlags(const FlagColumn &column, std::uint8_t flags, std::string_view text,
                         Language language) {
    const FlagValue *value = FindByText(column, text, language);
    if (value == nullptr && !column.clearedByUnknownText)
        return flags;
    return static_cast<std::uint8_t>((flags & ~column.mask) | (value != nullptr ? value->bits : 0));
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
    row[ColPower] = Res(language, Text::High);
    row[ColWidth] = Res(language, Text::Wide);
    row[ColLockout] = Res(language, Text::Off);
    row[ColScanAdd] = Res(language, Text::No);
    row[ColOption] = Res(language, Text::Off);
    row[ColScrambler] = "1";
}

} // namespace

const std::array<GridColumn, GridCols> ChannelColumns{{
    {.header = Text::Channel, .width = 650},
    {.header = Text::RxFreq, .width = 1265, .editor = GridColumn::Editor::Frequency},
    {.header = Text::TxFreq, .width = 1265, .editor = GridColumn::Editor::Frequency},
    {.header = Text::Decode,
     .prefix = {"CTCSS/DCS ", "CTCSS/DCS "},
     .width = 1300,
     .editor = GridColumn::Editor::Tone},
    {.header = Text::Encode,
     .prefix = {"CTCSS/DCS ", "CTCSS/DCS "},
     .width = 1300,
     .editor = GridColumn::Editor::Tone},
    {.header = Text::TxPower, .width = 0, .editor = GridColumn::Editor::Choice},
    {.header = Text::WideNarrow, .width = 1000, .editor = GridColumn::Editor::Choice},
    {.header = Text::BusyLockout, .width = 1200, .editor = GridColumn::Editor::Choice},
    {.header = Text::ScanAdd, .width = 1200, .editor = GridColumn::Editor::Choice},
    {.prefix = {"Option", "可选"}, .width = 0, .editor = GridColumn::Editor::Choice},
    {.prefix = {"Scrambler No.", "扰频组别"}, .width = 0, .editor = GridColumn::Editor::Choice},
}};

std::string ColumnHeader(int column, Language language) {
    const GridColumn &shape = ChannelColumns.at(static_cast<std::size_t>(column));
    std::string text(Pick(language, shape.prefix));
    if (shape.header != 0)
        text += Res(language, shape.header);
    return text;
}

RowTexts RowFromRecord(const MemoryImage &image, int ch, Language language) {
    RowTexts row;
    if (IsEmptyChannel(image, ch))
        return row;
    const auto record = Line(image, ch);
    row[ColRxFreq] = GetFreqString(image, Field::Rx, ch);
    row[ColRxTone] = GetToneString(image, Field::Rx, ch, language);
    for (const FlagColumn &column : FlagColumns)
        row[static_cast<std::size_t>(column.column)] = ShownText(column, record[Record::Flags], language);
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
    std::uint8_t &flags = record[Record::Flags];
    for (const FlagColumn &column : FlagColumns)
        flags = StoredFlags(column, flags, row[static_cast<std::size_t>(column.column)], language);
    if (const FlagValue *scan = FindByText(ScanColumn(), row[ColScanAdd], language))
        SetScanSkipped(image, ch, scan->bits == 0);
    // The hidden scrambler column is shown but never carried back: every stored channel gets number 1.
    record[Record::ScramblerNo] =
        static_cast<std::uint8_t>((record[Record::ScramblerNo] & 0xF0) | StoredScramblerNo);
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

std::vector<std::string> ColumnChoices(int column, Language language) {
    std::vector<std::string> choices;
    for (const FlagColumn &flagColumn : FlagColumns) {
        if (flagColumn.column != column)
            continue;
        for (const FlagValue &value : flagColumn.values)
            choices.push_back(ValueText(value, language));
    }
    for (int number = 1; column == ColScrambler && number <= 8; ++number)
        choices.push_back(std::to_string(number));
    return choices;
}

int EnteredColumn(const RowTexts &row, int column) {
    if (row[ColRxFreq].empty())
        return ColRxFreq;
    if (column == ColTxTone && row[ColTxFreq].empty())
        return ColTxFreq;
    return column;
}

} // namespace k470
