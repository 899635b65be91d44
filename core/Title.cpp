#include "core/Title.h"

#include "core/NumberText.h"

namespace k470 {

std::string BandCaption(const AppState &state) {
    return " [" + ShortestDecimal(state.bandLow) + " - " + ShortestDecimal(state.bandHigh) + " MHz]";
}

std::string CaptionText(AppState &state) {
    constexpr TextPair Product{" Programming Software", " 编程软件"};
    constexpr TextPair FileName{"FileName:", "文件名: "};
    if (state.currentFileName.ends_with('\\'))
        state.currentFileName.pop_back();
    std::string title(ModelWord);
    title += Pick(state.language, Product);
    title += BandCaption(state);
    title += "  [";
    title += Pick(state.language, FileName);
    return title + state.currentFileName + "]";
}

std::string PortText(const AppState &state) {
    constexpr TextPair Port{"COM", "通信端口"};
    return std::string(Pick(state.language, Port)) + std::to_string(state.portNumber);
}

} // namespace k470
