#pragma once

#include "core/FrameLog.h"
#include "core/MemoryImage.h"
#include "sim/Faults.h"
#include "sim/SerialDevice.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace k470 {

/// The radio's side of the clone protocol, byte by byte, session after session. It answers what a program may
/// rightly send; a frame that is out of place or malformed is complained about and otherwise ignored, so that
/// the program meets silence. One thing it complains about and still answers: an acknowledge that was already
/// acknowledged. Once a fault has struck, such a repetition is the program's right until the session ends.
///
/// A handshake restarts the radio at any time. After a malformed frame, whose length nobody knows, the radio
/// listens for nothing but a handshake until the line falls silent.
class SimulatedRadio : public SerialDevice {
public:
    explicit SimulatedRadio(const MemoryImage &memory, FaultInjector faults = FaultInjector());

    std::vector<Reply> Feed(std::span<const std::uint8_t> bytes) override;
    bool FramePending() const override;
    void Silence() override;

    const MemoryImage &Memory() const { return memory_; }

    /// The frames of both directions, as they were on the line. What the radio did not listen to and a reply
    /// that a fault swallowed are not among them.
    const std::vector<LoggedFrame> &Log() const { return log_; }
    /// The log since it was last taken.
    std::vector<LoggedFrame> TakeLog() { return std::exchange(log_, {}); }

    /// What the program did wrong, a sentence each with the frame in hexadecimal; empty after healthy
    /// sessions.
    const std::vector<std::string> &Complaints() const { return complaints_; }
    std::vector<std::string> TakeComplaints() { return std::exchange(complaints_, {}); }

    /// Sessions that the end byte closed in its place.
    int CompletedSessions() const { return completedSessions_; }
    /// Sessions that are over: by the end byte, in its place or not, or by a hang-up.
    int EndedSessions() const { return endedSessions_; }
    /// Whether the latest session ended with the end byte; false from its handshake on until then.
    bool EndedByE() const { return endedByE_; }

    /// The protocol step of the latest frame that was in its place.
    int Step() const { return step_; }

    /// What the faults did so far.
    const std::vector<Strike> &Strikes() const { return faults_.Strikes(); }

private:
    using Frame = std::vector<std::uint8_t>;
    enum class Stage : std::uint8_t { Idle, Greeted, Identified, Ready, LineSent };
    struct FrameForm {
        std::uint8_t first;
        std::size_t length; ///< of a write frame: as far as its length byte
        void (SimulatedRadio::*take)(const Frame &);
    };
    static const std::array<FrameForm, 6> FrameForms;

    void TakeByte(std::uint8_t byte);
    void TakeFrame(const FrameForm &form);
    void TakeHandshake(const Frame &frame);
    void TakeIdentification(const Frame &frame);
    void TakeAcknowledge(const Frame &frame);
    void TakeReadRequest(const Frame &frame);
    void TakeWrite(const Frame &frame);
    void TakeEnd(const Frame &frame);

    bool StandsAt(Stage stage, const Frame &frame, std::string_view what);
    bool AddressGood(const Frame &frame);
    void RefuseMalformed(const Frame &frame, std::string_view why);
    void Discard(std::string_view why);
    void Complain(std::string_view what, const Frame &frame);
    bool Answer(ReplyKind kind, Frame bytes);
    void Send(Reply reply);

    MemoryImage memory_;
    FaultInjector faults_;
    Stage stage_ = Stage::Idle;
    int step_ = HandshakeStep;
    Frame pending_;              ///< the start of a frame
    bool deaf_ = false;          ///< listens for a handshake only
    bool disturbed_ = false;     ///< a fault has struck in this session
    bool hungUp_ = false;        ///< within Feed: the rest of its bytes meets nobody
    std::vector<Reply> replies_; ///< within Feed: what it will return
    std::vector<LoggedFrame> log_;
    std::vector<std::string> complaints_;
    int completedSessions_ = 0;
    int endedSessions_ = 0;
    bool endedByE_ = false;
};

} // namespace k470
