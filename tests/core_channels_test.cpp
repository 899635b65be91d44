#include "core/AppState.h"
#include "core/ChannelRows.h"
#include "core/Channels.h"
#include "core/Tones.h"
#include "resources/StringTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace k470 {
namespace {

constexpr Language Both[] = {Language::English, Language::Chinese};
using Bytes = std::vector<int>;

/// The record of channel 2, in an image of 0x5A, with the channel in use.
class Channel {
public:
    static constexpr int Number = 2;
    static constexpr std::size_t Address = 32;

    Channel() {
        image.fill(0x5A);
        MarkEmpty(image, Number, false);
    }
    void Put(std::size_t offset, const Bytes &bytes) {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            image[Address + offset + i] = static_cast<std::uint8_t>(bytes[i]);
    }
    Bytes Get(std::size_t offset, std::size_t count) const {
        const auto start = image.begin() + static_cast<std::ptrdiff_t>(Address + offset);
        return {start, start + static_cast<std::ptrdiff_t>(count)};
    }
    RowTexts Row(Language language = Language::English) const {
        return RowFromRecord(image, Number, language);
    }
    void Store(const RowTexts &row, Language language = Language::English) {
        StoreRow(image, Number, row, language);
    }

    MemoryImage image;
};

constexpr std::pair<Field, std::size_t> FreqFields[] = {{Field::Rx, 0}, {Field::Tx, 4}};
constexpr std::pair<Field, std::size_t> ToneFields[] = {{Field::Rx, 8}, {Field::Tx, 10}};

// Frequencies

TEST(FreqString, IsEightPackedDigitsLeastSignificantByteFirst) {
    for (const auto &[bytes, text] :
         std::initializer_list<std::pair<Bytes, std::string>>{{{0x00, 0x25, 0x65, 0x14}, "146.52500"},
                                                              {{0x25, 0x31, 0x65, 0x14}, "146.53125"},
                                                              {{0x00, 0x00, 0x00, 0x13}, "130.00000"},
                                                              {{0x99, 0x99, 0x99, 0x48}, "489.99999"},
                                                              {{0x99, 0x99, 0x99, 0x99}, "999.99999"},
                                                              {{0x05, 0x00, 0x50, 0x09}, "95.00005"},
                                                              {{0x01, 0x00, 0x10, 0x00}, "1.00001"},
                                                              {{0x00, 0x00, 0x00, 0x00}, "0.00000"}}) {
        for (const auto &[field, offset] : FreqFields) {
            Channel channel;
            channel.Put(offset, bytes);
            EXPECT_EQ(GetFreqString(channel.image, field, 2), text);
            MemoryImage expected = channel.image;
            channel.Put(offset, {0xFF, 0xFF, 0xFF, 0xFF});
            SetFreqString(channel.image, field, 2, text);
            EXPECT_EQ(channel.image, expected) << text << ": stored unchanged it keeps its bytes";
        }
    }
}

TEST(FreqString, IsAbsentWhenAnyByteIsNoPackedDecimal) {
    for (std::size_t at = 0; at < 4; ++at) {
        for (const int bad : {0xFF, 0xF5, 0x5F, 0xA0, 0x0A}) {
            for (const auto &[field, offset] : FreqFields) {
                Channel channel;
                channel.Put(offset, {0x00, 0x25, 0x65, 0x14});
                channel.Put(offset + at, {bad});
                EXPECT_EQ(GetFreqString(channel.image, field, 2), "") << bad << " at " << at;
            }
        }
    }
}

TEST(FreqString, ErasesForNoTextAndRefusesOtherForms) {
    for (const auto &[field, offset] : FreqFields) {
        Channel channel;
        MemoryImage expected = channel.image;
        for (const std::string_view refused : {"146.5250", "146.525000", "1466.52500", "14x.52500",
                                               "146.5250x", ".52500", "146", " ", "-46.52500"}) {
            SetFreqString(channel.image, field, 2, refused);
            EXPECT_EQ(channel.image, expected) << refused;
        }
        std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(Channel::Address + offset), 4,
                    std::uint8_t{0xFF});
        SetFreqString(channel.image, field, 2, "");
        EXPECT_EQ(channel.image, expected);
    }
    Channel channel;
    SetFreqString(channel.image, Field::Rx, 2, "146,52500");
    EXPECT_EQ(channel.Get(0, 4), (Bytes{0x00, 0x25, 0x65, 0x14})) << "the separator does not matter";
}

