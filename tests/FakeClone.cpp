#include "tests/FakeClone.h"

#include <algorithm>
#include <iterator>

namespace k470 {

namespace {

using namespace std::chrono_literals;

constexpr Moment WireByte = Moment(std::chrono::seconds(1)) * 11 / 9600;

} // namespace

// FakeLine

FakeLine::FakeLine(SerialDevice *device, Delivery delivery)
    : device_(device), byteTime_(delivery == Delivery::AtOnce ? Moment(0) : WireByte) {
}

void FakeLine::Send(std::span<const std::uint8_t> frame, Moment now) {
    const Moment start = std::max(sendFree_, now);
    toDevice_.push_back({{frame.begin(), frame.end()}, false, start});
    sendFree_ = DueTime(toDevice_.back(), frame.size());
}

Moment FakeLine::DueTime(const Transfer &transfer, std::size_t bytes) const {
    return transfer.start + byteTime_ * static_cast<Moment::rep>(bytes);
}

Moment FakeLine::NextDue(std::size_t wanted) const {
    Moment due = silenceDue_;
    if (!toDevice_.empty())
        due = std::min(due, DueTime(toDevice_.front(), toDevice_.front().bytes.size()));
    for (const Transfer &transfer : toProgram_) {
        const std::size_t left = transfer.bytes.size() - transfer.taken;
        if (wanted > 0 && wanted <= left)
            return std::min(due, DueTime(transfer, transfer.taken + wanted));
        if (transfer.hangUp)
            return std::min(due, DueTime(transfer, transfer.bytes.size()));
        wanted -= std::min(wanted, left);
    }
    return due;
}

Bytes FakeLine::TakeBytes(Moment now) {
    while (!toDevice_.empty() && DueTime(toDevice_.front(), toDevice_.front().bytes.size()) <= now)
        FeedDevice();
    if (silenceDue_ <= now) {
        silenceDue_ = Never;
        device_->Silence();
    }
    Bytes bytes;
    while (!toProgram_.empty()) {
        Transfer &transfer = toProgram_.front();
        for (; transfer.taken < transfer.bytes.size() && DueTime(transfer, transfer.taken + 1) <= now;
             ++transfer.taken)
            bytes.push_back(transfer.bytes[transfer.taken]);
        if (transfer.taken < transfer.bytes.size() || transfer.hangUp)
            break;
        toProgram_.pop_front();
    }
    return bytes;
}

bool FakeLine::TakeHangUp(Moment now) {
    if (toProgram_.empty() || !toProgram_.front().hangUp ||
        DueTime(toProgram_.front(), toProgram_.front().bytes.size()) > now)
        return false;
    toDevice_.clear();
    toProgram_.clear();
    return true;
}

void FakeLine::FeedDevice() {
    const Transfer frame = std::move(toDevice_.front());
    const Moment now = DueTime(frame, frame.bytes.size());
    toDevice_.pop_front();
    if (device_ == nullptr)
        return;
    if (silenceDue_ <= frame.start)
        device_->Silence();
    for (Reply &reply : device_->Feed(frame.bytes))
        Queue(std::move(reply), now);
    silenceDue_ = device_->FramePending() ? now + std::chrono::milliseconds(SilenceMs) : Never;
}

void FakeLine::Queue(Reply reply, Moment now) {
    const Moment start = std::max(replyFree_, now + std::chrono::milliseconds(reply.delayMs));
    toProgram_.push_back({std::move(reply.bytes), reply.hangUp, start});
    replyFree_ = DueTime(toProgram_.back(), toProgram_.back().bytes.size());
}

// FakePort

void FakePort::Connect(int number, SerialDevice *device, Delivery delivery) {
    lines_.insert_or_assign(number, FakeLine(device, delivery));
}

std::optional<PortFailure> FakePort::Open() {
    Close();
    const auto found = lines_.find(number_);
    if (found == lines_.end())
        return PortFailure{.kind = PortFailure::Kind::NoSuchPort,
                           .port = "COM" + std::to_string(number_),
                           .device = {},
                           .detail = {}};
    open_ = &found->second;
    open_->TakeBytes(now_); // they came before anybody listened
    Update();
    return std::nullopt;
}

void FakePort::Close() {
    open_ = nullptr;
    received_.clear();
    Update();
}

void FakePort::EmptyBuffers() {
    ++timesEmptied_;
    Receive();
    received_.clear();
    Update();
}

void FakePort::SetReplyLength(std::size_t k) {
    replyLength_ = k;
    Receive();
    Update();
}

void FakePort::Output(std::span<const std::uint8_t> frame) {
    if (open_ == nullptr)
        return;
    frames_.push_back({now_, number_, {frame.begin(), frame.end()}});
    open_->Send(frame, now_);
    Update();
}

Bytes FakePort::Input() {
    const std::size_t count = replyLength_ == 0 ? received_.size() : std::min(replyLength_, received_.size());
    const auto end = received_.begin() + static_cast<std::ptrdiff_t>(count);
    Bytes bytes(received_.begin(), end);
    received_.erase(received_.begin(), end);
    Update();
    return bytes;
}

void FakePort::TakeDue() {
    Receive();
    for (auto &[number, line] : lines_) {
        if (&line != open_)
            line.TakeBytes(now_);
        if (line.TakeHangUp(now_) && &line == open_)
            Close();
    }
    Update();
}

void FakePort::Receive() {
    if (open_ == nullptr)
        return;
    const Bytes bytes = open_->TakeBytes(now_);
    received_.insert(received_.end(), bytes.begin(), bytes.end());
}

bool FakePort::ReplyWaits() const {
    return open_ != nullptr && replyLength_ != 0 && received_.size() >= replyLength_;
}

/// Something has changed: a notification may be due, and another moment may be the next one that matters.
void FakePort::Update() {
    posted_ = posted_ || ReplyWaits();
    nextDue_ = Never;
    for (const auto &[number, line] : lines_) {
        const bool listening = &line == open_ && replyLength_ > received_.size();
        nextDue_ = std::min(nextDue_, line.NextDue(listening ? replyLength_ - received_.size() : 0));
    }
}

void FakePort::Notify() {
    posted_ = false;
    if (ReplyWaits() && handler_)
        handler_();
}

// FakeTimers

void FakeTimers::EnableSend(bool enabled) {
    sendDue_ = Never;
    if (enabled)
        RearmSend();
}

void FakeTimers::HurrySend() {
    if (hurries && sendDue_ != Never)
        sendDue_ = now_;
}

void FakeTimers::SetOvertimeInterval(int milliseconds) {
    overtimeInterval_ = std::chrono::milliseconds(milliseconds);
    if (overtimeDue_ != Never)
        RearmOvertime();
}

void FakeTimers::EnableOvertime(bool enabled) {
    overtimeDue_ = Never;
    if (enabled)
        RearmOvertime();
}

void FakeTimers::Pause(int milliseconds) {
    now_ += std::chrono::milliseconds(milliseconds);
}

// FakeView

void FakeView::Tell(const std::string &call) {
    calls.push_back(call);
    if (told)
        told(call);
}

void FakeView::StayOpen() {
    if (whileOpen)
        whileOpen();
}

void FakeView::ShowPortNumber() {
    Tell("ShowPortNumber " + std::to_string(state_.portNumber));
}

void FakeView::ShowOpenFailure(const PortFailure &failure) {
    Tell("ShowOpenFailure " + failure.port);
    StayOpen();
}

bool FakeView::AskRetry() {
    ++questions;
    Tell("AskRetry");
    StayOpen();
    if (retries.empty())
        return false;
    const bool retry = retries.front();
    retries.pop_front();
    return retry;
}

void FakeView::ShowCompleted() {
    Tell("ShowCompleted");
    StayOpen();
}

void FakeView::WarnMissingLines(const std::vector<int> &lines) {
    missing = lines;
    Tell("WarnMissingLines");
    StayOpen();
}

void FakeView::CloseWindow() {
    closed = true;
    Tell("CloseWindow");
    if (onClose)
        onClose();
}

// FakeClone

FakeClone::FakeClone(AppState &state, Delivery delivery)
    : view(state), session(std::make_unique<CloneSession>(state, port, timers, view)), delivery_(delivery) {
    view.onClose = [this] { session->Close(); };
}

bool FakeClone::Run(Moment limit) {
    Start();
    const bool closed = RunUntil([this] { return view.closed; }, limit);
    // What the session sent last is still on its way.
    RunFor(1s);
    return closed;
}

void FakeClone::RunFor(Moment time) {
    const Moment end = now + time;
    while (Step(end)) {
    }
    now = std::max(now, end);
}

bool FakeClone::RunUntil(const std::function<bool()> &condition, Moment limit) {
    const Moment end = now + limit;
    while (!condition()) {
        if (!Step(end))
            return false;
    }
    return true;
}

/// One event, the earliest. @return whether there was one before the end
bool FakeClone::Step(Moment end) {
    if (port.NotificationPosted()) {
        port.Notify();
        return true;
    }
    const Moment wire = port.NextDue();
    const Moment send = timers.SendDue();
    const Moment next = std::min(std::min(wire, send), timers.OvertimeDue());
    if (next > end || next == Never)
        return false;
    now = std::max(now, next);
    if (wire == next) {
        port.TakeDue();
    } else if (send == next) {
        timers.RearmSend();
        session->SendTick();
    } else {
        timers.RearmOvertime();
        TickOvertime();
    }
    return true;
}

void FakeClone::TickOvertime() {
    const int emptied = port.TimesEmptied();
    const int questions = view.questions;
    const std::size_t calls = view.calls.size();
    session->OvertimeTick();
    if (view.questions != questions)
        sinceQuestion_ = 0;
    else if (port.TimesEmptied() != emptied &&
             view.calls.size() == calls) { // nobody was told of another port
        ++repetitions_;
        mostRepetitions_ = std::max(mostRepetitions_, ++sinceQuestion_);
    }
}

std::vector<Bytes> FakeClone::Frames() const {
    std::vector<Bytes> frames;
    for (const FakePort::SentFrame &frame : port.Frames())
        frames.push_back(frame.bytes);
    return frames;
}

std::vector<int> FakeClone::LinesSent(char letter) const {
    std::vector<int> lines;
    for (const FakePort::SentFrame &frame : port.Frames())
        if (frame.bytes.size() >= Clone::HeaderLength && frame.bytes[0] == letter)
            lines.push_back((frame.bytes[1] * 256 + frame.bytes[2]) / 16);
    return lines;
}

// Helpers

Bytes Hex(std::string_view text) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 3)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16)));
    return bytes;
}

Bytes LineBytes(const MemoryImage &image, int line) {
    const auto bytes = Line(image, line);
    return {bytes.begin(), bytes.end()};
}

std::vector<int> ChangedLines(const MemoryImage &before, const MemoryImage &after) {
    std::vector<int> lines;
    for (int line = 0; line < static_cast<int>(LineCount); ++line)
        if (!std::ranges::equal(Line(before, line), Line(after, line)))
            lines.push_back(line);
    return lines;
}

std::vector<int> TransferredLines(int channels) {
    std::vector<int> lines;
    for (int line = 0; line <= 107; ++line)
        if (line < channels || line >= 99)
            lines.push_back(line);
    return lines;
}

} // namespace k470
