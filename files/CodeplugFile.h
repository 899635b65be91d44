#pragma once

#include "core/MemoryImage.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

inline constexpr std::string_view FileExtension = ".tw";
/// The only entry of the file dialogs' type list.
inline constexpr std::string_view FileFilter = "tw Files (*.tw)";

/// Plain content: the mark, filler up to the image, the image.
inline constexpr std::string_view FileMark = "SLQFEO";
inline constexpr std::size_t ImageOffset = 16;
inline constexpr std::size_t PlainSize = ImageOffset + ImageSize;
static_assert(FileMark.size() < ImageOffset && PlainSize == 1808);

/// A larger file is no codeplug; nothing beyond is read.
inline constexpr std::size_t MaxFileSize = std::size_t{1} << 20;

/// Why a file gave no image.
struct LoadFailure {
    enum class Kind {
        Unreadable, ///< missing, a folder, not permitted
        NotPacked,  ///< does not unpack; also an empty file and one above MaxFileSize
        NoCodeplug, ///< unpacks to another length than PlainSize, or to another mark
    };
    Kind kind = Kind::Unreadable;
    std::string text; ///< the system's own words when Unreadable, else ""
};

std::vector<std::uint8_t> BuildPlainContent(const MemoryImage &image);

/// @return false when length or mark are wrong, the image is then untouched; the filler is not examined
[[nodiscard]] bool ParsePlainContent(std::span<const std::uint8_t> plain, MemoryImage &image);

/// The bytes of the file that holds the image.
std::vector<std::uint8_t> PackImage(const MemoryImage &image);

/// @return why the bytes give no image, which is then untouched; nothing when it was loaded
[[nodiscard]] std::optional<LoadFailure> UnpackImage(std::span<const std::uint8_t> packed,
                                                     MemoryImage &image);

/// @return why the file gives no image, which is then untouched; nothing when it was loaded
[[nodiscard]] std::optional<LoadFailure> ReadCodeplug(const std::string &path, MemoryImage &image);

/// Saves the image as ReplaceFile does.
/// @return the system's own words when it failed, the old file being whole; nothing when it was saved
[[nodiscard]] std::optional<std::string> WriteCodeplug(const std::string &path, const MemoryImage &image);

/// A path whose file name has no dot gets FileExtension.
std::string WithFileExtension(std::string path);

} // namespace k470
