#include "sim/ReplayDevice.h"

#include "core/HexCells.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace k470 {

namespace {

namespace fs = std::filesystem;

/// Ten thousand sessions of all lines.
constexpr std::uintmax_t MaxTraceSize = std::uintmax_t{256} << 20;

bool IsFromProgram(const LoggedFrame &frame) {
    return frame.direction == FrameDirection::FromProgram;
}

/// @return why the file is not even opened, or ""
std::string CheckTrace(const std::string &path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        return path + ": is not there";
    if (!error && !fs::is_regular_file(status))
        return path + ": is not a plain file";
    const std::uintmax_t size = error ? 0 : fs::file_size(path, error);
    if (error)
        return path + ": " + error.message();
    return size > MaxTraceSize ? path + ": is too large for a log of frames" : "";
}

LoadedTrace Refuse(const std::string &path, const std::string &why) {
    return {{}, path + ": " + why};
}

} // namespace

LoadedTrace LoadTrace(const std::string &path) {
    if (const std::string error = CheckTrace(path); !error.empty())
        return {{}, error};
    std::ifstream file(path);
    LoadedTrace trace;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        if (line.empty() || line.front() == '#')
            continue;
        std::optional<LoggedFrame> frame = ParseLogLine(line);
        if (!frame)
            return Refuse(path, "line " + std::to_string(number) +
                                    " is no frame such as \"12.034567 > 52 00 10 10\"");
        trace.frames.push_back(*std::move(frame));
    }
    if (!file.eof())
        return Refuse(path, "cannot be read");
    if (std::none_of(trace.frames.begin(), trace.frames.end(), IsFromProgram))
        return Refuse(path, "holds no frame of a program");
    return trace;
}

ReplayDevice::ReplayDevice(std::vector<LoggedFrame> frames) : frames_(std::move(frames)) {
    frames_.erase(frames_.begin(), std::find_if(frames_.begin(), frames_.end(), IsFromProgram));
}

std::vector<Reply> ReplayDevice::Feed(std::span<const std::uint8_t> bytes) {
    std::vector<Reply> replies;
    for (const std::uint8_t byte : bytes) {
        if (complaint_ || !TakeByte(byte))
            break;
        for (; byte_ == 0 && frame_ < frames_.size() && !IsFromProgram(frames_[frame_]); ++frame_)
            replies.push_back({.bytes = frames_[frame_].bytes});
    }
    return replies;
}

/// @return whether it is the byte that was recorded
bool ReplayDevice::TakeByte(std::uint8_t byte) {
    if (frame_ == frames_.size()) {
        Complain(HexText({&byte, 1}) + " follows the end of the recording");
        return false;
    }
    const std::vector<std::uint8_t> &expected = frames_[frame_].bytes;
    if (expected[byte_] != byte) {
        Complain(HexText({&byte, 1}) + " instead of " + HexText({&expected[byte_], 1}) + " of " +
                 HexText(expected));
        return false;
    }
    if (++byte_ == expected.size()) {
        byte_ = 0;
        ++frame_;
    }
    return true;
}

void ReplayDevice::Complain(const std::string &what) {
    const auto here = frames_.begin() + static_cast<std::ptrdiff_t>(frame_);
    const auto frame = std::count_if(frames_.begin(), here, IsFromProgram) + 1;
    complaint_ =
        "frame " + std::to_string(frame) + " of the program, byte " + std::to_string(byte_ + 1) + ": " + what;
}

std::size_t ReplayDevice::FramesLeft() const {
    const auto from = frames_.begin() + static_cast<std::ptrdiff_t>(frame_);
    return static_cast<std::size_t>(std::count_if(from, frames_.end(), IsFromProgram));
}

} // namespace k470
