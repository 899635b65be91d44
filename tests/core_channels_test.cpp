#include "core/AppState.h"
#include "core/ChannelRows.h"
#include "core/Channels.h"
#include "core/NumberText.h"
#include "core/Tones.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace k470 {
namespace {

using Bytes = std::vector<int>;

/// The record of channel 2, in an image of 0x5A, with the channel in use.
class Channel {
public:
    static constexpr int Number = 2;
    static constexpr std::size_t Address = 32;

    explicit Channel(const Bytes &record = {}) {
        image.fill(0x5A);
        MarkEmpty(image, Number, false);
        Put(0, record);
    }
    void Put(std::size_t offset, const Bytes &bytes) {
        std::transform(bytes.begin(), bytes.end(), &image[Address + offset],
                       [](int byte) { return static_cast<std::uint8_t>(byte); });
    }
    Bytes Get(std::size_t offset, std::size_t count) const {
        return {&image[Address + offset], &image[Address + offset + count]};
    }
    RowTexts Row(Language language = Language::English) const {
        return RowFromRecord(image, Number, language);
    }
    void Store(const RowTexts &row, Language language = Language::English) {
        StoreRow(image, Number, row, language);
    }

    MemoryImage image;
};

// Frequencies

TEST(FreqString, IsEightPackedDigitsLeastSignificantByteFirst) {
    const std::pair<Bytes, const char *> cases[] = {{{0x25, 0x31, 0x65, 0x14}, "146.53125"},
                                                    {{0x99, 0x99, 0x99, 0x99}, "999.99999"},
                                                    {{0x05, 0x00, 0x50, 0x09}, "95.00005"},
                                                    {{0x00, 0x00, 0x00, 0x00}, "0.00000"}};
    for (const auto &[bytes, text] : cases) {
        for (const auto &[field, offset] : {std::pair(Field::Rx, 0U), std::pair(Field::Tx, 4U)}) {
            Channel channel;
            channel.Put(offset, bytes);
            EXPECT_EQ(GetFreqString(channel.image, field, 2), text);
            const MemoryImage expected = std::exchange(channel.image, Channel().image);
            SetFreqString(channel.image, field, 2, text);
            EXPECT_EQ(channel.image, expected) << text << ": stored unchanged it keeps its bytes";
        }
    }
}

TEST(FreqString, IsAbsentWhenAnyByteIsNoPackedDecimal) {
    for (std::size_t at = 0; at < 4; ++at) {
        Channel high({0x00, 0x25, 0x65, 0x14});
        Channel low = high;
        high.Put(at, {0xA0});
        low.Put(at, {0x0A});
        EXPECT_EQ(GetFreqString(high.image, Field::Rx, 2) + GetFreqString(low.image, Field::Rx, 2), "") << at;
    }
}

TEST(FreqString, ErasesForNoTextAndRefusesOtherForms) {
    Channel channel;
    MemoryImage expected = channel.image;
    for (const std::string_view refused :
         {"146.5250", "1466.52500", "14x.52500", ".52500", "146", " ", "-46.52500"}) {
        SetFreqString(channel.image, Field::Tx, 2, refused);
        EXPECT_EQ(channel.image, expected) << refused;
    }
    std::fill_n(&expected[Channel::Address + 4], 4, std::uint8_t{0xFF});
    SetFreqString(channel.image, Field::Tx, 2, "");
    EXPECT_EQ(channel.image, expected);
    SetFreqString(channel.image, Field::Rx, 2, "146,52500");
    EXPECT_EQ(channel.Get(0, 4), (Bytes{0x00, 0x25, 0x65, 0x14})) << "the separator does not matter";
}

TEST(NormalizeFreq, SnapsDownToTheNearerRasterPoint) {
    const std::pair<const char *, const char *> cases[] = {
        {"146.53125", "146.53125"}, {"146.5025", "146.50000"},   {"146.5049", "146.50000"},
        {"146.505", "146.50500"},   {"146.50625", "146.50625"},  {"146.50999", "146.50625"},
        {"146.51249", "146.51000"}, {"146.519999", "146.52000"}, {"146.519994", "146.51875"}};
    for (const auto &[typed, shown] : cases)
        EXPECT_EQ(NormalizeFreq(typed, 136, 174).text, shown) << typed;
}

TEST(NormalizeFreq, WarnsOutsideTheBandAndNeverLeavesTheHardLimits) {
    const struct {
        double low, high;
        const char *typed;
        const char *shown;
        bool warned;
    } cases[] = {{136, 174, "136", "136.00000", false},      {136, 174, "174", "174.00000", false},
                 {136, 174, "174.00001", "174.00000", true}, {136, 174, "135.99999", "135.99500", true},
                 {136, 174, "", "130.00000", true},          {136, 174, "1e300", "490.00000", true},
                 {136, 174, "146.5x", "146.50000", false},   {0, 999.9, "100", "130.00000", false},
                 {0, 999.9, "490.003", "490.00000", false},  {0, 5, "1,2,3", "130.00000", false},
                 {600, 900, "1,2,3", "490.00000", false},    {136, 174, "146,52", "146.52000", false},
                 {136, 174, "100,5", "130.00000", true},     {136, 174, "146,", "146.00000", false},
                 {136.5, 174, "14,6,5", "136.50000", false}, {136.5, 174, "14x,5", "136.50000", false},
                 {136, 174, " 146,5 ", "146.50000", false}};
    for (const auto &[low, high, typed, shown, warned] : cases) {
        const NormalizedFreq freq = NormalizeFreq(typed, low, high);
        EXPECT_EQ(freq.text, shown) << '"' << typed << "\" in " << low << " - " << high;
        EXPECT_EQ(freq.outOfRange, warned) << '"' << typed << "\" in " << low << " - " << high;
    }
}

// Bitmaps

TEST(ChannelBitmaps, HoldChannelNInBitNOfTheirByte) {
    for (int ch = 0; ch < 99; ++ch) {
        MemoryImage image;
        image.fill(0xFF);
        MemoryImage expected = image;
        for (const std::size_t map : {0x640U, 0x650U})
            expected[map + static_cast<std::size_t>(ch / 8)] = static_cast<std::uint8_t>(~(1 << ch % 8));
        MarkEmpty(image, ch, false);
        EXPECT_TRUE(!IsMarkedEmpty(image, ch) && IsScanSkipped(image, ch)) << ch;
        SetScanSkipped(image, ch, false);
        EXPECT_EQ(image, expected) << ch;
        MarkEmpty(image, ch, true);
        EXPECT_TRUE(IsMarkedEmpty(image, ch) && !IsScanSkipped(image, ch)) << ch;
    }
    EXPECT_TRUE(IsMarkedEmpty(MemoryImage{}, 128));
}

// Tones

struct ToneCase {
    int high, low;
    const char *text;
};

TEST(ToneString, IsTheWordsTextAndBack) {
    const ToneCase cases[] = {{0x02, 0x9E, "67.0"},  {0x0F, 0xFF, "409.5"}, {0x00, 0x00, "0.0"},
                              {0x28, 0x13, "D023N"}, {0xA8, 0x13, "D023I"}, {0xA9, 0xEC, "D754I"},
                              {0x28, 0x00, "D000N"}, {0xFF, 0xFF, "None"}};
    for (const auto &[high, low, text] : cases) {
        for (const auto &[field, offset] : {std::pair(Field::Rx, 8U), std::pair(Field::Tx, 10U)}) {
            Channel channel;
            channel.Put(offset, {low, high});
            EXPECT_EQ(GetToneString(channel.image, field, 2, Language::English), text);
            const MemoryImage expected = std::exchange(channel.image, Channel().image);
            SetToneString(channel.image, field, 2, text);
            EXPECT_EQ(channel.image, expected) << text;
        }
    }
}

TEST(ToneString, TellsTheKindByTheHighNibbleOfTheHighByte) {
    const Channel none({0, 0, 0, 0, 0, 0, 0, 0, 0x13, 0xF8});
    EXPECT_EQ(GetToneString(none.image, Field::Rx, 2, Language::Chinese), "无");
    for (const int kind : {0x1, 0x3, 0x4, 0x6, 0x8, 0xB, 0xE}) {
        const Channel channel({0, 0, 0, 0, 0, 0, 0, 0, 0x13, kind * 16 + 8});
        EXPECT_EQ(GetToneString(channel.image, Field::Rx, 2, Language::English), "") << kind;
    }
}

TEST(ToneString, OfATextThatIsNoToneFitsItsWord) {
    const ToneCase cases[] = {{0x02, 0xA0, "67.25"}, {0x02, 0xA6, "67.75"}, {0x00, 0x00, "-5"},
                              {0x0F, 0xFF, "99999"}, {0x00, 0x00, "x"},     {0x28, 0x08, "D01"},
                              {0x28, 0x13, "D023"},  {0xFF, 0xFF, ""},      {0xFF, 0xFF, "无"}};
    for (const auto &[high, low, text] : cases) {
        Channel channel;
        SetToneString(channel.image, Field::Tx, 2, text);
        EXPECT_EQ(channel.Get(10, 2), (Bytes{low, high})) << text;
    }
}

TEST(ToneList, OffersNoneThenTheTonesThenTheCodesInBothPolarities) {
    const std::vector<std::string> list = BuildToneList(Language::Chinese);
    ASSERT_EQ(list.size(), 261U);
    EXPECT_EQ(list[0], "无");
    const auto codes = list.begin() + 51;
    const auto inverted = codes + 105;
    EXPECT_TRUE(std::is_sorted(codes, inverted) && std::is_sorted(inverted, list.end()));
    int tenths = 0;
    int octals = 0;
    for (auto tone = list.begin() + 1; tone != codes; ++tone)
        tenths += static_cast<int>(RoundHalfEven(NumericPrefix(*tone) * 10));
    for (auto code = codes; code != inverted; ++code) {
        EXPECT_EQ(code->substr(0, 4) + "I", code[105]);
        octals += std::stoi(code->substr(1));
    }
    // One tone or code that is wrong changes the sum.
    EXPECT_EQ(tenths, 75284);
    EXPECT_EQ(octals, 35069);
}

TEST(ToneKeys, AreFilteredByTheTextBeforeThem) {
    const struct {
        std::string_view text, keys, entered; ///< key by key, '-' for a refused one
        bool allSelected = false;
    } cases[] = {{"", "059DdNnIi. x,+E\r", "059DD-----------"},
                 {"D754I", "059DdNnIi.", "059DD-----", true},
                 {"1", "5Dd.NnIi", "5--.----"},
                 {"100", "5.D", "5.-"},
                 {"1000", "5.", "5-"},
                 {"10.", ".", "-", true},
                 {"100.3", "5.DNI", "-----"},
                 {"D", "0D.NnIi", "0-.----"},
                 {"D02", "3NnIi", "3----"},
                 {"D023", "4NnIi.D", "-NNII--"},
                 {"D023", "4NnIiD", "4NNIID", true},
                 {"D023N", "4NIni", "-----"},
                 {"无123", "4.", "4-"},
                 {"无12", ".", "."}};
    for (const auto &[text, keys, entered, allSelected] : cases) {
        for (std::size_t i = 0; i < keys.size(); ++i)
            EXPECT_EQ(FilterToneKey(text, allSelected, keys[i]).value_or('-'), entered[i]) << text << keys[i];
        EXPECT_EQ(FilterToneKey(text, allSelected, '\b'), '\b') << text;
    }
}

TEST(NormalizeTone, MakesEveryTextATone) {
    const std::pair<const char *, const char *> cases[] = {
        {"59.9", "60.0"},    {"67", "67.0"},    {"100.25", "100.2"}, {"260", "260.0"},
        {"260.1", "260.0"},  {"1.2.3", "60.0"}, {"88x", "88.0"},     {"D", "D000N"},
        {"D8", "D007N"},     {"D800", "D777N"}, {"D023I", "D023I"},  {"DI", "D000I"},
        {"D98", "D077N"},    {"D189", "D177N"}, {"D6.8", "D006N"},   {"D99999999999", "D777N"},
        {"D023IN", "D023N"}, {"", "None"},      {".5", "None"},      {" 67", "None"},
        {"d023", "None"}};
    for (const auto &[typed, tone] : cases)
        EXPECT_EQ(NormalizeTone(typed, Language::English), tone) << typed;
    EXPECT_EQ(NormalizeTone("x", Language::Chinese), "无");
}

// Rows

const Bytes Sample{0x00, 0x25, 0x65, 0x14, 0x00, 0x25, 0x71, 0x14,
                   0x9E, 0x02, 0x13, 0xA8, 0x70, 0x01, 0x00, 0x00};
const Bytes Other{0x25, 0x31, 0x65, 0x44, 0x00, 0x25, 0x71, 0x14,
                  0xFF, 0xFF, 0x9E, 0x02, 0x85, 0xF1, 0x12, 0x34};
const Bytes ReceiveOnly{0x00, 0x00, 0x00, 0x40, 0xFF, 0xFF, 0xFF, 0xFF,
                        0x9E, 0x02, 0xFF, 0xFF, 0x9A, 0xA1, 0xFF, 0xFF};

TEST(ChannelRow, ShowsItsRecordAndStoredUnchangedKeepsEveryByte) {
    const struct {
        Bytes record;
        Language language;
        RowTexts row;
    } cases[] = {
        {Sample,
         Language::Chinese,
         {"", "146.52500", "147.12500", "67.0", "D023I", "高", "宽带", "关", "有", "关", "1"}},
        {Other,
         Language::English,
         {"", "446.53125", "147.12500", "None", "67.0", "Low", "Narrow", "Carrier", "No", "Scrambler", "1"}},
        {ReceiveOnly,
         Language::English,
         {"", "400.00000", "", "67.0", "", "Low", "Wide", "QT/DQT", "No", "Compander", "1"}}};
    for (const auto &[record, language, row] : cases) {
        Channel channel(record);
        SetScanSkipped(channel.image, Channel::Number, (record[12] & 0x40) == 0);
        const MemoryImage before = channel.image;
        EXPECT_EQ(channel.Row(language), row);
        channel.Store(row, language);
        EXPECT_EQ(channel.image, before) << row[ColRxFreq];
    }
}

TEST(ChannelRow, ShowsTheFlagsOfEveryByteAndKeepsTheUnusedBit) {
    const std::string lockouts[] = {"Off", "Carrier", "QT/DQT", "Off"};
    const std::string options[] = {"Off", "Scrambler", "Compander", "Off"};
    for (int flags = 0; flags <= 255; ++flags) {
        Channel channel(Sample);
        channel.Put(12, {flags});
        const RowTexts row = channel.Row();
        EXPECT_EQ(row[ColPower], (flags & 0x20) != 0 ? "High" : "Low") << flags;
        EXPECT_EQ(row[ColWidth], (flags & 0x10) != 0 ? "Wide" : "Narrow") << flags;
        EXPECT_EQ(row[ColLockout], lockouts[flags & 3]) << flags;
        EXPECT_EQ(row[ColScanAdd], (flags & 0x40) != 0 ? "Yes" : "No") << flags;
        EXPECT_EQ(row[ColOption], options[flags >> 2 & 3]) << flags;

        channel.Store(row);
        const int cleared = ((flags & 0x03) == 0x03 ? 0x03 : 0) | ((flags & 0x0C) == 0x0C ? 0x0C : 0);
        EXPECT_EQ(channel.Get(12, 1), Bytes{flags & ~cleared}) << flags;
        EXPECT_EQ(IsScanSkipped(channel.image, Channel::Number), (flags & 0x40) == 0) << flags;
    }
}

TEST(ChannelRow, ShowsTheScramblerNumberAndStoresOne) {
    for (const int byte : {0x00, 0x07, 0x08, 0x0F, 0xA3, 0xFF}) {
        Channel channel(Sample);
        channel.Put(13, {byte, 0xAB, 0xCD});
        const RowTexts row = channel.Row();
        EXPECT_EQ(row[ColScrambler], std::to_string(byte % 16 > 7 ? 0 : byte % 16)) << byte;
        channel.Store(row);
        EXPECT_EQ(channel.Get(13, 3), (Bytes{byte / 16 * 16 + 1, 0xAB, 0xCD})) << byte;
    }
}

TEST(ChannelRow, OfAnEmptyChannelIsEmptyAndErasesItWhenStored) {
    for (const bool marked : {true, false}) {
        Channel channel(Sample);
        if (marked)
            MarkEmpty(channel.image, Channel::Number, true);
        else
            channel.Put(2, {0xFF});
        SetScanSkipped(channel.image, Channel::Number, false);
        MemoryImage expected = channel.image;
        std::fill_n(&expected[Channel::Address], 16, std::uint8_t{0xFF});
        expected[0x640] |= 1 << Channel::Number;
        expected[0x650] |= 1 << Channel::Number;
        EXPECT_EQ(channel.Row(), RowTexts{});
        channel.Store({});
        EXPECT_EQ(channel.image, expected);
    }
}

TEST(ChannelRow, WithoutATransmitFrequencyHasNoTransmitToneAndErasesIt) {
    Channel channel(ReceiveOnly);
    channel.Put(10, {0x9E, 0x02});
    EXPECT_EQ(channel.Row()[ColTxTone], "");
    channel.Store(channel.Row());
    EXPECT_EQ(channel.Get(10, 2), (Bytes{0xFF, 0xFF}));
}

TEST(ChannelRow, StoresTextsOfTheLanguageInForceAndForOthersWhatTheirColumnSays) {
    const RowTexts english{"", "146.52500", "", "", "", "High", "Wide", "Carrier", "Yes", "Scrambler", "1"};
    const RowTexts chinese{"", "146.52500", "", "", "", "高", "宽带", "载波", "有", "扰频", "1"};
    for (const bool skipped : {false, true}) {
        Channel channel(Sample);
        channel.Put(12, {0x8F});
        SetScanSkipped(channel.image, Channel::Number, skipped);
        channel.Store(english, Language::Chinese);
        EXPECT_EQ(channel.Get(12, 1), Bytes{0x80}) << "lockout and option are cleared alone";
        EXPECT_EQ(IsScanSkipped(channel.image, Channel::Number), skipped);
        channel.Store(chinese, Language::Chinese);
        EXPECT_EQ(channel.Get(12, 1), Bytes{0xF5});
        EXPECT_FALSE(IsScanSkipped(channel.image, Channel::Number));
    }
}

TEST(NewChannel, GetsTheDefaultsAndItsFirstRecord) {
    const RowTexts expected{"", "446.52500", "446.52500", "无", "无", "高", "宽带", "关", "无", "关", "1"};
    RowTexts row;
    EXPECT_FALSE(SetRowRx(row, "446.525", AppState()));
    EXPECT_EQ(row, expected);
    Channel channel;
    channel.Store({});
    channel.Store(row, Language::Chinese);
    EXPECT_EQ(channel.Get(0, 16), (Bytes{0x00, 0x25, 0x65, 0x44, 0x00, 0x25, 0x65, 0x44, 0xFF, 0xFF, 0xFF,
                                         0xFF, 0xB0, 0xF1, 0xFF, 0xFF}));
    EXPECT_FALSE(IsMarkedEmpty(channel.image, Channel::Number));
    EXPECT_TRUE(IsScanSkipped(channel.image, Channel::Number));
}

RowTexts With(RowTexts row, std::size_t column, const char *text) {
    row[column] = text;
    return row;
}

TEST(CellSetters, ChangeTheCellsThatDependOnAFrequency) {
    AppState state;
    state.language = Language::English;
    const RowTexts programmed{"",       "446.00000", "447.00000", "67.0",      "D023N", "Low",
                              "Narrow", "Carrier",   "Yes",       "Compander", "3"};
    const RowTexts receiveOnly = With(With(programmed, ColTxFreq, ""), ColTxTone, "");
    const RowTexts fresh{"",     "450.00000", "450.00000", "None", "None", "High",
                         "Wide", "Off",       "No",        "Off",  "1"};
    const struct {
        bool (*set)(RowTexts &, std::string_view, const AppState &);
        RowTexts before;
        const char *typed;
        RowTexts after;
        bool warned;
    } cases[] = {{SetRowRx, programmed, "500", With(programmed, ColRxFreq, "490.00000"), true},
                 {SetRowRx, programmed, "", {}, false},
                 {SetRowRx, receiveOnly, "450", fresh, false},
                 {SetRowTx, programmed, "", receiveOnly, false},
                 {SetRowTx, programmed, "450,5", With(programmed, ColTxFreq, "450.50000"), false},
                 {SetRowTx, receiveOnly, "100",
                  With(With(receiveOnly, ColTxFreq, "130.00000"), ColTxTone, "None"), true}};
    for (const auto &[set, before, typed, after, warned] : cases) {
        RowTexts row = before;
        EXPECT_EQ(set(row, typed, state), warned) << typed;
        EXPECT_EQ(row, after) << typed;
    }
}

TEST(ChannelGrid, EntersWhereAChannelCanBeContinued) {
    RowTexts receiveOnly;
    receiveOnly[ColRxFreq] = "446.00000";
    const RowTexts programmed = With(receiveOnly, ColTxFreq, "446.00000");
    for (int column = ColNumber; column < GridCols; ++column) {
        EXPECT_EQ(EnteredColumn(RowTexts{}, column), ColRxFreq) << column;
        EXPECT_EQ(EnteredColumn(receiveOnly, column), column == ColTxTone ? ColTxFreq : column) << column;
        EXPECT_EQ(EnteredColumn(programmed, column), column) << column;
    }
}

} // namespace
} // namespace k470
