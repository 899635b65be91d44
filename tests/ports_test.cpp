#include "link/ComPorts.h"
#include "link/SerialPort.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
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
        int number; // 0: refused
    };
    for (const auto &[name, number] : std::initializer_list<Case>{{"COM1", 1},
                                                                  {"COM12", 12},
                                                                  {"COM255", 255},
                                                                  {"com4", 4},
                                                                  {"CoM9", 9},
                                                                  {"COM007", 7},
                                                                  {"", 0},
                                                                  {"CO", 0},
                                                                  {"COM", 0},
                                                                  {"COM0", 0},
                                                                  {"COM256", 0},
                                                                  {"COM+5", 0},
                                                                  {"COM-5", 0},
                                                                  {"COM 5", 0},
                                                                  {"COM5 ", 0},
                                                                  {"COM5x", 0},
                                                                  {"COM0x5", 0},
                                                                  {"LPT1", 0},
                                                                  {"XCOM1", 0},
                                                                  {"1234", 0},
                                                                  {"COM1.0", 0},
                                                                  {"COMM1", 0},
                                                                  {"COM\xEF\xBC\x91", 0},
                                                                  {"COM4294967297", 0},
                                                                  {"COM99999999999999999999", 0}})
        EXPECT_EQ(PortNumberFromName(name).value_or(0), number) << name;
}

TEST(PortVariable, KeepsTheEntriesThatParseInTheirOrder) {
    struct Case {
        std::string_view text;
        std::string_view listed;
    };
    using namespace std::string_view_literals;
    for (const auto &[text, listed] : std::initializer_list<Case>{
             {"", ""},
             {";;", ""},
             {"COM1=/dev/pts/5", "COM1=/dev/pts/5"},
             {"COM10=/dev/b;COM1=/dev/a;", "COM10=/dev/b COM1=/dev/a"},
             {" com3 =\t/dev/with blank ; COM2= x ", "COM3=/dev/with blank COM2=x"},
             {"COM1=/dev/a=b", "COM1=/dev/a=b"},
             {"COM1=/dev/#1", "COM1=/dev/#1"},
             {"COM1=/dev/a;COM01=/dev/b;COM2=/dev/c", "COM1=/dev/a COM2=/dev/c"},
             {"COM1=;COM1=/dev/late", "COM1=/dev/late"},
             {"COM0=/a;COM256=/b;COM=/c;=/d;/e;COM1;COM 2=/f;TTY1=/g;COM255=/h", "COM255=/h"},
             {"COM1=/dev/a\0b;COM2=/c"sv, "COM2=/c"},
         })
        EXPECT_EQ(Listed(ParsePortVariable(text)), listed) << text;
}

TEST(PortFile, HoldsOneEntryALineWithComments) {
    struct Case {
        std::string_view text;
        std::string_view listed;
    };
    for (const auto &[text, listed] : std::initializer_list<Case>{
             {"", ""},
             {"# nothing\n\n   # more\n", ""},
             {"COM1=/dev/a\r\nCOM2=/dev/b\r\n", "COM1=/dev/a COM2=/dev/b"},
             {"COM1=/dev/a # the bench cable\n#COM2=/dev/b\n\tCOM3=/dev/c", "COM1=/dev/a COM3=/dev/c"},
             {"COM1=/dev/by-id/x#1 #2", "COM1=/dev/by-id/x#1"},
             {"COM1= # no device\nCOM1=/dev/b\nCOM1=/dev/c", "COM1=/dev/b"},
             {"COM1=/dev/a;COM2=/dev/b", "COM1=/dev/a;COM2=/dev/b"},
         })
        EXPECT_EQ(Listed(ParsePortFile(text)), listed) << text;
}

TEST(ComPortTable, NumbersTheSystemsDevicesUnderTheFixedRule) {
    struct Case {
        const char *what;
        std::string_view user;
        std::vector<SystemDevice> devices;
        std::string_view listed;
    };
    for (const auto &[what, user, devices, listed] : std::vector<Case>{
             {"nothing", "", {}, ""},
             {"the ends of the ranges", "",
              Devices({"ttyACM31", "ttyACM0", "ttyUSB31", "ttyUSB0", "ttyS3", "ttyS0"}),
              "COM1=/dev/ttyS0 COM4=/dev/ttyS3 COM5=/dev/ttyUSB0 COM36=/dev/ttyUSB31 COM37=/dev/ttyACM0 "
              "COM68=/dev/ttyACM31"},
             {"beyond the ranges, and names that only look alike", "",
              Devices({"ttyUSB32", "ttyS4", "ttyACM32", "ttyS01", "ttyS", "ttyS1x", "rfcomm0"}),
              "COM69=/dev/rfcomm0 COM70=/dev/ttyACM32 COM71=/dev/ttyS COM72=/dev/ttyS01 COM73=/dev/ttyS1x "
              "COM74=/dev/ttyS4 COM75=/dev/ttyUSB32"},
             {"name order counts digits as numbers", "",
              Devices({"ttyXR10", "ttyXR2", "ttyXR02", "ttyXR", "ttyX9R"}),
              "COM69=/dev/ttyX9R COM70=/dev/ttyXR COM71=/dev/ttyXR02 COM72=/dev/ttyXR2 COM73=/dev/ttyXR10"},
             {"user entries come first and keep their numbers", "COM70=/u;COM5=/v",
              Devices({"ttyUSB0", "ttyUSB1", "ttyXR0"}),
              "COM70=/u COM5=/v COM6=/dev/ttyUSB1 COM69=/dev/ttyUSB0 COM71=/dev/ttyXR0"},
             {"a device reported twice", "", Devices({"ttyS0", "ttyS0"}), "COM1=/dev/ttyS0 COM69=/dev/ttyS0"},
         })
        EXPECT_EQ(Listed(BuildComPortTable(ParsePortVariable(user), devices)), listed) << what;
}

