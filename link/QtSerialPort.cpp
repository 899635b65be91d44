#include "link/QtSerialPort.h"

#include "link/QtLockFile.h"

#include <QFile>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace k470 {

namespace {

namespace fs = std::filesystem;
using Kind = PortFailure::Kind;

Kind KindOfPathError(const std::error_code &error) {
    if (error == std::errc::permission_denied)
        return Kind::Denied;
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
        error == std::errc::too_many_symbolic_link_levels)
        return Kind::NoSuchDevice;
    return Kind::Other;
}

bool MayUse(const std::string &path) {
    return ::faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK, AT_EACCESS) == 0;
}

Kind KindOfOpenError(QSerialPort::SerialPortError error, const std::string &path) {
    switch (error) {
    case QSerialPort::DeviceNotFoundError:
        return Kind::NoSuchDevice;
    case QSerialPort::PermissionError:
        // The same error stands for a device that the user may not use, one that is held exclusively, one
        // whose lock file another program has and one for which no lock file can be written (see OpenDevice).
        return MayUse(path) ? Kind::Busy : Kind::Denied;
    case QSerialPort::UnsupportedOperationError:
        return Kind::NotSerial;
    default:
        return Kind::Other;
    }
}

/// Some cables hold short replies back for 16 ms to fill a packet; this asks them to wait 1 ms only. A device
/// that knows no such wish works without it.
void AskForLowLatency(int descriptor) {
    constexpr int LowLatency = static_cast<int>(ASYNC_LOW_LATENCY);
    serial_struct settings{};
    if (::ioctl(descriptor, TIOCGSERIAL, &settings) != 0 || (settings.flags & LowLatency) != 0)
        return;
    settings.flags |= LowLatency;
    ::ioctl(descriptor, TIOCSSERIAL, &settings);
}

bool HasHungUp(int descriptor) {
    pollfd state{.fd = descriptor, .events = 0, .revents = 0};
    return ::poll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

/// @return whether a failed read means that the other side is gone. A read also fails, on a healthy port,
/// when the bytes that it was called for have been emptied in the meantime.
bool IsDeviceGone(int descriptor) {
    if (HasHungUp(descriptor))
        return true;
    pollfd state{.fd = descriptor, .events = POLLIN, .revents = 0};
    int waiting = 0;
    return ::poll(&state, 1, 0) > 0 && (::ioctl(descriptor, FIONREAD, &waiting) != 0 || waiting == 0);
}

constexpr int LineSpeed = QSerialPort::Baud9600;
constexpr int BitsPerByte = 11;
/// Some adapters send one stop bit whatever they are asked for.
constexpr int FewestBitsPerByte = 10;

/// @return the bits per second of an open line, 0 for one that has no speed
int SpeedOf(int descriptor) {
    struct stat device {};
    constexpr unsigned FirstTerminal = 136; // the major numbers of pseudo-terminals
    constexpr unsigned LastTerminal = 143;
    if (::fstat(descriptor, &device) != 0)
        return 0;
    if (major(device.st_rdev) < FirstTerminal || major(device.st_rdev) > LastTerminal)
        return LineSpeed;
    return std::max(qEnvironmentVariableIntValue("K470_PTY_BAUD"), 0);
}

} // namespace

QtSerialPort::QtSerialPort(std::function<ComPortTable()> ports, QObject *parent)
    : QObject(parent), ports_(std::move(ports)) {
    // LineSettings, in Qt's terms. No flow control: of the cable's wires only the data ones reach the radio.
    port_.setBaudRate(LineSpeed);
    port_.setParity(QSerialPort::NoParity);
    port_.setDataBits(QSerialPort::Data8);
    port_.setStopBits(QSerialPort::TwoStop);
    port_.setFlowControl(QSerialPort::NoFlowControl);
    port_.setReadBufferSize(InBufferSize);
    connect(&port_, &QSerialPort::readyRead, this, &QtSerialPort::QueueNotification);
    connect(&port_, &QSerialPort::errorOccurred, this, &QtSerialPort::CheckError);
    // Qt Serial Port 6.8 reports no error when the other side hangs up: it reads nothing, over and over.
    hangUpTimer_.setInterval(200);
    connect(&hangUpTimer_, &QTimer::timeout, this, &QtSerialPort::CheckForHangUp);
    connect(&port_, &QSerialPort::aboutToClose, &hangUpTimer_, &QTimer::stop);
}

