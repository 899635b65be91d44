#pragma once

#include "core/MemoryImage.h"
#include "resources/StringTable.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace k470 {

/// The radio-wide function settings, in the order in which they are loaded into the controls and collected.
enum class Setting {
    TimeOutTimer,
    Squelch,
    Voice,
    ChannelCount,
    WorkingChannel,
    Volume,
    BatterySave,
    Beep,
    Scrambler,
    Compander
};

/// Nothing is selected in a list.
inline constexpr int NoEntry = -1;

/// One function setting: where it lives, how its byte reads as a list position and back. A check box counts
/// as a list of two: 0 unchecked, 1 checked.
struct SettingShape {
    Setting setting;
    std::size_t address;
    const char *control; ///< name of its control
    const char *label;   ///< name of the control's label, nullptr for a check box
    TextPair caption;
    int captionId = 0; ///< id of the caption when it has one, else 0
    /// List position shown for a byte; NoEntry selects nothing.
    int (*toEntry)(std::uint8_t byte);
    /// Byte for a list position or NoEntry; nothing leaves the byte as it is.
    std::optional<std::uint8_t> (*toByte)(int entry);
    /// Texts of the list in order, none for a check box and for the working channel, whose list follows the
    /// channel count.
    std::vector<std::string> (*entries)(Language language);
};

/// All ten, in the order of Setting.
extern const std::array<SettingShape, 10> SettingShapes;
const SettingShape &ShapeOf(Setting setting);

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
std::string SettingText(const MemoryImage &image, Setting setting, Language language);

/// When the working channel is empty, the first channel in use that is not becomes the working channel, or 0
/// when all are empty.
void FixWorkingChannel(MemoryImage &image);

} // namespace k470