struct NormalizeCase {
    double low;
    double high;
    std::string_view typed;
    std::string shown;
    bool warned;
};

void ExpectNormalized(std::initializer_list<NormalizeCase> cases) {
    for (const auto &[low, high, typed, shown, warned] : cases) {
        const NormalizedFreq freq = NormalizeFreq(typed, low, high);
        EXPECT_EQ(freq.text, shown) << '"' << typed << "\" in " << low << " - " << high;
        EXPECT_EQ(freq.outOfRange, warned) << '"' << typed << "\" in " << low << " - " << high;
    }
}

TEST(NormalizeFreq, SnapsDownToTheNearerRasterPoint) {
    ExpectNormalized({
        {136, 174, "146.52", "146.52000", false},
        {136, 174, "146.53125", "146.53125", false},
        {136, 174, "146.5025", "146.50000", false},   // equally far: the 5 kHz raster
        {136, 174, "146.5049", "146.50000", false},   // both points lie below
        {136, 174, "146.505", "146.50500", false},    //
        {136, 174, "146.50625", "146.50625", false},  // a point of the 6.25 kHz raster alone
        {136, 174, "146.50999", "146.50625", false},  // 146.505 is farther down
        {136, 174, "146.51", "146.51000", false},     //
        {136, 174, "146.51249", "146.51000", false},  // 146.50625 is farther down
        {136, 174, "146.5125", "146.51250", false},   //
        {136, 174, "146.519999", "146.52000", false}, // rounded to 10 Hz first: 146.52
        {136, 174, "146.519994", "146.51875", false}, // rounded to 10 Hz first: 146.51999
        {400, 480, "446.525", "446.52500", false},    //
    });
}

TEST(NormalizeFreq, WarnsOutsideTheBandAndStopsAtTheHardLimits) {
    ExpectNormalized({
        {136, 174, "136", "136.00000", false},
        {136, 174, "174", "174.00000", false},
        {136, 174, "174.00001", "174.00000", true},
        {136, 174, "135.99999", "135.99500", true},
        {136, 174, "100", "130.00000", true},
        {136, 174, "129.99999", "130.00000", true},
        {400, 480, "140", "140.00000", true},
        {136, 174, "175", "175.00000", true},
        {136, 174, "500", "490.00000", true},
        {136, 174, "490", "490.00000", true},
        {136, 174, "490.00001", "490.00000", true},
        {136, 174, "1e300", "490.00000", true},
        {136, 174, "-5", "130.00000", true},
        {136, 174, "", "130.00000", true},
        {136, 174, "abc", "130.00000", true},
        {136, 174, "146.5x", "146.50000", false},
        {136, 174, " 146.5", "146.50000", false},
    });
}

TEST(NormalizeFreq, NeverLeavesTheHardLimitsWhateverTheBandHolds) {
    ExpectNormalized({
        {0, 999.9, "100", "130.00000", false},
        {0, 999.9, "500", "490.00000", false},
        {0, 999.9, "490.003", "490.00000", false},
        {0, 0, "146.52", "146.52000", true},
        {0, 5, "3", "130.00000", false},
        {0, 5, "1,2,3", "130.00000", false},
        {600, 900, "1,2,3", "490.00000", false},
        {600, 900, "700", "490.00000", false},
    });
}

TEST(NormalizeFreq, TakesACommaAsSeparatorAndTheLowLimitForNoNumber) {
    ExpectNormalized({
        {136, 174, "146,52", "146.52000", false},
        {136, 174, "146,", "146.00000", false},
        {136, 174, "100,5", "130.00000", true},
        {136, 174, "500,5", "490.00000", true},
        {136, 174, "14,6,5", "136.00000", false},
        {136, 174, "146.5,2", "136.00000", false},
        {136, 174, ",", "136.00000", false},
        {136.5, 174, "x,5", "136.50000", false},
    });
}

// Bitmaps

TEST(ChannelBitmaps, HoldChannelNInBitNOfTheirByte) {
    for (int ch = 0; ch < 99; ++ch) {
        MemoryImage expected;
        expected.fill(0xFF);
        MemoryImage image = expected;
        expected[0x640 + static_cast<std::size_t>(ch / 8)] = static_cast<std::uint8_t>(~(1 << ch % 8));
        expected[0x650 + static_cast<std::size_t>(ch / 8)] = static_cast<std::uint8_t>(~(1 << ch % 8));
        MarkEmpty(image, ch, false);
        SetScanSkipped(image, ch, false);
        EXPECT_EQ(image, expected) << ch;
        EXPECT_FALSE(IsMarkedEmpty(image, ch));
        EXPECT_FALSE(IsScanSkipped(image, ch));
        MarkEmpty(image, ch, true);
        SetScanSkipped(image, ch, true);
        EXPECT_TRUE(IsMarkedEmpty(image, ch));
        EXPECT_TRUE(IsScanSkipped(image, ch));
    }
    for (const int beyond : {128, 255})
        EXPECT_TRUE(IsMarkedEmpty(MemoryImage{}, beyond)) << beyond;
}

