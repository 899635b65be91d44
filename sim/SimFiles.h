#pragma once

#include "core/MemoryImage.h"

#include <optional>
#include <string>

namespace k470 {

struct LoadedMemory {
    std::optional<MemoryImage> image;
    std::string error; ///< why there is no image
};

/// Reads a memory from a file of exactly its 1792 raw bytes.
LoadedMemory LoadMemory(const std::string &path);

/// Replaces the file in one step, so that a reader finds the old memory or the new one.
/// @return why not, or nothing
std::optional<std::string> SaveMemory(const std::string &path, const MemoryImage &image);

/// Tries out whether SaveMemory may succeed, without touching the file itself.
/// @return why not, or nothing
std::optional<std::string> CheckSavable(const std::string &path);

/// Makes the path a symbolic link to the target in one step. What is there must be a symbolic link or
/// nothing.
/// @return why not, or nothing
std::optional<std::string> PointLink(const std::string &path, const std::string &target);

/// Removes the symbolic link if it still leads to the target.
void RemoveLink(const std::string &path, const std::string &target);

} // namespace k470
