#include "core/Bands.h"

#include "core/NumberText.h"
#include "core/PackedDecimal.h"

#include <algorithm>

namespace k470 {

namespace {

constexpr double NarrowestSpan = 1; // MHz
constexpr double WidestSpan = 100;
constexpr TextPair CustomText{"Custom", "自定义"};

void StoreLimit(MemoryImage &image, std::size_t address, double limit) {
    const double tenths = RoundHalfEven(limit * 10);
    if (tenths >= 0 && tenths <= BandLimit::HighestTenths)
        std::ranges::copy(BandLimit::Encode(static_cast<int>(tenths)), &image[address]);
}

BandLimit::Bytes LimitBytes(const MemoryImage &image, std::size_t address) {
    return {image[address], image[address + 1]};
}

/// The two hexadecimal digits of a byte read as a decimal number, up to the first that is none.
int DecimalOfHexText(std::uint8_t byte) {
    const int first = byte >> 4;
    const int second = byte & 0x0F;
    if (first > 9)
        return 0;
    return second > 9 ? first : first * 10 + second;
}

double LoadLimit(const MemoryImage &image, std::size_t address) {
    // One division, so that a limit such as 136.1 is the double nearest to it and shows as it is stored.
    return BandLimit::Decode(LimitBytes(image, address)) / 10.0;
}

} // namespace

std::string BandText(std::size_t position, Language language) {
    if (position >= StandardBands.size())
        return std::string(Pick(language, CustomText));
    const Band &band = StandardBands[position];
    return ShortestDecimal(band.low) + " - " + ShortestDecimal(band.high) + " MHz";
}

std::uint8_t FindBand(double low, double high) {
    for (std::uint8_t position = 0; position < CustomBand; ++position) {
        if (StandardBands[position].low == low && StandardBands[position].high == high)
            return position;
    }
    return CustomBand;
}

bool IsSpanAllowed(Band band) {
    const double span = RoundHalfEven(band.high) - RoundHalfEven(band.low);
    return span >= NarrowestSpan && span <= WidestSpan;
}

BandLimit::Bytes BandLimit::Encode(int tenths) {
    return {PackDigits(tenths / 100), PackDigits(tenths)};
}

int BandLimit::Decode(Bytes bytes) {
    return DecimalOfHexText(bytes[0]) * 100 + DecimalOfHexText(bytes[1]);
}

std::optional<int> BandLimit::DecodeExactly(Bytes bytes) {
    if (!IsPackedDecimal(bytes[0]) || !IsPackedDecimal(bytes[1]))
        return std::nullopt;
    return Decode(bytes);
}

void StoreBandLimits(AppState &state) {
    StoreLimit(state.image, Address::BandLow, state.bandLow);
    StoreLimit(state.image, Address::BandHigh, state.bandHigh);
}

Band GetBandLimits(const MemoryImage &image) {
    return {LoadLimit(image, Address::BandLow), LoadLimit(image, Address::BandHigh)};
}

void LoadBandLimits(AppState &state) {
    const Band limits = GetBandLimits(state.image);
    state.bandLow = limits.low;
    state.bandHigh = limits.high;
}

void ChangeBand(AppState &state, std::uint8_t position, Band limits) {
    state.bandLow = limits.low;
    state.bandHigh = limits.high;
    state.previousBand = position;
    StoreBandLimits(state);
    ClearChannels(state);
}

} // namespace k470
