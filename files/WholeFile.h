#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace k470 {

/// Why a file could not be read or written, in the system's own words.
using FileFailure = std::optional<std::string>;

/// What the system has no words for: a pipe, a device or a socket where a file is needed.
inline constexpr const char *NotRegularFile = "Not a regular file";

/// Reads a regular file from its start. A file larger than the limit gives limit + 1 bytes, the rest is not
/// read.
/// @return why not; nothing when it was read
[[nodiscard]] FileFailure ReadWholeFile(const std::string &path, std::size_t limit,
                                        std::vector<std::uint8_t> &bytes);

/// Makes the bytes the content of the file. An existing file is replaced in one step: whatever happens, power
/// loss included, its old content or the new one is there, whole. It keeps its permissions, and its owner and
/// group where the user may set them; a symbolic link stays and the file that it points to is replaced. A new
/// file gets the user's default permissions.
/// @return why not, the old content being untouched; nothing when it was written
[[nodiscard]] FileFailure ReplaceFile(const std::string &path, std::span<const std::uint8_t> bytes);

} // namespace k470
