#include "core/Tuning.h"

#include "core/NumberText.h"

#include <algorithm>
#include <cmath>

namespace k470 {

namespace {

constexpr int SegmentWidth = 10; // MHz
constexpr int FirstSegment = 13;
constexpr int LastSegment = 49;
constexpr int SquelchOffset = -12; // of a segment's index in the working copy
constexpr int NoiseOffset = 25;
static_assert(LastSegment + NoiseOffset < static_cast<int>(TuningAreaSize));
static_assert(LastSegment + SquelchOffset < FirstSegment + NoiseOffset);

constexpr double FarLimit = 1e6; // MHz; keeps any limit inside the range of int
constexpr double HighestLevel = 255;
constexpr std::size_t LevelDigits = 3;

double Bounded(double megahertz) {
    return std::fmin(std::fmax(megahertz, -FarLimit), FarLimit);
}

/// The segment that a frequency belongs to.
int SegmentOf(double megahertz) {
    return static_cast<int>(RoundHalfEven(megahertz)) / SegmentWidth;
}

double LevelOf(std::string_view text) {
    return std::clamp(NumericPrefix(text), 0.0, HighestLevel);
}

} // namespace

TuneData LoadTuneData(const MemoryImage &image) {
    TuneData data{};
    std::copy_n(image.begin() + Address::TuningArea, data.size(), data.begin());
    return data;
}

void StoreTuneData(MemoryImage &image, const TuneData &data) {
    std::copy(data.begin(), data.end(), image.begin() + Address::TuningArea);
}

std::optional<std::size_t> TuneIndex(TuneLevel level, int segment) {
    if (segment < FirstSegment || segment > LastSegment)
        return std::nullopt;
    return static_cast<std::size_t>(segment + (level == TuneLevel::Squelch ? SquelchOffset : NoiseOffset));
}

std::string GetTuneText(const TuneData &data, TuneLevel level, int segment) {
    const auto index = TuneIndex(level, segment);
    return index ? std::to_string(data[*index]) : std::string();
}

void SetTuneText(TuneData &data, TuneLevel level, int segment, std::string_view text) {
    if (const auto index = TuneIndex(level, segment))
        data[*index] = static_cast<std::uint8_t>(LevelOf(text));
}

TuneLayout LayOutTuning(double bandLow, double bandHigh) {
    const double low = Bounded(bandLow);
    const double high = Bounded(bandHigh);
    const int first = SegmentOf(low);
    TuneLayout layout;
    layout.segmentCount = std::clamp(SegmentOf(high) - first + 1, 0, TuneColumns);
    double start = low; // of the column; the next ones begin at whole segments
    for (int i = 0; i < TuneColumns; ++i) {
        TuneColumn &column = layout.columns[static_cast<std::size_t>(i)];
        column.segment = first + i;
        if (start <= high) {
            const double width = static_cast<double>(TuneGridWidth - TuneCaptionWidth) / layout.segmentCount;
            column.width = static_cast<int>(RoundHalfEven(width));
            column.caption = std::to_string(column.segment * SegmentWidth + SegmentWidth / 2) + "M";
        }
        start = (column.segment + 1) * static_cast<double>(SegmentWidth);
    }
    return layout;
}

const TuneColumn &ColumnAt(const TuneLayout &layout, int col) {
    return layout.columns[static_cast<std::size_t>(col - 1)];
}

TuneCell NextTuneCell(const TuneLayout &layout, TuneCell cell) {
    const auto isEditable = [&layout](int col) {
        const TuneColumn &column = ColumnAt(layout, col);
        return column.width > 0 && TuneIndex(TuneLevel::Squelch, column.segment);
    };
    TuneCell next = cell;
    do {
        if (next.col < layout.segmentCount)
            ++next.col;
        else if (next.row < TuneRows - 1 && layout.segmentCount > 0)
            next = {next.row + 1, 1};
        else
            return cell;
    } while (!isEditable(next.col));
    return next;
}

std::string NormalizeTuneLevel(std::string_view typed) {
    return std::to_string(static_cast<int>(LevelOf(typed)));
}

std::optional<char> FilterLevelKey(std::string_view text, bool anySelected, char key) {
    constexpr char Backspace = 8;
    const bool isDigit = key >= '0' && key <= '9';
    if (key == Backspace || (isDigit && (anySelected || text.size() < LevelDigits)))
        return key;
    return std::nullopt;
}

} // namespace k470
