#include "exchange/ImageFields.h"

#include "core/Bands.h"
#include "core/NumberText.h"
#include "core/Settings.h"
#include "core/Tuning.h"
#include "exchange/ChannelFields.h"
#include "exchange/FieldTexts.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

namespace k470 {

namespace {

constexpr int BandDecimals = 1;
constexpr int HighestLevel = 255;
constexpr int SegmentsTried = 100; ///< tens of megahertz; TuneIndex knows which there are

constexpr TextPair NumberNeeded{"a channel number from 1 to 99 is needed", "信道号应为 1 至 99"};
constexpr TextPair NameUnknown{"one of these is needed: {}", "应为下列之一：{}"};
constexpr TextPair SettingNeeded{"one of these is needed: {}; or 0x and two hexadecimal digits",
                                 "应为下列之一：{}；或 0x 加两位十六进制数字"};
constexpr TextPair LimitNeeded{
    "MHz below 1000 with at most one decimal are needed, or 0x and four hexadecimal digits",
    "应为频率（MHz），小于 1000，最多一位小数；或 0x 加四位十六进制数字"};
constexpr TextPair LimitsMixed{"the low limit of the band must be below the high one", "频段下限须小于上限"};
constexpr TextPair SegmentNeeded{"a segment from {} is needed", "频段号应为 {}"};
constexpr TextPair LevelNeeded{"a level from 0 to 255 is needed", "数值应为 0 至 255"};
constexpr TextPair Repeated{"there is a row for it already", "已有同名的一行"};

constexpr std::array<std::size_t, 2> LimitAddresses{Address::BandLow, Address::BandHigh};

std::vector<FieldColumn> ChannelTableColumns() {
    std::vector<FieldColumn> columns;
    columns.reserve(ChannelColumns.size() + 1);
    for (const GridColumn &column : ChannelColumns)
        columns.push_back({column.fileName, column.csvName});
    columns.push_back({"raw", "Raw"});
    return columns;
}

const std::array<FieldTableShape, AllTables.size()> Shapes{{
    {"channels", ChannelTableColumns()},
    {"settings", {{"setting", "Setting"}, {"value", "Value"}}},
    {"band", {{"band", "Band"}, {"limit", "MHz"}}},
    {"tuning", {{"segment", "Segment"}, {"squelch", "Squelch"}, {"noise", "Noise"}}},
}};

/// Names of the settings in files.
std::vector<std::string> SettingNames() {
    std::vector<std::string> names;
    names.reserve(SettingShapes.size());
    for (const SettingShape &shape : SettingShapes)
        names.emplace_back(shape.fileName);
    return names;
}

/// The ratio of battery save however it is written: "1:4", "4", and what a spreadsheet makes of the time
/// 1:04, "01:04:00". Any other text comes back as it is.
std::string RatioText(std::string_view text) {
    constexpr std::string_view Seconds = ":00";
    const std::size_t colon = std::min(text.find(':'), text.size());
    if (text.find(':', colon + 1) != std::string_view::npos && text.ends_with(Seconds))
        text.remove_suffix(Seconds.size());
    const bool pair = colon < text.size();
    const std::optional<int> first = pair ? ParseDecimal(text.substr(0, colon), 0) : 1;
    const std::optional<int> second = ParseDecimal(pair ? text.substr(colon + 1) : text, 0);
    if (!first || !second)
        return std::string(text);
    return std::to_string(*first) + ":" + std::to_string(*second);
}

std::optional<std::uint8_t> ParseSetting(const SettingShape &shape, const std::string &text) {
    if (const auto bytes = ParseRawText(text, 1))
        return bytes->front();
    std::string typed = shape.address == Address::BatterySave ? RatioText(text) : text;
    if (const auto number = ParseDecimal(typed, 0)) // scripts write whole numbers as 3.0 too
        typed = std::to_string(*number);
    const auto position = FindWord(typed, shape.entries(Language::English));
    return position ? shape.toByte(static_cast<int>(*position)) : std::nullopt;
}

BandLimit::Bytes LimitBytes(const MemoryImage &image, std::size_t limit) {
    const std::size_t address = LimitAddresses[limit];
    return {image[address], image[address + 1]};
}

/// Whether the image has a band; numbers that are none are shown as the bytes they are.
bool HasLimits(const MemoryImage &image) {
    const auto low = BandLimit::DecodeExactly(LimitBytes(image, 0));
    const auto high = BandLimit::DecodeExactly(LimitBytes(image, 1));
    return low && high && *low < *high;
}

bool TakeLimit(MemoryImage &image, std::size_t limit, const std::string &text) {
    const std::optional<int> tenths = ParseDecimal(text, BandDecimals);
    const auto raw = ParseRawText(text, BandLimitSize);
    if (tenths && *tenths <= BandLimit::HighestTenths)
        std::ranges::copy(BandLimit::Encode(*tenths), &image[LimitAddresses[limit]]);
    else if (raw)
        std::ranges::copy(*raw, &image[LimitAddresses[limit]]);
    else
        return false;
    return true;
}

/// The segments that have a place in the image.
std::vector<int> Segments() {
    std::vector<int> segments;
    for (int segment = 0; segment < SegmentsTried; ++segment) {
        if (TuneIndex(TuneLevel::Squelch, segment))
            segments.push_back(segment);
    }
    return segments;
}

std::vector<FieldRow> SettingRows(const MemoryImage &image, Language language) {
    std::vector<FieldRow> rows;
    rows.reserve(SettingShapes.size());
    for (const SettingShape &shape : SettingShapes)
        rows.push_back(
            {FieldTable::Settings, {std::string(shape.fileName), SettingValue(image, shape, language)}});
    return rows;
}

std::vector<FieldRow> BandRows(const MemoryImage &image) {
    std::vector<FieldRow> rows;
    rows.reserve(LimitNames.size());
    for (std::size_t limit = 0; limit < LimitNames.size(); ++limit)
        rows.push_back({FieldTable::Band, {std::string(LimitNames[limit]), LimitText(image, limit)}});
    return rows;
}

std::vector<FieldRow> TuningRows(const MemoryImage &image) {
    const TuneData data = LoadTuneData(image);
    const std::vector<int> segments = Segments();
    std::vector<FieldRow> rows;
    rows.reserve(segments.size());
    for (const int segment : segments)
        rows.push_back({FieldTable::Tuning,
                        {std::to_string(segment), GetTuneText(data, TuneLevel::Squelch, segment),
                         GetTuneText(data, TuneLevel::Noise, segment)}});
    return rows;
}

std::vector<FieldRow> ChannelRowsOf(const MemoryImage &image, Language language) {
    std::vector<FieldRow> rows;
    rows.reserve(MaxChannels);
    for (int ch = 0; ch < MaxChannels; ++ch)
        rows.push_back({FieldTable::Channels, ReadChannelCells(image, ch, language)});
    return rows;
}

/// Applies rows one after the other and keeps what it cannot.
class RowTaker {
public:
    RowTaker(std::string_view FieldColumn::*naming, MemoryImage &image) : naming_(naming), image_(image) {}

