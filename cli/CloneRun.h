#pragma once

#include "cli/Console.h"
#include "cli/PortChoice.h"
#include "core/AppState.h"
#include "link/SerialPort.h"

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
    PortFailure failure{};           ///< why, when OpenFailed
    std::vector<int> missingLines{}; ///< what a completed read lacks
    bool lineSent = false;           ///< a write has begun to change the radio
};

/// Runs a session in the direction of state.cloneMode on the chosen port, with the progress on the console.
/// An interruption ends it before the next line begins, or when the current one fails for the first time;
/// once all lines are transferred it completes. Needs the application object, whose event loop must not be
/// running.
CloneReport RunClone(AppState &state, const PortChoice &port, const Console &console);

} // namespace k470
