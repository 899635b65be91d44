#include "link/SerialPort.h"

#include <array>

namespace k470 {

namespace {

/// A failure in words: the port, what is wrong, the system's description where it helps, what to do.
struct FailureWords {
    TextPair problem;
    TextPair advice;
    bool withDetail = false;
};

constexpr TextPair PlugIn{". Plug in the programming cable or choose another port.",
                          "。请插好写频线，或选择其他串口。"};

/// In the order of PortFailure::Kind.
constexpr std::array<FailureWords, 7> Words{{
    {{": no serial device has this name", "：没有使用此名称的串口设备"}, PlugIn},
    {{" is not there", "不存在"}, PlugIn},
    {{" may not be used by your account", "不允许当前用户使用"},
     {". Join the group that may use serial ports:\n\nsudo usermod -aG dialout $USER\n\n"
      "Then log out and log in again.",
      "。请加入可以使用串口的用户组：\n\nsudo usermod -aG dialout $USER\n\n然后注销并重新登录。"}},
    {{" is in use by another program", "正被其他程序使用"},
     {". Close that program and try again.", "。请关闭该程序，然后重试。"}},
    {{" is not a serial port", "不是串口"},
     {". Choose another port or check the path of the device.", "。请选择其他串口，或检查设备路径。"}},
    {{" cannot be locked, since no lock file can be written", "无法锁定，因为无法写入锁文件"},
     {". The lock file keeps other programs off the port. Make the folder writable, free disk space or lift "
      "the file size limit, and try again.",
      "。锁文件防止其他程序同时使用该串口。请将该文件夹设为可写、释放磁盘空间或取消文件大小限制，然后重试。"},
     true},
    {{" could not be opened", "无法打开"},
     {". Unplug the programming cable, plug it in again and try again.", "。请重新插拔写频线，然后重试。"},
     true},
}};

/// "COM5 (/dev/ttyUSB0)", or the one of the two that is known.
std::string PortAndDevice(const PortFailure &failure, Language language) {
    if (failure.port.empty() || failure.device.empty())
        return failure.port + failure.device;
    std::string text = failure.port;
    text += Pick(language, {" (", "（"});
    text += failure.device;
    text += Pick(language, {")", "）"});
    return text;
}

} // namespace

std::string PortFailureText(const PortFailure &failure, Language language) {
    const FailureWords &words = Words[static_cast<std::size_t>(failure.kind)];
    std::string text = PortAndDevice(failure, language);
    text += Pick(language, words.problem);
    if (words.withDetail && !failure.detail.empty()) {
        text += Pick(language, {": ", "："});
        text += failure.detail;
    }
    text += Pick(language, words.advice);
    return text;
}

} // namespace k470
