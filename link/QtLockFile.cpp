#include "link/QtLockFile.h"

#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QString>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace k470 {

namespace {

std::string SystemWords(const std::string &folder, int error) {
    return folder + ": " + std::generic_category().message(error);
}

/// "LCK..ttyUSB0", "LCK..pts_5"
std::string LockFileName(const std::string &device) {
    constexpr std::string_view DeviceFolder = "/dev/";
    std::string name = device.starts_with(DeviceFolder) ? device.substr(DeviceFolder.size()) : device;
    std::replace(name.begin(), name.end(), '/', '_');
    return "LCK.." + name;
}

/// @return whether the program that wrote the lock file runs. A program that was killed leaves its file
/// behind.
bool IsHeld(const std::string &file) {
    qint64 process = 0;
    QString host;
    QString program;
    if (!QLockFile(QFile::decodeName(file.c_str())).getLockInfo(&process, &host, &program))
        return true;
    return ::kill(static_cast<pid_t>(process), 0) == 0 || errno != ESRCH;
}

/// Writes a file into the folder, as long as a lock file, and takes it away. @return errno, 0 when it worked
int TryToWriteIn(const std::string &folder) {
    constexpr std::string_view Content = "0000000000\nk470\nlocalhost\n";
    std::string path = folder + "/LCK..XXXXXX";
    const int descriptor = ::mkostemp(path.data(), O_CLOEXEC);
    if (descriptor < 0)
        return errno;
    int error = 0;
    // A disk that fills up takes a part first and says why with the rest.
    for (std::size_t done = 0; error == 0 && done < Content.size();) {
        const ssize_t written = ::write(descriptor, Content.data() + done, Content.size() - done);
        if (written < 0)
            error = errno;
        else
            done += static_cast<std::size_t>(written);
    }
    ::close(descriptor);
    ::unlink(path.c_str());
    return error;
}

} // namespace

std::string LockFileProblem(const std::string &device) {
    // Where Qt Serial Port looks, in its order. It takes the first folder that has the lock file or may get
    // it.
    const std::vector<std::string> folders{
        "/var/lock",         "/etc/locks", "/var/spool/locks",
        "/var/spool/uucp",   "/tmp",       "/var/tmp",
        "/var/lock/lockdev", "/run/lock",  QFile::encodeName(QDir::tempPath()).toStdString(),
    };
    std::string problem;
    for (const std::string &folder : folders) {
        if (::access(folder.c_str(), R_OK) != 0)
            continue;
        const std::string file = folder + "/" + LockFileName(device);
        const bool exists = ::access(file.c_str(), F_OK) == 0;
        if (exists && IsHeld(file))
            return "";
        if (::access(folder.c_str(), W_OK) == 0) {
            const int error = TryToWriteIn(folder);
            if (error != 0)
                return SystemWords(folder, error);
            return exists ? SystemWords(file, EACCES) : ""; // of another account, so it cannot be replaced
        }
        const std::string reason = SystemWords(folder, errno);
        if (exists)
            return reason;
        if (problem.empty())
            problem = reason;
    }
    return problem.empty() ? SystemWords(folders.front(), ENOENT) : problem;
}

} // namespace k470
