#include "cli/ShellText.h"

#include <string_view>

namespace k470 {

std::string ForShell(const std::string &argument) {
    constexpr std::string_view Plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+=:,@";
    if (argument.starts_with('-'))
        return ForShell("./" + argument);
    if (!argument.empty() && argument.find_first_not_of(Plain) == std::string::npos)
        return argument;
    std::string quoted = "'";
    for (const char c : argument)
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted + "'";
}

} // namespace k470