    void Take(const FieldRow &row) {
        switch (row.table) {
        case FieldTable::Channels:
            return TakeChannel(row);
        case FieldTable::Settings:
            return TakeSetting(row);
        case FieldTable::Band:
            return TakeBand(row);
        case FieldTable::Tuning:
            return TakeTuning(row);
        }
    }

    /// What only all rows together tell.
    FieldProblems Finish() {
        if (bandRow_ && !HasLimits(image_))
            problems_.push_back({bandRow_->place, "", "", LimitsMixed});
        return std::move(problems_);
    }

private:
    void Refuse(const FieldRow &row, const CellProblem &problem) {
        const FieldColumn &column = ShapeOf(row.table).columns[problem.column];
        problems_.push_back({row.place, std::string(column.*naming_), row.cells[problem.column].value_or(""),
                             problem.reason, problem.detail});
    }

    /// @return whether the row is the first of its name
    bool TakeName(const FieldRow &row, std::size_t name) {
        if (names_[static_cast<std::size_t>(row.table)].insert(name).second)
            return true;
        Refuse(row, {NameColumn, Repeated});
        return false;
    }

    /// The position of the row's name; a name that is unknown or repeated is refused.
    std::optional<std::size_t> NamePosition(const FieldRow &row, const std::vector<std::string> &names) {
        const auto position = FindWord(row.cells[NameColumn].value_or(""), names);
        if (!position)
            Refuse(row, {NameColumn, NameUnknown, ListText(names)});
        return position && TakeName(row, *position) ? position : std::nullopt;
    }

    void TakeChannel(const FieldRow &row) {
        const std::optional<int> number = ParseDecimal(row.cells[ColNumber].value_or(""), 0);
        const bool known = number && *number >= 1 && *number <= MaxChannels;
        if (known)
            TakeName(row, static_cast<std::size_t>(*number));
        else
            Refuse(row, {ColNumber, NumberNeeded});
        for (const CellProblem &problem :
             known ? ApplyChannelCells(image_, *number - 1, row.cells) : CheckChannelCells(row.cells))
            Refuse(row, problem);
    }

