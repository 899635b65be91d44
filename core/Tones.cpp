#include "core/Tones.h"

#include "core/NumberText.h"

#include <algorithm>
#include <array>

namespace k470 {

namespace {

constexpr unsigned KindMask = 0xF0;
constexpr unsigned KindCtcss = 0x00;
constexpr unsigned KindDcsNormal = 0x20;
constexpr unsigned KindDcsInverted = 0xA0;
constexpr unsigned KindNone = 0xF0;
constexpr int DcsBase = 0x800;
constexpr int MaxWordValue = 0xFFF;
constexpr int MaxDcsCode = 777;
constexpr double LowestCtcss = 60.0;
constexpr double HighestCtcss = 260.0;

constexpr std::array<double, 50> CtcssTones{
    67.0,  69.3,  71.9,  74.4,  77.0,  79.7,  82.5,  85.4,  88.5,  91.5,  94.8,  97.4,  100.0,
    103.5, 107.2, 110.9, 114.8, 118.8, 123.0, 127.3, 131.8, 136.5, 141.3, 146.2, 151.4, 156.7,
    159.8, 162.2, 165.5, 167.9, 171.3, 173.8, 177.3, 179.9, 183.5, 186.2, 189.9, 192.8, 196.6,
    199.5, 203.5, 206.5, 210.7, 218.1, 225.7, 229.1, 233.6, 241.8, 250.3, 254.1};

constexpr std::array<std::string_view, 105> DcsCodes{
    "023", "025", "026", "031", "032", "036", "043", "047", "051", "053", "054", "065", "071", "072", "073",
    "074", "114", "115", "116", "122", "125", "131", "132", "134", "143", "145", "152", "155", "156", "162",
    "165", "172", "174", "205", "212", "223", "225", "226", "243", "244", "245", "246", "251", "252", "255",
    "261", "263", "265", "266", "271", "274", "306", "311", "315", "325", "331", "332", "343", "346", "351",
    "356", "364", "365", "371", "411", "412", "413", "423", "431", "432", "445", "446", "452", "454", "455",
    "462", "464", "465", "466", "503", "506", "516", "523", "526", "532", "546", "565", "606", "612", "624",
    "627", "631", "632", "645", "654", "662", "664", "703", "712", "723", "731", "732", "734", "743", "754"};

std::size_t ToneOffset(Field which) {
    return which == Field::Rx ? Record::RxTone : Record::TxTone;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Characters, not bytes: the None text counts too.
std::size_t LengthOf(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

int DigitAt(std::string_view text, std::size_t position) {
    return position < text.size() && IsDigit(text[position]) ? text[position] - '0' : 0;
}

std::string DcsText(int value, char polarity) {
    return "D" + std::to_string(value / 64 - 32) + std::to_string(value % 64 / 8) +
           std::to_string(value % 8) + polarity;
}

std::string NormalizeDcs(std::string_view typed) {
    int code = 0;
    for (const char c : typed.substr(1)) {
        if (!IsDigit(c))
            break;
        code = std::min(code * 10 + (c - '0'), MaxDcsCode);
    }
    const int middle = std::min(code / 10 % 10, 7);
    const int last = std::min(code % 10, 7);
    const char polarity = typed.back() == 'I' ? 'I' : 'N';
    return "D" + std::to_string(code / 100) + std::to_string(middle) + std::to_string(last) + polarity;
}

} // namespace

std::string GetToneString(const MemoryImage &image, Field which, int ch, Language language) {
    const auto record = Line(image, ch);
    const unsigned low = record[ToneOffset(which)];
    const unsigned high = record[ToneOffset(which) + 1];
    const int value = static_cast<int>((high & 0x0FU) * 256 + low);
    switch (high & KindMask) {
    case KindCtcss:
        return FixedDecimals(value / 10.0, 1);
    case KindDcsNormal:
        return DcsText(value, 'N');
    case KindDcsInverted:
        return DcsText(value, 'I');
    case KindNone:
        return std::string(Res(language, Text::None));
    default:
        return {};
    }
}

void SetToneString(MemoryImage &image, Field which, int ch, std::string_view text) {
    unsigned word = 0xFFFF;
    const bool none = text.empty() || text == Res(Language::English, Text::None) ||
                      text == Res(Language::Chinese, Text::None);
    if (!none && text.front() == 'D') {
        const unsigned kind = text.back() == 'I' ? KindDcsInverted : KindDcsNormal;
        const int value = DigitAt(text, 1) * 64 + DigitAt(text, 2) * 8 + DigitAt(text, 3) + DcsBase;
        word = (kind << 8) | static_cast<unsigned>(value);
    } else if (!none) {
        const double tenths = RoundHalfEven(NumericPrefix(text) * 10);
        word = static_cast<unsigned>(std::clamp(tenths, 0.0, static_cast<double>(MaxWordValue)));
    }
    const auto record = Line(image, ch);
    record[ToneOffset(which)] = static_cast<std::uint8_t>(word & 0xFF);
    record[ToneOffset(which) + 1] = static_cast<std::uint8_t>(word >> 8);
}

std::vector<std::string> BuildToneList(Language language) {
    std::vector<std::string> list;
    list.reserve(1 + CtcssTones.size() + 2 * DcsCodes.size());
    list.emplace_back(Res(language, Text::None));
    for (const double tone : CtcssTones)
        list.push_back(FixedDecimals(tone, 1));
    for (const char polarity : {'N', 'I'}) {
        for (const std::string_view code : DcsCodes)
            list.push_back("D" + std::string(code) + polarity);
    }
    return list;
}

std::optional<char> FilterToneKey(std::string_view text, bool allSelected, char key) {
    constexpr char Backspace = 8;
    const bool dcs = text.starts_with('D');
    const std::size_t length = LengthOf(text);
    const auto acceptIf = [](bool accepted, char c) {
        return accepted ? std::optional<char>(c) : std::nullopt;
    };

    if (IsDigit(key))
        return acceptIf(allSelected || length < (dcs ? 4U : 5U), key);
    switch (key) {
    case 'D':
    case 'd':
        return acceptIf(text.empty() || allSelected, 'D');
    case '.':
        return acceptIf(!text.empty() && length < 4 && text.find('.') == std::string_view::npos, '.');
    case 'N':
    case 'n':
        return acceptIf(dcs && length == 4, 'N');
    case 'I':
    case 'i':
        return acceptIf(dcs && length == 4, 'I');
    case Backspace:
        return key;
    default:
        return std::nullopt;
    }
}

std::string NormalizeTone(std::string_view typed, Language language) {
    if (!typed.empty() && IsDigit(typed.front()))
        return FixedDecimals(std::clamp(NumericPrefix(typed), LowestCtcss, HighestCtcss), 1);
    if (!typed.empty() && typed.front() == 'D')
        return NormalizeDcs(typed);
    return std::string(Res(language, Text::None));
}

} // namespace k470
