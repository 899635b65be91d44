#include "sim/SessionRecorder.h"

#include "core/FrameLog.h"
#include "sim/SimFiles.h"

#include <utility>

namespace k470 {

SessionRecorder::SessionRecorder(SimulatedRadio &radio, std::string out,
                                 std::function<void(const std::string &)> say)
    : radio_(radio), out_(std::move(out)), say_(std::move(say)), lastMemory_(radio.Memory()) {
}

std::optional<std::string> SessionRecorder::OpenLog(const std::string &path) {
    logPath_ = path;
    log_.open(path, std::ios::trunc);
    if (!log_)
        return path + ": cannot be written";
    return std::nullopt;
}

void SessionRecorder::AddLine(const std::string &line) {
    if (!log_.is_open())
        return;
    log_ << line << std::endl;
    if (log_)
        return;
    say_(logPath_ + ": cannot be written");
    log_.close();
}

void SessionRecorder::TakeHost(WireTime time) {
    // Replies are logged when they are out, which may be much later than the radio gave them.
    for (const LoggedFrame &frame : radio_.TakeLog())
        if (frame.direction == FrameDirection::FromProgram)
            AddLine(FormatLogLine(time, frame.direction, frame.bytes));
    for (const std::string &complaint : radio_.TakeComplaints())
        say_("complaint: " + complaint);
    if (radio_.EndedSessions() != savedSessions_)
        Save();
}

void SessionRecorder::TakeReply(WireTime time, std::span<const std::uint8_t> bytes) {
    AddLine(FormatLogLine(time, FrameDirection::FromRadio, bytes));
}

void SessionRecorder::Finish() {
    if (radio_.Memory() != lastMemory_)
        Save();
}

void SessionRecorder::Save() {
    savedSessions_ = radio_.EndedSessions();
    lastMemory_ = radio_.Memory();
    if (out_.empty())
        return;
    if (const auto failure = SaveMemory(out_, lastMemory_))
        say_(*failure);
}

} // namespace k470