QtSerialPort::~QtSerialPort() {
    port_.disconnect(this);
    QtSerialPort::Close();
}

void QtSerialPort::SetCommPort(int number) {
    number_ = number;
}

std::optional<PortFailure> QtSerialPort::Open() {
    Close();
    PortFailure failure{.kind = Kind::NoSuchPort, .port = ComPortName(number_), .device = {}, .detail = {}};
    const ComPortTable table = ports_();
    const ComPort *const entry = FindComPort(table, number_);
    if (entry == nullptr)
        return failure;
    failure.device = entry->device;
    if (!OpenDevice(failure))
        return failure;

    hangUpTimer_.start();
    bitsPerSecond_ = SpeedOf(static_cast<int>(port_.handle()));
    sendingBytes_ = 0;
    AskForLowLatency(static_cast<int>(port_.handle()));
    // Many cables take their power from these two lines. A device without them is no failure.
    port_.setDataTerminalReady(true);
    port_.setRequestToSend(true);
    // What the radio said before is no reply to this session.
    EmptyBuffers();
    failure.kind = Kind::NoSuchDevice;
    return port_.isOpen() ? std::nullopt : std::optional(failure);
}

/// Opens the device that the failure names. @return false with the failure's kind and detail filled in
bool QtSerialPort::OpenDevice(PortFailure &failure) {
    // A link by id and the device behind it must meet the same lock file, which bears the device's name.
    std::error_code error;
    const std::string path = fs::canonical(failure.device, error).string();
    const fs::file_type type = error ? fs::file_type::none : fs::status(path, error).type();
    if (error) {
        failure.kind = KindOfPathError(error);
        failure.detail = error.message();
        return false;
    }
    // Nothing but a character device is opened: a pipe would block, a file would take the frames.
    if (type != fs::file_type::character) {
        failure.kind = Kind::NotSerial;
        return false;
    }
    port_.setPortName(QFile::decodeName(path.c_str()));
    if (port_.open(QIODevice::ReadWrite))
        return true;
    failure.kind = KindOfOpenError(port_.error(), path);
    failure.detail = port_.errorString().toStdString();
    if (failure.kind != Kind::Busy)
        return false;
    if (const std::string problem = LockFileProblem(path); !problem.empty()) {
        failure.kind = Kind::NoLockFile;
        failure.detail = problem;
    }
    return false;
}

void QtSerialPort::Close() {
    if (!port_.isOpen())
        return;
    // Closing restores the line settings of whoever used the port before, at once: a frame still on its way
    // would leave at another speed, and the radio checks no sum. Longer than LongestWait no frame takes.
    constexpr std::chrono::milliseconds LongestWait(50);
    constexpr std::chrono::milliseconds Margin(3); // for the way over USB
    const Clock::time_point sent = EndOfSending(BitsPerByte);
    if (const Clock::time_point now = Clock::now(); now < sent)
        std::this_thread::sleep_for(std::min<Clock::duration>(sent - now + Margin, LongestWait));
    port_.close();
}

bool QtSerialPort::IsOpen() const {
    return port_.isOpen();
}

void QtSerialPort::EmptyBuffers() {
    if (!port_.isOpen())
        return;
    port_.clear(QSerialPort::Input);
    ResumeReading();
}

void QtSerialPort::SetReplyLength(std::size_t k) {
    replyLength_ = k;
    QueueNotification();
}

void QtSerialPort::Output(std::span<const std::uint8_t> frame) {
    if (!port_.isOpen() || frame.empty())
        return;
    // The time is taken first: an adapter may begin to send while the call has not returned.
    const Clock::time_point now = Clock::now();
    if (EndOfSending(BitsPerByte) <= now) {
        sendingSince_ = now;
        sendingBytes_ = 0;
    }
    sendingBytes_ += frame.size();
    port_.write(reinterpret_cast<const char *>(frame.data()), static_cast<qint64>(frame.size()));
    // Written bytes are only queued: without this a frame would die with a port that is closed soon after.
    port_.flush();
}