TEST(EmptyChannels, LackAFrequencyOrAreMarked) {
    struct Case {
        bool frequency;
        bool marked;
        bool empty;
    };
    for (const auto &[frequency, marked, empty] : std::initializer_list<Case>{
             {true, false, false}, {true, true, true}, {false, false, true}, {false, true, true}}) {
        Channel channel;
        channel.Put(0, {0x00, 0x25, 0x65, frequency ? 0x14 : 0xFF});
        MarkEmpty(channel.image, Channel::Number, marked);
        EXPECT_EQ(IsEmptyChannel(channel.image, Channel::Number), empty) << frequency << marked;
        EXPECT_EQ(channel.Row()[ColRxFreq].empty(), empty) << frequency << marked;
    }
}

// Tones

struct ToneCase {
    int high;
    int low;
    std::string text;
};

TEST(ToneString, IsTheWordsTextAndBack) {
    for (const auto &[high, low, text] : std::initializer_list<ToneCase>{{0x02, 0x9E, "67.0"},
                                                                         {0x09, 0xED, "254.1"},
                                                                         {0x02, 0x58, "60.0"},
                                                                         {0x0A, 0x28, "260.0"},
                                                                         {0x00, 0x00, "0.0"},
                                                                         {0x0F, 0xFF, "409.5"},
                                                                         {0x28, 0x13, "D023N"},
                                                                         {0xA8, 0x13, "D023I"},
                                                                         {0x29, 0xEC, "D754N"},
                                                                         {0xA9, 0xEC, "D754I"},
                                                                         {0x28, 0x00, "D000N"},
                                                                         {0xA9, 0xFF, "D777I"},
                                                                         {0xFF, 0xFF, "None"}}) {
        for (const auto &[field, offset] : ToneFields) {
            Channel channel;
            channel.Put(offset, {low, high});
            EXPECT_EQ(GetToneString(channel.image, field, 2, Language::English), text);
            const MemoryImage expected = channel.image;
            channel.Put(offset, {0x11, 0x22});
            SetToneString(channel.image, field, 2, text);
            EXPECT_EQ(channel.image, expected) << text;
        }
    }
}

TEST(ToneString, TellsTheKindByTheHighNibbleOfTheHighByte) {
    for (int high = 0; high <= 255; ++high) {
        Channel channel;
        channel.Put(8, {0x13, high});
        const std::string text = GetToneString(channel.image, Field::Rx, 2, Language::English);
        switch (high >> 4) {
        case 0x0:
            EXPECT_EQ(std::stod(text), (high * 256 + 0x13) / 10.0) << high;
            break;
        case 0x2:
            EXPECT_TRUE(text.starts_with("D") && text.ends_with("N")) << high << text;
            break;
        case 0xA:
            EXPECT_TRUE(text.starts_with("D") && text.ends_with("I")) << high << text;
            break;
        case 0xF:
            EXPECT_EQ(text, "None") << high;
            EXPECT_EQ(GetToneString(channel.image, Field::Rx, 2, Language::Chinese), "无") << high;
            break;
        default:
            EXPECT_EQ(text, "") << high;
        }
    }
}

TEST(ToneString, StoresNoneForNoTextAndForNoneInEitherLanguage) {
    for (const std::string_view none : {"", "None", "无"}) {
        for (const auto &[field, offset] : ToneFields) {
            Channel channel;
            MemoryImage expected = channel.image;
            expected[Channel::Address + offset] = expected[Channel::Address + offset + 1] = 0xFF;
            SetToneString(channel.image, field, 2, none);
            EXPECT_EQ(channel.image, expected) << none;
        }
    }
}

