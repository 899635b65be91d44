#include "core/AppState.h"
#include "link/ComPorts.h"
#include "link/SerialPort.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {
namespace {

/// "COM1=/dev/a COM2=/dev/b", in table order.
std::string Listed(const ComPortTable &table) {
    std::string text;
    for (const ComPort &port : table)
        text += (text.empty() ? "" : " ") + ComPortName(port.number) + "=" + port.device;
    return text;
}

std::vector<SystemDevice> Devices(std::initializer_list<const char *> names) {
    std::vector<SystemDevice> devices;
    for (const char *name : names)
        devices.push_back({name, std::string("/dev/") + name, std::string("a ") + name});
    return devices;
}

TEST(PortNumberFromName, TakesComFollowedByOneTo255AndRefusesAllElse) {
    struct Case {
        std::string_view name;
        int number;
    };
    constexpr int No = -1;
    const Case cases[] = {
        {"COM1", 1},   {"COM255", 255}, {"CoM9", 9},    {"COM007", 7},         {"", No},
        {"CO", No},    {"COM", No},     {"COM0", No},   {"COM256", No},        {"COM+5", No},
        {"COM-5", No}, {"COM 5", No},   {"COM5x", No},  {"COM0x5", No},        {"XCOM1", No},
        {"1234", No},  {"COMM1", No},   {"COM1.0", No}, {"COM4294967297", No},
    };
    for (const auto &[name, number] : cases)
        EXPECT_EQ(PortNumberFromName(name) ? *PortNumberFromName(name) : No, number) << name;
}

struct Parsed {
    std::string_view text, listed;
};

TEST(PortVariable, KeepsTheEntriesThatParseInTheirOrder) {
    using namespace std::string_view_literals;
    const Parsed cases[] = {
        {";;", ""},
        {"COM10=/dev/b;COM1=/dev/a;", "COM10=/dev/b COM1=/dev/a"},
        {" com3 =\t/dev/with blank ; COM2= x ", "COM3=/dev/with blank COM2=x"},
        {"COM1=/dev/a=b#1", "COM1=/dev/a=b#1"},
        {"COM1=;COM1=/dev/a;COM01=/dev/b;COM2=/dev/c", "COM1=/dev/a COM2=/dev/c"},
        {"COM0=/a;COM256=/b;COM=/c;=/d;/e;COM1;COM 2=/f;TTY1=/g;COM255=/h", "COM255=/h"},
        {"COM1=/dev/a\0b;COM2=/c"sv, "COM2=/c"},
    };
    for (const auto &[text, listed] : cases)
        EXPECT_EQ(Listed(ParsePortVariable(text)), listed) << text;
}

TEST(PortFile, HoldsOneEntryALineWithComments) {
    const Parsed cases[] = {
        {"# nothing\n\n   # more\n", ""},
        {"COM1=/dev/a\r\nCOM2=/dev/b\r\n", "COM1=/dev/a COM2=/dev/b"},
        {"COM1=/dev/a # the bench cable\n#COM2=/dev/b\n\tCOM3=/dev/x#1 #2", "COM1=/dev/a COM3=/dev/x#1"},
        {"COM1= # no device\nCOM1=/dev/b;COM2=/dev/c", "COM1=/dev/b;COM2=/dev/c"},
    };
    for (const auto &[text, listed] : cases)
        EXPECT_EQ(Listed(ParsePortFile(text)), listed) << text;
}

TEST(ComPortTable, NumbersTheSystemsDevicesUnderTheFixedRule) {
    struct Case {
        const char *what;
        std::string_view user;
        std::vector<SystemDevice> devices;
        std::string_view listed;
    };
    const Case cases[] = {
        {"nothing", "", {}, ""},
        {"the ends of the ranges", "",
         Devices({"ttyACM31", "ttyACM0", "ttyUSB31", "ttyUSB0", "ttyS3", "ttyS0"}),
         "COM1=/dev/ttyS0 COM4=/dev/ttyS3 COM5=/dev/ttyUSB0 COM36=/dev/ttyUSB31 COM37=/dev/ttyACM0 "
         "COM68=/dev/ttyACM31"},
        {"beyond the ranges, and names that only look alike", "",
         Devices({"ttyUSB32", "ttyS4", "ttyACM32", "ttyS01", "ttyS", "ttyS1x"}),
         "COM69=/dev/ttyACM32 COM70=/dev/ttyS COM71=/dev/ttyS01 COM72=/dev/ttyS1x COM73=/dev/ttyS4 "
         "COM74=/dev/ttyUSB32"},
        {"name order counts digits as numbers", "",
         Devices({"ttyXR10", "ttyXR02", "ttyXR2", "ttyXR", "ttyX9R"}),
         "COM69=/dev/ttyX9R COM70=/dev/ttyXR COM71=/dev/ttyXR02 COM72=/dev/ttyXR2 COM73=/dev/ttyXR10"},
        {"user entries come first and keep their numbers", "COM70=/u;COM5=/v",
         Devices({"ttyUSB0", "ttyUSB1", "ttyXR0"}),
         "COM70=/u COM5=/v COM6=/dev/ttyUSB1 COM69=/dev/ttyUSB0 COM71=/dev/ttyXR0"},
        {"a device reported twice", "", Devices({"ttyS0", "ttyS0"}), "COM1=/dev/ttyS0 COM69=/dev/ttyS0"},
    };
    for (const auto &[what, user, devices, listed] : cases)
        EXPECT_EQ(Listed(BuildComPortTable(ParsePortVariable(user), devices)), listed) << what;
}

TEST(ComPortTable, KeepsTheFirstOfEqualNumbersAndTheDescriptions) {
    const ComPortTable table = BuildComPortTable(
        {{7, "/a", "first"}, {7, "/b", ""}, {0, "/c", ""}, {256, "/d", ""}}, Devices({"ttyS0"}));
    EXPECT_EQ(Listed(table), "COM7=/a COM1=/dev/ttyS0");
    EXPECT_EQ(FindComPort(table, 1)->description, "a ttyS0");
    EXPECT_EQ(FindComPort(table, 7)->description, "first");
    EXPECT_EQ(FindComPort(table, 2), nullptr);
    AppState state;
    EXPECT_EQ(EnumComPorts(state, table), (std::vector<std::string>{"COM7", "COM1"}));
    EXPECT_EQ(EnumComPorts(state, {}), std::vector<std::string>{""});
    EXPECT_EQ(state.comPortList, std::vector<std::string>{""});
}

TEST(ComPortTable, LeavesOutDevicesBeyondCom255) {
    std::vector<SystemDevice> devices;
    for (int i = 0; i < 400; ++i)
        devices.push_back({"ttyXR" + std::to_string(i), std::to_string(i), ""});
    const ComPortTable table = BuildComPortTable(ParsePortVariable("COM100=/u"), devices);
    ASSERT_EQ(table.size(), 1u + (255 - 69 + 1 - 1));
    EXPECT_EQ(table.back().number, 255);
    EXPECT_EQ(table.back().device, "185");
}

TEST(PortFailureText, NamesPortAndDeviceAndSaysWhatToDo) {
    using Kind = PortFailure::Kind;
    struct Case {
        PortFailure failure;
        std::string_view part;
    };
    const Case cases[] = {
        {{Kind::NoSuchPort, "COM7", "", ""}, "COM7: no serial device"},
        {{Kind::NoSuchDevice, "COM5", "/dev/x", "e"}, "COM5 (/dev/x) is not there. Plug in"},
        {{Kind::Denied, "COM5", "/dev/x", "e"}, "\nsudo usermod -aG dialout $USER\n"},
        {{Kind::Busy, "", "/dev/x", ""}, "/dev/x is in use by another"},
        {{Kind::NotSerial, "COM5", "/tmp", ""}, "COM5 (/tmp) is not a serial port"},
        {{Kind::NoLockFile, "COM5", "/dev/x", "/var/lock: Full"},
         "can be written: /var/lock: Full. The lock"},
        {{Kind::Other, "COM5", "/dev/x", "I/O error"}, "opened: I/O error. "},
        {{Kind::Other, "COM5", "/dev/x", ""}, "could not be opened. "},
    };
    for (const auto &[failure, part] : cases) {
        const std::string text = PortFailureText(failure, Language::English);
        EXPECT_NE(text.find(part), std::string::npos) << text;
    }
    EXPECT_EQ(
        PortFailureText(cases[6].failure, Language::Chinese).find("COM5（/dev/x）无法打开：I/O error。"), 0U);
}

} // namespace
} // namespace k470
