#pragma once

#include "link/SerialPort.h"
#include "link/TraceFile.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace k470 {

/// A port that behaves like another one and writes down what passes: frames when they are sent, replies when
/// they are read, and what a session throws away unread when it does.
class TracedPort : public SerialPort {
public:
    /// Both must outlive the port.
    TracedPort(SerialPort &port, TraceFile &trace) : port_(port), trace_(trace) {}

    void SetCommPort(int number) override { port_.SetCommPort(number); }
    std::optional<PortFailure> Open() override;
    void Close() override;
    bool IsOpen() const override { return port_.IsOpen(); }
    void EmptyBuffers() override;
    void SetReplyLength(std::size_t k) override;
    void Output(std::span<const std::uint8_t> frame) override;
    bool CanBeAnswered() const override { return port_.CanBeAnswered(); }
    std::size_t BytesWaiting() const override { return port_.BytesWaiting(); }
    std::vector<std::uint8_t> Input() override;
    void OnReceived(std::function<void()> handler) override { port_.OnReceived(std::move(handler)); }

private:
    void AddUnread();

    SerialPort &port_;
    TraceFile &trace_;
    std::size_t replyLength_ = 0;
    bool spoken_ = false; ///< a frame was sent since the port was opened: what arrives may answer it
};

} // namespace k470
