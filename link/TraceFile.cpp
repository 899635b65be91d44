#include "link/TraceFile.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace k470 {

namespace {

constexpr std::string_view Form = "seconds, > from the program or < from the radio, the bytes in hexadecimal";

/// Asked right after the failure. A stream does not promise the system's words.
std::string WordsOfFailure(int error) {
    return error == 0 ? std::make_error_code(std::errc::io_error).message()
                      : std::generic_category().message(error);
}

/// Opening a pipe would wait for its reader, which nothing interrupts.
std::optional<std::string> CheckKind(const std::string &path) {
    std::error_code error;
    switch (std::filesystem::status(path, error).type()) {
    case std::filesystem::file_type::regular:
    case std::filesystem::file_type::character:
    case std::filesystem::file_type::not_found:
        return std::nullopt;
    case std::filesystem::file_type::directory:
        return std::make_error_code(std::errc::is_a_directory).message();
    default:
        return error ? error.message() : "Neither a file nor a device";
    }
}

} // namespace

std::optional<std::string> TraceFile::Open(const std::string &path) {
    if (auto failure = CheckKind(path))
        return failure;
    start_ = std::chrono::steady_clock::now();
    errno = 0;
    file_.open(path, std::ios::trunc);
    if (!file_.is_open())
        return WordsOfFailure(errno);
    AddComment(Form);
    return failure_;
}

void TraceFile::AddComment(std::string_view text) {
    std::string line = "# " + std::string(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    AddLine(line);
}

void TraceFile::AddFrame(FrameDirection direction, std::span<const std::uint8_t> bytes) {
    if (!bytes.empty())
        AddLine(FormatLogLine(std::chrono::steady_clock::now() - start_, direction, bytes));
}

void TraceFile::AddLine(const std::string &line) {
    if (!file_.is_open() || failure_)
        return;
    errno = 0;
    file_ << line << std::endl;
    if (!file_)
        failure_ = WordsOfFailure(errno);
}

} // namespace k470