TEST(ToneString, OfATextThatIsNoToneFitsItsWord) {
    for (const auto &[high, low, text] : std::initializer_list<ToneCase>{{0x02, 0x9E, "67"},
                                                                         {0x02, 0xA0, "67.25"}, // 672.5: 672
                                                                         {0x02, 0xA6, "67.75"}, // 677.5: 678
                                                                         {0x00, 0x00, "-5"},
                                                                         {0x0F, 0xFF, "99999"},
                                                                         {0x00, 0x00, "x"},
                                                                         {0x28, 0x00, "D"},
                                                                         {0x28, 0x08, "D01"},
                                                                         {0x28, 0x13, "D023"}}) {
        Channel channel;
        SetToneString(channel.image, Field::Tx, 2, text);
        EXPECT_EQ(channel.Get(10, 2), (Bytes{low, high})) << text;
    }
}

std::vector<std::string> Words(const std::string &text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

TEST(ToneList, OffersNoneThenTheTonesThenTheCodesInBothPolarities) {
    const auto tones =
        Words("67.0 69.3 71.9 74.4 77.0 79.7 82.5 85.4 88.5 91.5 94.8 97.4 100.0 103.5 107.2 110.9 "
              "114.8 118.8 123.0 127.3 131.8 136.5 141.3 146.2 151.4 156.7 159.8 162.2 165.5 167.9 "
              "171.3 173.8 177.3 179.9 183.5 186.2 189.9 192.8 196.6 199.5 203.5 206.5 210.7 218.1 "
              "225.7 229.1 233.6 241.8 250.3 254.1 ");
    const auto codes =
        Words("023 025 026 031 032 036 043 047 051 053 054 065 071 072 073 074 114 115 116 122 125 131 "
              "132 134 143 145 152 155 156 162 165 172 174 205 212 223 225 226 243 244 245 246 251 252 "
              "255 261 263 265 266 271 274 306 311 315 325 331 332 343 346 351 356 364 365 371 411 412 "
              "413 423 431 432 445 446 452 454 455 462 464 465 466 503 506 516 523 526 532 546 565 606 "
              "612 624 627 631 632 645 654 662 664 703 712 723 731 732 734 743 754 ");
    for (const Language language : Both) {
        std::vector<std::string> expected{std::string(Pick(language, {"None", "无"}))};
        expected.insert(expected.end(), tones.begin(), tones.end());
        for (const char *polarity : {"N", "I"})
            for (const std::string &code : codes)
                expected.push_back("D" + code + polarity);
        ASSERT_EQ(expected.size(), 261U);
        EXPECT_EQ(BuildToneList(language), expected);
    }
}

TEST(ToneList, OffersOnlyTonesThatTheRecordHolds) {
    for (const Language language : Both) {
        for (const std::string &text : BuildToneList(language)) {
            Channel channel;
            SetToneString(channel.image, Field::Rx, 2, text);
            EXPECT_EQ(GetToneString(channel.image, Field::Rx, 2, language), text);
            EXPECT_EQ(NormalizeTone(text, language), text);
        }
    }
}

TEST(ToneKeys, AreFilteredByTheTextBeforeThem) {
    constexpr char Refused = 0;
    struct Case {
        std::string_view text;
        bool allSelected;
        std::string_view keys;
        std::string_view entered; ///< key by key, '-' for a refused one
    };
    for (const auto &[text, allSelected, keys, entered] : std::initializer_list<Case>{
             {"", true, "059DdNnIi.", "059DD-----"},      // nothing typed yet
             {"D754I", true, "059DdNnIi.", "059DD-----"}, // all selected, 5 characters: a new start
             {"1", false, "5Dd.NnIi", "5--.----"},        //
             {"100", false, "5.D", "5.-"},                // the point as fourth character
             {"1000", false, "5.", "5-"},                 // as fifth no more
             {"100.", false, "5.", "5-"},                 // one point only
             {"10.5", false, "5", "5"},                   //
             {"100.3", false, "5.DNI", "-----"},          // full
             {"1", true, "5.D", "5.D"},                   //
             {"10.", true, ".", "-"},                     // the filter looks at the text, not at what goes
             {"D", false, "0D.NnIi", "0-.----"},          //
             {"D02", false, "3NnIi", "3----"},            // no polarity before three digits
             {"D023", false, "4NnIi.D", "-NNII--"},       // only the polarity
             {"D023", true, "4NnIiD", "4NNIID"},          //
             {"D023N", false, "4NIni", "-----"},          // full
             {"None", false, "5.NDI", "5----"},           //
             {"无", false, "5.", "5."},                   // one character
             {"无123", false, "4", "4"},                  // four characters
             {"无12", false, ".", "."},                   // three
             {"无123", false, ".", "-"},                  // four
             {"", true, " x-+,eE\r\x1b\t", "----------"}, //
         }) {
        for (std::size_t i = 0; i < keys.size(); ++i) {
            const char result = FilterToneKey(text, allSelected, keys[i]).value_or(Refused);
            EXPECT_EQ(result, entered[i] == '-' ? Refused : entered[i])
                << '"' << text << "\" + '" << keys[i] << "', all selected: " << allSelected;
        }
        EXPECT_EQ(FilterToneKey(text, allSelected, '\b'), '\b') << text;
    }
}

TEST(NormalizeTone, MakesEveryTextATone) {
    for (const auto &[typed, tone] : std::initializer_list<std::pair<std::string_view, std::string>>{
             {"5", "60.0"},       {"59.9", "60.0"},    {"60", "60.0"},      {"67", "67.0"},
             {"100.3", "100.3"},  {"100.25", "100.2"}, {"100.35", "100.4"}, {"260", "260.0"},
             {"260.1", "260.0"},  {"300", "260.0"},    {"99999", "260.0"},  {"0", "60.0"},
             {"1.2.3", "60.0"},   {"88x", "88.0"},     {"D", "D000N"},      {"D8", "D007N"},
             {"D800", "D777N"},   {"D023", "D023N"},   {"D023N", "D023N"},  {"D023I", "D023I"},
             {"DI", "D000I"},     {"D5I", "D005I"},    {"D98", "D077N"},    {"D189", "D177N"},
             {"D778", "D777N"},   {"D1234", "D777N"},  {"D6.8", "D006N"},   {"D9999999999999", "D777N"},
             {"D023IN", "D023N"}, {"DN", "D000N"},     {"D12 3", "D012N"},  {"None", "None"},
             {"", "None"},        {"x", "None"},       {".5", "None"},      {"-67", "None"},
             {" 67", "None"},     {"d023", "None"},    {"无", "None"},      {"N", "None"}})
        EXPECT_EQ(NormalizeTone(typed, Language::English), tone) << typed;
    for (const std::string_view none : {"", "None", "x"})
        EXPECT_EQ(NormalizeTone(none, Language::Chinese), "无") << none;
}

// Rows

/// A row of texts by column, as the grid shows it; "-" is the channel number's column.
using Texts = std::array<const char *, 11>;

RowTexts RowOf(const Texts &texts) {
    RowTexts row;
    std::copy(texts.begin() + 1, texts.end(), row.begin() + 1);
    return row;
}

struct RecordCase {
    Bytes record;
    Language language;
    Texts row;
};

const std::vector<RecordCase> Records{
    {{0x00, 0x25, 0x65, 0x14, 0x00, 0x25, 0x71, 0x14, 0x9E, 0x02, 0x13, 0x28, 0x70, 0x01, 0x00, 0x00},
     Language::English,
     {"-", "146.52500", "147.12500", "67.0", "D023N", "High", "Wide", "Off", "Yes", "Off", "1"}},
    {{0x00, 0x25, 0x65, 0x14, 0x00, 0x25, 0x71, 0x14, 0x9E, 0x02, 0x13, 0xA8, 0x70, 0x01, 0x00, 0x00},
     Language::Chinese,
     {"-", "146.52500", "147.12500", "67.0", "D023I", "高", "宽带", "关", "有", "关", "1"}},
    {{0x25, 0x31, 0x65, 0x44, 0x25, 0x31, 0x65, 0x44, 0xFF, 0xFF, 0xFF, 0xFF, 0x05, 0xF1, 0x12, 0x34},
     Language::English,
     {"-", "446.53125", "446.53125", "None", "None", "Low", "Narrow", "Carrier", "No", "Scrambler", "1"}},
    {{0x25, 0x31, 0x65, 0x44, 0x25, 0x31, 0x65, 0x44, 0xFF, 0xFF, 0xFF, 0xFF, 0x05, 0xF1, 0x12, 0x34},
     Language::Chinese,
     {"-", "446.53125", "446.53125", "无", "无", "低", "窄带", "载波", "无", "扰频", "1"}},
    {{0x00, 0x00, 0x00, 0x40, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x9A, 0xA1, 0xFF, 0xFF},
     Language::English,
     {"-", "400.00000", "", "None", "", "Low", "Wide", "QT/DQT", "No", "Compander", "1"}},
    {{0x00, 0x00, 0x00, 0x40, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x9A, 0xA1, 0xFF, 0xFF},
     Language::Chinese,
     {"-", "400.00000", "", "无", "", "低", "宽带", "QT/DQT", "无", "压扩", "1"}},
};

TEST(ChannelRow, ShowsItsRecordAndStoredUnchangedKeepsEveryByte) {
    for (const auto &[record, language, texts] : Records) {
        Channel channel;
        channel.Put(0, record);
        SetScanSkipped(channel.image, Channel::Number, (record[12] & 0x40) == 0);
        const MemoryImage before = channel.image;
        const RowTexts row = channel.Row(language);
        EXPECT_EQ(row, RowOf(texts)) << texts[ColRxFreq];
        channel.Store(row, language);
        EXPECT_EQ(channel.image, before) << texts[ColRxFreq];
    }
}

TEST(ChannelRow, ShowsTheFlagsOfEveryByteAndKeepsTheUnusedBit) {
    const std::array<std::string, 4> lockouts{"Off", "Carrier", "QT/DQT", "Off"};
    const std::array<std::string, 4> options{"Off", "Scrambler", "Compander", "Off"};
    for (unsigned flags = 0; flags <= 255; ++flags) {
        Channel channel;
        channel.Put(0, Records[0].record);
        channel.Put(12, {static_cast<int>(flags)});
        const RowTexts row = channel.Row();
        EXPECT_EQ(row[ColPower], (flags & 0x20) != 0 ? "High" : "Low") << flags;
        EXPECT_EQ(row[ColWidth], (flags & 0x10) != 0 ? "Wide" : "Narrow") << flags;
        EXPECT_EQ(row[ColLockout], lockouts[flags & 3]) << flags;
        EXPECT_EQ(row[ColScanAdd], (flags & 0x40) != 0 ? "Yes" : "No") << flags;
        EXPECT_EQ(row[ColOption], options[flags >> 2 & 3]) << flags;

        unsigned stored = flags;
        if ((flags & 0x03) == 0x03)
            stored &= ~0x03U;
        if ((flags & 0x0C) == 0x0C)
            stored &= ~0x0CU;
        channel.Store(row);
        EXPECT_EQ(channel.Get(12, 1), Bytes{static_cast<int>(stored)}) << flags;
        EXPECT_EQ(IsScanSkipped(channel.image, Channel::Number), (flags & 0x40) == 0) << flags;
    }
}

TEST(ChannelRow, ShowsTheScramblerNumberAndStoresOne) {
    for (int byte = 0; byte <= 255; ++byte) {
        Channel channel;
        channel.Put(0, Records[0].record);
        channel.Put(13, {byte, 0xAB, 0xCD});
        const RowTexts row = channel.Row();
        EXPECT_EQ(row[ColScrambler], std::to_string(byte % 16 > 7 ? 0 : byte % 16)) << byte;
        channel.Store(row);
        EXPECT_EQ(channel.Get(13, 3), (Bytes{byte / 16 * 16 + 1, 0xAB, 0xCD})) << byte;
    }
}

TEST(ChannelRow, TakesScanFromTheFlagsAlone) {
    for (const bool skipped : {false, true}) {
        Channel channel;
        channel.Put(0, Records[0].record);
        SetScanSkipped(channel.image, Channel::Number, skipped);
        EXPECT_EQ(channel.Row()[ColScanAdd], "Yes");
    }
}

TEST(ChannelRow, OfAMarkedChannelIsEmptyAndErasesItWhenStored) {
    for (const bool marked : {true, false}) {
        Channel channel;
        channel.Put(0, Records[0].record);
        if (marked)
            MarkEmpty(channel.image, Channel::Number, true);
        else
            channel.Put(2, {0xFF});
        SetScanSkipped(channel.image, Channel::Number, false);
        MemoryImage expected = channel.image;
        std::fill_n(expected.begin() + Channel::Address, 16, std::uint8_t{0xFF});
        expected[0x640] |= 1 << Channel::Number;
        expected[0x650] |= 1 << Channel::Number;

        const RowTexts row = channel.Row();
        EXPECT_EQ(row, RowTexts{});
        channel.Store(row);
        EXPECT_EQ(channel.image, expected);
    }
}

TEST(ChannelRow, WithoutATransmitFrequencyHasNoTransmitToneAndErasesIt) {
    Channel channel;
    channel.Put(0, Records[0].record);
    channel.Put(4, {0xFF, 0xFF, 0xFF, 0xFF, 0x9E, 0x02, 0x9E, 0x02});
    const RowTexts row = channel.Row();
    EXPECT_EQ(row[ColTxFreq], "");
    EXPECT_EQ(row[ColTxTone], "");
    EXPECT_EQ(row[ColRxTone], "67.0");
    channel.Store(row);
    EXPECT_EQ(channel.Get(4, 8), (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x9E, 0x02, 0xFF, 0xFF}));
}

