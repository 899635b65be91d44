#include "core/Settings.h"

#include "core/ChannelCount.h"
#include "core/Channels.h"

#include <algorithm>

namespace k470 {

namespace {

constexpr int TimeOutEntries = 40;
constexpr int TimeOutStep = 15; // seconds
constexpr int HighestSquelch = 9;
constexpr int HighestVolume = 15;
constexpr int LongestSaveRatio = 10;
constexpr int SaveAutoEntry = LongestSaveRatio + 1;
constexpr std::uint8_t SaveAutoByte = 1;

int UpTo(int highest, int byte) {
    return byte <= highest ? byte : 0;
}

std::optional<std::uint8_t> SameByte(int entry) {
    return entry == NoEntry ? std::nullopt : std::optional(static_cast<std::uint8_t>(entry));
}

int CheckEntry(std::uint8_t byte) {
    return byte != 0 ? 1 : 0;
}

std::vector<std::string> CheckTexts(Language language) {
    return {std::string(Res(language, Text::No)), std::string(Res(language, Text::Yes))};
}

int TimeOutEntry(std::uint8_t byte) {
    return UpTo(TimeOutEntries, byte);
}

std::vector<std::string> TimeOutTexts(Language language) {
    std::vector<std::string> texts{std::string(Res(language, Text::Off))};
    for (int i = 1; i <= TimeOutEntries; ++i)
        texts.push_back(std::to_string(i * TimeOutStep));
    return texts;
}

int SquelchEntry(std::uint8_t byte) {
    return UpTo(HighestSquelch, byte);
}

std::vector<std::string> SquelchTexts(Language) {
    std::vector<std::string> texts;
    for (int i = 0; i <= HighestSquelch; ++i)
        texts.push_back(std::to_string(i));
    return texts;
}

/// The byte counts Chinese as 1 and English as 2, the list the other way round.
int VoiceEntry(std::uint8_t byte) {
    return byte == 1 ? 2 : byte == 2 ? 1 : 0;
}

std::optional<std::uint8_t> VoiceByte(int entry) {
    switch (entry) {
    case 0:
        return std::uint8_t{0};
    case 1:
        return std::uint8_t{2};
    case 2:
        return std::uint8_t{1};
    default:
        return std::uint8_t{0xFF};
    }
}

std::vector<std::string> VoiceTexts(Language language) {
    return {std::string(Res(language, Text::Off)), std::string(Res(language, Text::English)),
            std::string(Res(language, Text::Chinese))};
}

int CountEntry(std::uint8_t byte) {
    return ChannelCountOf(byte).value_or(CountFallback::Shown) - 1;
}

std::optional<std::uint8_t> CountByte(int entry) {
    return static_cast<std::uint8_t>(entry + 1);
}

std::vector<std::string> ChannelTexts(Language) {
    return NumberEntries(MaxChannels);
}

int WorkingEntry(std::uint8_t byte) {
    return WorkingChannelEntry(byte, MaxChannels);
}

/// An empty list has nothing selected and gives channel 0.
std::optional<std::uint8_t> WorkingByte(int entry) {
    return static_cast<std::uint8_t>(std::max(entry, 0));
}

int VolumeEntry(std::uint8_t byte) {
    return UpTo(HighestVolume, byte);
}

std::vector<std::string> VolumeTexts(Language) {
    return NumberEntries(HighestVolume + 1);
}

/// The byte counts Auto as 1 and the ratio 1:k as k + 1; the list has Auto last.
int SaveEntry(std::uint8_t byte) {
    if (byte == SaveAutoByte)
        return SaveAutoEntry;
    return byte >= 2 && byte <= LongestSaveRatio + 1 ? byte - 1 : 0;
}

std::optional<std::uint8_t> SaveByte(int entry) {
    if (entry == NoEntry)
        return std::nullopt;
    if (entry == SaveAutoEntry)
        return SaveAutoByte;
    return static_cast<std::uint8_t>(entry == 0 ? 0 : entry + 1);
}

std::vector<std::string> SaveTexts(Language language) {
    constexpr TextPair Auto{"Auto", "自动"};
    std::vector<std::string> texts{std::string(Res(language, Text::Off))};
    for (int i = 1; i <= LongestSaveRatio; ++i)
        texts.push_back("1:" + std::to_string(i));
    texts.emplace_back(Pick(language, Auto));
    return texts;
}

// Formatted by hand, so that a setting stays one row.
// clang-format off
constexpr auto Shapes = std::to_array<SettingShape>({
    {Address::TimeOutTimer, "Combo1(0)", "Label1(0)", {"Time Out Timer[s]", "超时定时器[秒]"}, 0,
     "timeOutTimer", {"time-out timer", "超时定时器"}, 4, TimeOutEntry, SameByte, TimeOutTexts},
    {Address::Squelch, "Combo1(1)", "Label1(1)", {"Squelch Level", "静噪等级"}, 0,
     "squelch", {"squelch level", "静噪等级"}, 5, SquelchEntry, SameByte, SquelchTexts},
    {Address::Voice, "Combo1(2)", "Label1(2)", {"Voice Annunciation", "操作语音提示"}, 0,
     "voice", {"voice annunciation", "操作语音提示"}, 1, VoiceEntry, VoiceByte, VoiceTexts},
    {Address::ChannelCount, "Combo1(3)", "Label1(3)", {"CHT：", "信道数："}, 0,
     "channelCount", {"channel count", "信道数"}, std::nullopt, CountEntry, CountByte, ChannelTexts},
    {Address::WorkingChannel, "Combo1(4)", "Label1(4)", {"Working CH", "工作信道"}, 0,
     "workingChannel", {"working channel", "工作信道"}, 0, WorkingEntry, WorkingByte, ChannelTexts},
    {Address::Volume, "Combo1(5)", "Label1(5)", {"Volume", "音量"}, 0,
     "volume", {"volume", "音量"}, 15, VolumeEntry, SameByte, VolumeTexts},
    {Address::BatterySave, "Combo1(6)", "Label1(6)", {"Battery Save", "电池省电"}, 0,
     "batterySave", {"battery save", "电池省电"}, 5, SaveEntry, SaveByte, SaveTexts},
    {Address::Beep, "Check1(0)", nullptr, {"Beep", "哔音"}, 0,
     "beep", {"beep", "哔音"}, 1, CheckEntry, SameByte, CheckTexts},
    {Address::Scrambler, "Check1(2)", nullptr, {"", ""}, Text::Scrambler,
     "scrambler", {"scrambler", "扰频"}, 0, CheckEntry, SameByte, CheckTexts},
    {Address::Compander, "Check1(3)", nullptr, {"", ""}, Text::Compander,
     "compander", {"compander", "压扩"}, 0, CheckEntry, SameByte, CheckTexts},
});
// clang-format on

static_assert(std::all_of(Shapes.begin(), Shapes.end(), [](const SettingShape &shape) {
    return shape.address >= FirstSettingsLine * LineSize && shape.address < Address::EmptyMap;
}));

} // namespace

constinit const std::span<const SettingShape> SettingShapes(Shapes);

const SettingShape &SettingAt(std::size_t address) {
    return *std::find_if(SettingShapes.begin(), SettingShapes.end(),
                         [address](const SettingShape &shape) { return shape.address == address; });
}

std::string SettingCaption(const SettingShape &shape, Language language) {
    return std::string(shape.captionId != 0 ? Res(language, shape.captionId) : Pick(language, shape.caption));
}

std::string SettingName(const SettingShape &shape, Language language) {
    constexpr std::string_view Colon = "：";
    std::string caption = SettingCaption(shape, language);
    if (caption.ends_with(Colon))
        caption.resize(caption.size() - Colon.size());
    return caption;
}

int WorkingChannelEntry(std::uint8_t byte, int channels) {
    if (channels == 0)
        return NoEntry;
    return byte < channels ? byte : 0;
}

std::vector<std::string> NumberEntries(int count) {
    std::vector<std::string> texts;
    for (int i = 1; i <= count; ++i)
        texts.push_back(std::to_string(i));
    return texts;
}

std::string SettingText(const MemoryImage &image, const SettingShape &shape, Language language) {
    int entry = shape.toEntry(image[shape.address]);
    if (shape.address == Address::WorkingChannel)
        entry =
            WorkingChannelEntry(image[shape.address], GetChannelCount(image).value_or(CountFallback::Shown));
    return entry == NoEntry ? std::string() : shape.entries(language)[static_cast<std::size_t>(entry)];
}

void FixWorkingChannel(MemoryImage &image) {
    std::uint8_t &working = image[Address::WorkingChannel];
    if (!IsMarkedEmpty(image, working))
        return;
    const int count = GetChannelCount(image).value_or(CountFallback::Searched);
    for (int ch = 0; ch < count; ++ch) {
        if (!IsMarkedEmpty(image, ch)) {
            working = static_cast<std::uint8_t>(ch);
            return;
        }
    }
    working = 0;
}

} // namespace k470
