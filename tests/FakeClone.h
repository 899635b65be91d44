#pragma once

#include "core/AppState.h"
#include "link/CloneSession.h"
#include "link/SerialPort.h"
#include "sim/SerialDevice.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace k470 {

using Bytes = std::vector<std::uint8_t>;

/// Virtual time since the start of a test's clock.
using Moment = std::chrono::nanoseconds;
inline constexpr Moment Never = Moment::max();

/// How bytes travel on a fake line, both ways: in no time, or one after the other at 9600 baud, 11 bits each.
enum class Delivery { AtOnce, ByteByByte };

/// A serial line with a device at its far end and the transfers that are under way on it.
class FakeLine {
public:
    /// @param device nullptr: nobody is there. Outlives the line.
    FakeLine(SerialDevice *device, Delivery delivery);

    /// A frame of the program begins to travel.
    void Send(std::span<const std::uint8_t> frame, Moment now);

    /// When something that matters happens next: a frame has reached the device, the device hangs up or
    /// learns that the line has fallen silent, or `wanted` more bytes have reached the program.
    Moment NextDue(std::size_t wanted) const;

    /// Lets happen what is due. @return the bytes that have reached the program
    Bytes TakeBytes(Moment now);
    /// @return true, once, when the device has left the line; what else was under way is lost
    bool TakeHangUp(Moment now);

private:
    struct Transfer {
        Bytes bytes;
        bool hangUp; ///< behind the bytes
        Moment start;
        std::size_t taken = 0;
    };
    Moment DueTime(const Transfer &transfer, std::size_t bytes) const;
    void FeedDevice();
    void Queue(Reply reply, Moment now);

    SerialDevice *device_;
    Moment byteTime_;
    Moment sendFree_{};  ///< when the program's last frame has arrived
    Moment replyFree_{}; ///< when the device's last reply has arrived
    Moment silenceDue_ = Never;
    std::deque<Transfer> toDevice_;
    std::deque<Transfer> toProgram_;
};

/// A port whose threshold and read length work as the interface says. Notifications are posted and delivered
/// by the event loop of FakeClone.
class FakePort : public SerialPort {
public:
    explicit FakePort(const Moment &now) : now_(now) {}

    /// Makes a COM number openable. @param device nullptr: nobody answers there
    void Connect(int number, SerialDevice *device, Delivery delivery);

    void SetCommPort(int number) override { number_ = number; }
    std::optional<PortFailure> Open() override;
    void Close() override;
    bool IsOpen() const override { return open_ != nullptr; }
    void EmptyBuffers() override;
    void SetReplyLength(std::size_t k) override;
    void Output(std::span<const std::uint8_t> frame) override;
    Bytes Input() override;
    void OnReceived(std::function<void()> handler) override { handler_ = std::move(handler); }

    struct SentFrame {
        Moment time;
        int port;
        Bytes bytes;
    };
    /// Every frame that left, in order.
    const std::vector<SentFrame> &Frames() const { return frames_; }
    std::size_t ReplyLength() const { return replyLength_; }
    int TimesEmptied() const { return timesEmptied_; }

    Moment NextDue() const { return nextDue_; }
    /// Lets happen what is due on the lines or, if a notification is posted, delivers it.
    void TakeDue();
    bool NotificationPosted() const { return posted_; }
    void Notify();

private:
    void Receive();
    bool ReplyWaits() const;
    void Update();

    const Moment &now_;
    std::map<int, FakeLine> lines_;
    FakeLine *open_ = nullptr;
    int number_ = 0;
    std::size_t replyLength_ = 0;
    std::deque<std::uint8_t> received_;
    bool posted_ = false;
    Moment nextDue_ = Never;
    std::function<void()> handler_;
    std::vector<SentFrame> frames_;
    int timesEmptied_ = 0;
};

/// Timers that tick again and again until they are disabled.
class FakeTimers : public CloneTimers {
public:
    explicit FakeTimers(Moment &now) : now_(now) {}

