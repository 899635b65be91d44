#include "core/HexCells.h"
#include "core/Tuning.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <optional>
#include <string>

namespace k470 {
namespace {

/// The address of a level, 0 for a segment without a place.
std::size_t AddressOf(TuneLevel level, int segment) {
    const auto index = TuneIndex(level, segment);
    return index ? Address::TuningArea + *index : 0;
}

TEST(TuningLayout, FollowsTheBand) {
    constexpr double None = std::numeric_limits<double>::quiet_NaN();
    const struct {
        double low, high;
        int count, shown, first; ///< segments of the band, columns shown, segment of the first
        int width;
    } cases[] = {{136, 174, 5, 5, 13, 2200},
                 {400, 480, 9, 9, 40, 1222},
                 {138, 139, 1, 1, 13, 11000},
                 {139.6, 150, 2, 2, 14, 5500},
                 {130, 490, 16, 16, 13, 688},
                 {0, 0, 1, 1, 0, 11000},
                 {999.9, 999.9, 1, 1, 100, 11000},
                 {160, 179.6, 3, 2, 16, 3667},
                 {136.4, 136, 1, 0, 13, 0},
                 {480, 400, 0, 0, 48, 0},
                 {-1e300, 1e300, 16, 16, -100000, 688},
                 {2e6, 3e6, 1, 1, 100000, 11000},
                 {None, None, 1, 1, -100000, 11000}};
    for (const auto &[low, high, count, shown, first, width] : cases) {
        SCOPED_TRACE(testing::Message() << low << " to " << high);
        const TuneLayout layout = LayOutTuning(low, high);
        EXPECT_EQ(layout.segmentCount, count);
        for (int col = 1; col <= TuneColumns; ++col) {
            const TuneColumn &column = ColumnAt(layout, col);
            EXPECT_EQ(column.width, col <= shown ? width : 0) << col;
            EXPECT_EQ(column.segment, first + col - 1);
            EXPECT_EQ(column.caption, col <= shown ? std::to_string(column.segment * 10 + 5) + "M" : "");
        }
    }
}

TEST(TuningTable, HasABytePerLevelOfSegments13To49AndNoOther) {
    for (const int segment : {-100000, 0, 12, 13, 31, 49, 50, 100000})
        for (const auto &[level, start] : {std::pair{TuneLevel::Squelch, 0x664}, {TuneLevel::Noise, 0x689}}) {
            const int address = segment >= 13 && segment <= 49 ? start + segment : 0;
            EXPECT_EQ(AddressOf(level, segment), static_cast<std::size_t>(address)) << segment;
        }
}

TEST(TuningTable, IsReadAndWrittenAsTexts) {
    MemoryImage image;
    std::iota(image.begin(), image.end(), std::uint8_t{0});
    MemoryImage expected = image;
    TuneData data = LoadTuneData(image);
    EXPECT_EQ(GetTuneText(data, TuneLevel::Squelch, 48), "148"); // 0x694
    EXPECT_EQ(GetTuneText(data, TuneLevel::Noise, 50), "");
    SetTuneText(data, TuneLevel::Noise, 50, "7");
    SetTuneText(data, TuneLevel::Squelch, 13, "7");
    SetTuneText(data, TuneLevel::Noise, 49, "999");
    StoreTuneData(image, data);
    expected[0x671] = 7;
    expected[0x6BA] = 255;
    EXPECT_EQ(image, expected);
}

TEST(TuningWalk, GoesThroughTheCellsThatCanBeEditedAndEndsAtTheLast) {
    const struct {
        double low, high;
        int firstCol, lastCol;
    } cases[] = {{400, 480, 1, 9}, {160, 179.6, 1, 2}, {100, 520, 4, 16}, {480, 520, 1, 2}};
    for (const auto &[low, high, firstCol, lastCol] : cases) {
        SCOPED_TRACE(testing::Message() << low << " to " << high);
        const TuneLayout layout = LayOutTuning(low, high);
        TuneCell cell{SquelchRow, 0};
        for (const int row : {SquelchRow, NoiseRow})
            for (int col = firstCol; col <= lastCol; ++col) {
                cell = NextTuneCell(layout, cell);
                EXPECT_EQ(cell, (TuneCell{row, col}));
            }
        EXPECT_EQ(NextTuneCell(layout, cell), cell);
    }
    for (const auto &[low, high] : {std::pair{0.0, 0.0}, {480.0, 400.0}, {136.4, 136.0}, {999.9, 999.9}})
        EXPECT_EQ(NextTuneCell(LayOutTuning(low, high), {SquelchRow, 0}), (TuneCell{SquelchRow, 0})) << low;
}

TEST(EditedCells, AreMadeValid) {
    for (const auto &[typed, level] :
         {std::pair{"", "0"}, {"007", "7"}, {"255", "255"}, {"256", "255"}, {"-1", "0"}})
        EXPECT_EQ(NormalizeTuneLevel(typed), level) << typed;
    for (const auto &[typed, text] : {std::pair{"", "FF"}, {"7", "07"}, {"AB", "AB"}})
        EXPECT_EQ(CompleteHexCell(typed), text) << typed;
}

TEST(EditorKeys, AreFiltered) {
    const struct {
        std::optional<char> (*filter)(std::string_view text, bool anySelected, char key);
        const char *text;
        bool anySelected;
        std::string_view keys, entered; ///< key by key, '-' for a refused one
    } cases[] = {{FilterLevelKey, "25", false, "09a-. \r/:\b", "09-------\b"},
                 {FilterLevelKey, "255", false, "1\b", "-\b"},
                 {FilterLevelKey, "255", true, "1a", "1-"},
                 {FilterHexKey, "F", false, "09AaFfGg:@/`\b", "09AAFF------\b"},
                 {FilterHexKey, "FF", false, "1\b", "-\b"},
                 {FilterHexKey, "FF", true, "1g", "1-"}};
    for (const auto &[filter, text, anySelected, keys, entered] : cases) {
        for (std::size_t i = 0; i < keys.size(); ++i)
            EXPECT_EQ(filter(text, anySelected, keys[i]).value_or('-'), entered[i]) << text << keys[i];
    }
}

TEST(HexCells, ShowEveryByteAsTwoDigitsAndGiveItBack) {
    constexpr std::string_view Digits = "0123456789ABCDEF";
    for (std::size_t byte = 0; byte < 256; ++byte) {
        const std::string text{Digits[byte / 16], Digits[byte % 16]};
        EXPECT_EQ(HexCellText(static_cast<std::uint8_t>(byte)), text);
        EXPECT_EQ(HexCellByte(text), byte) << text;
    }
    EXPECT_EQ(HexCellByte("7"), 0);
}

} // namespace
} // namespace k470
