#pragma once

#include "cli/Console.h"
#include "cli/InterruptWatch.h"
#include "cli/PortChoice.h"
#include "core/AppState.h"
#include "link/SerialPort.h"
#include "link/TraceFile.h"

#include <optional>
#include <vector>

namespace k470 {

/// How a session without a window ended.
struct CloneReport {
    enum class End {
        Completed,
        OpenFailed,
        NoAnswer,    ///< the radio has never answered the handshake
        Broken,      ///< it answered, and later no more or wrongly
        Interrupted, ///< by the user
    };
    End end = End::Interrupted;
    PortFailure failure{}; ///< why, when OpenFailed
    std::optional<std::vector<int>>
        missingLines{};     ///< what a completed read lacks; nothing when there was none
    bool lineSent = false;  ///< a write has begun to change the radio
    bool disturbed = false; ///< a completed write may have left lines out
};

/// What the sessions of a command share.
struct CloneLine {
    const PortChoice &port;
    const InterruptWatch &interrupts;
    TraceFile &trace; ///< may be a file that is not open
    const Console &console;
};

/// What a session is for.
struct CloneTask {
    CloneMode mode = CloneMode::Read;
    const char *purpose = ""; ///< in a trace
    TextPair progress{};      ///< what stands before its progress
};

/// Runs a session on the line, with the progress on the console. An interruption ends it before the next line
/// begins, or when the current one fails for the first time, and one that came earlier before the port is
/// opened; once all lines are transferred it completes. Needs the application object, whose event loop must
/// not be running.
CloneReport RunClone(AppState &state, const CloneTask &task, const CloneLine &line);

} // namespace k470
