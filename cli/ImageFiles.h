#pragma once

#include "core/MemoryImage.h"
#include "resources/StringTable.h"

#include <optional>
#include <string>
#include <string_view>

namespace k470 {

// Files that hold an image: packed when the name ends in ".tw", in upper or lower case, else its 1792 raw
// bytes. A failure is worded for the user, the file's name included.

bool IsPackedName(std::string_view path);

/// Whether the name ends so, in upper or lower case.
bool HasEnding(std::string_view path, std::string_view ending);

/// @return why the file gives no image, which is then untouched; nothing when it was loaded
[[nodiscard]] std::optional<std::string> LoadImageFile(const std::string &path, MemoryImage &image,
                                                       Language language);

/// An existing file is replaced in one step.
/// @return why not, the old file being whole; nothing when it was saved
[[nodiscard]] std::optional<std::string> SaveImageFile(const std::string &path, const MemoryImage &image,
                                                       Language language);

/// Whether both paths lead to the same file, which need not be there yet.
bool IsSameFile(const std::string &one, const std::string &other);

/// Tells beforehand most of what would make SaveImageFile fail. Changes nothing.
/// @return why not, or nothing
[[nodiscard]] std::optional<std::string> CheckImageTarget(const std::string &path, Language language);

} // namespace k470
