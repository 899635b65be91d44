#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace k470 {

/// The languages of every text; the values are those of the language preference.
enum class Language : std::uint8_t { English = 0, Chinese = 1 };

/// A literal pair, for texts that have no number.
struct TextPair {
    std::string_view english;
    std::string_view chinese;
};

/// @return the text of the pair in the language, UTF-8
constexpr std::string_view Pick(Language language, const TextPair &pair) {
    return language == Language::Chinese ? pair.chinese : pair.english;
}

/// A text of the numbered string table.
/// @param id the full id: English id, or that + 1000 for Chinese
/// @return the text, UTF-8; "" for an id that the table lacks
std::string_view LoadResString(int id);

/// The text that has the English id n, in the language: entry n, or n + 1000.
std::string_view Res(Language language, int n);

/// The text of the pair with each "{}" replaced by the next of the parts.
std::string Phrase(Language language, const TextPair &pair, std::initializer_list<std::string_view> parts);

/// Ids of the texts that the program uses, by their English number.
namespace Text {
inline constexpr int Channel = 1120;
inline constexpr int RxFreq = 1121;
inline constexpr int TxFreq = 1122;
inline constexpr int Decode = 1123;
inline constexpr int Encode = 1124;
inline constexpr int WideNarrow = 1128;
inline constexpr int BusyLockout = 1129;
inline constexpr int ScanAdd = 1132;
inline constexpr int None = 1137;
inline constexpr int Carrier = 1139;
inline constexpr int Wide = 1145;
inline constexpr int Narrow = 1146;
inline constexpr int High = 1147;
inline constexpr int Low = 1148;
inline constexpr int Off = 1150;
inline constexpr int English = 1181;
inline constexpr int Chinese = 1182;
inline constexpr int WrongFileType = 1319;
inline constexpr int SaveFirst = 1320;
inline constexpr int AllCleared = 1322;
inline constexpr int Frequency = 1370;
inline constexpr int Compander = 1384;
inline constexpr int Alert = 1495;
inline constexpr int Scrambler = 1533;
inline constexpr int TxPower = 1631;
inline constexpr int OutOfRange = 1654;
inline constexpr int Caution = 1655;
inline constexpr int WriteQuestion = 1880;
inline constexpr int ReadQuestion = 1881;
inline constexpr int ContinueQuestion = 1882;
inline constexpr int Yes = 1890;
inline constexpr int No = 1891;
inline constexpr int DataCleared = 10000;
/// The refusal of a custom range does not follow the + 1000 rule: its Chinese text is the next id.
inline constexpr int RangeRefused = 13030;
} // namespace Text

/// The program's model word, title of plain messages.
inline constexpr std::string_view ModelWord = "K470";
/// A fixed text in both languages.
inline constexpr std::string_view QtDqt = "QT/DQT";

} // namespace k470
