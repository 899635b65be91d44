#pragma once

#include "core/AppState.h"
#include "link/CloneSession.h"
#include "link/SerialPort.h"
#include "sim/SerialDevice.h"
#include "sim/WireSchedule.h"
#include "tests/Lines.h"

#include <deque>
#include <functional>
#include <map>

namespace k470 {

/// Virtual time since the start of a test's clock.
using Moment = WireTime;
inline constexpr Moment Never = Moment::max();

/// Bits a second of a fake line, both ways; none: bytes travel in no time.
inline constexpr int AtOnce = 0;
inline constexpr int WireSpeed = 9600;

/// A port whose threshold and read length work as the interface says, on lines with a device at their far
/// ends. Notifications are posted and delivered by the event loop of FakeClone.
class FakePort : public SerialPort {
public:
    explicit FakePort(const Moment &now) : now_(now) {}

    /// Makes a COM number openable. @param device nullptr: nobody answers there; outlives the port
    void Connect(int number, SerialDevice *device, int baud);

    void SetCommPort(int number) override { number_ = number; }
    std::optional<PortFailure> Open() override;
    void Close() override;
    bool IsOpen() const override { return open_ != nullptr; }
    void EmptyBuffers() override;
    void SetReplyLength(std::size_t k) override;
    void Output(std::span<const std::uint8_t> frame) override;
    bool CanBeAnswered() const override;
    std::size_t BytesWaiting() const override { return received_.size(); }
    Bytes Input() override;
    void OnReceived(std::function<void()> handler) override { handler_ = std::move(handler); }

    struct SentFrame {
        Moment time;
        int port;
        Bytes bytes;
    };
    /// Every frame that left, in order.
    const std::vector<SentFrame> &Frames() const { return frames_; }
    int TimesEmptied() const { return timesEmptied_; }

    /// When the next byte or hang-up is due.
    Moment NextDue() const;
    /// Takes in what has arrived.
    void Receive();
    bool NotificationPosted() const { return posted_; }
    void Notify();

private:
    struct WireLine {
        SerialDevice *device;
        WireSchedule wire;
        Moment byteTime;
        Moment heard{}; ///< when the last byte of the program has left
    };

    bool ReplyWaits() const { return IsOpen() && replyLength_ != 0 && received_.size() >= replyLength_; }

    const Moment &now_;
    std::map<int, WireLine> lines_;
    WireLine *open_ = nullptr;
    int number_ = 0;
    std::size_t replyLength_ = 0;
    std::deque<std::uint8_t> received_;
    bool posted_ = false;
    std::function<void()> handler_;
    std::vector<SentFrame> frames_;
    int timesEmptied_ = 0;
};

/// Timers that tick again and again until they are disabled.
class FakeTimers : public CloneTimers {
public:
    explicit FakeTimers(Moment &now) : now_(now) {}

    void EnableSend(bool enabled) override { sendDue = enabled ? now_ + SendInterval : Never; }
    void HurrySend() override { sendDue = hurries && sendDue != Never ? now_ : sendDue; }
    void SetOvertimeInterval(int ms) override { overtimeInterval_ = std::chrono::milliseconds(ms); }
    void EnableOvertime(bool enabled) override { overtimeDue = enabled ? now_ + overtimeInterval_ : Never; }
    void Pause(int ms) override { now_ += std::chrono::milliseconds(ms); }

    bool Idle() const { return sendDue == Never && overtimeDue == Never; }

    Moment sendDue = Never;
    Moment overtimeDue = Never;
    bool hurries = true; ///< whether HurrySend has an effect: it need not have one

private:
    static constexpr Moment SendInterval = std::chrono::milliseconds(1);

    Moment &now_;
    Moment overtimeInterval_ = std::chrono::hours(1); ///< nobody's, until the session sets it
};

/// A transfer window without a window: remembers what it was told and gives prepared answers.
class FakeView : public CloneView {
public:
    explicit FakeView(const AppState &state) : state_(state) {}

    void ShowPercentLabel() override { Tell("ShowPercentLabel"); }
    void ShowProgress(int value, int maximum) override { progress.emplace_back(value, maximum); }
    void SetPercentLabel(const std::string &text) override { label = text; }
    void ShowPortNumber() override { Tell("ShowPortNumber " + std::to_string(state_.portNumber)); }
    void ShowOpenFailure(const PortFailure &failure) override { Ask("ShowOpenFailure " + failure.port); }
    bool AskRetry() override;
    void ShowCompleted() override { Ask("ShowCompleted"); }
    void RefreshAfterRead() override { Tell("RefreshAfterRead"); }
    void WarnMissingLines(const std::vector<int> &lines) override;
    void WarnDisturbedWrite() override { Ask("WarnDisturbedWrite"); }
    ComPortTable ComPorts() override;
    void CloseWindow() override;

    std::vector<int> ports; ///< numbers of the system's ports
    int retries = 0;        ///< how many questions are answered with Retry, before Cancel

    Strings calls; ///< all but the progress and its label
    std::vector<std::pair<int, int>> progress;
    std::string label;
    std::vector<int> missing; ///< of the warning
    int questions = 0;
    bool closed = false;

    std::function<void(const std::string &)> told; ///< told of each call
    std::function<void()> whileOpen;               ///< runs while a question or message is open

private:
    void Tell(const std::string &call);
    void Ask(const std::string &call);

    const AppState &state_;
};

/// A clone session on a virtual clock, with everything around it faked.
class FakeClone {
public:
    /// @param state outlives the object; its cloneMode and gridRows are set
    explicit FakeClone(AppState &state) : view(state), session(state, port, timers, view) {}
    FakeClone(const FakeClone &) = delete;
    FakeClone &operator=(const FakeClone &) = delete;

    /// Starts the session and runs it until its window closes. @return whether it did before the limit
    bool Run();
    /// Runs what happens within the time.
    void RunFor(Moment time);
    /// Runs until the condition holds. @return whether it did within two minutes
    bool RunUntil(const std::function<bool()> &condition);

    std::vector<Bytes> Frames() const;
    /// The lines of the frames that begin with that letter, in the order in which they went out.
    std::vector<int> LinesSent(char letter) const;
    /// The most repetitions that the session made on its own between two questions.
    int MostRepetitions() const { return mostRepetitions_; }
    /// All of them.
    int Repetitions() const { return repetitions_; }

    Moment now{};
    FakePort port{now};
    FakeTimers timers{now};
    FakeView view;
    CloneSession session;

private:
    bool Step(Moment end);
    void TickOvertime();

    int repetitions_ = 0;
    int sinceQuestion_ = 0;
    int mostRepetitions_ = 0;
};

} // namespace k470