bool QtSerialPort::CanBeAnswered() const {
    if (!port_.isOpen() || sendingBytes_ == 0)
        return true;
    // The clocks of cheap adapters and radios run up to some percent fast.
    const Clock::duration least = (EndOfSending(FewestBitsPerByte, replyLength_) - sendingSince_) * 19 / 20;
    return sendingSince_ + least <= Clock::now();
}

std::size_t QtSerialPort::BytesWaiting() const {
    if (!port_.isOpen())
        return 0;
    int inKernel = 0;
    if (::ioctl(static_cast<int>(port_.handle()), FIONREAD, &inKernel) != 0)
        inKernel = 0;
    return static_cast<std::size_t>(port_.bytesAvailable() + inKernel);
}

/// When the last stop bit of what was output leaves, and of a reply right behind it, if a byte takes that
/// many bits.
QtSerialPort::Clock::time_point QtSerialPort::EndOfSending(int bitsPerByte, std::size_t replyLength) const {
    if (bitsPerSecond_ == 0)
        return sendingSince_;
    const auto bits = static_cast<std::chrono::nanoseconds::rep>(sendingBytes_ + replyLength) * bitsPerByte;
    return sendingSince_ + std::chrono::nanoseconds(std::chrono::seconds(bits)) / bitsPerSecond_;
}

std::vector<std::uint8_t> QtSerialPort::Input() {
    if (!port_.isOpen())
        return {};
    auto count = static_cast<std::size_t>(port_.bytesAvailable());
    if (replyLength_ != 0)
        count = std::min(count, replyLength_);
    if (count == 0) // a read of no bytes can silence the port for good
        return {};
    const QByteArray bytes = port_.read(static_cast<qint64>(count));
    ResumeReading();
    QueueNotification();
    return {bytes.begin(), bytes.end()};
}

void QtSerialPort::OnReceived(std::function<void()> handler) {
    handler_ = std::move(handler);
}

/// A full buffer stops the reading, and neither emptying it nor taking a part of it starts the reading again;
/// setting its size does.
void QtSerialPort::ResumeReading() {
    port_.setReadBufferSize(InBufferSize);
}

void QtSerialPort::CheckForHangUp() {
    if (HasHungUp(static_cast<int>(port_.handle())))
        port_.close();
}

void QtSerialPort::CheckError(QSerialPort::SerialPortError error) {
    if (error == QSerialPort::NoError || !port_.isOpen())
        return;
    // Left open, a port that is gone reports its error over and over, as fast as the event loop turns.
    if (IsDeviceGone(static_cast<int>(port_.handle())))
        port_.close();
    else if (error == QSerialPort::ResourceError) // stops the reading, once this signal has been handled
        QMetaObject::invokeMethod(this, &QtSerialPort::ResumeReading, Qt::QueuedConnection);
}

bool QtSerialPort::IsReplyWaiting() const {
    return replyLength_ != 0 && port_.isOpen() &&
           static_cast<std::size_t>(port_.bytesAvailable()) >= replyLength_;
}

void QtSerialPort::QueueNotification() {
    if (queued_ || !IsReplyWaiting())
        return;
    queued_ = true;
    if (!handling_)
        PostNotification();
}

void QtSerialPort::PostNotification() {
    QMetaObject::invokeMethod(this, &QtSerialPort::Notify, Qt::QueuedConnection);
}

void QtSerialPort::Notify() {
    queued_ = false;
    // The bytes may have been read or emptied, the port closed since the notification was queued.
    if (!handler_ || !IsReplyWaiting())
        return;
    const QPointer<QtSerialPort> self(this);
    const std::function<void()> handler = handler_; // it may replace itself
    handling_ = true;
    handler();
    if (self.isNull())
        return;
    handling_ = false;
    if (queued_)
        PostNotification();
}

} // namespace k470
