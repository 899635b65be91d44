#pragma once

#include "cli/PortChoice.h"
#include "core/MemoryImage.h"
#include "resources/StringTable.h"

#include <optional>
#include <string>

namespace k470 {

// Images of radios that are kept before a write, in the folder k470/backups of the user's state folder
// (XDG_STATE_HOME when it is an absolute path, else .local/state at home). A failure is worded for the user.

/// Makes the folder, for its owner alone, unless it is there.
/// @return why a backup could not be kept in it, or nothing
[[nodiscard]] std::optional<std::string> MakeBackupFolder(std::string &folder, Language language);

/// Keeps the image under a name of its own, such as "2026-11-22T134512-COM5.tw": local time, COM name or the
/// device's file name, a number from 2 on where the name is taken.
/// @return why not, or nothing
[[nodiscard]] std::optional<std::string> KeepBackup(const std::string &folder, const PortChoice &port,
                                                    const MemoryImage &image, std::string &path,
                                                    Language language);

} // namespace k470