TEST(ComPortTable, KeepsTheFirstOfEqualNumbersAndTheDescriptions) {
    const ComPortTable table = BuildComPortTable(
        {{7, "/a", "first"}, {7, "/b", ""}, {0, "/c", ""}, {256, "/d", ""}}, Devices({"ttyS0"}));
    EXPECT_EQ(Listed(table), "COM7=/a COM1=/dev/ttyS0");
    ASSERT_NE(FindComPort(table, 1), nullptr);
    EXPECT_EQ(FindComPort(table, 1)->description, "a ttyS0");
    EXPECT_EQ(FindComPort(table, 7)->description, "first");
    EXPECT_EQ(FindComPort(table, 2), nullptr);
}

TEST(ComPortTable, LeavesOutDevicesBeyondCom255) {
    std::vector<SystemDevice> devices;
    for (int i = 0; i < 400; ++i)
        devices.push_back({"ttyXR" + std::to_string(i), "/dev/ttyXR" + std::to_string(i), ""});
    const ComPortTable table = BuildComPortTable(ParsePortVariable("COM100=/u"), devices);
    ASSERT_EQ(table.size(), 1u + (255 - 69 + 1 - 1));
    EXPECT_EQ(table.back().number, 255);
    EXPECT_EQ(table.back().device, "/dev/ttyXR185");
    EXPECT_EQ(FindComPort(table, 100)->device, "/u");
}

TEST(EnumComPorts, ListsNamesInTableOrderAndOneEmptyEntryForNone) {
    EXPECT_EQ(EnumComPorts(ParsePortVariable("com10=/a;Com1=/b")),
              (std::vector<std::string>{"COM10", "COM1"}));
    EXPECT_EQ(EnumComPorts({}), std::vector<std::string>{""});
}

TEST(PortFailureText, NamesPortAndDeviceAndSaysWhatToDo) {
    using Kind = PortFailure::Kind;
    struct Case {
        PortFailure failure;
        std::string_view english;
        std::string_view chinese;
    };
    for (const auto &[failure, english, chinese] : std::initializer_list<Case>{
             {{Kind::NoSuchPort, "COM7", "", ""}, "COM7: no serial device", "COM7：没有"},
             {{Kind::NoSuchDevice, "COM5", "/dev/x", "e"},
              "COM5 (/dev/x) is not there. ",
              "COM5（/dev/x）不存在。"},
             {{Kind::Denied, "COM5", "/dev/x", "e"},
              "\nsudo usermod -aG dialout $USER\n",
              "\nsudo usermod -aG dialout $USER\n"},
             {{Kind::Denied, "COM5", "/dev/x", "e"}, "log in again", "重新登录"},
             {{Kind::Busy, "COM5", "/dev/x", "e"},
              "COM5 (/dev/x) is in use by another",
              "COM5（/dev/x）正被其他程序"},
             {{Kind::NotSerial, "COM5", "/tmp", ""},
              "COM5 (/tmp) is not a serial port",
              "COM5（/tmp）不是串口"},
             {{Kind::Other, "COM5", "/dev/x", "I/O error"}, "opened: I/O error. ", "无法打开：I/O error。"},
             {{Kind::Other, "COM5", "/dev/x", ""}, "could not be opened. ", "无法打开。"},
             {{Kind::Busy, "", "/dev/x", ""}, "/dev/x is in use", "/dev/x正被"},
         }) {
        EXPECT_NE(PortFailureText(failure, Language::English).find(english), std::string::npos)
            << PortFailureText(failure, Language::English);
        EXPECT_NE(PortFailureText(failure, Language::Chinese).find(chinese), std::string::npos)
            << PortFailureText(failure, Language::Chinese);
    }
}

} // namespace
} // namespace k470
