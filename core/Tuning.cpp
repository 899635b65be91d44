#include "core/Tuning.h"

#include "core/NumberText.h"

#include <algorithm>

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

/// The segment that a frequency belongs to.
int SegmentOf(double megahertz) {
    return static_cast<int>(RoundHalfEven(std::clamp(megahertz, -FarLimit, FarLimit))) / SegmentWidth;
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

TuneLayout LayOutTuning(double bandLow, double bandHigh) {
    TuneLayout layout;
    const int first = SegmentOf(bandLow);
    layout.segmentCount = std::clamp(SegmentOf(bandHigh) - first + 1, 0, TuneColumns);
    if (layout.segmentCount == 0)
        return layout;
    const int width = static_cast<int>(
        RoundHalfEven(static_cast<double>(TuneGridWidth - TuneCaptionWidth) / layout.segmentCount));
    double start = bandLow; // of the column; the next ones begin at whole segments
    for (int i = 0; i < TuneColumns; ++i) {
        TuneColumn &column = layout.columns[static_cast<std::size_t>(i)];
        column.segment = first + i;
        column.counted = i < layout.segmentCount;
        if (start <= bandHigh) {
            column.width = width;
            column.caption = std::to_string(column.segment * SegmentWidth + SegmentWidth / 2) + "M";
        }
        start = (column.segment + 1) * static_cast<double>(SegmentWidth);
    }
    return layout;
}

std::string NormalizeTuneLevel(std::string_view typed) {
    return ShortestDecimal(std::clamp(NumericPrefix(typed), 0.0, HighestLevel));
}

} // namespace k470
