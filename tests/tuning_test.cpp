#include "core/AppState.h"
#include "core/Bands.h"
#include "core/HexCells.h"
#include "core/Tuning.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <set>

namespace k470 {
namespace {

/// The address of a level, 0 for a segment without a place.
std::size_t AddressOf(TuneLevel level, int segment) {
    const auto index = TuneIndex(level, segment);
    return index ? Address::TuningArea + *index : 0;
}

std::vector<std::string> ShownCaptions(const TuneLayout &layout) {
    std::vector<std::string> captions;
    for (const TuneColumn &column : layout.columns)
        if (column.width > 0)
            captions.push_back(column.caption);
    return captions;
}

struct BandCase {
    double low, high;
    int count, shown;
    const char *first, *last; // captions
    int width;
    std::size_t squelch, noise; // addresses of the first column
};

TEST(TuningLayout, FollowsTheBand) {
    constexpr std::array<BandCase, 21> Cases{{
        {136, 174, 5, 5, "135M", "175M", 2200, 0x671, 0x696},
        {200, 260, 7, 7, "205M", "265M", 1571, 0x678, 0x69D},
        {350, 390, 5, 5, "355M", "395M", 2200, 0x687, 0x6AC},
        {400, 480, 9, 9, "405M", "485M", 1222, 0x68C, 0x6B1},
        {400, 490, 10, 10, "405M", "495M", 1100, 0x68C, 0x6B1},
        {136.5, 174, 5, 5, "135M", "175M", 2200, 0x671, 0x696},
        {138, 139, 1, 1, "135M", "135M", 11000, 0x671, 0x696},
        {139.6, 150, 2, 2, "145M", "155M", 5500, 0x672, 0x697}, // the low limit rounds into the next segment
        {130, 289, 16, 16, "135M", "285M", 688, 0x671, 0x696},
        {130, 290, 16, 16, "135M", "285M", 688, 0x671, 0x696},
        {130, 490, 16, 16, "135M", "285M", 688, 0x671, 0x696},
        {100, 520, 16, 16, "105M", "255M", 688, 0, 0},
        {0, 0, 1, 1, "5M", "5M", 11000, 0, 0},
        {999.9, 999.9, 1, 1, "1005M", "1005M", 11000, 0, 0},
        {0, 999.9, 16, 16, "5M", "155M", 688, 0, 0},
        {160, 179.6, 3, 2, "165M", "175M", 3667, 0x674,
         0x699}, // the high limit counts one more than it shows
        {136.4, 136, 1, 0, "", "", 0, 0x671, 0x696},
        {401, 400, 1, 0, "", "", 0, 0x68C, 0x6B1},
        {480, 400, 0, 0, "", "", 0, 0x694, 0x6B9},
        {-1e300, 1e300, 16, 16, "-999995M", "-999845M", 688, 0, 0},
        {2e6, 3e6, 1, 1, "1000005M", "1000005M", 11000, 0, 0},
    }};
    for (const BandCase &band : Cases) {
        SCOPED_TRACE(testing::Message() << band.low << " to " << band.high);
        const TuneLayout layout = LayOutTuning(band.low, band.high);
        const auto captions = ShownCaptions(layout);
        EXPECT_EQ(layout.segmentCount, band.count);
        ASSERT_EQ(captions.size(), static_cast<std::size_t>(band.shown));
        EXPECT_EQ(captions.empty() ? "" : captions.front(), band.first);
        EXPECT_EQ(captions.empty() ? "" : captions.back(), band.last);
        EXPECT_EQ(ColumnAt(layout, 1).width, band.width);
        EXPECT_EQ(AddressOf(TuneLevel::Squelch, ColumnAt(layout, 1).segment), band.squelch);
        EXPECT_EQ(AddressOf(TuneLevel::Noise, ColumnAt(layout, 1).segment), band.noise);
        for (int col = 1; col <= TuneColumns; ++col) {
            EXPECT_EQ(ColumnAt(layout, col).width, col <= band.shown ? band.width : 0) << col;
            EXPECT_EQ(ColumnAt(layout, col).caption.empty(), col > band.shown) << col;
            EXPECT_EQ(ColumnAt(layout, col).segment, ColumnAt(layout, 1).segment + col - 1);
        }
    }
}

TEST(TuningLayout, ShowsEveryTenMegahertzOfABandInOrder) {
    EXPECT_EQ(
        ShownCaptions(LayOutTuning(400, 480)),
        (std::vector<std::string>{"405M", "415M", "425M", "435M", "445M", "455M", "465M", "475M", "485M"}));
    const double none = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(ShownCaptions(LayOutTuning(none, none)).size() <= 1);
}

TEST(TuningTable, HasABytePerLevelOfSegments13To49AndNoOther) {
    std::set<std::size_t> addresses;
    for (int segment = -200000; segment <= 200000; ++segment) {
        const bool hasPlace = segment >= 13 && segment <= 49;
        for (const auto &[level, start] : {std::pair{TuneLevel::Squelch, 0x664}, {TuneLevel::Noise, 0x689}}) {
            const std::size_t address = AddressOf(level, segment);
            ASSERT_EQ(address, hasPlace ? static_cast<std::size_t>(start + segment) : 0) << segment;
            if (hasPlace)
                addresses.insert(address);
        }
    }
    EXPECT_EQ(addresses.size(), 2U * 37U) << "no two levels share a byte";
    EXPECT_EQ(*addresses.begin(), 0x671U);
    EXPECT_EQ(*addresses.rbegin(), 0x6BAU);
}

TEST(TuningTable, IsReadAndWrittenAsTexts) {
    AppState state;
    std::iota(state.image.begin(), state.image.end(), std::uint8_t{0});
    const MemoryImage before = state.image;
    TuneData data = LoadTuneData(state.image);
    EXPECT_EQ(GetTuneText(data, TuneLevel::Squelch, 48), "148"); // 0x694
    EXPECT_EQ(GetTuneText(data, TuneLevel::Noise, 48), "185");   // 0x6B9
    EXPECT_EQ(GetTuneText(data, TuneLevel::Noise, 50), "");
    SetTuneText(data, TuneLevel::Noise, 50, "7");
    SetTuneText(data, TuneLevel::Squelch, 12, "7");
    StoreTuneData(state.image, data);
    EXPECT_EQ(state.image, before);
    SetTuneText(data, TuneLevel::Squelch, 13, "7");
    SetTuneText(data, TuneLevel::Noise, 49, "255");
    StoreTuneData(state.image, data);
    MemoryImage expected = before;
    expected[0x671] = 7;
    expected[0x6BA] = 255;
    EXPECT_EQ(state.image, expected);
}

TEST(TuningWalk, GoesThroughTheCellsThatCanBeEditedAndEndsAtTheLast) {
    const struct {
        double low, high;
        int firstCol, lastCol;
    } cases[] = {{400, 480, 1, 9}, {138, 139, 1, 1},  {160, 179.6, 1, 2}, {100, 520, 4, 16},
                 {480, 520, 1, 2}, {130, 490, 1, 16}, {0, 999.9, 14, 16}};
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

TEST(TuningLevels, AreMadeValid) {
    for (const auto &[typed, level] :
         std::initializer_list<std::pair<const char *, const char *>>{{"", "0"},
                                                                      {"0", "0"},
                                                                      {"000", "0"},
                                                                      {"007", "7"},
                                                                      {"255", "255"},
                                                                      {"256", "255"},
                                                                      {"999", "255"}})
        EXPECT_EQ(NormalizeTuneLevel(typed), level) << typed;
}

struct KeyCase {
    const char *text;
    bool anySelected;
    char key, entered; // 0 for a refused one
};

TEST(EditorKeys, AreFilteredForLevels) {
    for (const auto &[text, anySelected, key, entered] :
         std::initializer_list<KeyCase>{{"", false, '0', '0'},
                                        {"25", false, '9', '9'},
                                        {"255", false, '1', 0},
                                        {"255", true, '1', '1'},
                                        {"1", false, 'a', 0},
                                        {"1", false, '-', 0},
                                        {"1", false, '.', 0},
                                        {"1", true, ' ', 0},
                                        {"255", false, '\b', '\b'},
                                        {"", false, '\r', 0}})
        EXPECT_EQ(FilterLevelKey(text, anySelected, key).value_or(0), entered) << text << key;
}

TEST(EditorKeys, AreFilteredForHexCells) {
    for (const auto &[text, anySelected, key, entered] :
         std::initializer_list<KeyCase>{{"", false, '0', '0'},
                                        {"F", false, '9', '9'},
                                        {"", false, 'A', 'A'},
                                        {"", false, 'a', 'A'},
                                        {"1", false, 'f', 'F'},
                                        {"", false, 'G', 0},
                                        {"", false, 'g', 0},
                                        {"", false, ':', 0},
                                        {"", false, '@', 0},
                                        {"", false, '/', 0},
                                        {"", false, '`', 0},
                                        {"FF", false, '1', 0},
                                        {"FF", true, '1', '1'},
                                        {"FF", false, '\b', '\b'}})
        EXPECT_EQ(FilterHexKey(text, anySelected, key).value_or(0), entered) << text << key;
}

TEST(HexCells, ShowEveryByteAsTwoDigitsAndGiveItBack) {
    constexpr std::string_view Digits = "0123456789ABCDEF";
    for (std::size_t byte = 0; byte < 256; ++byte) {
        const std::string text{Digits[byte / 16], Digits[byte % 16]};
        EXPECT_EQ(HexCellText(static_cast<std::uint8_t>(byte)), text);
        EXPECT_EQ(HexCellByte(text), byte) << text;
    }
    EXPECT_EQ(HexCellByte(""), 0);
    EXPECT_EQ(HexCellByte("7"), 0);
}

TEST(HexCells, AreCompletedToTwoDigits) {
    for (const auto &[typed, text] : std::initializer_list<std::pair<const char *, const char *>>{
             {"", "FF"}, {"7", "07"}, {"A", "0A"}, {"AB", "AB"}, {"00", "00"}})
        EXPECT_EQ(CompleteHexCell(typed), text) << typed;
}

} // namespace
} // namespace k470
