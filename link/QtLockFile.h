#pragma once

#include <string>

namespace k470 {

/// Why Qt Serial Port can write no lock file for a device: where, and what keeps it in the system's words
/// ("/var/lock: No space left on device"). "" when it can, or when a running program holds the lock.
/// @param device  path of the device without links ("/dev/ttyUSB0")
std::string LockFileProblem(const std::string &device);

} // namespace k470
