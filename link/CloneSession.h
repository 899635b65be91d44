#pragma once

#include "core/AppState.h"
#include "link/CloneFrames.h"
#include "link/ComPorts.h"
#include "link/ReadAccount.h"
#include "link/SerialPort.h"

#include <string>
#include <vector>

namespace k470 {

/// The two timers of a session. A tick of the send timer calls CloneSession::SendTick, one of the overtime
/// timer CloneSession::OvertimeTick; both tick again and again until they are disabled.
class CloneTimers {
public:
    virtual ~CloneTimers() = default;
    /// tmrSend, every Clone::SendInterval ms
    virtual void EnableSend(bool enabled) = 0;
    /// A frame became due. The send timer may tick sooner than its interval asks: waiting for the next tick
    /// costs half a millisecond a frame, which is what keeps a session from running at wire speed.
    virtual void HurrySend() {}
    /// tmrOvertime: enabling starts its interval anew
    virtual void SetOvertimeInterval(int milliseconds) = 0;
    virtual void EnableOvertime(bool enabled) = 0;
    /// Holds everything up for a moment.
    virtual void Pause(int milliseconds) = 0;
};

/// What a session shows and asks. Questions and messages return when they are answered.
class CloneView {
public:
    virtual ~CloneView() = default;
    virtual void ShowPercentLabel() = 0;
    virtual void ShowProgress(int value, int maximum) = 0;
    virtual void SetPercentLabel(const std::string &text) = 0;
    /// The state has another port number.
    virtual void ShowPortNumber() = 0;
    virtual void ShowOpenFailure(const PortFailure &failure) = 0;
    /// "Check Connection. Retry or Cancel?" @return whether Retry was chosen
    virtual bool AskRetry() = 0;
    virtual void ShowCompleted() = 0;
    /// The state holds what was read: show it.
    virtual void RefreshAfterRead() = 0;
    /// A completed read lacks these lines.
    virtual void WarnMissingLines(const std::vector<int> &lines) = 0;
    /// A completed write was out of step: the radio may lack lines.
    virtual void WarnDisturbedWrite() = 0;
    /// The system's serial devices now.
    virtual ComPortTable ComPorts() = 0;
    virtual void CloseWindow() = 0;
};

/// Copies the radio's memory into the image or the image into the radio, line by line, each frame answered by
/// the radio. Fed with ticks and with the port's notification; all on one thread, and none of them while
/// another is being handled.
class CloneSession {
public:
    enum class Outcome { Running, OpenFailed, Completed, Cancelled };

    /// Reads the direction from state.cloneMode. The objects must outlive the session.
    CloneSession(AppState &state, SerialPort &port, CloneTimers &timers, CloneView &view);

    /// Opens the port and starts from the handshake.
    void TransferDatas();
    void SendTick();     ///< tmrSend
    void OvertimeTick(); ///< tmrOvertime
    void Received();     ///< the port's notification that data arrived
    /// The window closes, by the session or by the user: ends everything.
    void Close();

    Outcome Result() const { return outcome_; }
    int Step() const { return curStep_; }
    /// Lines that a completed read should have brought and did not, in ascending order.
    std::vector<int> MissingLines() const;
    /// Whether acknowledges may stand for other frames than those that they were taken for: since the last
    /// handshake a frame behind it was repeated, a byte waited when no reply was due, or an acknowledge came
    /// sooner than the line carries it and its frame. Of a write nobody knows then what the radio has stored.
    bool Disturbed() const { return disturbed_; }
    /// Whether a write has sent a line, to whom ever: what the radio holds is a mixture until one completes.
    bool LineSent() const { return lineSent_; }

private:
    bool Reading() const { return state_.cloneMode == CloneMode::Read; }
    void StartFromHandshake();
    void ResetProgress();
    void Advance();
    void ReduceMaximum(int by);

    void TakeAcknowledge(const std::vector<std::uint8_t> &reply);
    void AdvanceAfterReadAck();
    void AdvanceAfterWriteAck();
    void TakeData(const std::vector<std::uint8_t> &reply);
    void StoreLine(const std::vector<std::uint8_t> &reply);
    void RaiseSentStep();
    void LookForSurplus();
    bool BeganInStep();
    void NoteSurplus();
    void BadReply();

    void RepeatStep();
    bool SearchNextPort();
    void AskUser();
    void RestorePort();

    void Complete();
    void FinishRead();

    AppState &state_;
    SerialPort &port_;
    CloneTimers &timers_;
    CloneView &view_;

    int curStep_ = 0;
    int sentStep_ = Clone::NothingSent;
    bool waitAck_ = true;
    bool finished_ = false;
    bool ignore_ = false;
    int chCount_ = 0; ///< channel lines to transfer
    // Counted over the whole session; a step that succeeds resets none of them.
    std::uint8_t retries_ = 0;
    std::uint8_t scanIndex_ = 0;
    std::uint8_t strays_ = 0;
    std::uint8_t startPort_;

    int progress_ = 0;
    int maximum_;
    Outcome outcome_ = Outcome::Running;
    bool busy_ = false; ///< a question or message is open inside a handler

    // What tells in the end whether every reply was the one to its frame.
    ReadAccount account_;
    bool disturbed_ = false;
    bool lineSent_ = false;
    bool timed_ = true;       ///< the identification did not come sooner than the line's speed allows
    bool repeated_ = false;   ///< any frame, since the session began
    bool countKnown_ = false; ///< the identification came in step and before that
};

/// "Completion percentage: 45%"; at the start of a session "Completion percentage:  0%".
std::string ProgressText(int value, int maximum, Language language);
std::string InitialProgressText(Language language);

} // namespace k470
