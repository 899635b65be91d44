#include "cli/RadioCommands.h"

#include "cli/CloneRun.h"
#include "cli/ImageFiles.h"
#include "core/Preferences.h"
#include "link/CloneSession.h"

namespace k470 {

namespace {

using End = CloneReport::End;

constexpr TextPair NoAnswer{
    "No answer from the radio on {}. Check that the radio is on, that the cable is plugged in and that this "
    "is "
    "the cable's port, then try again.",
    "{} 上的对讲机没有应答。请检查对讲机是否开机、写频线是否插好、串口是否正确，然后重试。"};
constexpr TextPair Broken{
    "The connection to the radio on {} broke in the middle. Check the cable and the radio's "
    "battery, then try again.",
    "与 {} 上对讲机的连接中断。请检查写频线和对讲机电池，然后重试。"};
constexpr TextPair Interrupted{"Interrupted.", "已中断。"};

constexpr TextPair FileLeft{"{} was not written.", "未写入 {}。"};
constexpr TextPair Mixture{
    "The radio may now hold a mixture of old and new data. Write it again before you use "
    "it.",
    "对讲机中可能混有新旧数据。使用前请重新写入。"};
constexpr TextPair RadioLeft{"Nothing was written to the radio.", "没有向对讲机写入任何数据。"};

constexpr TextPair WrongCount{"{}: the channel count in it is {}, a radio has {} at most. Nothing was sent. "
                              "Open the file in the program, "
                              "set the channel count and save it.",
                              "{}：其中的信道数为 {}，对讲机最多 {} "
                              "个信道。未发送任何数据。请在编程软件中打开该文件，设置信道数并保存。"};

/// The preferences of somebody who never started the program.
class NoPreferences : public PreferenceStore {
public:
    std::string GetKeyValue(std::string_view) const override { return {}; }
    bool UpdateKey(std::string_view, std::string_view) override { return false; }
};

AppState MakeState(CloneMode mode, const PortChoice &port, Language language) {
    AppState state;
    StartState(state, NoPreferences(), "");
    state.language = language;
    state.portNumber = port.number;
    state.cloneMode = mode;
    return state;
}

/// Says how a session that did not complete ended, and what that leaves behind.
ExitCode ReportEnd(const CloneReport &report, const PortChoice &port, const std::string &leftBehind,
                   const Console &console) {
    if (report.end == End::OpenFailed) {
        console.PrintError(PortFailureText(report.failure, console.UsedLanguage()));
        return ExitPort;
    }
    const bool interrupted = report.end == End::Interrupted;
    const TextPair &what = interrupted ? Interrupted : report.end == End::NoAnswer ? NoAnswer : Broken;
    console.PrintError(console.Phrase(what, {port.name}));
    console.PrintError(leftBehind);
    return interrupted ? ExitInterrupted : ExitRadio;
}

/// An image with another count shows 16 channels and is written with 16 in the window, where the user sees it
/// first. Here nobody looks: most likely it is an erased memory or no image at all.
bool HasChannelCount(const MemoryImage &image) {
    return image[Address::ChannelCount] <= MaxChannels;
}

} // namespace

ExitCode RunRead(const CommandArguments &arguments, const Console &console) {
    const Language language = console.UsedLanguage();
    if (const auto failure = CheckImageTarget(arguments.output, language)) {
        console.PrintError(*failure);
        return ExitFile;
    }
    const PortChoice port = ChoosePort(arguments.port);
    AppState state = MakeState(CloneMode::Read, port, language);
    const CloneReport report = RunClone(state, port, console);
    const std::string fileLeft = console.Phrase(FileLeft, {arguments.output});
    if (report.end != End::Completed)
        return ReportEnd(report, port, fileLeft, console);
    if (!report.missingLines.empty()) {
        console.PrintError(MissingLinesText(report.missingLines, language));
        console.PrintError(fileLeft);
        return ExitRadio;
    }
    if (const auto failure = SaveImageFile(arguments.output, state.image, language)) {
        console.PrintError(*failure);
        return ExitFile;
    }
    console.Print(console.Phrase({"Reading completed!\n", "成功读完！\n"}));
    return ExitDone;
}

ExitCode RunWrite(const CommandArguments &arguments, const Console &console) {
    const Language language = console.UsedLanguage();
    const PortChoice port = ChoosePort(arguments.port);
    AppState state = MakeState(CloneMode::Write, port, language);
    if (const auto failure = LoadImageFile(arguments.input, state.image, language)) {
        console.PrintError(*failure);
        return ExitFile;
    }
    if (!HasChannelCount(state.image)) {
        console.PrintError(
            console.Phrase(WrongCount, {arguments.input, std::to_string(state.image[Address::ChannelCount]),
                                        std::to_string(MaxChannels)}));
        return ExitFile;
    }
    TakeGridRowsFromImage(state);
    PrepareForWrite(state.image);
    const CloneReport report = RunClone(state, port, console);
    if (report.end != End::Completed)
        return ReportEnd(report, port, console.Phrase(report.lineSent ? Mixture : RadioLeft), console);
    console.Print(console.Phrase({"Writing completed!\n", "成功写完！\n"}));
    return ExitDone;
}

} // namespace k470
