#pragma once

#include "core/MemoryImage.h"
#include "resources/StringTable.h"

#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// Something in an image that a radio would not work with, or that the program would not show as it is.
struct ImageWarning {
    enum class Kind {
        OutsideBand,         ///< a frequency
        OffRaster,           ///< a frequency on neither the 5 nor the 6.25 kHz raster
        NoFrequency,         ///< bytes that are no packed decimal and not erased
        UnknownTone,         ///< a word of no known kind or outside its range
        NotInList,           ///< a setting that its list does not offer
        NoChoice,            ///< bits of a channel that no choice has; the value is the choice shown for them
        EmptyWorkingChannel, ///< the radio would start on a channel without a frequency
        NoBand,              ///< limits that no band has
        BeyondCount,         ///< a programmed channel that no write sends
    };
    static constexpr int WholeRadio = -1;

    Kind kind;
    int channel = WholeRadio; ///< 0 to 98
    std::string_view field;   ///< the name for machines, such as "receiveFrequency"
    std::string value;        ///< as files have it, in English; bytes that are none in the form "0x1234"
    bool operator==(const ImageWarning &) const = default;
};

/// All warnings: the whole radio's first, then those of the channels in ascending order. When the channel
/// count is none, every channel counts as in use; of the others only that they are programmed is told. Empty
/// channels are not looked into.
std::vector<ImageWarning> CheckImage(const MemoryImage &image);

/// The field of a warning in words.
std::string_view FieldName(const ImageWarning &warning, Language language);

/// What is wrong, in words.
std::string_view WarningText(ImageWarning::Kind kind, Language language);

} // namespace k470
