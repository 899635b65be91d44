#include "cli/RadioRun.h"

#include "cli/ImageFiles.h"
#include "core/ChannelCount.h"
#include "core/Preferences.h"
#include "link/MissingLines.h"

#include <QThread>

#include <utility>

namespace k470 {

namespace {

using End = CloneReport::End;

constexpr TextPair NoAnswer{"No answer from the radio on {}.", "{} 上的对讲机没有应答。"};
constexpr TextPair NoAnswerAdvice{
    " Check that the radio is on, that the cable is plugged in and that this is the cable's port, then try "
    "again.",
    "请检查对讲机是否开机、写频线是否插好、串口是否正确，然后重试。"};
constexpr TextPair Broken{"The connection to the radio on {} broke in the middle.",
                          "与 {} 上对讲机的连接中断。"};
constexpr TextPair BrokenAdvice{" Check the cable and the radio's battery, then try again.",
                                "请检查写频线和对讲机电池，然后重试。"};
constexpr TextPair ReadAgain{"{} Reading the radio again ({} of {}).", "{}重新读取（第 {} 次，共 {} 次）。"};
constexpr TextPair Interrupted{"Interrupted.", "已中断。"};

constexpr TextPair WrongCount{
    "{}: the channel count in it is {}, a radio has 1 to {}. Nothing was sent. Open the file in the "
    "program, set the channel count and save it.",
    "{}：其中的信道数为 {}，对讲机有 1 至 {} "
    "个信道。未发送任何数据。请在编程软件中打开该文件，设置信道数并保存。"};
constexpr TextPair TraceInTheWay{"{}: the trace would overwrite the image or the port.",
                                 "{}：跟踪文件会覆盖映像文件或串口。"};
constexpr TextPair TraceFailed{"{}: the trace cannot be written: {}", "{}：无法写入跟踪文件：{}"};
constexpr TextPair TraceBroken{"{}: the trace is not complete: {}", "{}：跟踪文件不完整：{}"};

/// The preferences of somebody who never started the program.
class NoPreferences : public PreferenceStore {
public:
    std::string GetKeyValue(std::string_view) const override { return {}; }
    bool UpdateKey(std::string_view, std::string_view) override { return false; }
};

} // namespace

RadioRun::RadioRun(std::string command, const CommandArguments &arguments, const Console &console)
    : arguments_(arguments), console_(console),
      port_(ChoosePort(arguments.port)), report_{.command = std::move(command), .port = port_.name} {
}

void RadioRun::Say(const TextPair &pair, std::initializer_list<std::string_view> parts) {
    report_.sentences.push_back(console_.Phrase(pair, parts));
}

bool RadioRun::Fail(ExitCode code, std::string sentence) {
    report_.code = code;
    report_.sentences.push_back(std::move(sentence));
    return false;
}

bool RadioRun::LoadImage(const std::string &path, AppState &state) {
    if (auto failure = LoadImageFile(path, state.image, UsedLanguage()))
        return Fail(ExitFile, *std::move(failure));
    // The window would show 16 channels, and the user would see them before they are written. Here nobody
    // looks: most likely it is an erased memory or no image at all.
    if (!HasChannelCount(state.image))
        return Fail(ExitFile,
                    console_.Phrase(WrongCount, {path, std::to_string(state.image[Address::ChannelCount]),
                                                 std::to_string(MaxChannels)}));
    FollowImage(state);
    return true;
}

bool RadioRun::OpenTrace(const std::string &image) {
    const std::string &path = arguments_.trace;
    if (path.empty())
        return true;
    if (IsImageOrPort(path, image))
        return Fail(ExitFile, console_.Phrase(TraceInTheWay, {path}));
    if (const auto failure = trace_.Open(path))
        return Fail(ExitFile, console_.Phrase(TraceFailed, {path, *failure}));
    traced_ = true;
    return true;
}

bool RadioRun::IsImageOrPort(const std::string &trace, const std::string &image) const {
    bool same = IsSameFile(trace, image);
    for (const ComPort &port : port_.table())
        same = same || IsSameFile(trace, port.device);
    return same;
}

AppState RadioRun::NewState() const {
    AppState state;
    StartState(state, NoPreferences(), "");
    state.language = UsedLanguage();
    return state;
}

CloneReport RadioRun::RunSession(AppState &state, const CloneTask &task) {
    return RunClone(state, task, {port_, interrupts_, trace_, console_});
}

CloneReport RadioRun::ReadRadio(AppState &state, const CloneTask &task) {
    const AppState fresh = state;
    CloneReport session = RunSession(state, task);
    if (session.end == End::OpenFailed || session.end == End::NoAnswer)
        return session;
    const auto failed = [&session] {
        return session.end == End::Completed ? !session.missingLines->empty()
                                             : session.end != End::Interrupted;
    };
    for (int again = 1; again <= arguments_.retry && failed() && !interrupts_.Interrupted(); ++again) {
        console_.PrintError(console_.Phrase(
            ReadAgain, {FailureText(session), std::to_string(again), std::to_string(arguments_.retry)}));
        if (session.end == End::OpenFailed)
            WaitForPort();
        state = fresh;
        session = RunSession(state, task);
    }
    if (session.end == End::OpenFailed)
        session.end = End::Broken; // the port was there a moment ago
    return session;
}

/// What kept a session from bringing all lines.
std::string RadioRun::FailureText(const CloneReport &session) const {
    switch (session.end) {
    case End::OpenFailed:
        return PortFailureText(session.failure, UsedLanguage());
    case End::NoAnswer:
        return console_.Phrase(NoAnswer, {port_.name});
    case End::Broken:
        return console_.Phrase(Broken, {port_.name});
    case End::Interrupted:
        return console_.Phrase(Interrupted);
    case End::Completed:
        break;
    }
    return NotReceivedText(*session.missingLines, UsedLanguage());
}

/// A cable that was pulled, or whose adapter fell off the bus, needs a moment to be a port again.
void RadioRun::WaitForPort() const {
    constexpr unsigned long SliceMs = 50;
    constexpr int Slices = 20;
    for (int slice = 0; slice < Slices && !interrupts_.Interrupted(); ++slice)
        QThread::msleep(SliceMs);
}

bool RadioRun::TakeEnd(const CloneReport &session) {
    switch (session.end) {
    case End::OpenFailed:
        return Fail(ExitPort, FailureText(session));
    case End::NoAnswer:
        return Fail(ExitRadio, FailureText(session) + console_.Phrase(NoAnswerAdvice));
    case End::Broken:
        return Fail(ExitRadio, FailureText(session) + console_.Phrase(BrokenAdvice));
    case End::Interrupted:
        return Fail(ExitInterrupted, FailureText(session));
    case End::Completed:
        break;
    }
    if (!session.missingLines)
        return true;
    report_.missingLines = session.missingLines;
    return session.missingLines->empty() ||
           Fail(ExitRadio, MissingLinesText(*session.missingLines, UsedLanguage()));
}

ExitCode RadioRun::Finish() {
    if (const auto &failure = trace_.Failure(); failure && traced_) {
        if (report_.code == ExitDone) {
            report_.code = ExitFile;
            report_.successes = std::exchange(report_.sentences, {});
        }
        Say(TraceBroken, {arguments_.trace, *failure});
    }
    return TellReport(report_, arguments_.json, console_);
}

} // namespace k470
