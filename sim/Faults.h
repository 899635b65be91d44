#pragma once

#include "sim/SerialDevice.h"

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace k470 {

/// Protocol steps as the program counts them: 0 handshake, 1 identification and its acknowledge, line r is
/// step r + 2, 110 the end byte.
inline constexpr int HandshakeStep = 0;
inline constexpr int IdentificationStep = 1;
inline constexpr int FirstLineStep = 2;
inline constexpr int EndStepNumber = 110;

/// How a radio, its cable or the noise on it goes wrong. FaultKindHelp says what each one does and where.
enum class FaultKind : std::uint8_t {
    NoReply,
    ShortData,
    ExtraByte,
    WrongAck,
    LateReply,
    FlippedBits,
    StrayBytes,
    HangUp,
    NoStore,
    DoubleAck,
    LateDoubleAck,
    InsertedByte,
    OwnHeaders,
};

struct Fault {
    FaultKind kind = FaultKind::NoReply;
    int step = 0;  ///< protocol step, 0 to 110; of own-headers the first one
    int count = 1; ///< how many replies at this step it strikes, over all sessions; 1 to MaxFaultCount
    int after = 0; ///< how many replies at this step that it could strike it lets pass first (1: a read
                   ///< line's acknowledge instead of its data); has no text form
};

inline constexpr int MaxFaultCount = 65535;
inline constexpr int LateReplyMs = 400;
inline constexpr int LateDoubleMs = 1;
inline constexpr unsigned MaxStrayBytes = 24;

struct ParsedFault {
    std::optional<Fault> fault;
    std::string error; ///< what is wrong with the text, when there is no fault
};

/// Reads the text form KIND@STEP[xCOUNT], for example "no-reply@5" or "wrong-ack@0x3". Without a COUNT the
/// fault strikes once, own-headers MaxFaultCount times.
ParsedFault ParseFault(std::string_view text);

/// "no-reply" and so on.
std::string_view FaultKindName(FaultKind kind);

/// One line a kind: its name and what it does.
std::string FaultKindHelp();

/// What a reply of a healthy radio is.
enum class ReplyKind : std::uint8_t {
    Acknowledge,     ///< 0x06 to the handshake or to an acknowledge
    LineAcknowledge, ///< 0x06 to a line that was written
    Identification,  ///< 16 bytes
    Line,            ///< a line under its header
    End,             ///< nothing: what follows the end byte
};

/// A fault that has struck.
struct Strike {
    FaultKind kind = FaultKind::NoReply;
    int step = 0;
};

/// Spoils the replies of a healthy radio where its faults say so. A reply is struck by one fault at most: the
/// first one given that is meant for this step, can strike this kind of reply and has not struck often
/// enough. Equal faults and seeds spoil equal dialogs equally.
class FaultInjector {
public:
    explicit FaultInjector(std::vector<Fault> faults = {}, std::uint32_t seed = 1);

    struct Outcome {
        Reply reply;
        std::optional<Reply> second{}; ///< follows the reply
        bool struck = false;
        bool lineStored = true; ///< whether a line whose acknowledge this is counts as taken
    };

    /// @param bytes what a healthy radio would reply
    Outcome Apply(int step, ReplyKind kind, std::vector<std::uint8_t> bytes);

    /// Every strike so far, in order.
    const std::vector<Strike> &Strikes() const { return strikes_; }

private:
    std::vector<Fault> faults_;
    std::mt19937 random_;
    std::vector<Strike> strikes_;
};

} // namespace k470
