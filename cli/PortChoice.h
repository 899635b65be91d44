#pragma once

#include "link/ComPorts.h"

#include <cstdint>
#include <functional>
#include <string>

namespace k470 {

/// The port that the user named.
struct PortChoice {
    std::string name; ///< "COM5", or the device path as given
    std::uint8_t number = 0;
    bool byPath = false; ///< the number is only a stand-in for the path
    /// The table of this port alone, read anew: a session never wanders to another port. Empty when no device
    /// bears the COM name.
    std::function<ComPortTable()> table;
};

/// @param argument "COM1" to "COM255", or a device path
PortChoice ChoosePort(const std::string &argument);

} // namespace k470
