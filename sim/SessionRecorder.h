#pragma once

#include "sim/SimulatedRadio.h"
#include "sim/WireSchedule.h"

#include <fstream>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace k470 {

/// Keeps what happens while a radio is served: the frame log, its memory after each session, its complaints.
class SessionRecorder {
public:
    /// @param out file that receives the memory after each session; "": none
    /// @param say told of complaints and of files that cannot be written
    SessionRecorder(SimulatedRadio &radio, std::string out, std::function<void(const std::string &)> say);

    /// Begins a new frame log. @return why it cannot be written, or nothing
    std::optional<std::string> OpenLog(const std::string &path);

    /// The radio has taken something.
    void TakeHost(WireTime time);
    /// A reply is out.
    void TakeReply(WireTime time, std::span<const std::uint8_t> bytes);
    /// Nothing follows: saves the memory that an unfinished session has changed.
    void Finish();

private:
    void AddLine(const std::string &line);
    void Save();

    SimulatedRadio &radio_;
    std::string out_;
    std::function<void(const std::string &)> say_;
    std::string logPath_;
    std::ofstream log_; ///< closed when there is none, or when it can no longer be written
    int savedSessions_ = 0;
    MemoryImage lastMemory_;
};

} // namespace k470
