#include "core/Frequency.h"

#include "core/NumberText.h"
#include "core/PackedDecimal.h"

#include <algorithm>

namespace k470 {

namespace {

constexpr int Decimals = 5;
constexpr int HighestUnits = 99'999'999;

} // namespace

Frequency Frequency::FromMegahertz(double megahertz) {
    return Frequency(static_cast<int>(RoundHalfEven(megahertz * PerMegahertz)));
}

std::optional<Frequency> Frequency::FromBytes(std::span<const std::uint8_t, Record::FreqSize> bytes) {
    if (!std::all_of(bytes.begin(), bytes.end(), IsPackedDecimal))
        return std::nullopt;
    int units = 0;
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte)
        units = units * 100 + UnpackDigits(*byte);
    return Frequency(units);
}

std::optional<Frequency> Frequency::FromText(std::string_view text) {
    constexpr std::size_t Shortest = 1 + 1 + Decimals;
    constexpr std::size_t Longest = 3 + 1 + Decimals;
    if (text.size() < Shortest || text.size() > Longest)
        return std::nullopt;
    std::string pointed(text);
    pointed[text.size() - Decimals - 1] = '.';
    return FromDecimal(pointed);
}

std::optional<Frequency> Frequency::FromDecimal(std::string_view text) {
    const std::optional<int> units = ParseDecimal(text, Decimals);
    if (!units || *units > HighestUnits)
        return std::nullopt;
    return Frequency(*units);
}

double Frequency::Megahertz() const {
    return static_cast<double>(units_) / PerMegahertz;
}

std::array<std::uint8_t, Record::FreqSize> Frequency::Bytes() const {
    std::array<std::uint8_t, Record::FreqSize> bytes{};
    int rest = units_;
    for (std::uint8_t &byte : bytes) {
        byte = PackDigits(rest);
        rest /= 100;
    }
    return bytes;
}

std::string Frequency::Text() const {
    return FormatDecimal(units_, Decimals);
}

} // namespace k470
