#include "core/ChannelColumns.h"

#include <algorithm>

namespace k470 {

namespace {

constexpr std::array<ColumnValue, 2> PowerValues{{{Text::High, "", 0x20}, {Text::Low, "", 0x00}}};
constexpr std::array<ColumnValue, 2> WidthValues{{{Text::Wide, "", 0x10}, {Text::Narrow, "", 0x00}}};
constexpr std::array<ColumnValue, 3> LockoutValues{
    {{Text::Off, "", 0}, {Text::Carrier, "", 1}, {0, QtDqt, 2}}};
constexpr std::array<ColumnValue, 2> ScanValues{{{Text::No, "", 0x00}, {Text::Yes, "", 0x40}}};
constexpr std::array<ColumnValue, 3> OptionValues{
    {{Text::Off, "", 0}, {Text::Scrambler, "", 4}, {Text::Compander, "", 8}}};
/// The number is shown but never carried back: every stored channel gets 1.
constexpr std::uint8_t StoredScramblerNo = 1;
constexpr std::array<ColumnValue, 8> ScramblerValues{{{0, "1", StoredScramblerNo},
                                                      {0, "2", StoredScramblerNo},
                                                      {0, "3", StoredScramblerNo},
                                                      {0, "4", StoredScramblerNo},
                                                      {0, "5", StoredScramblerNo},
                                                      {0, "6", StoredScramblerNo},
                                                      {0, "7", StoredScramblerNo},
                                                      {0, "8", StoredScramblerNo}}};

} // namespace

// Other tables are made of this one before main: it must be there before them.
constinit const std::array<GridColumn, GridCols> ChannelColumns{{
    {.header = Text::Channel,
     .width = 650,
     .fileName = "channel",
     .csvName = "Channel",
     .words = {"channel", "信道"}},
    {.header = Text::RxFreq,
     .width = 1265,
     .editor = GridColumn::Editor::Frequency,
     .fileName = "receiveFrequency",
     .csvName = "Receive MHz",
     .words = {"receive frequency", "接收频率"},
     .bytes = {Record::RxFreq, Record::FreqSize, 0xFF, Address::EmptyMap}},
    {.header = Text::TxFreq,
     .width = 1265,
     .editor = GridColumn::Editor::Frequency,
     .fileName = "transmitFrequency",
     .csvName = "Transmit MHz",
     .words = {"transmit frequency", "发射频率"},
     .bytes = {Record::TxFreq, Record::FreqSize}},
    {.header = Text::Decode,
     .prefix = {"CTCSS/DCS ", "CTCSS/DCS "},
     .width = 1300,
     .editor = GridColumn::Editor::Tone,
     .fileName = "receiveTone",
     .csvName = "Receive Tone",
     .words = {"receive tone", "接收亚音"},
     .bytes = {Record::RxTone, Record::ToneSize}},
    {.header = Text::Encode,
     .prefix = {"CTCSS/DCS ", "CTCSS/DCS "},
     .width = 1300,
     .editor = GridColumn::Editor::Tone,
     .fileName = "transmitTone",
     .csvName = "Transmit Tone",
     .words = {"transmit tone", "发射亚音"},
     .bytes = {Record::TxTone, Record::ToneSize}},
    {.header = Text::TxPower,
     .editor = GridColumn::Editor::Choice,
     .fileName = "power",
     .csvName = "Power",
     .words = {"transmit power", "发射功率"},
     .bytes = {Record::Flags, 1, 0x20},
     .values = PowerValues},
    {.header = Text::WideNarrow,
     .width = 1000,
     .editor = GridColumn::Editor::Choice,
     .fileName = "bandwidth",
     .csvName = "Bandwidth",
     .words = {"bandwidth", "带宽"},
     .bytes = {Record::Flags, 1, 0x10},
     .values = WidthValues},
    {.header = Text::BusyLockout,
     .width = 1200,
     .editor = GridColumn::Editor::Choice,
     .fileName = "lockout",
     .csvName = "Lockout",
     .words = {"busy channel lockout", "繁忙锁定"},
     .bytes = {Record::Flags, 1, 0x03},
     .values = LockoutValues,
     .otherBits = 0},
    {.header = Text::ScanAdd,
     .width = 1200,
     .editor = GridColumn::Editor::Choice,
     .fileName = "scan",
     .csvName = "Scan",
     .words = {"scan add", "扫描添加"},
     .bytes = {Record::Flags, 1, 0x40, Address::ScanSkipMap},
     .values = ScanValues},
    {.prefix = {"Option", "可选"},
     .editor = GridColumn::Editor::Choice,
     .fileName = "option",
     .csvName = "Option",
     .words = {"option", "可选"},
     .bytes = {Record::Flags, 1, 0x0C},
     .values = OptionValues,
     .otherBits = 0},
    {.prefix = {"Scrambler No.", "扰频组别"},
     .editor = GridColumn::Editor::Choice,
     .fileName = "scrambler",
     .csvName = "Scrambler",
     .words = {"scrambler number", "扰频组别"},
     .bytes = {Record::ScramblerNo, 1, 0x0F},
     .values = ScramblerValues,
     .otherBits = StoredScramblerNo},
}};

const GridColumn &ColumnAt(std::size_t column) {
    return ChannelColumns.at(column);
}

std::string ColumnHeader(int column, Language language) {
    const GridColumn &shape = ColumnAt(static_cast<std::size_t>(column));
    std::string text(Pick(language, shape.prefix));
    if (shape.header != 0)
        text += Res(language, shape.header);
    return text;
}

std::string ValueText(const ColumnValue &value, Language language) {
    return std::string(value.text != 0 ? Res(language, value.text) : value.fixed);
}

const ColumnValue *FindByText(const GridColumn &column, std::string_view text, Language language) {
    for (const ColumnValue &value : column.values) {
        if (ValueText(value, language) == text)
            return &value;
    }
    return nullptr;
}

const ColumnValue *FindByBits(const GridColumn &column, std::uint8_t byte) {
    for (const ColumnValue &value : column.values) {
        if ((byte & column.bytes.mask) == value.bits)
            return &value;
    }
    return nullptr;
}

std::vector<std::string> ColumnChoices(int column, Language language) {
    std::vector<std::string> choices;
    for (const ColumnValue &value : ColumnAt(static_cast<std::size_t>(column)).values)
        choices.push_back(ValueText(value, language));
    return choices;
}

} // namespace k470
