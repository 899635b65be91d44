#pragma once

#include "link/ComPorts.h"
#include "link/SerialPort.h"

#include <QObject>
#include <QSerialPort>
#include <QTimer>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace k470 {

/// The serial port of Qt behind the interface that the clone session uses. Lives on the thread of its event
/// loop.
///
/// A device that goes away (cable pulled, other side hung up) closes the port within moments; nothing is
/// raised for it, IsOpen tells. Up to InBufferSize bytes wait here, what comes beyond waits in the kernel: a
/// radio that talks too much loses nothing and costs neither memory nor time until its bytes are read or
/// emptied.
class QtSerialPort : public QObject, public SerialPort {
    Q_OBJECT

public:
    /// @param ports called at every opening, so that a cable plugged in since is found
    explicit QtSerialPort(std::function<ComPortTable()> ports, QObject *parent = nullptr);
    ~QtSerialPort() override;

    void SetCommPort(int number) override;
    /// An open port is closed first.
    std::optional<PortFailure> Open() override;
    /// Waits until the last frame has left the cable: up to 25 ms after one of 20 bytes.
    void Close() override;
    bool IsOpen() const override;
    void EmptyBuffers() override;
    void SetReplyLength(std::size_t k) override;
    void Output(std::span<const std::uint8_t> frame) override;
    /// A pseudo-terminal has a speed only when the environment variable K470_PTY_BAUD names one, for tests.
    bool CanBeAnswered() const override;
    /// Those that the kernel holds are counted too.
    std::size_t BytesWaiting() const override;
    std::vector<std::uint8_t> Input() override;
    /// The handler may close or delete the port. While it runs, even in an event loop of its own, it is not
    /// called again.
    void OnReceived(std::function<void()> handler) override;

private:
    using Clock = std::chrono::steady_clock;

    bool OpenDevice(PortFailure &failure);
    Clock::time_point EndOfSending(int bitsPerByte, std::size_t replyLength = 0) const;
    void ResumeReading();
    void CheckForHangUp();
    void CheckError(QSerialPort::SerialPortError error);

    bool IsReplyWaiting() const;
    void QueueNotification();
    void PostNotification();
    void Notify();

    std::function<ComPortTable()> ports_;
    std::function<void()> handler_;
    QSerialPort port_;
    QTimer hangUpTimer_;             ///< runs while the port is open
    int bitsPerSecond_ = 0;          ///< of the open line; 0: a line without a speed
    Clock::time_point sendingSince_; ///< when the first of the bytes that leave without a pause was output
    std::size_t sendingBytes_ = 0;   ///< how many these are
    int number_ = 0;
    std::size_t replyLength_ = 0;
    bool queued_ = false;   ///< a notification is posted, or due when the handler returns
    bool handling_ = false; ///< the handler runs
};

} // namespace k470
