#include "files/WholeFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace k470 {

namespace {

namespace fs = std::filesystem;

constexpr int MaxLinks = 40;
constexpr int MaxTempNames = 100;
constexpr mode_t OwnerOnly = 0600;
constexpr mode_t Everyone = 0666; ///< the user's mask takes away from it
constexpr mode_t ModeBits = 07777;

std::string SystemText(int error) {
    return std::system_category().message(error);
}

FileFailure LastFailure() {
    return SystemText(errno);
}

/// A folder has the system's words; reading or replacing a device or a pipe could hang or harm.
FileFailure CheckRegular(const struct stat &status) {
    if (S_ISDIR(status.st_mode))
        return SystemText(EISDIR);
    if (!S_ISREG(status.st_mode))
        return NotRegularFile;
    return std::nullopt;
}

class FileHandle {
public:
    explicit FileHandle(int number = -1) : number_(number) {}
    ~FileHandle() { Close(); }
    FileHandle(const FileHandle &) = delete;
    FileHandle &operator=(const FileHandle &) = delete;

    bool IsOpen() const { return number_ >= 0; }
    int Number() const { return number_; }
    void Take(int number) { number_ = number; }
    /// @return false when the system reports a late failure of a write
    bool Close() {
        const int number = std::exchange(number_, -1);
        return number < 0 || ::close(number) == 0;
    }

private:
    int number_;
};

/// A new file beside the one that it is to become; removed unless it got there.
class TempFile {
public:
    TempFile() = default;
    ~TempFile() {
        if (!path_.empty())
            ::unlink(path_.c_str());
    }
    TempFile(const TempFile &) = delete;
    TempFile &operator=(const TempFile &) = delete;

    FileFailure Create(const fs::path &folder, mode_t mode) {
        // The name does not hold the target's: that one may already be as long as a name can be.
        const std::string stem = ".k470-" + std::to_string(::getpid()) + "-";
        for (int number = 0; number < MaxTempNames; ++number) {
            const fs::path path = folder / (stem + std::to_string(number) + ".tmp");
            handle_.Take(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
            if (handle_.IsOpen()) {
                path_ = path;
                return std::nullopt;
            }
            if (errno != EEXIST)
                break;
        }
        return LastFailure();
    }

    /// The owner stays when the user may not give files away, then the group alone is tried. Must come before
    /// the mode, as a change of owner drops bits of it.
    FileFailure TakeOver(const struct stat &old) {
        if (::fchown(handle_.Number(), old.st_uid, old.st_gid) != 0)
            static_cast<void>(::fchown(handle_.Number(), static_cast<uid_t>(-1), old.st_gid) == 0);
        return ::fchmod(handle_.Number(), old.st_mode & ModeBits) == 0 ? std::nullopt : LastFailure();
    }

    FileFailure Write(std::span<const std::uint8_t> bytes) {
        while (!bytes.empty()) {
            const ssize_t written = ::write(handle_.Number(), bytes.data(), bytes.size());
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                return written < 0 ? LastFailure() : SystemText(EIO);
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        }
        return ::fsync(handle_.Number()) == 0 && handle_.Close() ? std::nullopt : LastFailure();
    }

    FileFailure RenameTo(const fs::path &target) {
        if (::rename(path_.c_str(), target.c_str()) != 0)
            return LastFailure();
        path_.clear();
        return std::nullopt;
    }

private:
    FileHandle handle_;
    fs::path path_;
};

/// The last link may point to a file that is yet to be made, which the system's own resolving refuses.
FileFailure FollowLinks(fs::path &path) {
    for (int links = 0; links < MaxLinks; ++links) {
        std::error_code notALink;
        const fs::path next = fs::read_symlink(path, notALink);
        if (notALink)
            return std::nullopt;
        path = path.parent_path() / next;
    }
    return SystemText(ELOOP);
}

struct Target {
    fs::path path;
    std::optional<struct stat> old; ///< nothing when the file is new
};

FileFailure FindTarget(const std::string &path, Target &target) {
    target.path = path;
    if (const FileFailure failure = FollowLinks(target.path))
        return failure;
    struct stat status {};
    if (::stat(target.path.c_str(), &status) != 0)
        return errno == ENOENT ? std::nullopt : LastFailure();
    if (const FileFailure failure = CheckRegular(status))
        return failure;
    // A rename asks only the folder: whoever protected the file itself must be heard here.
    if (::faccessat(AT_FDCWD, target.path.c_str(), W_OK, AT_EACCESS) != 0)
        return LastFailure();
    target.old = status;
    return std::nullopt;
}

/// Makes the rename last. The file is whole in any case, and some file systems cannot do this, so that a
/// failure here is not one of the save.
void SyncFolder(const fs::path &folder) {
    const FileHandle handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.IsOpen())
        static_cast<void>(::fsync(handle.Number()));
}

} // namespace

FileFailure ReadWholeFile(const std::string &path, std::size_t limit, std::vector<std::uint8_t> &bytes) {
    // Not blocking matters for a pipe, which would wait here for its other end before it can be refused.
    const FileHandle file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!file.IsOpen() || ::fstat(file.Number(), &status) != 0)
        return LastFailure();
    if (const FileFailure failure = CheckRegular(status))
        return failure;
    bytes.clear();
    std::array<std::uint8_t, 4096> block{};
    while (bytes.size() <= limit) {
        const std::size_t wanted = std::min(block.size(), limit + 1 - bytes.size());
        const ssize_t got = ::read(file.Number(), block.data(), wanted);
        if (got == 0)
            break;
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return LastFailure();
        bytes.insert(bytes.end(), block.begin(), block.begin() + got);
    }
    return std::nullopt;
}

FileFailure ReplaceFile(const std::string &path, std::span<const std::uint8_t> bytes) {
    Target target;
    if (const FileFailure failure = FindTarget(path, target))
        return failure;
    const fs::path folder = target.path.has_parent_path() ? target.path.parent_path() : ".";
    // A folder that takes no new file ends the save here, even where the old file itself could be written:
    // writing into it would lose it when the disk is full or the power fails.
    TempFile temp;
    if (const FileFailure failure = temp.Create(folder, target.old ? OwnerOnly : Everyone))
        return failure;
    if (target.old)
        if (const FileFailure failure = temp.TakeOver(*target.old))
            return failure;
    if (const FileFailure failure = temp.Write(bytes))
        return failure;
    if (const FileFailure failure = temp.RenameTo(target.path))
        return failure;
    SyncFolder(folder);
    return std::nullopt;
}

} // namespace k470
