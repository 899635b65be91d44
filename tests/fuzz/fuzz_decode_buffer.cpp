#include "files/modEnDecode_Eliminator.h"
#include "tests/fuzz/Require.h"

namespace k470 {
namespace {

/// Larger buffers would only make the search slower.
constexpr std::size_t RoundTripSize = 4096;

void RequireReturns(const ByteBuffer &plain) {
    if (plain.size() > RoundTripSize)
        return;
    ByteBuffer buffer = plain;
    EncodeBuffer(buffer);
    Require(DecodeBuffer(buffer));
    Require(buffer == plain);
}

void Check(const ByteBuffer &input) {
    ByteBuffer buffer = input;
    if (DecodeBuffer(buffer))
        Require(buffer.size() <= MaxDecodedSize + 1);
    else
        Require(buffer == input);
    RequireReturns(buffer);
    RequireReturns(input);
}

} // namespace
} // namespace k470

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    k470::Check(k470::ByteBuffer(data, data + size));
    return 0;
}
