#include "files/modEnDecode_Eliminator.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace k470 {

namespace {

constexpr std::size_t GrowthStep = 500;
constexpr std::size_t StreamRoom = 501;

/// Packed form of a pass: C (3 bytes), then the control stream of C bytes, then the literals. The control
/// stream starts with E (1 byte) and N (3 bytes).
constexpr std::size_t LengthSize = 3;
constexpr std::size_t StreamHeaderSize = 4;
constexpr std::size_t EliminatedOffset = LengthSize;
constexpr std::size_t CountOffset = EliminatedOffset + 1;
constexpr std::size_t ControlOffset = LengthSize + StreamHeaderSize;
constexpr std::size_t LargestNumber = 0xFFFFFF;

/// Control bytes: up to seven positions a group, or a run of 7 to 134 literals.
constexpr int GroupSize = 7;
constexpr int LongestRun = 134;
constexpr std::uint8_t RunMark = 0x80;
constexpr std::uint8_t RunOnly = 0xFF;
static_assert(((LongestRun - GroupSize) | RunMark) == RunOnly);

/// A byte value that occurs this often pays whatever the pass costs.
constexpr std::size_t AlwaysPays = 1100;

std::array<std::uint8_t, 3> Bytes24(std::size_t number) {
    return {static_cast<std::uint8_t>(number >> 16), static_cast<std::uint8_t>(number >> 8),
            static_cast<std::uint8_t>(number)};
}

std::size_t Read24(const ByteBuffer &buffer, std::size_t offset) {
    return static_cast<std::size_t>(buffer[offset]) << 16 |
           static_cast<std::size_t>(buffer[offset + 1]) << 8 | buffer[offset + 2];
}

struct Stream {
    ByteBuffer bytes = ByteBuffer(StreamRoom);
    std::size_t length = 0;

    void Append(std::uint8_t value) { AppendByte(bytes, length, value); }
    std::span<const std::uint8_t> Content() const { return std::span(bytes).first(length); }
};

struct Elimination {
    std::uint8_t value = 0;
    std::size_t count = 0;
};

/// Among values that are equally frequent the highest wins.
Elimination MostFrequent(const ByteBuffer &buffer) {
    std::array<std::size_t, 256> counts{};
    for (const std::uint8_t byte : buffer)
        ++counts[byte];
    Elimination best;
    for (std::size_t value = 0; value < counts.size(); ++value)
        if (counts[value] >= best.count)
            best = {static_cast<std::uint8_t>(value), counts[value]};
    return best;
}

/// Records where the eliminated byte stood.
class ControlWriter {
public:
    explicit ControlWriter(Stream &control) : control_(control) {}

    void Eliminated() {
        if (position_ < GroupSize) {
            bits_ = static_cast<std::uint8_t>(bits_ | 1 << (GroupSize - 1 - position_));
        } else {
            control_.Append(static_cast<std::uint8_t>((position_ - GroupSize) | RunMark));
            bits_ = 0;
            position_ = -1;
        }
    }

    /// To be called after every byte, eliminated or literal.
    void Advance() {
        ++position_;
        if (position_ == GroupSize && bits_ != 0)
            EndGroup(bits_);
        else if (position_ == LongestRun)
            EndGroup(RunOnly);
    }

    void Finish() {
        if (bits_ != 0)
            EndGroup(bits_);
    }

private:
    void EndGroup(std::uint8_t controlByte) {
        control_.Append(controlByte);
        bits_ = 0;
        position_ = 0;
    }

    Stream &control_;
    int position_ = 0; ///< in the group; from 7 on the group is a run of that many literals
    std::uint8_t bits_ = 0;
};

/// Reads the control bytes and literals of a packed buffer front to back and writes what they stand for.
class PassReader {
public:
    PassReader(std::span<const std::uint8_t> control, std::span<const std::uint8_t> literals,
               Elimination missing, ByteBuffer &result)
        : control_(control), literals_(literals), missing_(missing), result_(result) {}

    /// @return false when the control bytes or the literals end too early
    bool Run() {
        while (placed_ < missing_.count) {
            if (control_.empty())
                return false;
            const std::uint8_t controlByte = control_.front();
            control_ = control_.subspan(1);
            if (!((controlByte & RunMark) != 0 ? TakeRun(controlByte) : TakeGroup(controlByte)))
                return false;
        }
        return TakeLiterals(literals_.size());
    }

private:
    bool TakeRun(std::uint8_t controlByte) {
        const std::size_t literals = (controlByte & ~std::size_t{RunMark}) + GroupSize;
        if (!TakeLiterals(literals))
            return false;
        if (controlByte != RunOnly)
            PlaceMissing();
        return true;
    }

