#pragma once

#include "sim/SerialDevice.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace k470 {

/// Time since any fixed moment; whoever drives a schedule chooses its clock.
using WireTime = std::chrono::nanoseconds;

/// Bits that a byte takes on the line: a start bit, eight data bits, two stop bits.
inline constexpr int BitsPerByte = 11;

/// When the bytes of a device reach the program. One line each way: a transfer begins when it is due and the
/// one before it is over, so that late replies keep their order. All times follow from the moments at which
/// the program's bytes arrived, never from the moments at which the driver looked.
class WireSchedule {
public:
    /// @param baud bits a second in both directions; 0: transfers take no time
    explicit WireSchedule(int baud = 0) : baud_(baud) {}

    /// Bytes of the program began to arrive at `now`.
    void HostSent(std::size_t count, WireTime now);

    /// Queues an answer to what the program sent last: it begins when that has travelled, plus the reply's
    /// delay.
    void Send(Reply reply);

    /// When the next byte, or hang-up, is due; nothing while nothing is on its way.
    std::optional<WireTime> NextDue() const;

    struct Delivery {
        std::vector<std::uint8_t> bytes;                 ///< due by now, in order
        std::vector<std::vector<std::uint8_t>> finished; ///< the replies whose last byte is among them
        bool hangUp = false;                             ///< the device left after them; nothing follows
    };
    /// Takes off the line what is due at `now`.
    Delivery TakeDue(WireTime now);

private:
    struct Transfer {
        Reply reply;
        WireTime start;
        std::size_t sent = 0;
    };

    WireTime Span(std::size_t bytes) const;
    WireTime DueTime(const Transfer &transfer) const;

    int baud_;
    WireTime hostFree_ = WireTime::min();   ///< when the program's last transfer is over
    WireTime deviceFree_ = WireTime::min(); ///< when the last queued reply is over
    std::deque<Transfer> transfers_;
};

} // namespace k470
