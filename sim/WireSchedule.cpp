#include "sim/WireSchedule.h"

#include <algorithm>
#include <utility>

namespace k470 {

void WireSchedule::HostSent(std::size_t count, WireTime now) {
    hostFree_ = std::max(hostFree_, now) + Span(count);
}

void WireSchedule::Send(Reply reply) {
    const WireTime start = std::max(hostFree_ + std::chrono::milliseconds(reply.delayMs), deviceFree_);
    deviceFree_ = start + Span(reply.bytes.size());
    transfers_.push_back({std::move(reply), start});
}

std::optional<WireTime> WireSchedule::NextDue() const {
    if (transfers_.empty())
        return std::nullopt;
    return DueTime(transfers_.front());
}

WireSchedule::Delivery WireSchedule::TakeDue(WireTime now) {
    Delivery delivery;
    while (!transfers_.empty() && DueTime(transfers_.front()) <= now) {
        Transfer &transfer = transfers_.front();
        std::vector<std::uint8_t> &bytes = transfer.reply.bytes;
        if (transfer.sent < bytes.size())
            delivery.bytes.push_back(bytes[transfer.sent++]);
        if (transfer.sent < bytes.size())
            continue;
        const bool hangUp = transfer.reply.hangUp;
        if (!bytes.empty())
            delivery.finished.push_back(std::move(bytes));
        transfers_.pop_front();
        if (hangUp) {
            delivery.hangUp = true;
            transfers_.clear();
        }
    }
    return delivery;
}

WireTime WireSchedule::Span(std::size_t bytes) const {
    if (baud_ == 0)
        return WireTime::zero();
    const auto bits = static_cast<WireTime::rep>(bytes) * BitsPerByte;
    return WireTime(bits * std::chrono::nanoseconds(std::chrono::seconds(1)).count() / baud_);
}

/// When the next byte of the transfer has arrived, or when it begins if it has none.
WireTime WireSchedule::DueTime(const Transfer &transfer) const {
    return transfer.start + Span(std::min(transfer.sent + 1, transfer.reply.bytes.size()));
}

} // namespace k470
