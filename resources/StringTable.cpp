#include "resources/StringTable.h"

#include <algorithm>
#include <array>

namespace k470 {

namespace {

constexpr int ChineseOffset = 1000;

struct Entry {
    int id;
    std::string_view text;
};

/// By id.
constexpr auto Table = std::to_array<Entry>({
    {1120, "CH."},
    {1121, "Rx Freq"},
    {1122, "Tx Freq"},
    {1123, "Dec"},
    {1124, "Enc"},
    {1128, "W/N"},
    {1129, "BCL"},
    {1132, "Scan Add"},
    {1137, "None"},
    {1139, "Carrier"},
    {1145, "Wide"},
    {1146, "Narrow"},
    {1147, "High"},
    {1148, "Low"},
    {1150, "Off"},
    {1181, "English"},
    {1182, "Chinese"},
    {1319, "Incorrect File Type."},
    {1320, "File has been modified, save it now?"},
    {1322, "All data will be cleared."},
    {1370, "Frequency"},
    {1384, "Compander"},
    {1495, "Alert!"},
    {1533, "Scrambler"},
    {1631, "TX Power"},
    {1654, "Frequency is out of range"},
    {1655, "Caution"},
    {1880, "Write data to radio."},
    {1881, "Read data from radio."},
    {1882, "Do you wish to continue?"},
    {1890, "Yes"},
    {1891, "No"},
    {2120, "信道"},
    {2121, "接收频率"},
    {2122, "发射频率"},
    {2123, "解码"},
    {2124, "编码"},
    {2128, "宽/窄"},
    {2129, "繁忙锁定"},
    {2132, "扫描添加"},
    {2137, "无"},
    {2139, "载波"},
    {2145, "宽带"},
    {2146, "窄带"},
    {2147, "高"},
    {2148, "低"},
    {2150, "关"},
    {2181, "英文"},
    {2182, "中文"},
    {2319, "文件类型不正确。"},
    {2320, "文件已被修改，是否保存？"},
    {2322, "所有数据将被清空。"},
    {2370, "频段"},
    {2384, "压扩"},
    {2495, "警告!"},
    {2533, "扰频"},
    {2631, "发射功率"},
    {2654, "频率超出范围."},
    {2655, "注意"},
    {2880, "向对讲机写入数据。"},
    {2881, "从对讲机读取数据。"},
    {2882, "是否继续？"},
    {2890, "有"},
    {2891, "无"},
    {10000, "Datas will be Cleared,continue?"},
    {11000, "数据将被清除，继续？"},
    {13030, "Frequency is out of range，Please reset."},
    {13031, "频段超出范围，请重新设定."},
});

} // namespace

std::string_view LoadResString(int id) {
    const auto found =
        std::find_if(Table.begin(), Table.end(), [id](const Entry &entry) { return entry.id == id; });
    return found == Table.end() ? std::string_view() : found->text;
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
