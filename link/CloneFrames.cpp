#include "link/CloneFrames.h"

#include <algorithm>
#include <array>

namespace k470 {

namespace {

constexpr std::uint8_t IdentRequest = 0x02;
constexpr std::uint8_t ReadLine = 'R';
constexpr std::uint8_t WriteLine = 'W';
constexpr std::uint8_t EndByte = 'E';
constexpr std::uint8_t WholeLine = LineSize;
constexpr std::uint8_t FirstByteOnly = 1;
constexpr std::uint8_t EmptyChannel = 0xFF;

using FrameBuilder = CloneFrame (*)(int step, const MemoryImage &image);

std::vector<std::uint8_t> LineCommand(std::uint8_t command, int line, std::uint8_t length) {
    const int address = line * static_cast<int>(LineSize);
    return {command, static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address & 0xFF),
            length};
}

CloneFrame Handshake(int, const MemoryImage &) {
    return {{Clone::ModelIdent.begin(), Clone::ModelIdent.end()}, Clone::AckLength};
}

CloneFrame Identify(int, const MemoryImage &) {
    return {{IdentRequest}, Clone::IdentLength};
}

CloneFrame Acknowledge(int, const MemoryImage &) {
    return {{Clone::Ack}, Clone::AckLength};
}

CloneFrame RequestLine(int step, const MemoryImage &) {
    return {LineCommand(ReadLine, LineOfStep(step), WholeLine), Clone::LineReplyLength};
}

CloneFrame SendLine(int step, const MemoryImage &image) {
    CloneFrame frame{LineHeader(LineOfStep(step)), Clone::AckLength};
    const auto line = Line(image, LineOfStep(step));
    frame.bytes.insert(frame.bytes.end(), line.begin(), line.end());
    return frame;
}

/// An empty channel goes out as its first byte alone.
CloneFrame SendChannel(int step, const MemoryImage &image) {
    if (Line(image, LineOfStep(step)).front() != EmptyChannel)
        return SendLine(step, image);
    CloneFrame frame{LineCommand(WriteLine, LineOfStep(step), FirstByteOnly), Clone::AckLength};
    frame.bytes.push_back(EmptyChannel);
    return frame;
}

CloneFrame End(int, const MemoryImage &) {
    return {{EndByte}, Clone::AckLength};
}

/// The frames of a range of steps in both directions, by what answers them.
struct StepFrames {
    int lastStep;
    FrameBuilder readAck;
    FrameBuilder readData;
    FrameBuilder writeAck;
    FrameBuilder writeData;
};

constexpr std::array<StepFrames, 5> FrameTable{{
    {Clone::StepHandshake, Handshake, Handshake, Handshake, Handshake},
    {Clone::StepIdentify, Acknowledge, Identify, Acknowledge, Identify},
    {Clone::LastChannelStep, Acknowledge, RequestLine, SendChannel, SendChannel},
    {Clone::LastLineStep, Acknowledge, RequestLine, SendLine, SendLine},
    {Clone::EndStep, End, End, End, End},
}};

} // namespace

std::vector<std::uint8_t> LineHeader(int line) {
    return LineCommand(WriteLine, line, WholeLine);
}

std::optional<int> LineOfHeader(std::span<const std::uint8_t> reply) {
    const int line = (reply[1] << 8 | reply[2]) / static_cast<int>(LineSize);
    const std::vector<std::uint8_t> header = LineHeader(line);
    if (line > LastSettingsLine || !std::equal(header.begin(), header.end(), reply.begin()))
        return std::nullopt;
    return line;
}

CloneFrame BuildFrame(int step, bool waitAck, CloneMode mode, const MemoryImage &image) {
    const auto row = std::find_if(FrameTable.begin(), FrameTable.end() - 1,
                                  [step](const StepFrames &frames) { return step <= frames.lastStep; });
    if (mode == CloneMode::Read)
        return (waitAck ? row->readAck : row->readData)(step, image);
    return (waitAck ? row->writeAck : row->writeData)(step, image);
}

} // namespace k470
