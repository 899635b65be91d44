#include "cli/PortChoice.h"

#include "core/AppState.h"
#include "link/QtComPorts.h"

namespace k470 {

PortChoice ChoosePort(const std::string &argument) {
    if (const auto number = PortNumberFromName(argument)) {
        const auto table = [number] {
            const ComPortTable ports = SystemComPorts();
            const ComPort *const port = FindComPort(ports, *number);
            return port == nullptr ? ComPortTable() : ComPortTable{*port};
        };
        return {.name = ComPortName(*number), .number = *number, .byPath = false, .table = table};
    }
    const ComPortTable table{{.number = DefaultPortNumber, .device = argument, .description = {}}};
    return {
        .name = argument, .number = DefaultPortNumber, .byPath = true, .table = [table] { return table; }};
}

} // namespace k470
