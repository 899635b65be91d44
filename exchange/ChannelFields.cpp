#include "exchange/ChannelFields.h"

#include "core/ChannelRows.h"
#include "core/Channels.h"
#include "core/NumberText.h"
#include "core/Tones.h"
#include "exchange/FieldTexts.h"

#include <algorithm>

namespace k470 {

namespace {

constexpr int ToneDecimals = 1;
constexpr char RawBitsMark = ':';
constexpr std::size_t RawBytesLength = 2 + 2 * LineSize;
constexpr std::size_t RawLength = RawBytesLength + 3;

constexpr TextPair FreqNeeded{"a frequency in MHz is needed, below 1000, with at most five decimals",
                              "应为频率（MHz），小于 1000，最多五位小数"};
constexpr TextPair RxFreqMissing{"a receive frequency is needed; an empty one erases the channel",
                                 "缺少接收频率；留空则清除该信道"};
constexpr TextPair ToneNeeded{"a tone is needed: None, 60.0 to 260.0, or D000N to D777I in octal digits",
                              "应为亚音：None、60.0 至 260.0，或八进制的 D000N 至 D777I"};
constexpr TextPair ChoiceNeeded{"one of these is needed: {}", "应为下列之一：{}"};
constexpr TextPair RawNeeded{"0x, 32 hexadecimal digits, a colon and two binary digits are needed",
                             "应为 0x、32 位十六进制数字、冒号及两位二进制数字"};

bool IsFreqColumn(std::size_t column) {
    return ColumnAt(column).editor == GridColumn::Editor::Frequency;
}

bool IsToneColumn(std::size_t column) {
    return ColumnAt(column).editor == GridColumn::Editor::Tone;
}

std::vector<std::string> Choices(std::size_t column) {
    return ColumnChoices(static_cast<int>(column), Language::English);
}

std::string NoTone() {
    return std::string(Res(Language::English, Text::None));
}

void CopyChannel(const MemoryImage &from, MemoryImage &to, int ch) {
    std::copy_n(Line(from, ch).begin(), LineSize, Line(to, ch).begin());
    MarkEmpty(to, ch, IsMarkedEmpty(from, ch));
    SetScanSkipped(to, ch, IsScanSkipped(from, ch));
}

bool IsSameChannel(const MemoryImage &a, const MemoryImage &b, int ch) {
    return std::equal(Line(a, ch).begin(), Line(a, ch).end(), Line(b, ch).begin()) &&
           IsMarkedEmpty(a, ch) == IsMarkedEmpty(b, ch) && IsScanSkipped(a, ch) == IsScanSkipped(b, ch);
}

/// An image whose channels are all erased.
MemoryImage ErasedImage() {
    MemoryImage image;
    image.fill(NotProgrammed);
    return image;
}

std::optional<std::string> FreqText(std::string_view typed) {
    const auto frequency = Frequency::FromDecimal(typed);
    return frequency ? std::optional(frequency->Text()) : std::nullopt;
}

/// The tone as the grid shows it, whether or not it has one like it.
std::optional<std::string> ToneText(std::string_view typed) {
    if (IsSameWord(typed, NoTone()))
        return NoTone();
    if (const std::optional<int> tenths = ParseDecimal(typed, ToneDecimals))
        return FormatDecimal(*tenths, ToneDecimals);
    for (const std::string_view pattern : {"D000N", "D000I"}) {
        std::string zeros(typed);
        std::replace_if(
            zeros.begin(), zeros.end(), [](char c) { return c >= '1' && c <= '7'; }, '0');
        if (IsSameWord(zeros, pattern))
            return std::string("D") + std::string(typed.substr(1, 3)) + pattern.back();
    }
    return std::nullopt;
}

/// What was typed as the grid shows it.
std::optional<std::string> GridText(std::size_t column, std::string_view typed) {
    if (IsFreqColumn(column))
        return FreqText(typed);
    if (IsToneColumn(column))
        return ToneText(typed);
    const std::vector<std::string> choices = Choices(column);
    const std::optional<std::size_t> position = FindWord(typed, choices);
    return position ? std::optional(choices[*position]) : std::nullopt;
}

/// Whether the grid would leave the text as it is.
bool IsGridText(std::size_t column, const std::string &text) {
    return !IsToneColumn(column) || NormalizeTone(text, Language::English) == text;
}

/// What an empty cell makes of the text shown.
std::string EmptyMeans(std::size_t column, const std::string &shown) {
    if (IsFreqColumn(column))
        return {};
    return IsToneColumn(column) && !shown.empty() ? NoTone() : shown;
}

CellProblem RefuseCell(std::size_t column) {
    if (IsFreqColumn(column))
        return {column, FreqNeeded};
    if (IsToneColumn(column))
        return {column, ToneNeeded};
    return {column, ChoiceNeeded, ListText(Choices(column))};
}

/// Changes the text that is shown to what the cell says.
void TakeCell(const FieldCells &cells, std::size_t column, std::string &shown, CellProblems &problems) {
    const std::optional<std::string> &cell = cells[column];
    if (!cell || *cell == shown)
        return;
    if (cell->empty()) {
        shown = EmptyMeans(column, shown);
        return;
    }
    const std::optional<std::string> text = GridText(column, *cell);
    if (text && (*text == shown || IsGridText(column, *text)))
        shown = *text;
    else
        problems.push_back(RefuseCell(column));
}

bool TakeRaw(const std::string &text, MemoryImage &image, int ch) {
    const auto isBit = [](char c) { return c == '0' || c == '1'; };
    const auto bytes = ParseRawText(std::string_view(text).substr(0, RawBytesLength), LineSize);
    if (!bytes || text.size() != RawLength || text[RawBytesLength] != RawBitsMark ||
        !isBit(text[RawLength - 2]) || !isBit(text[RawLength - 1]))
        return false;
    std::copy(bytes->begin(), bytes->end(), Line(image, ch).begin());
    MarkEmpty(image, ch, text[RawLength - 2] == '1');
    SetScanSkipped(image, ch, text[RawLength - 1] == '1');
    return true;
}

/// The row of a new channel.
RowTexts NewRow(const std::string &rxFreq) {
    AppState state;
    state.language = Language::English;
    RowTexts row;
    // Through any frequency that the grid takes: it would move this one to its raster.
    SetRowRx(row, std::to_string(static_cast<int>(LowestFrequency)), state);
    row[ColRxFreq] = row[ColTxFreq] = rxFreq;
    return row;
}

/// Stores a row over a channel that shows another one; the columns that show the same keep their bytes.
void StoreChanges(MemoryImage &image, int ch, const RowTexts &shown, const RowTexts &row) {
    MemoryImage stored = image;
    StoreRow(stored, ch, row, Language::English);
    for (std::size_t column = ColRxFreq; column < GridCols; ++column) {
        if (row[column] != shown[column])
            CopyChannelField(stored, image, ch, column);
    }
}

/// Puts the cells over the channel as it is in the image.
CellProblems PutCells(MemoryImage &image, int ch, const FieldCells &cells) {
    CellProblems problems;
    const RowTexts shown = RowFromRecord(image, ch, Language::English);
    const bool empty = shown[ColRxFreq].empty();
    std::string rxFreq = shown[ColRxFreq];
    TakeCell(cells, ColRxFreq, rxFreq, problems);
    RowTexts row = empty ? NewRow(rxFreq) : shown;
    row[ColRxFreq] = rxFreq;
    for (std::size_t column = ColTxFreq; column < GridCols; ++column)
        TakeCell(cells, column, row[column], problems);
    if (!problems.empty())
        return problems;
    if (shown[ColTxFreq].empty() && !row[ColTxFreq].empty() && row[ColTxTone].empty())
        row[ColTxTone] = NoTone();
    if (!empty && !rxFreq.empty())
        StoreChanges(image, ch, shown, row);
    else if (empty != rxFreq.empty())
        StoreRow(image, ch, row, Language::English);
    return problems;
}

} // namespace

FieldCells ReadChannelCells(const MemoryImage &image, int ch, Language language) {
    const RowTexts row = RowFromRecord(image, ch, language);
    FieldCells cells(RawColumn + 1);
    cells[ColNumber] = std::to_string(ch + 1);
    cells[ColRxFreq] = row[ColRxFreq];
    for (std::size_t column = ColTxFreq; column < GridCols && !row[ColRxFreq].empty(); ++column)
        cells[column] = row[column];
    if (language != Language::English)
        return cells;
    MemoryImage rebuilt = ErasedImage();
    if (!ApplyChannelCells(rebuilt, ch, cells).empty() || !IsSameChannel(rebuilt, image, ch))
        cells[RawColumn] = RawChannelText(image, ch);
    return cells;
}

CellProblems ApplyChannelCells(MemoryImage &image, int ch, const FieldCells &cells) {
    const std::optional<std::string> &raw = cells[RawColumn];
    const bool hasRaw = raw && !raw->empty();
    MemoryImage changed = ErasedImage();
    // Without its raw bytes nothing can be said about the other cells.
    if (hasRaw && !TakeRaw(*raw, changed, ch))
        return {{RawColumn, RawNeeded}};
    CellProblems problems = PutCells(changed, ch, cells);
    if (!hasRaw && !cells[ColRxFreq])
        problems.insert(problems.begin(), {ColRxFreq, RxFreqMissing});
    if (problems.empty())
        CopyChannel(changed, image, ch);
    return problems;
}

std::string RawChannelText(const MemoryImage &image, int ch) {
    std::string text = RawText(Line(image, ch)) + RawBitsMark;
    text += IsMarkedEmpty(image, ch) ? '1' : '0';
    text += IsScanSkipped(image, ch) ? '1' : '0';
    return text;
}

void CopyChannelField(const MemoryImage &from, MemoryImage &to, int ch, std::size_t column) {
    const ColumnBytes &place = ColumnAt(column).bytes;
    for (std::size_t i = place.first; i < place.first + place.size; ++i) {
        std::uint8_t &byte = Line(to, ch)[i];
        byte = static_cast<std::uint8_t>((byte & ~place.mask) | (Line(from, ch)[i] & place.mask));
    }
    if (place.bitmap == Address::EmptyMap)
        MarkEmpty(to, ch, IsMarkedEmpty(from, ch));
    if (place.bitmap == Address::ScanSkipMap)
        SetScanSkipped(to, ch, IsScanSkipped(from, ch));
}

} // namespace k470