TEST(ChannelRow, StoresATextOfNoValueAsItsColumnSays) {
    for (const int flags : {0xFF, 0x80}) {
        for (const bool skipped : {false, true}) {
            Channel channel;
            channel.Put(0, Records[0].record);
            channel.Put(12, {flags});
            SetScanSkipped(channel.image, Channel::Number, skipped);
            RowTexts row = channel.Row();
            for (const int column : {ColPower, ColWidth, ColLockout, ColScanAdd, ColOption, ColScrambler})
                row[static_cast<std::size_t>(column)] = "?";
            channel.Store(row);
            EXPECT_EQ(channel.Get(12, 1), Bytes{flags & 0xF0}) << "lockout and option are cleared alone";
            EXPECT_EQ(IsScanSkipped(channel.image, Channel::Number), skipped);
        }
    }
}

TEST(ChannelRow, ComparesItsTextsWithTheLanguageInForce) {
    Channel channel;
    channel.Put(0, Records[0].record);
    channel.Put(12, {0x00});
    channel.Store(RowOf({"-", "146.52500", "", "", "", "High", "Wide", "Carrier", "Yes", "Scrambler", "1"}),
                  Language::Chinese);
    EXPECT_EQ(channel.Get(12, 1), Bytes{0x00});
    channel.Store(RowOf({"-", "146.52500", "", "", "", "高", "宽带", "载波", "有", "扰频", "1"}),
                  Language::Chinese);
    EXPECT_EQ(channel.Get(12, 1), Bytes{0x75});
}

