#include "tests/FakeClone.h"

#include <algorithm>

namespace k470 {

using namespace std::chrono_literals;

void FakePort::Connect(int number, SerialDevice *device, int baud) {
    lines_.insert_or_assign(
        number, WireLine{device, WireSchedule(baud), baud == AtOnce ? 0ns : Moment(1s) * BitsPerByte / baud});
}

std::optional<PortFailure> FakePort::Open() {
    Close();
    const auto found = lines_.find(number_);
    if (found == lines_.end())
        return PortFailure{PortFailure::Kind::NoSuchPort, "COM" + std::to_string(number_), {}, {}};
    open_ = &found->second;
    open_->wire.TakeDue(now_); // came before anybody listened
    return std::nullopt;
}

void FakePort::Close() {
    open_ = nullptr;
    received_.clear();
}

void FakePort::EmptyBuffers() {
    ++timesEmptied_;
    Receive();
    received_.clear();
}

void FakePort::SetReplyLength(std::size_t k) {
    replyLength_ = k;
    Receive();
}

void FakePort::Output(std::span<const std::uint8_t> frame) {
    if (open_ == nullptr)
        return;
    frames_.push_back({now_, number_, {frame.begin(), frame.end()}});
    auto &[device, wire, byteTime, heard] = *open_;
    if (device != nullptr && device->FramePending() && heard + std::chrono::milliseconds(SilenceMs) <= now_)
        device->Silence();
    heard = std::max(heard, now_) + byteTime * static_cast<Moment::rep>(frame.size());
    wire.HostSent(frame.size(), now_);
    if (device != nullptr)
        for (Reply &reply : device->Feed(frame))
            wire.Send(std::move(reply));
}

bool FakePort::CanBeAnswered() const {
    return !IsOpen() || open_->heard + open_->byteTime * static_cast<Moment::rep>(replyLength_) <= now_;
}

Bytes FakePort::Input() {
    const std::size_t count = replyLength_ == 0 ? received_.size() : std::min(replyLength_, received_.size());
    const auto end = received_.begin() + static_cast<std::ptrdiff_t>(count);
    Bytes bytes(received_.begin(), end);
    received_.erase(received_.begin(), end);
    Receive();
    return bytes;
}

Moment FakePort::NextDue() const {
    return open_ == nullptr ? Never : open_->wire.NextDue().value_or(Never);
}

void FakePort::Receive() {
    if (open_ != nullptr) {
        const WireSchedule::Delivery delivery = open_->wire.TakeDue(now_);
        received_.insert(received_.end(), delivery.bytes.begin(), delivery.bytes.end());
        if (delivery.hangUp)
            Close();
    }
    posted_ = posted_ || ReplyWaits();
}

void FakePort::Notify() {
    posted_ = false;
    if (ReplyWaits() && handler_)
        handler_();
}

// FakeView

void FakeView::Tell(const std::string &call) {
    calls.push_back(call);
    if (told)
        told(call);
}

void FakeView::Ask(const std::string &call) {
    Tell(call);
    if (whileOpen)
        whileOpen();
}

bool FakeView::AskRetry() {
    ++questions;
    Ask("AskRetry");
    return questions <= retries;
}

void FakeView::WarnMissingLines(const std::vector<int> &lines) {
    missing = lines;
    Ask("WarnMissingLines");
}

ComPortTable FakeView::ComPorts() {
    ComPortTable table;
    for (const int number : ports)
        table.push_back({number, "", ""});
    return table;
}

void FakeView::CloseWindow() {
    closed = true;
    Tell("CloseWindow");
}

// FakeClone

bool FakeClone::Run() {
    session.TransferDatas();
    if (!RunUntil([this] { return view.closed; }))
        return false;
    session.Close();
    return true;
}

void FakeClone::RunFor(Moment time) {
    const Moment end = now + time;
    while (Step(end)) {
    }
    now = std::max(now, end);
}

bool FakeClone::RunUntil(const std::function<bool()> &condition) {
    const Moment end = now + 2min;
    while (!condition())
        if (!Step(end))
            return false;
    return true;
}

/// One event, the earliest. @return whether there was one before the end
bool FakeClone::Step(Moment end) {
    if (port.NotificationPosted()) {
        port.Notify();
        return true;
    }
    const Moment wire = port.NextDue();
    const Moment next = std::min({wire, timers.sendDue, timers.overtimeDue});
    if (next > end || next == Never)
        return false;
    now = std::max(now, next);
    if (wire == next) {
        port.Receive();
    } else if (timers.sendDue == next) {
        timers.EnableSend(true);
        session.SendTick();
    } else {
        timers.EnableOvertime(true);
        TickOvertime();
    }
    return true;
}

void FakeClone::TickOvertime() {
    const int emptied = port.TimesEmptied();
    const int questions = view.questions;
    const std::size_t calls = view.calls.size();
    session.OvertimeTick();
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
        if (frame.bytes.size() >= 4 && frame.bytes[0] == letter)
            lines.push_back((frame.bytes[1] * 256 + frame.bytes[2]) / 16);
    return lines;
}

} // namespace k470
