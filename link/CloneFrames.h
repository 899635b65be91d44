#pragma once

#include "core/AppState.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace k470 {

/// The steps of a clone session and the times that rule it.
namespace Clone {
inline constexpr int StepHandshake = 0;
inline constexpr int StepIdentify = 1;
inline constexpr int FirstLineStep = 2; ///< step of line 0
inline constexpr int LastChannelStep = FirstLineStep + MaxChannels - 1;
inline constexpr int LastLineStep = FirstLineStep + LastSettingsLine;
inline constexpr int EndStep = LastLineStep + 1;
inline constexpr int NothingSent = 800; ///< SentStep while no frame is out for the current step
static_assert(LastChannelStep == 100 && LastLineStep == 109 && EndStep == 110);

inline constexpr std::uint8_t Ack = 0x06;
inline constexpr std::size_t AckLength = 1;
inline constexpr std::size_t IdentLength = 16;
inline constexpr std::size_t HeaderLength = 4;
inline constexpr std::size_t LineReplyLength = HeaderLength + LineSize;

inline constexpr int SendInterval = 1;        // ms
inline constexpr int ReplyTimeout = 300;      // ms
inline constexpr int AtOnce = 1;              // ms
inline constexpr int PauseBeforeClosing = 5;  // ms
inline constexpr int AnswerToEnd = 1;         // ms; an answer to the end byte takes longer
inline constexpr std::uint8_t MaxRetries = 7; ///< automatic repetitions in a session
inline constexpr std::uint8_t MaxStrays =
    20; ///< bytes besides the acknowledge that the handshake passes over

inline constexpr int ReadMaximum = 108;  ///< progress maximum at the start of a read
inline constexpr int WriteMaximum = 106; ///< and of a write

inline constexpr std::string_view ModelIdent = "VZ-K470";
} // namespace Clone

/// A frame to send and the length of the reply that it asks for.
struct CloneFrame {
    std::vector<std::uint8_t> bytes;
    std::size_t replyLength = Clone::AckLength;
};

/// The image line that a line step transfers. @param step 2 to 109
constexpr int LineOfStep(int step) {
    return step - Clone::FirstLineStep;
}

/// The header of a line on the wire: "W", its address with the high byte first, its length.
std::vector<std::uint8_t> LineHeader(int line);

/// @param reply at least a header long
/// @return the line whose header the reply bears, 0 to 107; nothing for any other bytes
std::optional<int> LineOfHeader(std::span<const std::uint8_t> reply);

/// The frame of a step.
/// @param step 0 to 110
/// @param waitAck whether the frame is the one answered by a single acknowledge
CloneFrame BuildFrame(int step, bool waitAck, CloneMode mode, const MemoryImage &image);

} // namespace k470
