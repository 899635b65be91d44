#include "link/MissingLines.h"

#include "core/MemoryMap.h"

#include <algorithm>
#include <array>
#include <utility>

namespace k470 {

namespace {

struct Contents {
    int firstLine; ///< it and those up to the next row hold this
    TextPair name;
};

constexpr int LineOf(std::size_t address) {
    return static_cast<int>(address / LineSize);
}

constexpr std::array<Contents, 7> SettingsContents{{
    {LineOf(Address::Volume), {"settings", "功能设置"}},
    {LineOf(Address::EmptyMap), {"empty channels", "空信道表"}},
    {LineOf(Address::ScanSkipMap), {"scan list", "扫描列表"}},
    {LineOf(Address::BandLow), {"band", "频段"}},
    {LineOf(Address::TuningArea), {"squelch tuning", "静噪调谐"}},
    {LineOf(Address::NoiseDefaults), {"squelch and noise tuning", "静噪和噪声调谐"}},
    {LineOf(Address::NoiseDefaults) + 1, {"noise tuning", "噪声调谐"}},
}};
static_assert(SettingsContents.front().firstLine == FirstSettingsLine);
static_assert(Address::NoiseDefaults % LineSize != 0, "squelch bytes stand before the noise bytes");
static_assert(std::is_sorted(SettingsContents.begin(), SettingsContents.end(),
                             [](const Contents &a, const Contents &b) {
                                 return a.firstLine <= b.firstLine;
                             }));

std::string_view NameOfContents(int line, Language language) {
    const auto next = std::find_if(SettingsContents.begin(), SettingsContents.end(),
                                   [line](const Contents &row) { return row.firstLine > line; });
    return Pick(language, std::prev(next)->name);
}

/// "5", "5 and 8", "5, 8 and 9"
std::string Enumerate(const std::vector<std::string> &items, Language language) {
    constexpr TextPair Comma{", ", "、"};
    constexpr TextPair And{" and ", "、"};
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const bool last = i + 1 == items.size();
        text += i == 0 ? "" : Pick(language, last ? And : Comma);
        text += items[i];
    }
    return text;
}

/// "channels 5 and 8"
std::string ChannelsText(const std::vector<std::string> &channels, Language language) {
    constexpr TextPair One{"channel ", "信道 "};
    constexpr TextPair Many{"channels ", "信道 "};
    constexpr TextPair End{"", " "};
    std::string text(Pick(language, channels.size() == 1 ? One : Many));
    return text.append(Enumerate(channels, language)).append(Pick(language, End));
}

/// "lines 100 (empty channels) and 102 (band)"
std::string LinesText(const std::vector<std::string> &lines, Language language) {
    constexpr TextPair One{"line ", ""};
    constexpr TextPair Many{"lines ", ""};
    std::string text(Pick(language, lines.size() == 1 ? One : Many));
    return text.append(Enumerate(lines, language));
}

std::string LineText(int line, Language language) {
    constexpr TextPair Before{"", "第 "};
    constexpr TextPair Open{" (", " 行（"};
    constexpr TextPair Close{")", "）"};
    std::string text(Pick(language, Before));
    text.append(std::to_string(line)).append(Pick(language, Open));
    return text.append(NameOfContents(line, language)).append(Pick(language, Close));
}

} // namespace

std::string NotReceivedText(const std::vector<int> &lines, Language language) {
    constexpr TextPair One{" was not received.", "未收到。"};
    constexpr TextPair Many{" were not received.", "未收到。"};
    constexpr TextPair And{" and ", "和"};
    std::vector<std::string> channels;
    std::vector<std::string> others;
    for (const int line : lines)
        if (line < MaxChannels)
            channels.push_back(std::to_string(line + 1));
        else
            others.push_back(LineText(line, language));
    std::string text;
    if (!channels.empty())
        text = ChannelsText(channels, language);
    if (!channels.empty() && !others.empty())
        text += Pick(language, And);
    if (!others.empty())
        text += LinesText(others, language);
    if (language == Language::English)
        text.front() = channels.empty() ? 'L' : 'C';
    return text.append(Pick(language, lines.size() == 1 ? One : Many));
}

std::string MissingLinesText(const std::vector<int> &lines, Language language) {
    constexpr TextPair Advice{" Read the radio again.", "请重新读取。"};
    return NotReceivedText(lines, language).append(Pick(language, Advice));
}

} // namespace k470
