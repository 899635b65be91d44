#include "sim/SimulatedRadio.h"

#include "core/HexCells.h"

#include <algorithm>
#include <array>

namespace k470 {

namespace {

constexpr std::string_view HandshakeText = "VZ-K470";
constexpr std::string_view IdentificationText = "K470";
constexpr std::size_t IdentificationSize = 16;

constexpr std::uint8_t AckByte = 0x06;
constexpr std::uint8_t IdentifyByte = 0x02;
constexpr std::uint8_t ReadByte = 'R';
constexpr std::uint8_t WriteByte = 'W';
constexpr std::uint8_t EndByte = 'E';

/// A line frame: its letter, the address with the high byte first, the number of bytes, the bytes.
constexpr std::size_t AddressHigh = 1;
constexpr std::size_t AddressLow = 2;
constexpr std::size_t LengthByte = 3;
constexpr std::size_t HeaderSize = 4;
constexpr std::uint8_t WholeLine = LineSize;
constexpr std::uint8_t OneByte = 1;
constexpr std::uint8_t EmptyMark = 0xFF;

constexpr std::size_t LastWireAddress = LastSettingsLine * LineSize;

std::size_t AddressOf(std::span<const std::uint8_t> frame) {
    return static_cast<std::size_t>(frame[AddressHigh]) << 8 | frame[AddressLow];
}

int LineOf(std::span<const std::uint8_t> frame) {
    return static_cast<int>(AddressOf(frame) / LineSize);
}

bool BeginsHandshake(std::span<const std::uint8_t> bytes) {
    return bytes.size() <= HandshakeText.size() &&
           std::equal(bytes.begin(), bytes.end(), HandshakeText.begin());
}

/// The end of the bytes that may be the start of a handshake.
std::vector<std::uint8_t> HandshakeTail(std::span<const std::uint8_t> bytes) {
    std::size_t length = std::min(bytes.size(), HandshakeText.size());
    while (!BeginsHandshake(bytes.last(length)))
        --length;
    const auto tail = bytes.last(length);
    return {tail.begin(), tail.end()};
}

/// How many bytes a write frame has, as far as its start tells.
std::size_t WriteFrameLength(std::span<const std::uint8_t> start) {
    if (start.size() < HeaderSize)
        return HeaderSize;
    switch (start[LengthByte]) {
    case WholeLine:
        return HeaderSize + WholeLine;
    case OneByte:
        return HeaderSize + OneByte;
    default:
        return HeaderSize;
    }
}

} // namespace

const std::array<SimulatedRadio::FrameForm, 6> SimulatedRadio::FrameForms{{
    {static_cast<std::uint8_t>(HandshakeText[0]), HandshakeText.size(), &SimulatedRadio::TakeHandshake},
    {IdentifyByte, 1, &SimulatedRadio::TakeIdentification},
    {AckByte, 1, &SimulatedRadio::TakeAcknowledge},
    {ReadByte, HeaderSize, &SimulatedRadio::TakeReadRequest},
    {WriteByte, HeaderSize, &SimulatedRadio::TakeWrite},
    {EndByte, 1, &SimulatedRadio::TakeEnd},
}};

SimulatedRadio::SimulatedRadio(const MemoryImage &memory, FaultInjector faults)
    : memory_(memory), faults_(std::move(faults)) {
}

std::vector<Reply> SimulatedRadio::Feed(std::span<const std::uint8_t> bytes) {
    hungUp_ = false;
    for (const std::uint8_t byte : bytes) {
        TakeByte(byte);
        if (hungUp_)
            break;
    }
    return std::exchange(replies_, {});
}

bool SimulatedRadio::FramePending() const {
    return deaf_ || !pending_.empty();
}

void SimulatedRadio::Silence() {
    if (!deaf_ && !pending_.empty())
        Discard("a frame was broken off");
    deaf_ = false;
    pending_.clear();
}

void SimulatedRadio::TakeByte(std::uint8_t byte) {
    pending_.push_back(byte);
    if (deaf_)
        pending_ = HandshakeTail(pending_);
    if (pending_.empty())
        return;
    const auto form = std::find_if(FrameForms.begin(), FrameForms.end(),
                                   [&](const FrameForm &each) { return each.first == pending_.front(); });
    if (form == FrameForms.end()) {
        Discard("a byte that begins no frame");
        return;
    }
    if (form->first == HandshakeText[0] && !BeginsHandshake(pending_)) {
        pending_.pop_back();
        Discard("a handshake was broken off");
        TakeByte(byte); // may begin the next frame
        return;
    }
    const std::size_t length = form->first == WriteByte ? WriteFrameLength(pending_) : form->length;
    if (pending_.size() == length)
        TakeFrame(*form);
}

void SimulatedRadio::TakeFrame(const FrameForm &form) {
    deaf_ = false;
    const Frame frame = std::exchange(pending_, {});
    log_.push_back({FrameDirection::FromProgram, frame});
    (this->*form.take)(frame);
}

void SimulatedRadio::TakeHandshake(const Frame &) {
    stage_ = Stage::Greeted;
    step_ = HandshakeStep;
    endedByE_ = false;
    Answer(ReplyKind::Acknowledge, {AckByte});
}

void SimulatedRadio::TakeIdentification(const Frame &frame) {
    if (!StandsAt(Stage::Greeted, frame, "an identification request"))
        return;
    stage_ = Stage::Identified;
    step_ = IdentificationStep;
    Frame identification(IdentificationSize, 0);
    std::copy(IdentificationText.begin(), IdentificationText.end(), identification.begin());
    identification.back() = memory_[Address::ChannelCount];
    Answer(ReplyKind::Identification, std::move(identification));
}

void SimulatedRadio::TakeAcknowledge(const Frame &frame) {
    if (stage_ == Stage::Idle || stage_ == Stage::Greeted) {
        StandsAt(Stage::LineSent, frame, "an acknowledge");
        return;
    }
    if (stage_ == Stage::Ready && !disturbed_)
        Complain("an acknowledge with nothing to acknowledge", frame);
    stage_ = Stage::Ready;
    Answer(ReplyKind::Acknowledge, {AckByte});
}

void SimulatedRadio::TakeReadRequest(const Frame &frame) {
    if (frame[LengthByte] != WholeLine) {
        RefuseMalformed(frame, "a line request with a length other than 10");
        return;
    }
    if (!StandsAt(Stage::Ready, frame, "a line request") || !AddressGood(frame))
        return;
    stage_ = Stage::LineSent;
    step_ = LineOf(frame) + FirstLineStep;
    const auto line = Line(std::as_const(memory_), LineOf(frame));
    Frame data{WriteByte, frame[AddressHigh], frame[AddressLow], WholeLine};
    data.insert(data.end(), line.begin(), line.end());
    Answer(ReplyKind::Line, std::move(data));
}

void SimulatedRadio::TakeWrite(const Frame &frame) {
    const std::span<const std::uint8_t> values = std::span(frame).subspan(HeaderSize);
    if (values.empty()) {
        RefuseMalformed(frame, "a line with a length other than 10 and 01");
        return;
    }
    if (values.size() == OneByte && values.front() != EmptyMark) {
        RefuseMalformed(frame, "a one-byte line other than FF");
        return;
    }
    if (!StandsAt(Stage::Ready, frame, "a line") || !AddressGood(frame))
        return;
    if (values.size() == OneByte && LineOf(frame) >= MaxChannels) {
        Complain("a one-byte line that is no channel", frame);
        return;
    }
    step_ = LineOf(frame) + FirstLineStep;
    if (Answer(ReplyKind::LineAcknowledge, {AckByte}))
        std::copy(values.begin(), values.end(), Line(memory_, LineOf(frame)).begin());
}

void SimulatedRadio::TakeEnd(const Frame &frame) {
    if (stage_ == Stage::Idle) {
        Complain("an end byte before the handshake", frame);
        return;
    }
    if (StandsAt(Stage::Ready, frame, "an end byte"))
        ++completedSessions_;
    ++endedSessions_;
    stage_ = Stage::Idle;
    step_ = EndStepNumber;
    endedByE_ = true;
    Answer(ReplyKind::End, {});
    disturbed_ = false;
}

/// Complains about the frame when the radio stands elsewhere.
bool SimulatedRadio::StandsAt(Stage stage, const Frame &frame, std::string_view what) {
    if (stage_ == stage)
        return true;
    Complain(std::string(what) + (stage_ == Stage::Idle ? " before the handshake" : " out of order"), frame);
    return false;
}

bool SimulatedRadio::AddressGood(const Frame &frame) {
    const std::size_t address = AddressOf(frame);
    if (address > LastWireAddress + LineSize - 1)
        Complain("an address beyond 06BF", frame);
    else if (address % LineSize != 0)
        Complain("an address in the middle of a line", frame);
    else
        return true;
    return false;
}

void SimulatedRadio::RefuseMalformed(const Frame &frame, std::string_view why) {
    Complain(why, frame);
    deaf_ = true;
    pending_ = HandshakeTail(frame);
}

void SimulatedRadio::Discard(std::string_view why) {
    Complain(why, pending_);
    log_.push_back({FrameDirection::FromProgram, std::exchange(pending_, {})});
}

void SimulatedRadio::Complain(std::string_view what, const Frame &frame) {
    complaints_.push_back(std::string(what) + ": " + HexText(frame));
}

/// @return whether the acknowledge left as such, so that a line that it answers is stored
bool SimulatedRadio::Answer(ReplyKind kind, Frame bytes) {
    FaultInjector::Outcome outcome = faults_.Apply(step_, kind, std::move(bytes));
    disturbed_ = disturbed_ || outcome.struck;
    if (outcome.reply.hangUp) {
        hungUp_ = true;
        endedSessions_ += stage_ == Stage::Idle ? 0 : 1;
        stage_ = Stage::Idle;
    }
    Send(std::move(outcome.reply));
    if (outcome.second)
        Send(*std::move(outcome.second));
    return outcome.lineStored;
}

void SimulatedRadio::Send(Reply reply) {
    if (!reply.bytes.empty())
        log_.push_back({FrameDirection::FromRadio, reply.bytes});
    if (!reply.bytes.empty() || reply.hangUp)
        replies_.push_back(std::move(reply));
}

} // namespace k470