    /// The cells of a row without a place are looked into all the same.
    CellProblems CheckChannelCells(const FieldCells &cells) const {
        MemoryImage nowhere = image_;
        return ApplyChannelCells(nowhere, 0, cells);
    }

    void TakeSetting(const FieldRow &row) {
        const auto position = NamePosition(row, SettingNames());
        const std::string value = row.cells[ValueColumn].value_or("");
        if (!position || value.empty())
            return;
        const SettingShape &shape = SettingShapes[*position];
        if (const auto byte = ParseSetting(shape, value))
            image_[shape.address] = *byte;
        else
            Refuse(row, {ValueColumn, SettingNeeded, ListText(shape.entries(Language::English))});
    }

    void TakeBand(const FieldRow &row) {
        const auto limit = NamePosition(row, {LimitNames.begin(), LimitNames.end()});
        const std::string value = row.cells[ValueColumn].value_or("");
        if (!limit || value.empty())
            return;
        if (!TakeLimit(image_, *limit, value))
            Refuse(row, {ValueColumn, LimitNeeded});
        else if (!ParseRawText(value, BandLimitSize))
            bandRow_ = row;
    }

    void TakeTuning(const FieldRow &row) {
        const int segment = ParseDecimal(row.cells[NameColumn].value_or(""), 0).value_or(0);
        if (!TuneIndex(TuneLevel::Squelch, segment))
            Refuse(row, {NameColumn, SegmentNeeded,
                         std::to_string(Segments().front()) + " - " + std::to_string(Segments().back())});
        else if (TakeName(row, static_cast<std::size_t>(segment)))
            TakeLevels(row, segment);
    }

    void TakeLevels(const FieldRow &row, int segment) {
        TuneData data = LoadTuneData(image_);
        for (const auto &[level, column] :
             {std::pair(TuneLevel::Squelch, SquelchColumn), std::pair(TuneLevel::Noise, NoiseColumn)}) {
            const std::string text = row.cells[column].value_or("");
            const std::optional<int> number = ParseDecimal(text, 0);
            if (number && *number <= HighestLevel)
                SetTuneText(data, level, segment, std::to_string(*number));
            else if (!text.empty())
                Refuse(row, {column, LevelNeeded});
        }
        StoreTuneData(image_, data);
    }

    std::string_view FieldColumn::*naming_;
    MemoryImage &image_;
    std::array<std::set<std::size_t>, AllTables.size()> names_;
    std::optional<FieldRow> bandRow_; ///< the last that gave a limit in MHz
    FieldProblems problems_;
};

} // namespace

const FieldTableShape &ShapeOf(FieldTable table) {
    return Shapes[static_cast<std::size_t>(table)];
}

const SettingShape &SettingNamed(std::string_view name) {
    return SettingShapes[FindWord(name, SettingNames()).value_or(0)];
}

bool IsOffered(const SettingShape &shape, std::uint8_t byte) {
    const int entry = shape.toEntry(byte);
    return entry != NoEntry && shape.toByte(entry) == byte;
}

std::string SettingValue(const MemoryImage &image, const SettingShape &shape, Language language) {
    const std::uint8_t byte = image[shape.address];
    if (!IsOffered(shape, byte))
        return RawText({&byte, 1});
    return shape.entries(language)[static_cast<std::size_t>(shape.toEntry(byte))];
}

std::string LimitText(const MemoryImage &image, std::size_t limit) {
    const auto bytes = LimitBytes(image, limit);
    return HasLimits(image) ? FormatDecimal(BandLimit::Decode(bytes), BandDecimals) : RawText(bytes);
}

std::vector<FieldRow> ReadFieldTable(const MemoryImage &image, FieldTable table, Language language) {
    switch (table) {
    case FieldTable::Channels:
        return ChannelRowsOf(image, language);
    case FieldTable::Settings:
        return SettingRows(image, language);
    case FieldTable::Band:
        return BandRows(image);
    case FieldTable::Tuning:
        return TuningRows(image);
    }
    return {};
}

std::vector<FieldRow> ReadImageFields(const MemoryImage &image, Language language) {
    std::vector<FieldRow> rows;
    for (const FieldTable table : AllTables) {
        const std::vector<FieldRow> more = ReadFieldTable(image, table, language);
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

FieldProblems ApplyImageFields(const std::vector<FieldRow> &rows, std::string_view FieldColumn::*naming,
                               MemoryImage &image) {
    MemoryImage changed = image;
    RowTaker taker(naming, changed);
    for (const FieldRow &row : rows)
        taker.Take(row);
    FieldProblems problems = taker.Finish();
    if (problems.empty())
        image = changed;
    return problems;
}

} // namespace k470
