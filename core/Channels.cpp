#include "core/Channels.h"

#include "core/NumberText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace k470 {

namespace {

constexpr std::int64_t UnitsPerMegahertz = 100'000; // stored frequencies count 10 Hz
constexpr std::int64_t Raster5kHz = 500;
constexpr std::int64_t Raster625Hz = 625; // 6.25 kHz
constexpr int FreqDecimals = 5;
constexpr std::size_t FreqDigits = 2 * Record::FreqSize;

std::size_t FreqOffset(Field which) {
    return which == Field::Rx ? Record::RxFreq : Record::TxFreq;
}

bool IsPackedDecimal(std::uint8_t byte) {
    return (byte >> 4) <= 9 && (byte & 0x0F) <= 9;
}

/// The eight digits of a frequency text, most significant first; nothing when the text has another form.
std::optional<std::array<std::uint8_t, FreqDigits>> DigitsOf(std::string_view text) {
    constexpr std::size_t MinLength = 1 + 1 + FreqDecimals;
    constexpr std::size_t MaxLength = FreqDigits + 1;
    if (text.size() < MinLength || text.size() > MaxLength)
        return std::nullopt;
    const std::size_t separator = text.size() - FreqDecimals - 1;
    std::array<std::uint8_t, FreqDigits> digits{};
    std::size_t at = FreqDigits - (text.size() - 1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == separator)
            continue;
        if (text[i] < '0' || text[i] > '9')
            return std::nullopt;
        digits[at++] = static_cast<std::uint8_t>(text[i] - '0');
    }
    return digits;
}

/// Of the two raster points at or below the value the nearer one; a tie goes to the 5 kHz raster.
double SnapToRaster(double megahertz) {
    const double units = megahertz * static_cast<double>(UnitsPerMegahertz);
    const auto whole = static_cast<std::int64_t>(RoundHalfEven(units));
    const std::int64_t on5 = whole / Raster5kHz * Raster5kHz;
    const std::int64_t on625 = whole / Raster625Hz * Raster625Hz;
    const double distance5 = std::abs(units - static_cast<double>(on5));
    const double distance625 = std::abs(units - static_cast<double>(on625));
    const std::int64_t snapped = distance625 >= distance5 ? on5 : on625;
    return static_cast<double>(snapped) / static_cast<double>(UnitsPerMegahertz);
}

std::string HardLimited(double megahertz) {
    return FixedDecimals(std::clamp(megahertz, LowestFrequency, HighestFrequency), FreqDecimals);
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

std::string GetFreqString(const MemoryImage &image, Field which, int ch) {
    const auto bytes = Line(image, ch).subspan(FreqOffset(which), Record::FreqSize);
    if (!std::all_of(bytes.begin(), bytes.end(), IsPackedDecimal))
        return {};
    std::int64_t units = 0;
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte)
        units = units * 100 + std::int64_t{*byte >> 4} * 10 + (*byte & 0x0F);
    return FixedDecimals(static_cast<double>(units) / static_cast<double>(UnitsPerMegahertz), FreqDecimals);
}

void SetFreqString(MemoryImage &image, Field which, int ch, std::string_view text) {
    const auto bytes = Line(image, ch).subspan(FreqOffset(which), Record::FreqSize);
    if (text.empty()) {
        std::fill(bytes.begin(), bytes.end(), std::uint8_t{0xFF});
        return;
    }
    const auto digits = DigitsOf(text);
    if (!digits)
        return;
    for (std::size_t i = 0; i < Record::FreqSize; ++i)
        bytes[Record::FreqSize - 1 - i] =
            static_cast<std::uint8_t>((*digits)[2 * i] * 16 + (*digits)[2 * i + 1]);
}

NormalizedFreq NormalizeFreq(std::string_view typed, double bandLow, double bandHigh) {
    const bool comma = typed.find(',') != std::string_view::npos;
    const std::optional<double> converted = comma ? NumberWithComma(typed) : NumericPrefix(typed);
    if (!converted)
        return {HardLimited(bandLow), false};

    const double f = *converted;
    const bool above = f > bandHigh;
    const bool below = !above && f < bandLow;
    // Beyond the hard limits nothing is snapped; clamping before it also keeps the raster arithmetic in range
    // when the band itself reaches beyond them.
    const double limited = std::clamp(f, LowestFrequency, HighestFrequency);
    return {HardLimited(SnapToRaster(limited)), above || below};
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
    return IsMarkedEmpty(image, ch) || GetFreqString(image, Field::Rx, ch).empty();
}

} // namespace k470
