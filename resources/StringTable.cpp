#include "resources/StringTable.h"

#include <array>

namespace k470 {

namespace {

constexpr int ChineseOffset = 1000;

/// A text of the numbered table.
struct Entry {
    int id; ///< of the English text
    TextPair text;
    int chineseOffset = ChineseOffset; ///< from the English id to the id of the Chinese text
};

constexpr auto Table = std::to_array<Entry>({
    {Text::Channel, {"CH.", "信道"}},
    {Text::RxFreq, {"Rx Freq", "接收频率"}},
    {Text::TxFreq, {"Tx Freq", "发射频率"}},
    {Text::Decode, {"Dec", "解码"}},
    {Text::Encode, {"Enc", "编码"}},
    {Text::WideNarrow, {"W/N", "宽/窄"}},
    {Text::BusyLockout, {"BCL", "繁忙锁定"}},
    {Text::ScanAdd, {"Scan Add", "扫描添加"}},
    {Text::None, {"None", "无"}},
    {Text::Carrier, {"Carrier", "载波"}},
    {Text::Wide, {"Wide", "宽带"}},
    {Text::Narrow, {"Narrow", "窄带"}},
    {Text::High, {"High", "高"}},
    {Text::Low, {"Low", "低"}},
    {Text::Off, {"Off", "关"}},
    {Text::English, {"English", "英文"}},
    {Text::Chinese, {"Chinese", "中文"}},
    {Text::WrongFileType, {"Incorrect File Type.", "文件类型不正确。"}},
    {Text::SaveFirst, {"File has been modified, save it now?", "文件已被修改，是否保存？"}},
    {Text::AllCleared, {"All data will be cleared.", "所有数据将被清空。"}},
    {Text::Frequency, {"Frequency", "频段"}},
    {Text::Compander, {"Compander", "压扩"}},
    {Text::Alert, {"Alert!", "警告!"}},
    {Text::Scrambler, {"Scrambler", "扰频"}},
    {Text::TxPower, {"TX Power", "发射功率"}},
    {Text::OutOfRange, {"Frequency is out of range", "频率超出范围."}},
    {Text::Caution, {"Caution", "注意"}},
    {Text::WriteQuestion, {"Write data to radio.", "向对讲机写入数据。"}},
    {Text::ReadQuestion, {"Read data from radio.", "从对讲机读取数据。"}},
    {Text::ContinueQuestion, {"Do you wish to continue?", "是否继续？"}},
    {Text::Yes, {"Yes", "有"}},
    {Text::No, {"No", "无"}},
    {Text::DataCleared, {"Datas will be Cleared,continue?", "数据将被清除，继续？"}},
    {Text::RangeRefused, {"Frequency is out of range，Please reset.", "频段超出范围，请重新设定."}, 1},
});

} // namespace

std::string_view LoadResString(int id) {
    for (const auto &[english, text, chineseOffset] : Table) {
        if (id == english)
            return text.english;
        if (id == english + chineseOffset)
            return text.chinese;
    }
    return {};
}

std::string_view Res(Language language, int n) {
    return LoadResString(language == Language::Chinese ? n + ChineseOffset : n);
}

std::string Phrase(Language language, const TextPair &pair, std::initializer_list<std::string_view> parts) {
    constexpr std::string_view Place = "{}";
    std::string_view rest = Pick(language, pair);
    std::string text;
    for (const std::string_view part : parts) {
        const std::size_t at = rest.find(Place);
        if (at == std::string_view::npos)
            break;
        text += rest.substr(0, at);
        text += part;
        rest.remove_prefix(at + Place.size());
    }
    return text.append(rest);
}

} // namespace k470
