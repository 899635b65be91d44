#include "core/Channels.h"

#include "core/NumberText.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace k470 {

namespace {

constexpr int Raster5kHz = 500; // units of 10 Hz
constexpr int Raster625Hz = 625;

template <typename Image>
auto FreqBytes(Image &image, Field which, int ch) {
    return Line(image, ch)
        .subspan(which == Field::Rx ? Record::RxFreq : Record::TxFreq)
        .template first<Record::FreqSize>();
}

/// Of the two raster points at or below the value the nearer one; a tie goes to the 5 kHz raster.
Frequency SnapToRaster(double megahertz) {
    const double units = megahertz * Frequency::PerMegahertz;
    const int whole = static_cast<int>(RoundHalfEven(units));
    const int on5 = whole / Raster5kHz * Raster5kHz;
    const int on625 = whole / Raster625Hz * Raster625Hz;
    return Frequency::FromUnits(std::abs(units - on625) >= std::abs(units - on5) ? on5 : on625);
}

double HardLimited(double megahertz) {
    return std::clamp(megahertz, LowestFrequency, HighestFrequency);
}

bool BitOf(const MemoryImage &image, std::size_t bitmap, int ch) {
    const auto n = static_cast<std::size_t>(ch);
    return (image[bitmap + n / 8] >> (n % 8) & 1U) != 0;
}

void SetBit(MemoryImage &image, std::size_t bitmap, int ch, bool set) {
    const auto n = static_cast<std::size_t>(ch);
    const auto mask = static_cast<std::uint8_t>(1U << (n % 8));
    std::uint8_t &byte = image[bitmap + n / 8];
    byte = static_cast<std::uint8_t>(set ? byte | mask : byte & ~mask);
}

} // namespace

std::optional<Frequency> GetFrequency(const MemoryImage &image, Field which, int ch) {
    return Frequency::FromBytes(FreqBytes(image, which, ch));
}

std::string GetFreqString(const MemoryImage &image, Field which, int ch) {
    const auto frequency = GetFrequency(image, which, ch);
    return frequency ? frequency->Text() : std::string();
}

void SetFreqString(MemoryImage &image, Field which, int ch, std::string_view text) {
    const auto bytes = FreqBytes(image, which, ch);
    if (text.empty())
        std::fill(bytes.begin(), bytes.end(), NotProgrammed);
    else if (const auto frequency = Frequency::FromText(text))
        std::ranges::copy(frequency->Bytes(), bytes.begin());
}

NormalizedFreq NormalizeFreq(std::string_view typed, double bandLow, double bandHigh) {
    const bool comma = typed.find(',') != std::string_view::npos;
    const std::optional<double> converted = comma ? NumberWithComma(typed) : NumericPrefix(typed);
    if (!converted)
        return {Frequency::FromMegahertz(HardLimited(bandLow)).Text(), false};

    const double f = *converted;
    // Beyond the hard limits nothing is snapped; clamping before it also keeps the raster arithmetic in range
    // when the band itself reaches beyond them.
    return {SnapToRaster(HardLimited(f)).Text(), f > bandHigh || f < bandLow};
}

bool IsOnRaster(Frequency frequency) {
    return frequency.Units() % Raster5kHz == 0 || frequency.Units() % Raster625Hz == 0;
}

bool IsMarkedEmpty(const MemoryImage &image, int ch) {
    return ch >= static_cast<int>(BitmapChannels) || BitOf(image, Address::EmptyMap, ch);
}

void MarkEmpty(MemoryImage &image, int ch, bool empty) {
    SetBit(image, Address::EmptyMap, ch, empty);
}

bool IsScanSkipped(const MemoryImage &image, int ch) {
    return BitOf(image, Address::ScanSkipMap, ch);
}

void SetScanSkipped(MemoryImage &image, int ch, bool skipped) {
    SetBit(image, Address::ScanSkipMap, ch, skipped);
}

bool IsEmptyChannel(const MemoryImage &image, int ch) {
    return IsMarkedEmpty(image, ch) || !GetFrequency(image, Field::Rx, ch);
}

} // namespace k470
