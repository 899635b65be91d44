#include "link/CloneSession.h"

#include "core/ChannelCount.h"
#include "core/NumberText.h"

#include <algorithm>

namespace k470 {

namespace {

constexpr TextPair PercentText{"Completion percentage", "完成进度"};

/// Marks the time in which a message is open inside a handler.
class BusyMark {
public:
    explicit BusyMark(bool &busy) : busy_(busy) { busy_ = true; }
    ~BusyMark() { busy_ = false; }
    BusyMark(const BusyMark &) = delete;
    BusyMark &operator=(const BusyMark &) = delete;

private:
    bool &busy_;
};

} // namespace

CloneSession::CloneSession(AppState &state, SerialPort &port, CloneTimers &timers, CloneView &view)
    : state_(state), port_(port), timers_(timers), view_(view), startPort_(state.portNumber),
      maximum_(Reading() ? Clone::ReadMaximum : Clone::WriteMaximum) {
    if (!Reading())
        chCount_ = state.gridRows - 1;
    port_.OnReceived([this] { Received(); });
}

void CloneSession::TransferDatas() {
    view_.ShowPercentLabel();
    port_.Close();
    port_.SetCommPort(state_.portNumber);
    if (const auto failure = port_.Open()) {
        outcome_ = Outcome::OpenFailed;
        timers_.EnableSend(false); // it still ticks when the port search has come here
        const BusyMark mark(busy_);
        view_.ShowOpenFailure(*failure);
        return;
    }
    port_.EmptyBuffers();
    progress_ = 0;
    view_.ShowProgress(progress_, maximum_);
    StartFromHandshake();
    timers_.EnableSend(true);
    finished_ = false;
    ignore_ = false;
    outcome_ = Outcome::Running;
}

void CloneSession::StartFromHandshake() {
    curStep_ = Clone::StepHandshake;
    sentStep_ = Clone::NothingSent;
    waitAck_ = true;
    account_.Clear();
    timed_ = true;
    disturbed_ = false; // what is left of an earlier attempt shows again, as a surplus byte
}

void CloneSession::SendTick() {
    if (busy_ || sentStep_ == curStep_)
        return;
    timers_.EnableSend(false);
    LookForSurplus();
    const CloneFrame frame = BuildFrame(curStep_, waitAck_, state_.cloneMode, state_.image);
    port_.Output(frame.bytes);
    port_.SetReplyLength(frame.replyLength);
    timers_.EnableSend(true);
    sentStep_ = curStep_;
    lineSent_ = lineSent_ || (!Reading() && curStep_ >= Clone::FirstLineStep);
    timers_.SetOvertimeInterval(Clone::ReplyTimeout);
    timers_.EnableOvertime(true);
    if (curStep_ == Clone::EndStep)
        Complete();
}

/// Before a frame leaves, its reply is not due: whatever waits belongs to an earlier one, or to none.
void CloneSession::LookForSurplus() {
    if (curStep_ == Clone::StepHandshake || port_.BytesWaiting() == 0)
        return;
    NoteSurplus();
    if (Reading() && !waitAck_ && curStep_ >= Clone::FirstLineStep)
        account_.DoubtRequested(LineOfStep(curStep_));
}

/// Whether what has come instead of a whole reply is the start of the one that is due. Takes it off the port.
bool CloneSession::BeganInStep() {
    port_.SetReplyLength(0);
    const std::vector<std::uint8_t> bytes = port_.Input();
    if (waitAck_ || curStep_ < Clone::FirstLineStep)
        return bytes.empty();
    const std::vector<std::uint8_t> header = LineHeader(LineOfStep(curStep_));
    const std::size_t compared = std::min(bytes.size(), header.size());
    return std::equal(header.begin(), header.begin() + static_cast<std::ptrdiff_t>(compared), bytes.begin());
}

void CloneSession::NoteSurplus() {
    disturbed_ = true;
    account_.DoubtLast();
    if (curStep_ == Clone::StepIdentify)
        countKnown_ = false;
}

void CloneSession::Received() {
    // While no frame is out for the step, what waits is the start of the next reply: it stays in the port.
    if (ignore_ || busy_ || sentStep_ != curStep_)
        return;
    timers_.EnableOvertime(false);
    const std::vector<std::uint8_t> reply = port_.Input();
    if (waitAck_)
        TakeAcknowledge(reply);
    else
        TakeData(reply);
}

void CloneSession::TakeAcknowledge(const std::vector<std::uint8_t> &reply) {
    const bool good = reply.size() == Clone::AckLength && reply.front() == Clone::Ack;
    if (!good && curStep_ == Clone::StepHandshake && strays_ < Clone::MaxStrays) {
        timers_.EnableOvertime(true);
        ++strays_;
        return;
    }
    if (!good) {
        BadReply();
        return;
    }
    if (timed_ && curStep_ > Clone::StepHandshake && !port_.CanBeAnswered())
        NoteSurplus();
    account_.Acknowledge();
    waitAck_ = false;
    if (Reading())
        AdvanceAfterReadAck();
    else
        AdvanceAfterWriteAck();
    RaiseSentStep();
}

void CloneSession::AdvanceAfterReadAck() {
    if (curStep_ == Clone::EndStep - 1)
        waitAck_ = true;
    ++curStep_;
    if (curStep_ >= Clone::FirstLineStep && curStep_ <= Clone::LastLineStep)
        account_.Expect(LineOfStep(curStep_));
}

void CloneSession::AdvanceAfterWriteAck() {
    constexpr int FirstCountedStep = 5;
    if (curStep_ > Clone::StepHandshake)
        waitAck_ = true;
    if (curStep_ >= FirstCountedStep && curStep_ < Clone::EndStep)
        Advance();
    if (curStep_ == chCount_ + 1) {
        const int skipped = MaxChannels + 1 - chCount_;
        curStep_ += skipped;
        ReduceMaximum(skipped);
    } else {
        ++curStep_;
    }
}

void CloneSession::TakeData(const std::vector<std::uint8_t> &reply) {
    if (curStep_ == Clone::StepIdentify) {
        if (reply.size() != Clone::IdentLength) {
            BadReply();
            return;
        }
        if (Reading())
            chCount_ = ChannelCountOf(reply.back()).value_or(CountFallback::Shown);
        countKnown_ = !repeated_ && !disturbed_;
        timed_ = port_.CanBeAnswered();
    } else if (Reading()) {
        if (reply.size() != Clone::LineReplyLength) {
            BadReply();
            return;
        }
        StoreLine(reply);
    }
    waitAck_ = true;
    RaiseSentStep();
}

void CloneSession::StoreLine(const std::vector<std::uint8_t> &reply) {
    const int line = LineOfStep(curStep_);
    std::copy(reply.begin() + Clone::HeaderLength, reply.end(), Line(state_.image, line).begin());
    account_.Store(line, LineOfHeader(reply));

    if (curStep_ == chCount_ + 1) {
        const int skipped = MaxChannels - chCount_;
        curStep_ += skipped;
        ReduceMaximum(skipped);
    }
    Advance();
}

void CloneSession::RaiseSentStep() {
    if (curStep_ < Clone::EndStep)
        sentStep_ = Clone::NothingSent;
    timers_.HurrySend();
}

void CloneSession::BadReply() {
    ignore_ = true;
    timers_.EnableSend(false);
    timers_.SetOvertimeInterval(Clone::AtOnce);
    timers_.EnableOvertime(true);
}

void CloneSession::OvertimeTick() {
    if (busy_)
        return;
    timers_.EnableOvertime(false);
    if (finished_)
        view_.CloseWindow();
    else if (retries_ < Clone::MaxRetries)
        RepeatStep();
    else if (curStep_ != Clone::StepHandshake || !SearchNextPort())
        AskUser();
}

void CloneSession::RepeatStep() {
    ++retries_;
    repeated_ = true;
    disturbed_ = disturbed_ || curStep_ > Clone::StepHandshake;
    countKnown_ = countKnown_ && curStep_ != Clone::StepIdentify;
    account_.Repeat(BeganInStep());
    ignore_ = false;
    ResetProgress();
    port_.EmptyBuffers();
    sentStep_ = Clone::NothingSent;
    waitAck_ = true;
    timers_.EnableSend(true);
}

bool CloneSession::SearchNextPort() {
    const std::vector<std::string> names = EnumComPorts(state_, view_.ComPorts());
    if (names.front().empty() || scanIndex_ >= names.size())
        return false;
    port_.Close();
    if (const auto number = PortNumberFromName(names[scanIndex_]))
        state_.portNumber = *number;
    view_.ShowPortNumber();
    TransferDatas();
    ++scanIndex_;
    return true;
}

void CloneSession::AskUser() {
    timers_.EnableSend(false);
    // A port that cannot be opened again shows as silence after Retry.
    if (!port_.IsOpen())
        (void)port_.Open();
    bool retry = false;
    {
        const BusyMark mark(busy_);
        retry = view_.AskRetry();
    }
    ignore_ = false;
    if (!retry) {
        ignore_ = true;
        if (curStep_ == Clone::StepHandshake)
            RestorePort();
        outcome_ = Outcome::Cancelled;
        view_.CloseWindow();
        return;
    }
    retries_ = 0;
    // The skip of the unused channels comes again on the way, so the maximum starts anew too.
    maximum_ = Reading() ? Clone::ReadMaximum : Clone::WriteMaximum;
    ResetProgress();
    port_.EmptyBuffers();
    StartFromHandshake();
    timers_.EnableSend(true);
}

void CloneSession::RestorePort() {
    state_.portNumber = startPort_;
    view_.ShowPortNumber();
}

void CloneSession::Complete() {
    timers_.EnableSend(false);
    timers_.EnableOvertime(false);
    // What comes before the end byte can have left and have been answered belongs to an earlier frame.
    timers_.Pause(Clone::AnswerToEnd);
    if (timed_ && port_.BytesWaiting() > 0 && !port_.CanBeAnswered())
        NoteSurplus();
    timers_.Pause(Clone::PauseBeforeClosing - Clone::AnswerToEnd);
    port_.Close();
    outcome_ = Outcome::Completed;
    {
        const BusyMark mark(busy_);
        view_.ShowCompleted();
        if (Reading())
            FinishRead();
        else if (disturbed_)
            view_.WarnDisturbedWrite();
    }
    finished_ = true;
    timers_.SetOvertimeInterval(Clone::AtOnce);
    timers_.EnableOvertime(true);
}

void CloneSession::FinishRead() {
    FollowImage(state_);
    view_.RefreshAfterRead();
    const std::vector<int> missing = MissingLines();
    if (!missing.empty())
        view_.WarnMissingLines(missing);
}

std::vector<int> CloneSession::MissingLines() const {
    int channels = GetChannelCount(state_.image).value_or(CountFallback::Required);
    // Nobody knows how many channels the radio has: neither told number is certainly its own.
    if (!countKnown_ && !account_.IsReceived(FirstSettingsLine))
        channels = MaxChannels;

    std::vector<int> lines;
    for (int line = 0; line <= LastSettingsLine; ++line) {
        const bool expected = account_.IsExpected(line) || line < channels || line >= FirstSettingsLine;
        if (expected && !account_.IsReceived(line))
            lines.push_back(line);
    }
    return lines;
}

void CloneSession::Close() {
    timers_.EnableSend(false);
    timers_.EnableOvertime(false);
    port_.OnReceived({});
    port_.Close();
    if (outcome_ == Outcome::Running)
        outcome_ = Outcome::Cancelled;
}

void CloneSession::ResetProgress() {
    progress_ = 0;
    view_.ShowProgress(progress_, maximum_);
    view_.SetPercentLabel(InitialProgressText(state_.language));
}

void CloneSession::Advance() {
    // A write of fewer than three channels counts more steps than its reduced maximum: the bar stays full.
    progress_ = std::min(progress_ + 1, maximum_);
    view_.ShowProgress(progress_, maximum_);
    view_.SetPercentLabel(ProgressText(progress_, maximum_, state_.language));
}

void CloneSession::ReduceMaximum(int by) {
    maximum_ -= by;
    progress_ = std::min(progress_, maximum_);
    view_.ShowProgress(progress_, maximum_);
}

std::string InitialProgressText(Language language) {
    return std::string(Pick(language, PercentText)) + ":  0%";
}

std::string ProgressText(int value, int maximum, Language language) {
    const int percent = static_cast<int>(RoundHalfEven(value * 100.0 / maximum));
    return std::string(Pick(language, PercentText)) + ": " + std::to_string(percent) + "%";
}

} // namespace k470
