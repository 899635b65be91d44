#pragma once

#include <string>

namespace k470 {

/// A file or a port as a shell takes it; one that looks like an option begins with "./".
std::string ForShell(const std::string &argument);

} // namespace k470