TEST(NewChannel, GetsTheDefaultsAndItsFirstRecord) {
    struct Case {
        Language language;
        Texts row;
    };
    for (const auto &[language, texts] : std::initializer_list<Case>{
             {Language::English,
              {"-", "446.52500", "446.52500", "None", "None", "High", "Wide", "Off", "No", "Off", "1"}},
             {Language::Chinese,
              {"-", "446.52500", "446.52500", "无", "无", "高", "宽带", "关", "无", "关", "1"}}}) {
        AppState state;
        state.language = language;
        RowTexts row;
        EXPECT_FALSE(SetRowRx(row, "446.525", state));
        EXPECT_EQ(row, RowOf(texts));

        Channel channel;
        channel.Store(RowTexts{}, language);
        channel.Store(row, language);
        EXPECT_EQ(channel.Get(0, 16), (Bytes{0x00, 0x25, 0x65, 0x44, 0x00, 0x25, 0x65, 0x44, 0xFF, 0xFF, 0xFF,
                                             0xFF, 0xB0, 0xF1, 0xFF, 0xFF}));
        EXPECT_FALSE(IsMarkedEmpty(channel.image, Channel::Number));
        EXPECT_TRUE(IsScanSkipped(channel.image, Channel::Number));
    }
}

TEST(CellSetters, ChangeTheCellsThatDependOnAFrequency) {
    const AppState state = [] {
        AppState english;
        english.language = Language::English;
        return english;
    }();
    const Texts programmed{"-",      "446.00000", "447.00000", "67.0",      "D023N", "Low",
                           "Narrow", "Carrier",   "Yes",       "Compander", "3"};
    const Texts receiveOnly{"-",      "446.00000", "",    "67.0",      "", "Low",
                            "Narrow", "Carrier",   "Yes", "Compander", "3"};
    struct Case {
        bool (*set)(RowTexts &, std::string_view, const AppState &);
        Texts before;
        std::string_view typed;
        Texts after;
        bool warned;
    };
    for (const auto &[set, before, typed, after, warned] : std::initializer_list<Case>{
             // A programmed channel keeps its other cells.
             {SetRowRx,
              programmed,
              "450",
              {"-", "450.00000", "447.00000", "67.0", "D023N", "Low", "Narrow", "Carrier", "Yes", "Compander",
               "3"},
              false},
             {SetRowRx,
              programmed,
              "500",
              {"-", "490.00000", "447.00000", "67.0", "D023N", "Low", "Narrow", "Carrier", "Yes", "Compander",
               "3"},
              true},
             {SetRowRx, programmed, "", {"-", "", "", "", "", "", "", "", "", "", ""}, false},
             // One without a transmit tone starts anew.
             {SetRowRx,
              receiveOnly,
              "450",
              {"-", "450.00000", "450.00000", "None", "None", "High", "Wide", "Off", "No", "Off", "1"},
              false},
             {SetRowTx, programmed, "", receiveOnly, false},
             {SetRowTx,
              programmed,
              "450,5",
              {"-", "446.00000", "450.50000", "67.0", "D023N", "Low", "Narrow", "Carrier", "Yes", "Compander",
               "3"},
              false},
             {SetRowTx,
              receiveOnly,
              "100",
              {"-", "446.00000", "130.00000", "67.0", "None", "Low", "Narrow", "Carrier", "Yes", "Compander",
               "3"},
              true},
             {SetRowTx, receiveOnly, "", receiveOnly, false}}) {
        RowTexts row = RowOf(before);
        EXPECT_EQ(set(row, typed, state), warned) << typed;
        EXPECT_EQ(row, RowOf(after)) << typed;
    }
}

