#include "link/TransferCheck.h"

#include "core/ChannelCount.h"

#include <algorithm>
#include <optional>
#include <span>

namespace k470 {

namespace {

using Bytes = std::span<const std::uint8_t>;

std::uint8_t Unlike(std::uint8_t byte) {
    return static_cast<std::uint8_t>(~byte);
}

bool WasLeftOut(Bytes sent, Bytes found) {
    return std::equal(sent.begin(), sent.end(), found.begin(),
                      [](std::uint8_t s, std::uint8_t f) { return f == Unlike(s); });
}

/// How many bytes of the line a write sends.
std::size_t SentLength(int line, Bytes sent) {
    return line < MaxChannels && sent.front() == NotProgrammed ? 1 : LineSize;
}

std::optional<LineDifference> CompareLine(int line, Bytes sent, Bytes found) {
    const std::size_t length = SentLength(line, sent);
    std::size_t first = 0;
    while (first < length && sent[first] == found[first])
        ++first;
    if (first == length)
        return std::nullopt;
    std::size_t end = length;
    while (sent[end - 1] == found[end - 1])
        --end;
    const auto from = static_cast<std::ptrdiff_t>(first);
    const auto to = static_cast<std::ptrdiff_t>(end);
    LineDifference difference{.line = line, .address = static_cast<std::size_t>(line) * LineSize + first};
    difference.expected.assign(sent.begin() + from, sent.begin() + to);
    if (!WasLeftOut(sent, found))
        difference.found.assign(found.begin() + from, found.begin() + to);
    return difference;
}

} // namespace

bool IsLineWritten(int line, int channels) {
    return line < channels || (line >= FirstSettingsLine && line <= LastSettingsLine);
}

MemoryImage UnlikeImage(const MemoryImage &sent) {
    MemoryImage image;
    std::transform(sent.begin(), sent.end(), image.begin(), Unlike);
    return image;
}

std::vector<LineDifference> CompareWritten(const MemoryImage &sent, const MemoryImage &found) {
    std::vector<LineDifference> differences;
    const int channels = GetChannelCount(sent).value_or(CountFallback::Written);
    for (int line = 0; line <= LastSettingsLine; ++line) {
        if (!IsLineWritten(line, channels))
            continue;
        if (auto difference = CompareLine(line, Line(sent, line), Line(found, line)))
            differences.push_back(*std::move(difference));
    }
    return differences;
}

std::vector<LineDifference> CompareHeld(const MemoryImage &image, const MemoryImage &found) {
    MemoryImage written = image;
    PrepareForWrite(written);
    MemoryImage expected = image;
    for (const std::size_t address : {Address::ChannelCountCopy, Address::WriteMark})
        if (found[address] == written[address])
            expected[address] = written[address];
    return CompareWritten(expected, found);
}

} // namespace k470
