#pragma once

#include "link/ComPorts.h"

namespace k470 {

/// Folder of the program's settings file and of ports.conf: "k470" under the user's configuration folder.
std::string ConfigFolder();

/// Reads the table of serial devices anew: the environment variable K470_PORTS when it is set (it is the
/// whole table then, even when empty), else ports.conf in ConfigFolder followed by the devices that the
/// system reports.
ComPortTable SystemComPorts();

} // namespace k470
