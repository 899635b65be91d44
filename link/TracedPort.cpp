#include "link/TracedPort.h"

namespace k470 {

std::optional<PortFailure> TracedPort::Open() {
    spoken_ = false;
    return port_.Open();
}

void TracedPort::Close() {
    AddUnread();
    port_.Close();
}

void TracedPort::EmptyBuffers() {
    AddUnread();
    port_.EmptyBuffers();
    port_.SetReplyLength(replyLength_);
}

void TracedPort::SetReplyLength(std::size_t k) {
    replyLength_ = k;
    port_.SetReplyLength(k);
}

void TracedPort::Output(std::span<const std::uint8_t> frame) {
    if (!port_.IsOpen())
        return;
    spoken_ = true;
    trace_.AddFrame(FrameDirection::FromProgram, frame);
    port_.Output(frame);
}

std::vector<std::uint8_t> TracedPort::Input() {
    std::vector<std::uint8_t> bytes = port_.Input();
    trace_.AddFrame(FrameDirection::FromRadio, bytes);
    return bytes;
}

/// A reply that is too short is never read, and one that comes too late neither: they say most about a fault.
void TracedPort::AddUnread() {
    if (!spoken_ || !port_.IsOpen())
        return;
    port_.SetReplyLength(0);
    trace_.AddFrame(FrameDirection::FromRadio, port_.Input());
}

} // namespace k470