TEST(ChannelGrid, HasItsColumns) {
    struct Case {
        TextPair header;
        int width;
        GridColumn::Editor editor;
    };
    const std::array<Case, 11> columns{{
        {{"CH.", "信道"}, 650, GridColumn::Editor::None},
        {{"Rx Freq", "接收频率"}, 1265, GridColumn::Editor::Frequency},
        {{"Tx Freq", "发射频率"}, 1265, GridColumn::Editor::Frequency},
        {{"CTCSS/DCS Dec", "CTCSS/DCS 解码"}, 1300, GridColumn::Editor::Tone},
        {{"CTCSS/DCS Enc", "CTCSS/DCS 编码"}, 1300, GridColumn::Editor::Tone},
        {{"TX Power", "发射功率"}, 0, GridColumn::Editor::Choice},
        {{"W/N", "宽/窄"}, 1000, GridColumn::Editor::Choice},
        {{"BCL", "繁忙锁定"}, 1200, GridColumn::Editor::Choice},
        {{"Scan Add", "扫描添加"}, 1200, GridColumn::Editor::Choice},
        {{"Option", "可选"}, 0, GridColumn::Editor::Choice},
        {{"Scrambler No.", "扰频组别"}, 0, GridColumn::Editor::Choice},
    }};
    for (int column = 0; column < GridCols; ++column) {
        const Case &expected = columns.at(static_cast<std::size_t>(column));
        const GridColumn &shape = ChannelColumns.at(static_cast<std::size_t>(column));
        for (const Language language : Both)
            EXPECT_EQ(ColumnHeader(column, language), Pick(language, expected.header));
        EXPECT_EQ(shape.width, expected.width) << column;
        EXPECT_EQ(shape.editor, expected.editor) << column;
    }
}

