#include "core/AppState.h"
#include "core/Bands.h"
#include "core/NumberText.h"
#include "core/Preferences.h"
#include "core/Settings.h"
#include "core/Title.h"
#include "resources/StringTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace k470 {
namespace {

constexpr Language Both[] = {Language::English, Language::Chinese};

// Texts

TEST(StringTable, HoldsEveryTextInBothLanguages) {
    struct Case {
        int id;
        std::string_view english;
        std::string_view chinese;
    };
    for (const auto &[id, english, chinese] : std::initializer_list<Case>{
             {1120, "CH.", "信道"},
             {1121, "Rx Freq", "接收频率"},
             {1122, "Tx Freq", "发射频率"},
             {1123, "Dec", "解码"},
             {1124, "Enc", "编码"},
             {1128, "W/N", "宽/窄"},
             {1129, "BCL", "繁忙锁定"},
             {1132, "Scan Add", "扫描添加"},
             {1137, "None", "无"},
             {1139, "Carrier", "载波"},
             {1145, "Wide", "宽带"},
             {1146, "Narrow", "窄带"},
             {1147, "High", "高"},
             {1148, "Low", "低"},
             {1150, "Off", "关"},
             {1181, "English", "英文"},
             {1182, "Chinese", "中文"},
             {1319, "Incorrect File Type.", "文件类型不正确。"},
             {1320, "File has been modified, save it now?", "文件已被修改，是否保存？"},
             {1322, "All data will be cleared.", "所有数据将被清空。"},
             {1370, "Frequency", "频段"},
             {1384, "Compander", "压扩"},
             {1495, "Alert!", "警告!"},
             {1533, "Scrambler", "扰频"},
             {1631, "TX Power", "发射功率"},
             {1654, "Frequency is out of range", "频率超出范围."},
             {1655, "Caution", "注意"},
             {1880, "Write data to radio.", "向对讲机写入数据。"},
             {1881, "Read data from radio.", "从对讲机读取数据。"},
             {1882, "Do you wish to continue?", "是否继续？"},
             {1890, "Yes", "有"},
             {1891, "No", "无"},
             {10000, "Datas will be Cleared,continue?", "数据将被清除，继续？"},
         }) {
        EXPECT_EQ(Res(Language::English, id), english) << id;
        EXPECT_EQ(Res(Language::Chinese, id), chinese) << id;
        EXPECT_EQ(LoadResString(id + 1000), chinese) << id;
    }
    EXPECT_EQ(LoadResString(13030), "Frequency is out of range，Please reset.");
    EXPECT_EQ(LoadResString(13031), "频段超出范围，请重新设定.");
    for (const int missing : {0, -1, 1119, 1892, 99999})
        EXPECT_EQ(LoadResString(missing), "") << missing;
}

// Numbers

TEST(NumericPrefix, ReadsTheNumberThatATextBeginsWith) {
    struct Case {
        std::string_view text;
        double value;
    };
    for (const auto &[text, value] : std::initializer_list<Case>{
             {"136", 136}, {"136.5", 136.5}, {"12abc", 12}, {"  7", 7},       {"\t7", 7},     {".5", 0.5},
             {"5.", 5},    {"-3.25", -3.25}, {"+3", 3},     {"007", 7},       {"1.2.3", 1.2}, {"146,52", 146},
             {"1e2", 100}, {"1e", 1},        {"&h1F", 31},  {"&H10", 16},     {" &h10", 16},  {"&h1Fx", 31},
             {"", 0},      {"   ", 0},       {"abc", 0},    {".", 0},         {"-", 0},       {"+-5", 0},
             {"- 5", 0},   {"inf", 0},       {"nan", 0},    {"-infinity", 0}, {"&h", 0},      {"&hG", 0},
             {"0x1F", 0},  {"一", 0},        {"1e-999", 0}, {"-1e-999", 0},   {"&", 0},       {"4 0", 4}})
        EXPECT_EQ(NumericPrefix(text), value) << '"' << text << '"';
}

TEST(NumericPrefix, StaysFiniteForTextsBeyondEveryNumber) {
    for (const std::string &text : {std::string("1e999"), std::string(500, '9'), "&h" + std::string(40, 'F')})
        EXPECT_TRUE(std::isfinite(NumericPrefix(text))) << text;
    EXPECT_GT(NumericPrefix("1e999"), 1e300);
    EXPECT_LT(NumericPrefix("-1e999"), -1e300);
    for (const std::string &tiny : {"0." + std::string(500, '0') + "1", "0." + std::string(500, '0') + "1e+5",
                                    std::string("1e-99999999999"), std::string("12.5e-400")})
        EXPECT_EQ(NumericPrefix(tiny), 0) << tiny;
    EXPECT_GT(NumericPrefix("0.001e99999999999"), 1e300);
    EXPECT_GT(NumericPrefix(std::string(500, '9') + "e-5"), 1e300);
}

TEST(NumberWithComma, TakesTheWholeTextOrNothing) {
    struct Case {
        std::string_view text;
        std::optional<double> value;
    };
    for (const auto &[text, value] : std::initializer_list<Case>{{"146,52", 146.52},
                                                                 {"146.52", 146.52},
                                                                 {" 146,5 ", 146.5},
                                                                 {",5", 0.5},
                                                                 {"146,", 146},
                                                                 {"-1,5", -1.5},
                                                                 {"1,2,3", std::nullopt},
                                                                 {"1.2,3", std::nullopt},
                                                                 {"14x,5", std::nullopt},
                                                                 {"1,5x", std::nullopt},
                                                                 {",", std::nullopt},
                                                                 {"", std::nullopt},
                                                                 {"a,b", std::nullopt},
                                                                 {"1 ,5", std::nullopt},
                                                                 {"inf,", std::nullopt}})
        EXPECT_EQ(NumberWithComma(text), value) << '"' << text << '"';
}

TEST(Rounding, SendsHalvesToTheEvenNeighbour) {
    struct Case {
        double value;
        double whole;
    };
    for (const auto &[value, whole] : std::initializer_list<Case>{{0.5, 0},
                                                                  {1.5, 2},
                                                                  {2.5, 2},
                                                                  {3.5, 4},
                                                                  {-0.5, 0},
                                                                  {-1.5, -2},
                                                                  {-2.5, -2},
                                                                  {2.49, 2},
                                                                  {2.51, 3},
                                                                  {-2.51, -3},
                                                                  {7, 7},
                                                                  {0, 0}})
        EXPECT_EQ(RoundHalfEven(value), whole) << value;
}

TEST(NumberTexts, ShowNoDigitTooMany) {
    for (const auto &[value, text] :
         std::initializer_list<std::pair<double, std::string>>{{136, "136"},
                                                               {136.5, "136.5"},
                                                               {0.1 + 0.2, "0.3"},
                                                               {0, "0"},
                                                               {-0.0, "0"},
                                                               {-1.5, "-1.5"},
                                                               {999.9, "999.9"},
                                                               {130.00000001, "130.00000001"},
                                                               {1360, "1360"}})
        EXPECT_EQ(ShortestDecimal(value), text);
}

TEST(NumberTexts, HaveTheDecimalsAskedFor) {
    struct Case {
        double value;
        int decimals;
        std::string text;
    };
    for (const auto &[value, decimals, text] : std::initializer_list<Case>{{146.525, 5, "146.52500"},
                                                                           {67, 1, "67.0"},
                                                                           {67.25, 1, "67.2"},
                                                                           {67.75, 1, "67.8"},
                                                                           {254.1, 1, "254.1"},
                                                                           {0.00001, 5, "0.00001"},
                                                                           {-0.01, 1, "0.0"},
                                                                           {12, 0, "12"}})
        EXPECT_EQ(FixedDecimals(value, decimals), text) << value;
}

// Memory image

/// A state whose image differs from byte to byte.
AppState StateWithEveryByte() {
    AppState state;
    for (std::size_t i = 0; i < ImageSize; ++i)
        state.image[i] = static_cast<std::uint8_t>(i % 251);
    return state;
}

TEST(NewImage, WritesTheDefaultsAndKeepsCountAndBand) {
    AppState state = StateWithEveryByte();
    state.image[0x632] = 40;
    std::vector<int> expected(ImageSize, 0xFF);
    for (const auto &[address, value] : std::map<std::size_t, int>{{0x630, 15},
                                                                   {0x631, 0},
                                                                   {0x632, 40},
                                                                   {0x633, 0},
                                                                   {0x634, 0},
                                                                   {0x635, 1},
                                                                   {0x636, 4},
                                                                   {0x637, 5},
                                                                   {0x638, 1},
                                                                   {0x639, 5},
                                                                   {0x660, 'V'},
                                                                   {0x661, 'Z'},
                                                                   {0x662, '-'},
                                                                   {0x663, '4'},
                                                                   {0x664, '7'},
                                                                   {0x665, '0'}})
        expected[address] = value;
    for (const std::size_t address : {0x666U, 0x667U, 0x668U, 0x669U})
        expected[address] = state.image[address];
    std::fill(expected.begin() + 0x670, expected.begin() + 0x695 + 1, 0x28);
    std::fill(expected.begin() + 0x696, expected.begin() + 0x6BA + 1, 0x50);

    NewImage(state);
    for (std::size_t i = 0; i < ImageSize; ++i)
        EXPECT_EQ(state.image[i], expected[i]) << std::hex << i;
    EXPECT_FALSE(ImageModified(state));
}

TEST(ClearChannels, ErasesTheRecordsAloneAndTakesASnapshot) {
    AppState state = StateWithEveryByte();
    const MemoryImage before = state.image;
    ClearChannels(state);
    for (std::size_t i = 0; i < ImageSize; ++i)
        EXPECT_EQ(state.image[i], i <= 0x62F ? 0xFF : before[i]) << std::hex << i;
    EXPECT_FALSE(ImageModified(state));
}

TEST(ImageModified, SeesEverySingleByteUntilItIsBack) {
    AppState state = StateWithEveryByte();
    EXPECT_TRUE(ImageModified(state));
    TakeSnapshot(state);
    EXPECT_FALSE(ImageModified(state));
    for (std::size_t i = 0; i < ImageSize; ++i) {
        state.image[i] ^= 0x10;
        EXPECT_TRUE(ImageModified(state)) << i;
        state.image[i] ^= 0x10;
        EXPECT_FALSE(ImageModified(state)) << i;
    }
}

TEST(PrepareForWrite, MarksTheImageAndCopiesTheCount) {
    AppState state = StateWithEveryByte();
    MemoryImage expected = state.image;
    expected[0x670] = 0x55;
    expected[0x66F] = expected[0x632];
    PrepareForWrite(state.image);
    EXPECT_EQ(state.image, expected);
}

TEST(Lines, AreSixteenBytesEach) {
    AppState state = StateWithEveryByte();
    for (const int line : {0, 98, 99, 111}) {
        EXPECT_EQ(Line(state.image, line).data(), state.image.data() + line * 16);
        EXPECT_EQ(Line(state.image, line).size(), 16U);
    }
}

TEST(GridRows, FollowACountBelowHundredOnly) {
    for (int count = 0; count <= 255; ++count) {
        AppState state;
        state.gridRows = 33;
        state.image[0x632] = static_cast<std::uint8_t>(count);
        TakeGridRowsFromImage(state);
        EXPECT_EQ(state.gridRows, count < 100 ? count + 1 : 33) << count;
    }
}

// Band

struct BandBytes {
    double low;
    double high;
    std::vector<int> bytes;
};

std::vector<int> BytesOfBand(const AppState &state) {
    return {state.image.begin() + 0x666, state.image.begin() + 0x66A};
}

TEST(BandLimits, ArePackedDigitsOfATenthMegahertz) {
    for (const auto &[low, high, bytes] :
         std::initializer_list<BandBytes>{{136, 174, {0x13, 0x60, 0x17, 0x40}},
                                          {200, 260, {0x20, 0x00, 0x26, 0x00}},
                                          {400, 480, {0x40, 0x00, 0x48, 0x00}},
                                          {136.5, 174, {0x13, 0x65, 0x17, 0x40}},
                                          {136.1, 479.9, {0x13, 0x61, 0x47, 0x99}},
                                          {99.9, 999.9, {0x09, 0x99, 0x99, 0x99}},
                                          {0, 5, {0x00, 0x00, 0x00, 0x50}}}) {
        AppState state;
        state.bandLow = low;
        state.bandHigh = high;
        StoreBandLimits(state);
        EXPECT_EQ(BytesOfBand(state), bytes) << low << " - " << high;
        state.bandLow = state.bandHigh = 1;
        LoadBandLimits(state);
        EXPECT_EQ(state.bandLow, low);
        EXPECT_EQ(state.bandHigh, high);
    }
}

TEST(BandLimits, AreStoredRoundedAndOnlyInsideTheirRange) {
    for (const auto &[low, high, bytes] :
         std::initializer_list<BandBytes>{{136.04, 174.06, {0x13, 0x60, 0x17, 0x41}},
                                          {136.25, 136.75, {0x13, 0x62, 0x13, 0x68}},
                                          {1000, 480, {0xAA, 0xBB, 0x48, 0x00}},
                                          {400, -1, {0x40, 0x00, 0xCC, 0xDD}},
                                          {999.99, 1e300, {0xAA, 0xBB, 0xCC, 0xDD}}}) {
        AppState state;
        for (const auto &[address, value] :
             std::map<std::size_t, std::uint8_t>{{0x666, 0xAA}, {0x667, 0xBB}, {0x668, 0xCC}, {0x669, 0xDD}})
            state.image[address] = value;
        state.bandLow = low;
        state.bandHigh = high;
        StoreBandLimits(state);
        EXPECT_EQ(BytesOfBand(state), bytes) << low << " - " << high;
    }
}

TEST(BandLimits, OfBytesThatAreNoDecimalsReadAsFarAsTheyAre) {
    struct Case {
        std::uint8_t first;
        std::uint8_t second;
        double limit;
    };
    for (const auto &[first, second, limit] : std::initializer_list<Case>{{0xFF, 0xFF, 0},
                                                                          {0x1A, 0x00, 10},
                                                                          {0x1A, 0x5F, 10.5},
                                                                          {0xA1, 0x65, 6.5},
                                                                          {0x13, 0xF0, 130},
                                                                          {0x99, 0x99, 999.9},
                                                                          {0x00, 0x00, 0}}) {
        AppState state;
        state.image[0x666] = state.image[0x668] = first;
        state.image[0x667] = state.image[0x669] = second;
        LoadBandLimits(state);
        EXPECT_EQ(state.bandLow, limit) << +first << " " << +second;
        EXPECT_EQ(state.bandHigh, limit) << +first << " " << +second;
    }
}

TEST(BandList, FindsABandByItsExactLimitsElseCustom) {
    struct Case {
        double low;
        double high;
        int position;
    };
    for (const auto &[low, high, position] : std::initializer_list<Case>{{136, 174, 0},
                                                                         {200, 260, 1},
                                                                         {350, 390, 2},
                                                                         {400, 480, 3},
                                                                         {136.5, 174, 4},
                                                                         {136, 480, 4},
                                                                         {400, 480.1, 4},
                                                                         {0, 0, 4}})
        EXPECT_EQ(FindBand(low, high), position) << low << " - " << high;
}

TEST(BandList, ShowsItsTexts) {
    for (const Language language : Both) {
        EXPECT_EQ(BandText(0, language), "136 - 174 MHz");
        EXPECT_EQ(BandText(1, language), "200 - 260 MHz");
        EXPECT_EQ(BandText(2, language), "350 - 390 MHz");
        EXPECT_EQ(BandText(3, language), "400 - 480 MHz");
    }
    EXPECT_EQ(BandText(4, Language::English), "Custom");
    EXPECT_EQ(BandText(4, Language::Chinese), "自定义");
}

TEST(BandChange, StoresTheLimitsAndErasesTheChannelsAlone) {
    AppState state = StateWithEveryByte();
    MemoryImage expected = state.image;
    std::fill_n(expected.begin(), 0x630, std::uint8_t{0xFF});
    for (const auto &[address, value] :
         std::map<std::size_t, std::uint8_t>{{0x666, 0x20}, {0x667, 0x00}, {0x668, 0x26}, {0x669, 0x00}})
        expected[address] = value;
    ChangeBand(state, 1, {200, 260});
    EXPECT_EQ(state.image, expected);
    EXPECT_EQ(state.bandLow, 200);
    EXPECT_EQ(state.bandHigh, 260);
    EXPECT_EQ(state.previousBand, 1);
    EXPECT_FALSE(ImageModified(state));
}

// Function settings

using ByteToEntry = int (*)(int byte);
using EntryToByte = int (*)(int entry);
constexpr int Kept = -100; ///< the byte is left as it is

struct SettingCase {
    Setting setting;
    std::size_t address;
    int entries; ///< list positions from 0 on
    ByteToEntry entryOf;
    EntryToByte byteOf;
    int nothingSelected; ///< byte for no selection
};

const std::vector<SettingCase> SettingCases{
    {Setting::TimeOutTimer, 0x636, 41, [](int v) { return v <= 40 ? v : 0; }, [](int k) { return k; }, Kept},
    {Setting::Squelch, 0x637, 10, [](int v) { return v <= 9 ? v : 0; }, [](int k) { return k; }, Kept},
    {Setting::Voice, 0x635, 3, [](int v) { return v == 1 ? 2 : (v == 2 ? 1 : 0); },
     [](int k) { return k == 0 ? 0 : 3 - k; }, 0xFF},
    {Setting::ChannelCount, 0x632, 99, [](int v) { return v == 0 ? NoEntry : (v <= 99 ? v - 1 : 15); },
     [](int k) { return k + 1; }, 0},
    {Setting::WorkingChannel, 0x631, 99, [](int v) { return v <= 98 ? v : 0; }, [](int k) { return k; }, 0},
    {Setting::Volume, 0x630, 16, [](int v) { return v <= 15 ? v : 0; }, [](int k) { return k; }, Kept},
    {Setting::BatterySave, 0x639, 12, [](int v) { return v == 1 ? 11 : (v >= 2 && v <= 11 ? v - 1 : 0); },
     [](int k) { return k == 0 ? 0 : (k == 11 ? 1 : k + 1); }, Kept},
    {Setting::Beep, 0x638, 2, [](int v) { return v == 0 ? 0 : 1; }, [](int k) { return k; }, Kept},
    {Setting::Scrambler, 0x633, 2, [](int v) { return v == 0 ? 0 : 1; }, [](int k) { return k; }, Kept},
    {Setting::Compander, 0x634, 2, [](int v) { return v == 0 ? 0 : 1; }, [](int k) { return k; }, Kept},
};

TEST(FunctionSettings, LieAtTheirAddressesInTheOrderOfLoading) {
    ASSERT_EQ(SettingShapes.size(), SettingCases.size());
    for (std::size_t i = 0; i < SettingCases.size(); ++i) {
        EXPECT_EQ(SettingShapes[i].setting, SettingCases[i].setting) << i;
        EXPECT_EQ(SettingShapes[i].address, SettingCases[i].address) << i;
        EXPECT_EQ(&ShapeOf(SettingCases[i].setting), &SettingShapes[i]) << i;
    }
}

TEST(FunctionSettings, ShowEveryByteAndWriteEveryEntry) {
    for (const SettingCase &each : SettingCases) {
        const SettingShape &shape = ShapeOf(each.setting);
        for (int byte = 0; byte <= 255; ++byte)
            EXPECT_EQ(shape.toEntry(static_cast<std::uint8_t>(byte)), each.entryOf(byte))
                << shape.control << ", byte " << byte;
        for (int entry = 0; entry < each.entries; ++entry)
            EXPECT_EQ(shape.toByte(entry), static_cast<std::uint8_t>(each.byteOf(entry)))
                << shape.control << ", entry " << entry;
        const auto unselected = shape.toByte(NoEntry);
        EXPECT_EQ(unselected ? *unselected : Kept, each.nothingSelected) << shape.control;
    }
}

TEST(FunctionSettings, ComeBackAsTheEntryThatTheyShowed) {
    for (const SettingCase &each : SettingCases) {
        const SettingShape &shape = ShapeOf(each.setting);
        for (int byte = 0; byte <= 255; ++byte) {
            const int shown = shape.toEntry(static_cast<std::uint8_t>(byte));
            const int stored = shape.toByte(shown).value_or(static_cast<std::uint8_t>(byte));
            EXPECT_EQ(shape.toEntry(static_cast<std::uint8_t>(stored)), shown)
                << shape.control << ", byte " << byte;
        }
    }
}

TEST(FunctionSettings, OfferTheirTexts) {
    struct Case {
        Setting setting;
        std::size_t count;
        std::map<std::size_t, TextPair> texts; ///< some of the list, by position
    };
    for (const auto &[setting, count, texts] : std::initializer_list<Case>{
             {Setting::TimeOutTimer,
              41,
              {{0, {"Off", "关"}}, {1, {"15", "15"}}, {4, {"60", "60"}}, {40, {"600", "600"}}}},
             {Setting::Squelch, 10, {{0, {"0", "0"}}, {9, {"9", "9"}}}},
             {Setting::Voice, 3, {{0, {"Off", "关"}}, {1, {"English", "英文"}}, {2, {"Chinese", "中文"}}}},
             {Setting::ChannelCount, 99, {{0, {"1", "1"}}, {15, {"16", "16"}}, {98, {"99", "99"}}}},
             {Setting::WorkingChannel, 0, {}},
             {Setting::Volume, 16, {{0, {"1", "1"}}, {15, {"16", "16"}}}},
             {Setting::BatterySave,
              12,
              {{0, {"Off", "关"}}, {1, {"1:1", "1:1"}}, {10, {"1:10", "1:10"}}, {11, {"Auto", "自动"}}}},
             {Setting::Beep, 0, {}},
         }) {
        const SettingShape &shape = ShapeOf(setting);
        for (const Language language : Both) {
            const auto list = shape.entries(language);
            ASSERT_EQ(list.size(), count) << shape.control;
            for (const auto &[position, text] : texts)
                EXPECT_EQ(list[position], Pick(language, text)) << shape.control << " " << position;
        }
    }
    EXPECT_EQ(NumberEntries(3), (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_TRUE(NumberEntries(0).empty());
}

TEST(FunctionSettings, BearTheirNamesAndCaptions) {
    struct Case {
        Setting setting;
        std::string control;
        std::string label;
        TextPair caption;
    };
    for (const auto &[setting, control, label, caption] : std::initializer_list<Case>{
             {Setting::TimeOutTimer, "Combo1(0)", "Label1(0)", {"Time Out Timer[s]", "超时定时器[秒]"}},
             {Setting::Squelch, "Combo1(1)", "Label1(1)", {"Squelch Level", "静噪等级"}},
             {Setting::Voice, "Combo1(2)", "Label1(2)", {"Voice Annunciation", "操作语音提示"}},
             {Setting::ChannelCount, "Combo1(3)", "Label1(3)", {"CHT：", "信道数："}},
             {Setting::WorkingChannel, "Combo1(4)", "Label1(4)", {"Working CH", "工作信道"}},
             {Setting::Volume, "Combo1(5)", "Label1(5)", {"Volume", "音量"}},
             {Setting::BatterySave, "Combo1(6)", "Label1(6)", {"Battery Save", "电池省电"}},
             {Setting::Beep, "Check1(0)", "", {"Beep", "哔音"}},
             {Setting::Scrambler, "Check1(2)", "", {"Scrambler", "扰频"}},
             {Setting::Compander, "Check1(3)", "", {"Compander", "压扩"}},
         }) {
        const SettingShape &shape = ShapeOf(setting);
        EXPECT_EQ(shape.control, control);
        EXPECT_EQ(shape.label == nullptr ? "" : shape.label, label) << control;
        for (const Language language : Both)
            EXPECT_EQ(SettingCaption(shape, language), Pick(language, caption)) << control;
    }
}

TEST(FunctionSettings, OfANewCodeplugReadAsItsUserSeesThem) {
    AppState state;
    state.image[0x632] = 16;
    NewImage(state);
    for (const auto &[setting, text] : std::map<Setting, std::string>{{Setting::Volume, "16"},
                                                                      {Setting::WorkingChannel, "1"},
                                                                      {Setting::TimeOutTimer, "60"},
                                                                      {Setting::Squelch, "5"},
                                                                      {Setting::Voice, "Chinese"},
                                                                      {Setting::BatterySave, "1:4"},
                                                                      {Setting::Beep, "Yes"},
                                                                      {Setting::Scrambler, "No"},
                                                                      {Setting::Compander, "No"},
                                                                      {Setting::ChannelCount, "16"}})
        EXPECT_EQ(SettingText(state.image, setting, Language::English), text) << ShapeOf(setting).control;
}

TEST(WorkingChannel, ShowsItsEntryTheFirstOneOrNone) {
    struct Case {
        std::uint8_t byte;
        std::uint8_t channels;
        int entry;
        std::string text;
    };
    for (const auto &[byte, channels, entry, text] : std::initializer_list<Case>{{0, 3, 0, "1"},
                                                                                 {2, 3, 2, "3"},
                                                                                 {3, 3, 0, "1"},
                                                                                 {5, 3, 0, "1"},
                                                                                 {98, 99, 98, "99"},
                                                                                 {255, 99, 0, "1"},
                                                                                 {0, 0, NoEntry, ""},
                                                                                 {5, 0, NoEntry, ""}}) {
        EXPECT_EQ(WorkingChannelEntry(byte, channels), entry) << +byte << " of " << +channels;
        MemoryImage image{};
        image[0x631] = byte;
        image[0x632] = channels;
        EXPECT_EQ(SettingText(image, Setting::WorkingChannel, Language::English), text)
            << +byte << " of " << +channels;
    }
}

TEST(WorkingChannel, MovesToTheFirstProgrammedOneWhenItsOwnIsEmpty) {
    struct Case {
        std::vector<int> programmed;
        int count;
        int working;
        int fixed;
    };
    for (const auto &[programmed, count, working, fixed] : std::initializer_list<Case>{
             {{2}, 16, 0, 2},    // the first programmed one
             {{2, 5}, 16, 5, 5}, // its own is there: stays
             {{2, 5}, 16, 4, 2}, //
             {{}, 16, 7, 0},     // none is there
             {{20}, 16, 7, 0},   // none within the count
             {{20}, 16, 20, 20}, // beyond the count but there
             {{15}, 16, 3, 15},  // the last one within the count
             {{16}, 16, 3, 0},   // the first one beyond it
             {{3}, 16, 127, 3},  // the last bit of the bitmap
             {{3}, 16, 128, 3},  // beyond the bitmap
             {{3}, 16, 255, 3},  //
             {{3}, 0, 7, 0},     // no channel in use
             {{98}, 99, 0, 98},  //
             {{98}, 255, 0, 98}, // a count that is none
         }) {
        MemoryImage image;
        image.fill(0xFF);
        for (const int ch : programmed)
            image[0x640 + static_cast<std::size_t>(ch) / 8] &= static_cast<std::uint8_t>(~(1 << ch % 8));
        image[0x632] = static_cast<std::uint8_t>(count);
        image[0x631] = static_cast<std::uint8_t>(working);
        MemoryImage expected = image;
        expected[0x631] = static_cast<std::uint8_t>(fixed);
        FixWorkingChannel(image);
        EXPECT_EQ(image, expected) << working << " of " << count << " became " << +image[0x631];
    }
}

// Preferences and start

/// Names without regard to case, as the store promises.
class MemoryStore : public PreferenceStore {
public:
    MemoryStore(std::initializer_list<std::pair<std::string, std::string>> values = {}) {
        for (const auto &[name, text] : values)
            UpdateKey(name, text);
    }
    std::string GetKeyValue(std::string_view name) const override {
        const auto found = values_.find(Folded(name));
        return found == values_.end() ? "" : found->second;
    }
    bool UpdateKey(std::string_view name, std::string_view text) override {
        values_[Folded(name)] = text;
        names_.emplace_back(name);
        return true;
    }
    const std::vector<std::string> &Names() const { return names_; }

private:
    static std::string Folded(std::string_view name) {
        std::string folded(name);
        for (char &c : folded)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return folded;
    }
    std::map<std::string, std::string> values_;
    std::vector<std::string> names_;
};

TEST(Preferences, HaveDefaultsWhenMissingOrEmpty) {
    for (const MemoryStore &store :
         {MemoryStore{},
          MemoryStore{
              {"Model-FreqL", ""}, {"Model-FreqH", ""}, {"Language", ""}, {"gbPort", ""}, {"gbRows", ""}}}) {
        AppState state;
        state.bandLow = state.bandHigh = 1;
        state.language = Language::English;
        state.portNumber = state.gridRows = 99;
        LoadPreferences(state, store);
        EXPECT_EQ(state.bandLow, 400);
        EXPECT_EQ(state.bandHigh, 480);
        EXPECT_EQ(state.language, Language::Chinese);
        EXPECT_EQ(state.portNumber, 1);
        EXPECT_EQ(state.gridRows, 17);
    }
}

TEST(Preferences, ReadTheNumberInTheirText) {
    struct Case {
        std::string name;
        std::string text;
        double value;
    };
    for (const auto &[name, text, value] : std::initializer_list<Case>{{"Model-FreqL", "136", 136},
                                                                       {"Model-FreqL", "136.5", 136.5},
                                                                       {"Model-FreqL", "136x", 136},
                                                                       {"Model-FreqL", "abc", 0},
                                                                       {"Model-FreqL", "&h88", 136},
                                                                       {"model-freql", "200", 200},
                                                                       {"Language", "0", 0},
                                                                       {"Language", "1", 1},
                                                                       {"language", "0", 0},
                                                                       {"Language", "English", 0},
                                                                       {"Language", "2", 1},
                                                                       {"Language", "-1", 1},
                                                                       {"Language", "256", 1},
                                                                       {"Language", "1e300", 1},
                                                                       {"gbPort", "5", 5},
                                                                       {"gbPort", "255", 255},
                                                                       {"gbPort", "&hA", 10},
                                                                       {"gbPort", "12COM", 12},
                                                                       {"gbPort", "0", 0},
                                                                       {"gbPort", "256", 1},
                                                                       {"gbPort", "x", 0},
                                                                       {"GBPORT", "7", 7},
                                                                       {"gbRows", "100", 100},
                                                                       {"gbRows", "101", 17},
                                                                       {"gbRows", "1", 1},
                                                                       {"gbRows", "0", 17},
                                                                       {"gbRows", "-5", 17},
                                                                       {"gbRows", "rows", 17},
                                                                       {"gbRows", "999999999999", 17},
                                                                       {"gbRows", " 25 ", 25}}) {
        AppState state;
        LoadPreferences(state, MemoryStore{{name, text}});
        const std::map<char, double> values{{'m', state.bandLow},
                                            {'l', static_cast<double>(state.language)},
                                            {'p', state.portNumber},
                                            {'r', state.gridRows}};
        const char field = name[0] == 'g' || name[0] == 'G' ? static_cast<char>(std::tolower(name[2]))
                                                            : static_cast<char>(std::tolower(name[0]));
        EXPECT_EQ(values.at(field), value) << name << " = \"" << text << '"';
    }
}

TEST(Preferences, AreWrittenInOrderAndReplaceTheLanguageOfAnotherSpelling) {
    MemoryStore store{{"Language", "1"}};
    AppState state;
    state.bandLow = 136.5;
    state.bandHigh = 174;
    state.language = Language::English;
    state.portNumber = 12;
    state.gridRows = 100;
    SavePreferences(state, store);
    EXPECT_EQ(store.Names(), (std::vector<std::string>{"Language", "Model-FreqL", "Model-FreqH", "language",
                                                       "gbPort", "gbRows"}));
    for (const auto &[name, text] : std::map<std::string, std::string>{{"Model-FreqL", "136.5"},
                                                                       {"Model-FreqH", "174"},
                                                                       {"Language", "0"},
                                                                       {"gbPort", "12"},
                                                                       {"gbRows", "100"}})
        EXPECT_EQ(store.GetKeyValue(name), text) << name;

    AppState next;
    LoadPreferences(next, store);
    EXPECT_EQ(next.bandLow, 136.5);
    EXPECT_EQ(next.language, Language::English);
    EXPECT_EQ(next.portNumber, 12);
    EXPECT_EQ(next.gridRows, 100);
}

TEST(Start, BringsADefaultCodeplugOfSixteenChannels) {
    AppState state;
    StartState(state, MemoryStore{}, "/opt/k470");
    EXPECT_EQ(state.language, Language::Chinese);
    EXPECT_EQ(state.gridRows, 17);
    EXPECT_EQ(state.gridRowsLaidOut, 17);
    EXPECT_EQ(state.portNumber, 1);
    EXPECT_EQ(state.image[0x632], 16);
    EXPECT_EQ(state.image[0x630], 15);
    EXPECT_EQ(state.image[0x000], 0xFF);
    EXPECT_EQ(BytesOfBand(state), (std::vector<int>{0x40, 0x00, 0x48, 0x00}));
    EXPECT_EQ(state.currentFileName, "Untitled");
    EXPECT_EQ(state.toneList.size(), 261U);
    EXPECT_EQ(state.toneList.front(), "无");
    EXPECT_EQ(state.currentRow, 1);
    EXPECT_EQ(state.currentCol, 1);
    EXPECT_FALSE(state.refreshDone);
    EXPECT_FALSE(ImageModified(state));
}

TEST(Start, TakesRowsAndBandFromThePreferences) {
    for (const auto &[rows, count] :
         std::initializer_list<std::pair<std::string, int>>{{"101", 16}, {"100", 99}, {"1", 0}, {"0", 16}}) {
        AppState state;
        StartState(state, MemoryStore{{"gbRows", rows}, {"Model-FreqL", "136"}, {"Model-FreqH", "174"}}, "/");
        EXPECT_EQ(state.image[0x632], count) << rows;
        EXPECT_EQ(state.gridRows, count + 1) << rows;
        EXPECT_EQ(BytesOfBand(state), (std::vector<int>{0x13, 0x60, 0x17, 0x40}));
    }
}

TEST(Start, EndsTheProgramFolderInOneSeparator) {
    for (const auto &[folder, kept] : std::initializer_list<std::pair<std::string, std::string>>{
             {"/opt/k470", "/opt/k470/"}, {"/opt/k470/", "/opt/k470/"}, {"/", "/"}}) {
        AppState state;
        StartState(state, MemoryStore{}, folder);
        EXPECT_EQ(state.appFolder, kept);
    }
}

// Caption

TEST(BuildTitle, NamesBandAndFile) {
    struct Case {
        Language language;
        double low;
        double high;
        std::string file;
        std::string title;
    };
    for (const auto &[language, low, high, file, title] : std::initializer_list<Case>{
             {Language::English, 400, 480, "Untitled",
              "K470 Programming Software [400 - 480 MHz]  [FileName:Untitled]"},
             {Language::Chinese, 400, 480, "Untitled", "K470 编程软件 [400 - 480 MHz]  [文件名: Untitled]"},
             {Language::English, 136.5, 174, "a.tw",
              "K470 Programming Software [136.5 - 174 MHz]  [FileName:a.tw]"},
             {Language::English, 0, 6.5, "", "K470 Programming Software [0 - 6.5 MHz]  [FileName:]"}}) {
        AppState state;
        state.language = language;
        state.bandLow = low;
        state.bandHigh = high;
        state.currentFileName = file;
        EXPECT_EQ(BuildTitle(state), title);
        EXPECT_EQ(state.currentFileName, file);
    }
}

TEST(BuildTitle, TakesABackslashOffTheFileNameForGood) {
    for (const auto &[name, kept] : std::initializer_list<std::pair<std::string, std::string>>{
             {"C:\\x\\", "C:\\x"}, {"x\\\\", "x\\"}, {"\\", ""}, {"C:\\x", "C:\\x"}}) {
        AppState state;
        state.currentFileName = name;
        const std::string title = BuildTitle(state);
        EXPECT_EQ(state.currentFileName, kept) << name;
        EXPECT_TRUE(title.ends_with(kept + "]")) << title;
    }
}

TEST(StatusBar, ShowsBandAndPort) {
    AppState state;
    state.portNumber = 3;
    for (const auto &[language, port] :
         std::map<Language, std::string>{{Language::English, "COM3"}, {Language::Chinese, "通信端口3"}}) {
        state.language = language;
        EXPECT_EQ(PortText(state), port);
        EXPECT_EQ(BandCaption(state), " [400 - 480 MHz]");
    }
}

} // namespace
} // namespace k470
