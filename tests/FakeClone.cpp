#include "tests/FakeClone.h"

#include <algorithm>

namespace k470 {

using namespace std::chrono_literals;

// FakeLine

FakeLine::FakeLine(SerialDevice *device, Delivery delivery)
    : device_(device), byteTime_(delivery == Delivery::AtOnce ? Moment(0) : Moment(1s) * 11 / 9600) {
}

void FakeLine::Send(std::span<const std::uint8_t> frame, Moment now) {
    if (device_ != nullptr && device_->FramePending() && heard_ + std::chrono::milliseconds(SilenceMs) <= now)
        device_->Silence();
    heard_ = std::max(heard_, now) + byteTime_ * static_cast<Moment::rep>(frame.size());
    if (device_ == nullptr)
        return;
    for (const Reply &reply : device_->Feed(frame)) {
        replied_ = std::max(replied_, heard_ + std::chrono::milliseconds(reply.delayMs));
        for (const std::uint8_t byte : reply.bytes)
            bytes_.emplace_back(replied_ += byteTime_, byte);
        if (reply.hangUp)
            hangUp_ = replied_;
    }
}

Moment FakeLine::NextDue(std::size_t wanted) const {
    return wanted > 0 && wanted <= bytes_.size() ? std::min(bytes_[wanted - 1].first, hangUp_) : hangUp_;
}

std::size_t FakeLine::Arrived(Moment now) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(bytes_, [now](const auto &byte) { return byte.first <= now; }));
}

bool FakeLine::Take(Moment now, std::deque<std::uint8_t> &received) {
    for (; !bytes_.empty() && bytes_.front().first <= now; bytes_.pop_front())
        received.push_back(bytes_.front().second);
    if (hangUp_ > now)
        return false;
    hangUp_ = Never;
    bytes_.clear();
    return true;
}

// FakePort

void FakePort::Connect(int number, SerialDevice *device, Delivery delivery) {
    lines_.insert_or_assign(number, FakeLine(device, delivery));
}

std::optional<PortFailure> FakePort::Open() {
    Close();
    const auto found = lines_.find(number_);
    if (found == lines_.end())
        return PortFailure{PortFailure::Kind::NoSuchPort, "COM" + std::to_string(number_), {}, {}};
    open_ = &found->second;
    open_->Take(now_, received_);
    received_.clear(); // they came before anybody listened
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
    open_->Send(frame, now_);
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
    if (open_ == nullptr)
        return Never;
    return open_->NextDue(replyLength_ > received_.size() ? replyLength_ - received_.size() : 0);
}

void FakePort::Receive() {
    if (open_ != nullptr && open_->Take(now_, received_))
        Close();
    posted_ = posted_ || ReplyWaits();
}

void FakePort::Notify() {
    posted_ = false;
    if (ReplyWaits() && handler_)
        handler_();
}

// FakeTimers and FakeView

void FakeTimers::HurrySend() {
    if (hurries && sendDue != Never)
        sendDue = now_;
}

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

FakeClone::FakeClone(AppState &state, Delivery delivery)
    : view(state), session(state, port, timers, view), delivery_(delivery) {
}

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
    const Moment end = now + Limit;
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
