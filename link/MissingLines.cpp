#include "link/MissingLines.h"

namespace k470 {

std::string MissingLinesText(const std::vector<int> &lines, Language language) {
    constexpr TextPair Begin{"Lines ", "第 "};
    constexpr TextPair End{" were not received. Read the radio again.", " 行未收到，请重新读取。"};
    std::string text(Pick(language, Begin));
    for (std::size_t i = 0; i < lines.size(); ++i)
        text += (i == 0 ? "" : ", ") + std::to_string(lines[i]);
    return text + std::string(Pick(language, End));
}

} // namespace k470