    void EnableSend(bool enabled) override;
    void HurrySend() override;
    void SetOvertimeInterval(int milliseconds) override;
    void EnableOvertime(bool enabled) override;
    void Pause(int milliseconds) override;

    bool hurries = true; ///< whether HurrySend has an effect: it need not have one

    Moment SendDue() const { return sendDue_; }
    Moment OvertimeDue() const { return overtimeDue_; }
    bool Idle() const { return sendDue_ == Never && overtimeDue_ == Never; }
    /// The tick that is due is about to be delivered.
    void RearmSend() { sendDue_ = now_ + std::chrono::milliseconds(Clone::SendInterval); }
    void RearmOvertime() { overtimeDue_ = now_ + overtimeInterval_; }

private:
    Moment &now_;
    Moment overtimeInterval_ = std::chrono::milliseconds(Clone::ReplyTimeout);
    Moment sendDue_ = Never;
    Moment overtimeDue_ = Never;
};

/// A transfer window without a window: remembers what it was told and gives prepared answers.
class FakeView : public CloneView {
public:
    explicit FakeView(const AppState &state) : state_(state) {}

    void ShowPercentLabel() override { Tell("ShowPercentLabel"); }
    void ShowProgress(int value, int maximum) override { progress.emplace_back(value, maximum); }
    void SetPercentLabel(const std::string &text) override { labels.push_back(text); }
    void ShowPortNumber() override;
    void ShowOpenFailure(const PortFailure &failure) override;
    bool AskRetry() override;
    void ShowCompleted() override;
    void RefreshAfterRead() override { Tell("RefreshAfterRead"); }
    void WarnMissingLines(const std::vector<int> &lines) override;
    std::vector<std::string> EnumComPorts() override { return ports; }
    void CloseWindow() override;

    std::vector<std::string> ports{""}; ///< the system's ports
    std::deque<bool> retries;           ///< answers to the question; Cancel when they run out

    std::vector<std::string> calls; ///< all but the progress and its label
    std::vector<std::pair<int, int>> progress;
    std::vector<std::string> labels;
    std::vector<int> missing; ///< of the warning
    int questions = 0;
    bool closed = false;

    std::function<void(const std::string &)> told; ///< told of each call
    std::function<void()> whileOpen;               ///< runs while a question or message is open
    std::function<void()> onClose;

private:
    void Tell(const std::string &call);
    void StayOpen();

    const AppState &state_;
};

/// A clone session on a virtual clock, with everything around it faked.
class FakeClone {
public:
    static constexpr Moment Limit = std::chrono::minutes(2);

    /// @param state outlives the object; its cloneMode and gridRows are set
    FakeClone(AppState &state, Delivery delivery);
    FakeClone(const FakeClone &) = delete;
    FakeClone &operator=(const FakeClone &) = delete;

    /// @param device nullptr: the port opens, but nobody answers
    void Connect(int number, SerialDevice *device) { port.Connect(number, device, delivery_); }

    /// Starts the session and runs it until its window closes. @return whether it did before the limit
    bool Run(Moment limit = Limit);
    /// Runs what happens within the time.
    void RunFor(Moment time);
    /// Runs until the condition holds. @return whether it ever did
    bool RunUntil(const std::function<bool()> &condition, Moment limit = Limit);
    /// Starts the session.
    void Start() { session->TransferDatas(); }

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
    std::unique_ptr<CloneSession> session;

private:
    bool Step(Moment end);
    void TickOvertime();

    Delivery delivery_;
    int repetitions_ = 0;
    int sinceQuestion_ = 0;
    int mostRepetitions_ = 0;
};

/// "52 00 10 10" as bytes.
Bytes Hex(std::string_view text);
Bytes LineBytes(const MemoryImage &image, int line);
/// The lines in which two images differ.
std::vector<int> ChangedLines(const MemoryImage &before, const MemoryImage &after);
/// The lines that a session with that many channel lines transfers.
std::vector<int> TransferredLines(int channels);

} // namespace k470