TEST(ChannelGrid, OffersTheChoicesOfAColumn) {
    using Choices = std::vector<std::string>;
    struct Case {
        int column;
        Choices english;
        Choices chinese;
    };
    for (const auto &[column, english, chinese] :
         std::initializer_list<Case>{{ColPower, {"High", "Low"}, {"高", "低"}},
                                     {ColWidth, {"Wide", "Narrow"}, {"宽带", "窄带"}},
                                     {ColLockout, {"Off", "Carrier", "QT/DQT"}, {"关", "载波", "QT/DQT"}},
                                     {ColScanAdd, {"No", "Yes"}, {"无", "有"}},
                                     {ColOption, {"Off", "Scrambler", "Compander"}, {"关", "扰频", "压扩"}},
                                     {ColScrambler,
                                      {"1", "2", "3", "4", "5", "6", "7", "8"},
                                      {"1", "2", "3", "4", "5", "6", "7", "8"}},
                                     {ColNumber, {}, {}},
                                     {ColRxFreq, {}, {}},
                                     {ColTxTone, {}, {}}}) {
        EXPECT_EQ(ColumnChoices(column, Language::English), english) << column;
        EXPECT_EQ(ColumnChoices(column, Language::Chinese), chinese) << column;
    }
}

TEST(ChannelGrid, EntersWhereAChannelCanBeContinued) {
    RowTexts receiveOnly;
    receiveOnly[ColRxFreq] = "446.00000";
    RowTexts programmed = receiveOnly;
    programmed[ColTxFreq] = "446.00000";
    for (int column = ColNumber; column < GridCols; ++column) {
        EXPECT_EQ(EnteredColumn(RowTexts{}, column), ColRxFreq) << column;
        EXPECT_EQ(EnteredColumn(receiveOnly, column), column == ColTxTone ? ColTxFreq : column) << column;
        EXPECT_EQ(EnteredColumn(programmed, column), column) << column;
    }
}

} // namespace
} // namespace k470
