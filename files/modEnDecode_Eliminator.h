#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace k470 {

using ByteBuffer = std::vector<std::uint8_t>;

/// Largest buffer that a decoding goes on with, unless the caller says otherwise.
inline constexpr std::size_t MaxDecodedSize = std::size_t{1} << 20;

/// Most passes that one encoding makes: their number travels in one byte.
inline constexpr int MaxPasses = 255;

/// Packs the buffer: passes as long as they pay, 255 at most, then a byte with their number. DecodeBuffer
/// turns the result back into the buffer, given a limit that holds the buffer after each pass.
void EncodeBuffer(ByteBuffer &buffer);

/// Unpacks what EncodeBuffer made. A result of more bytes than the limit, of any pass, is cut to limit + 1
/// bytes and ends the decoding.
/// @return false for a buffer that does not unpack, empty ones included; the buffer is then as it was
[[nodiscard]] bool DecodeBuffer(ByteBuffer &buffer, std::size_t limit = MaxDecodedSize);

/// One packing pass: takes every occurrence of the most frequent byte out of the buffer.
/// @return the continue flag: false when the pass does not pay, and the buffer is then as it was
[[nodiscard]] bool CompressPass(ByteBuffer &buffer);

/// Undoes one packing pass. The result has less than eight times the bytes of the buffer.
/// @return false when the buffer is not the result of a pass; it is then as it was
[[nodiscard]] bool ExpandPass(ByteBuffer &buffer);

/// Stores a byte and advances the position. An array that ends before the position grows in steps of 500
/// bytes.
void AppendByte(ByteBuffer &array, std::size_t &position, std::uint8_t value);

} // namespace k470
