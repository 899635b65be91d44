#pragma once

#include "core/MemoryMap.h"

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace k470 {

/// A channel's frequency: a whole number of 10 Hz, below 1000 MHz.
class Frequency {
public:
    static constexpr int PerMegahertz = 100'000;

    /// @param units 10 Hz, 0 to 99'999'999
    static constexpr Frequency FromUnits(int units) { return Frequency(units); }

    /// @param megahertz 0 or more, below 1000; rounded to 10 Hz, halves to the even neighbour
    static Frequency FromMegahertz(double megahertz);

    /// The frequency of a record's field: packed decimal, least significant byte first.
    /// @return nothing when one of the bytes is not packed decimal
    static std::optional<Frequency> FromBytes(std::span<const std::uint8_t, Record::FreqSize> bytes);

    /// A text in the form of Text, with any character as separator.
    /// @return nothing for another form
    static std::optional<Frequency> FromText(std::string_view text);

    /// A number as people write it ("446.525", "446").
    /// @return nothing for 1000 MHz and more, for more than five decimals, and for a text that is no number
    static std::optional<Frequency> FromDecimal(std::string_view text);

    constexpr int Units() const { return units_; }
    double Megahertz() const;
    std::array<std::uint8_t, Record::FreqSize> Bytes() const;

    /// MHz with one to three integer digits and five decimals ("146.52500").
    std::string Text() const;

    auto operator<=>(const Frequency &) const = default;

private:
    constexpr explicit Frequency(int units) : units_(units) {}

    int units_;
};

} // namespace k470
