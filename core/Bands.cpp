#include "core/Bands.h"

#include "core/NumberText.h"

namespace k470 {

namespace {

constexpr double MaxStoredTenths = 9999;
constexpr double NarrowestSpan = 1; // MHz
constexpr double WidestSpan = 100;
constexpr TextPair CustomText{"Custom", "自定义"};

void StoreLimit(MemoryImage &image, std::size_t address, double limit) {
    const double tenths = RoundHalfEven(limit * 10);
    if (!(tenths >= 0 && tenths <= MaxStoredTenths))
        return;
    const auto digits = static_cast<unsigned>(tenths);
    image[address] = static_cast<std::uint8_t>(digits / 1000 * 16 + digits / 100 % 10);
    image[address + 1] = static_cast<std::uint8_t>(digits / 10 % 10 * 16 + digits % 10);
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
    return (DecimalOfHexText(image[address]) * 100 + DecimalOfHexText(image[address + 1])) / 10.0;
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
