#include "core/AppState.h"
#include "core/Bands.h"
#include "core/NumberText.h"
#include "core/Preferences.h"
#include "core/Settings.h"
#include "core/Title.h"
#include "resources/StringTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace k470 {
namespace {

/// A text and the number that it stands for.
using TextNumber = std::pair<std::string_view, double>;

TEST(StringTable, GivesATextOfEitherLanguageAndNoneForAnUnknownNumber) {
    EXPECT_EQ(Res(Language::English, Text::Carrier), "Carrier");
    EXPECT_EQ(Res(Language::Chinese, Text::Carrier), "载波");
    EXPECT_EQ(LoadResString(13031), "频段超出范围，请重新设定.");
    EXPECT_EQ(LoadResString(1119), "");
}

// Numbers

TEST(NumericPrefix, ReadsTheNumberThatATextBeginsWith) {
    const TextNumber cases[] = {
        {"136", 136}, {"136.5", 136.5}, {"12abc", 12}, {"  7", 7},     {"\t7", 7},      {".5", 0.5},
        {"5.", 5},    {"-3.25", -3.25}, {"+3", 3},     {"1.2.3", 1.2}, {"146,52", 146}, {"1e2", 100},
        {"1e", 1},    {"&h1F", 31},     {" &H10", 16}, {"&h1Fx", 31},  {"", 0},         {"abc", 0},
        {".", 0},     {"-", 0},         {"+-5", 0},    {"- 5", 0},     {"inf", 0},      {"nan", 0},
        {"&hG", 0},   {"0x1F", 0},      {"一", 0},     {"1e-999", 0},  {"4 0", 4}};
    for (const auto &[text, value] : cases)
        EXPECT_EQ(NumericPrefix(text), value) << '"' << text << '"';
}

TEST(NumericPrefix, StaysFiniteForTextsBeyondEveryNumber) {
    const std::string nines(500, '9');
    for (const std::string &huge : {std::string("1e999"), nines + "e-5", std::string("0.001e99999999999")})
        EXPECT_TRUE(NumericPrefix(huge) > 1e300 && std::isfinite(NumericPrefix(huge))) << huge;
    EXPECT_LT(NumericPrefix("-1e999"), -1e300);
    for (const std::string &tiny : {"0." + std::string(500, '0') + "1e+5", std::string("1e-99999999999")})
        EXPECT_EQ(NumericPrefix(tiny), 0) << tiny;
}

TEST(NumberTexts, ShowNoDigitTooMany) {
    const TextNumber cases[] = {
        {"136", 136}, {"0.3", 0.1 + 0.2}, {"0", -0.0}, {"-1.5", -1.5}, {"130.00000001", 130.00000001}};
    for (const auto &[text, value] : cases)
        EXPECT_EQ(ShortestDecimal(value), text);
    EXPECT_EQ(FixedDecimals(-0.01, 1), "0.0");
}

// Memory image

/// A state whose image differs from byte to byte.
AppState StateWithEveryByte() {
    AppState state;
    std::iota(state.image.begin(), state.image.end(), std::uint8_t{0});
    return state;
}

/// A list whose entries stand for the numbers from first to last.
std::vector<int> Range(int first, int last) {
    std::vector<int> bytes(static_cast<std::size_t>(last - first + 1));
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

constexpr std::uint8_t Kept = 0xFE; // stands for: the byte is left as it is

const struct {
    std::size_t address;
    std::uint8_t newByte;   ///< in a new image
    std::vector<int> bytes; ///< by list position
    int otherEntry;         ///< shown for a byte that is not among them
    int unselectedByte;
    const char *lastText;
} SettingCases[] = {{0x636, 4, Range(0, 40), 0, Kept, "600"},
                    {0x637, 5, Range(0, 9), 0, Kept, "9"},
                    {0x635, 1, {0, 2, 1}, 0, 0xFF, "Chinese"},
                    {0x632, Kept, Range(1, 99), 15, 0, "99"},
                    {0x631, 0, Range(0, 98), 0, 0, "99"},
                    {0x630, 15, Range(0, 15), 0, Kept, "16"},
                    {0x639, 5, {0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 1}, 0, Kept, "Auto"},
                    {0x638, 1, {0, 1}, 1, Kept, "Yes"},
                    {0x633, 0, {0, 1}, 1, Kept, "Yes"},
                    {0x634, 0, {0, 1}, 1, Kept, "Yes"}};

TEST(NewImage, WritesTheDefaultsAndKeepsCountAndBand) {
    AppState state = StateWithEveryByte();
    const MemoryImage old = state.image;
    MemoryImage expected;
    expected.fill(0xFF);
    for (const auto &row : SettingCases)
        expected[row.address] = row.newByte == Kept ? old[row.address] : row.newByte;
    const std::string_view model = "VZ-470";
    std::copy(model.begin(), model.end(), &expected[0x660]);
    std::copy_n(&old[0x666], 4, &expected[0x666]);
    std::fill(&expected[0x670], &expected[0x696], std::uint8_t{0x28});
    std::fill(&expected[0x696], &expected[0x6BB], std::uint8_t{0x50});
    EXPECT_TRUE(ImageModified(state));
    NewImage(state);
    EXPECT_EQ(state.image, expected);
    EXPECT_FALSE(ImageModified(state));
}

TEST(PrepareForWrite, MarksTheImageAndCopiesTheCount) {
    MemoryImage image = StateWithEveryByte().image;
    MemoryImage expected = image;
    expected[0x670] = 0x55;
    expected[0x66F] = expected[0x632];
    PrepareForWrite(image);
    EXPECT_EQ(image, expected);
}

// Band

using BandBytes = std::vector<int>;

BandBytes BytesOfBand(const AppState &state) {
    return {&state.image[0x666], &state.image[0x66A]};
}

TEST(BandLimits, AreStoredAsPackedTenthsRoundedAndOnlyInsideTheirRange) {
    const struct {
        double low, high;
        BandBytes bytes;
    } cases[] = {{136.1, 479.9, {0x13, 0x61, 0x47, 0x99}},   {99.9, 999.9, {0x09, 0x99, 0x99, 0x99}},
                 {0, 5, {0x00, 0x00, 0x00, 0x50}},           {136.04, 174.06, {0x13, 0x60, 0x17, 0x41}},
                 {136.25, 136.75, {0x13, 0x62, 0x13, 0x68}}, {1000, 480, {0xAA, 0xAA, 0x48, 0x00}},
                 {400, -1, {0x40, 0x00, 0xAA, 0xAA}},        {999.99, 1e300, {0xAA, 0xAA, 0xAA, 0xAA}}};
    for (const auto &[low, high, bytes] : cases) {
        AppState state;
        state.image.fill(0xAA);
        state.bandLow = low;
        state.bandHigh = high;
        StoreBandLimits(state);
        EXPECT_EQ(BytesOfBand(state), bytes) << low << " - " << high;
    }
}

TEST(BandLimits, AreReadAsFarAsTheirBytesAreDecimals) {
    const struct {
        std::uint8_t first, second;
        double low;
    } cases[] = {{0x00, 0x03, 0.3},  {0x13, 0x61, 136.1}, {0x99, 0x99, 999.9}, {0xFF, 0xFF, 0},
                 {0x1A, 0x5F, 10.5}, {0xA1, 0x65, 6.5},   {0x13, 0xF0, 130}};
    for (const auto &[first, second, low] : cases) {
        AppState state;
        const std::uint8_t bytes[] = {first, second, 0x47, 0x99};
        std::copy(std::begin(bytes), std::end(bytes), &state.image[0x666]);
        LoadBandLimits(state);
        EXPECT_EQ(state.bandLow, low) << +first << " " << +second;
        EXPECT_EQ(state.bandHigh, 479.9);
    }
}

TEST(BandList, FindsABandByItsExactLimitsElseCustom) {
    const struct {
        double low, high;
        int position;
    } cases[] = {{136, 174, 0}, {400, 480, 3}, {136.5, 174, 4}, {136, 480, 4}, {400, 480.1, 4}};
    for (const auto &[low, high, position] : cases)
        EXPECT_EQ(FindBand(low, high), position) << low << " - " << high;
    EXPECT_EQ(BandText(3, Language::Chinese), "400 - 480 MHz");
    EXPECT_EQ(BandText(4, Language::English), "Custom");
}

TEST(BandChange, StoresTheLimitsAndErasesTheChannelsAlone) {
    AppState state = StateWithEveryByte();
    MemoryImage expected = state.image;
    std::fill_n(expected.begin(), 0x630, std::uint8_t{0xFF});
    const std::uint8_t limits[] = {0x20, 0x00, 0x26, 0x00};
    std::copy(std::begin(limits), std::end(limits), &expected[0x666]);
    ChangeBand(state, 1, {200, 260});
    EXPECT_EQ(state.image, expected);
    EXPECT_TRUE(state.bandLow == 200 && state.bandHigh == 260);
    EXPECT_EQ(state.previousBand, 1);
    EXPECT_FALSE(ImageModified(state));
}

// Function settings

TEST(FunctionSettings, ShowEveryByteAndWriteEveryEntry) {
    for (const auto &[address, newByte, bytes, otherEntry, unselectedByte, lastText] : SettingCases) {
        const SettingShape &shape = SettingAt(address);
        SCOPED_TRACE(shape.control);
        for (int byte = address == Address::ChannelCount ? 1 : 0; byte <= 255; ++byte) {
            const auto entry = std::ranges::find(bytes, byte) - bytes.begin();
            EXPECT_EQ(shape.toEntry(static_cast<std::uint8_t>(byte)),
                      entry < std::ssize(bytes) ? entry : otherEntry)
                << byte;
        }
        for (std::size_t entry = 0; entry < bytes.size(); ++entry)
            EXPECT_EQ(shape.toByte(static_cast<int>(entry)), bytes[entry]) << entry;
        EXPECT_EQ(shape.toByte(NoEntry).value_or(Kept), unselectedByte);
        const std::vector<std::string> texts = shape.entries(Language::English);
        EXPECT_EQ(texts.size(), bytes.size());
        EXPECT_EQ(texts.back(), lastText);
    }
    EXPECT_EQ(SettingAt(0x632).toEntry(0), NoEntry);
    EXPECT_EQ(SettingShapes.size(), std::size(SettingCases));
}

TEST(FunctionSettings, OfANewCodeplugReadAsItsUserSeesThem) {
    AppState state;
    state.image[0x632] = 16;
    NewImage(state);
    const std::pair<std::size_t, const char *> cases[] = {
        {0x631, "1"}, {0x636, "60"}, {0x638, "Yes"}, {0x633, "No"}, {0x632, "16"}};
    for (const auto &[address, text] : cases)
        EXPECT_EQ(SettingText(state.image, SettingAt(address), Language::English), text) << address;
}

TEST(WorkingChannel, ShowsItsEntryTheFirstOneOrNone) {
    const std::pair<std::array<std::uint8_t, 2>, const char *> cases[] = {
        {{2, 3}, "3"}, {{3, 3}, "1"}, {{98, 99}, "99"}, {{255, 99}, "1"}, {{5, 0}, ""}};
    for (const auto &[bytes, text] : cases) {
        MemoryImage image{};
        std::copy(bytes.begin(), bytes.end(), &image[0x631]);
        EXPECT_EQ(SettingText(image, SettingAt(0x631), Language::English), text) << +bytes[0];
    }
}

TEST(WorkingChannel, MovesToTheFirstProgrammedOneWhenItsOwnIsEmpty) {
    const struct {
        std::vector<int> programmed;
        int count, working, fixed;
    } cases[] = {{{2}, 16, 0, 2},    {{2, 5}, 16, 5, 5}, {{2, 5}, 16, 4, 2}, {{}, 16, 7, 0},
                 {{20}, 16, 20, 20}, {{15}, 16, 3, 15},  {{16}, 16, 3, 0},   {{3}, 16, 127, 3},
                 {{3}, 16, 128, 3},  {{3}, 0, 7, 0},     {{98}, 99, 0, 98},  {{98}, 255, 0, 98},
                 {{100}, 255, 7, 0}};
    for (const auto &[programmed, count, working, fixed] : cases) {
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

/// Remembers what is written, in order.
class MemoryStore : public PreferenceStore {
public:
    using Value = std::pair<std::string, std::string>;

    MemoryStore(std::initializer_list<Value> given = {}) : values(given) {}

    std::string GetKeyValue(std::string_view name) const override {
        const auto found = std::ranges::find(values, name, &Value::first);
        return found == values.end() ? "" : found->second;
    }
    bool UpdateKey(std::string_view name, std::string_view text) override {
        values.emplace_back(name, text);
        return true;
    }

    std::vector<Value> values;
};

using Numbers = std::map<std::string_view, double>;

/// The preferences that a state has loaded, by name.
Numbers Loaded(const MemoryStore &store) {
    AppState state;
    state.bandLow = state.bandHigh = 1;
    state.language = Language::English;
    state.portNumber = state.gridRows = 99;
    LoadPreferences(state, store);
    return {{"Model-FreqL", state.bandLow},
            {"Model-FreqH", state.bandHigh},
            {"Language", static_cast<double>(state.language)},
            {"gbPort", state.portNumber},
            {"gbRows", state.gridRows}};
}

TEST(Preferences, HaveDefaultsWhenMissingOrEmpty) {
    const Numbers defaults{
        {"Model-FreqL", 400}, {"Model-FreqH", 480}, {"Language", 1}, {"gbPort", 1}, {"gbRows", 17}};
    EXPECT_EQ(Loaded({}), defaults);
    EXPECT_EQ(
        Loaded({{"Model-FreqL", ""}, {"Model-FreqH", ""}, {"Language", ""}, {"gbPort", ""}, {"gbRows", ""}}),
        defaults);
}

TEST(Preferences, ReadTheNumberInTheirText) {
    const std::pair<const char *, std::vector<TextNumber>> cases[] = {
        {"Model-FreqL", {{"136.5", 136.5}, {"136x", 136}, {"abc", 0}}},
        {"Model-FreqH", {{"&h88", 136}}},
        {"Language", {{"0", 0}, {"1", 1}, {"English", 0}, {"2", 1}, {"-1", 1}, {"1e300", 1}}},
        {"gbPort", {{"255", 255}, {"12COM", 12}, {"0", 0}, {"256", 1}, {"x", 0}}},
        {"gbRows", {{"100", 100}, {"101", 17}, {"1", 1}, {"0", 17}, {" 25 ", 25}}}};
    for (const auto &[name, texts] : cases) {
        for (const auto &[text, value] : texts)
            EXPECT_EQ(Loaded({{name, std::string(text)}}).at(name), value) << name << " = \"" << text << '"';
    }
}

TEST(Preferences, AreWrittenAsTexts) {
    MemoryStore store;
    AppState state;
    state.bandLow = 136.5;
    state.bandHigh = 174;
    state.language = Language::English;
    state.portNumber = 12;
    state.gridRows = 100;
    SavePreferences(state, store);
    const std::vector<MemoryStore::Value> written{{"Model-FreqL", "136.5"},
                                                  {"Model-FreqH", "174"},
                                                  {"language", "0"},
                                                  {"gbPort", "12"},
                                                  {"gbRows", "100"}};
    EXPECT_EQ(store.values, written);
}

TEST(Start, BringsADefaultCodeplugWithRowsAndBandOfThePreferences) {
    for (const auto &[rows, count] :
         {std::pair("", 16), std::pair("101", 16), std::pair("100", 99), std::pair("1", 0)}) {
        AppState state;
        StartState(state, MemoryStore{{"gbRows", rows}, {"Model-FreqL", "136"}, {"Model-FreqH", "174"}},
                   "/opt/k470");
        EXPECT_EQ(state.image[0x632], count) << rows;
        EXPECT_EQ(state.gridRows, count + 1) << rows;
        EXPECT_EQ(state.gridRowsLaidOut, count + 1) << rows;
        EXPECT_EQ(BytesOfBand(state), (BandBytes{0x13, 0x60, 0x17, 0x40}));
        EXPECT_EQ(state.image[0x000], 0xFF);
        EXPECT_EQ(state.toneList.front(), "无");
        EXPECT_EQ(state.appFolder, "/opt/k470/");
        EXPECT_FALSE(ImageModified(state));
        StartState(state, MemoryStore(), "/");
        EXPECT_EQ(state.appFolder, "/");
    }
}

// Caption

TEST(CaptionText, NamesBandAndFile) {
    AppState state;
    state.portNumber = 3;
    EXPECT_EQ(CaptionText(state), "K470 编程软件 [400 - 480 MHz]  [文件名: Untitled]");
    EXPECT_EQ(PortText(state), "通信端口3");
    state.language = Language::English;
    state.bandLow = 136.5;
    EXPECT_EQ(CaptionText(state), "K470 Programming Software [136.5 - 480 MHz]  [FileName:Untitled]");
    EXPECT_EQ(PortText(state), "COM3");
}

TEST(CaptionText, TakesABackslashOffTheFileNameForGood) {
    for (const auto &[name, kept] : {std::pair("x\\\\", "x\\"), std::pair("C:\\x", "C:\\x")}) {
        AppState state;
        state.currentFileName = name;
        EXPECT_TRUE(CaptionText(state).ends_with(std::string(" ") + kept + "]")) << name;
        EXPECT_EQ(state.currentFileName, kept) << name;
    }
}

} // namespace
} // namespace k470
