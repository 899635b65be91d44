#pragma once

#include <string>

namespace k470 {

/// An argument as a shell takes it.
std::string ForShell(const std::string &argument);

} // namespace k470
