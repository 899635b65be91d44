#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

struct AppState;

/// A serial device under the name that the program gives it.
struct ComPort {
    int number = 0;          ///< n of the name COM followed by n, 1 to 255
    std::string device;      ///< device path ("/dev/ttyUSB0")
    std::string description; ///< what the system says of the device, may be ""
};

/// The system's table of serial devices, in the order in which they are offered and searched.
using ComPortTable = std::vector<ComPort>;

/// A device of the system before it has a number.
struct SystemDevice {
    std::string name;        ///< "ttyUSB0"
    std::string device;      ///< "/dev/ttyUSB0"
    std::string description; ///< may be ""
};

/// "COM5"
std::string ComPortName(int number);

/// The number formed by a port name from its fourth character on ("COM12" and "com12" give 12).
/// @return nothing when the name is not COM followed by digits, or the number is not 1 to 255
std::optional<std::uint8_t> PortNumberFromName(std::string_view name);

/// Entries "COM1=/dev/pts/5" separated by ";" (the environment variable K470_PORTS). An entry that does not
/// parse, or whose number an earlier one took, is skipped.
ComPortTable ParsePortVariable(std::string_view text);

/// Lines of the same form (the file ports.conf). "#" at the start of a line or after a blank starts a
/// comment.
ComPortTable ParsePortFile(std::string_view text);

/// The user's own entries first, in their order; then the system's devices by number, under a fixed rule:
/// ttyS0 to ttyS3 are COM1 to COM4, ttyUSB0 to ttyUSB31 COM5 to COM36, ttyACM0 to ttyACM31 COM37 to COM68;
/// any other device, and one whose number is taken, the next free number from COM69 in name order, in which
/// digits count as numbers (ttyXR2 before ttyXR10). Devices beyond COM255 are left out. Of entries with the
/// same number the first stays.
ComPortTable BuildComPortTable(ComPortTable userEntries, std::vector<SystemDevice> devices);

/// The names of the table's ports, upper case, in table order; the single entry "" when there is none.
/// They are left in state.comPortList too.
std::vector<std::string> EnumComPorts(AppState &state, const ComPortTable &table);

/// @return the entry of that number, nullptr when there is none
const ComPort *FindComPort(const ComPortTable &table, int number);

} // namespace k470
