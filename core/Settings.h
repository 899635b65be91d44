#pragma once

#include "core/MemoryImage.h"
#include "resources/StringTable.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// Nothing is selected in a list.
inline constexpr int NoEntry = -1;

/// One radio-wide function setting: where it lives, what it is called and how its byte reads as a list
/// position and back. A check box counts as a list of two: 0 unchecked, 1 checked.
struct SettingShape {
    std::size_t address;
    const char *control;       ///< name of its control
    const char *label;         ///< name of the control's label, nullptr for a check box
    TextPair caption;          ///< on the window; empty when it has a number
    int captionId;             ///< id of the caption when it has one, else 0
    std::string_view fileName; ///< in JSON and CSV
    TextPair words;            ///< the name in a sentence
    /// The byte in a new image; nothing keeps the byte of the old one.
    std::optional<std::uint8_t> newByte;
    /// List position shown for a byte; NoEntry selects nothing.
    int (*toEntry)(std::uint8_t byte);
    /// Byte for a list position or NoEntry; nothing leaves the byte as it is.
    std::optional<std::uint8_t> (*toByte)(int entry);
    /// Texts of the list in order, "No" and "Yes" for a check box. The list of the working channel ends at
    /// the channel count.
    std::vector<std::string> (*entries)(Language language);

    bool IsCheckBox() const { return label == nullptr; }
};

/// All settings, in the order in which they are loaded into the controls and collected.
extern const std::span<const SettingShape> SettingShapes;

/// @param address of a setting
const SettingShape &SettingAt(std::size_t address);

/// The caption of a setting in the language.
std::string SettingCaption(const SettingShape &shape, Language language);

/// The caption without the colon that some have for the place where they stand on the window.
std::string SettingName(const SettingShape &shape, Language language);

/// List position of the working channel in a list of the channels 1 to `channels`: its own entry, else the
/// first; NoEntry when the list is empty.
int WorkingChannelEntry(std::uint8_t byte, int channels);

/// The texts "1" to `count`.
std::vector<std::string> NumberEntries(int count);

/// A setting's value as the program shows it, without controls.
std::string SettingText(const MemoryImage &image, const SettingShape &shape, Language language);

/// When the working channel is empty, the first channel in use that is not becomes the working channel, or 0
/// when all are empty.
void FixWorkingChannel(MemoryImage &image);

} // namespace k470