    bool TakeGroup(std::uint8_t bits) {
        for (int bit = GroupSize - 1; bit >= 0 && placed_ < missing_.count; --bit) {
            if ((bits >> bit & 1) != 0)
                PlaceMissing();
            else if (!TakeLiterals(1))
                return false;
        }
        return true;
    }

    bool TakeLiterals(std::size_t count) {
        if (count > literals_.size())
            return false;
        const auto taken = literals_.first(count);
        result_.insert(result_.end(), taken.begin(), taken.end());
        literals_ = literals_.subspan(count);
        return true;
    }

    void PlaceMissing() {
        result_.push_back(missing_.value);
        ++placed_;
    }

    std::span<const std::uint8_t> control_;
    std::span<const std::uint8_t> literals_;
    Elimination missing_;
    ByteBuffer &result_;
    std::size_t placed_ = 0;
};

struct PassStreams {
    Stream control;
    Stream literals;
};

PassStreams Separate(std::span<const std::uint8_t> buffer, Elimination eliminated) {
    PassStreams streams;
    streams.control.Append(eliminated.value);
    for (const std::uint8_t byte : Bytes24(eliminated.count))
        streams.control.Append(byte);
    ControlWriter writer(streams.control);
    std::size_t position = 0;
    for (std::size_t removed = 0; removed < eliminated.count; ++position) {
        if (buffer[position] == eliminated.value) {
            writer.Eliminated();
            ++removed;
        } else {
            streams.literals.Append(buffer[position]);
        }
        writer.Advance();
    }
    writer.Finish();
    for (; position < buffer.size(); ++position)
        streams.literals.Append(buffer[position]);
    return streams;
}

} // namespace

void EncodeBuffer(ByteBuffer &buffer) {
    int passes = 0;
    while (passes < MaxPasses && CompressPass(buffer))
        ++passes;
    buffer.push_back(static_cast<std::uint8_t>(passes));
}

bool DecodeBuffer(ByteBuffer &buffer, std::size_t limit) {
    if (buffer.empty())
        return false;
    ByteBuffer result(buffer.begin(), buffer.end() - 1);
    for (int passes = buffer.back(); passes > 0; --passes) {
        if (!ExpandPass(result))
            return false;
        if (result.size() > limit)
            break;
    }
    result.resize(std::min(result.size(), limit + 1));
    buffer = std::move(result);
    return true;
}

bool CompressPass(ByteBuffer &buffer) {
    const Elimination eliminated = MostFrequent(buffer);
    const PassStreams streams = Separate(buffer, eliminated);
    const auto control = streams.control.Content();
    const auto literals = streams.literals.Content();
    if (control.size() + literals.size() + 2 > buffer.size() && eliminated.count < AlwaysPays)
        return false;
    // Only buffers of many megabytes have numbers that their three bytes would cut.
    if (eliminated.count > LargestNumber || control.size() > LargestNumber)
        return false;
    const auto length = Bytes24(control.size());
    buffer.assign(length.begin(), length.end());
    buffer.insert(buffer.end(), control.begin(), control.end());
    buffer.insert(buffer.end(), literals.begin(), literals.end());
    return true;
}

bool ExpandPass(ByteBuffer &buffer) {
    if (buffer.size() < ControlOffset)
        return false;
    const std::size_t controlLength = Read24(buffer, 0);
    const Elimination missing{buffer[EliminatedOffset], Read24(buffer, CountOffset)};
    if (controlLength < StreamHeaderSize || controlLength > buffer.size() - LengthSize)
        return false;
    const std::span<const std::uint8_t> bytes(buffer);
    const auto control = bytes.subspan(ControlOffset, controlLength - StreamHeaderSize);
    const auto literals = bytes.subspan(LengthSize + controlLength);
    // The count may promise far more than the control bytes can place, so that it reserves no room.
    ByteBuffer result;
    result.reserve(literals.size() + std::min(missing.count, control.size() * GroupSize));
    if (!PassReader(control, literals, missing, result).Run())
        return false;
    buffer = std::move(result);
    return true;
}

void AppendByte(ByteBuffer &array, std::size_t &position, std::uint8_t value) {
    while (position >= array.size())
        array.resize(array.size() + GrowthStep);
    array[position] = value;
    ++position;
}

} // namespace k470
