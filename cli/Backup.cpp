#include "cli/Backup.h"

#include "cli/Console.h"
#include "cli/ImageFiles.h"
#include "files/CodeplugFile.h"

#include <QDateTime>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace k470 {

namespace {

namespace fs = std::filesystem;

constexpr mode_t OwnerOnly = 0700;
constexpr mode_t OwnersFile = 0600;
constexpr TextPair NoHome{"Neither XDG_STATE_HOME nor HOME says where backups are kept.",
                          "XDG_STATE_HOME 和 HOME 均未设置，不知道备份应存放在何处。"};

std::string Variable(const char *name) {
    const char *const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// @return an absolute path, or "" when nothing tells one
fs::path StateFolder() {
    fs::path folder = Variable("XDG_STATE_HOME");
    if (!folder.is_absolute()) {
        const fs::path home = Variable("HOME");
        folder = home.is_absolute() ? home / ".local" / "state" : fs::path();
    }
    return folder;
}

std::string WithSystemWords(const std::string &path, int error) {
    return path + ": " + std::system_category().message(error);
}

/// @return why there is no such folder, in the system's own words, or nothing
std::optional<std::string> MakeFolders(const fs::path &folder) {
    fs::path part;
    for (const fs::path &name : folder) {
        part /= name;
        if (::mkdir(part.c_str(), OwnerOnly) == 0)
            continue;
        const int failure = errno; // which is none when the folder is there, perhaps since a moment ago
        std::error_code error;
        if (!fs::is_directory(part, error))
            return WithSystemWords(part.string(), failure);
    }
    return std::nullopt;
}

/// The port as a part of a file name.
std::string NameOfPort(const PortChoice &port) {
    constexpr std::size_t LongestName = 80;
    std::string name = port.byPath ? fs::path(port.name).filename().string() : port.name;
    name.resize(std::min(name.size(), LongestName));
    std::replace_if(
        name.begin(), name.end(),
        [](unsigned char c) { return c >= 0x80 || (std::isalnum(c) == 0 && c != '-' && c != '_'); }, '_');
    return name;
}

/// Makes an empty file under a name that was free, so that no other process takes it.
/// @return why not, or nothing
std::optional<std::string> TakeName(const std::string &stem, std::string &path) {
    constexpr int LastNumber = 9999;
    for (int number = 1; number <= LastNumber; ++number) {
        path = stem + (number == 1 ? "" : "-" + std::to_string(number)) + std::string(FileExtension);
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, OwnersFile);
        if (file >= 0) {
            ::close(file);
            return std::nullopt;
        }
        if (errno != EEXIST)
            break;
    }
    return WithSystemWords(path, errno);
}

} // namespace

std::optional<std::string> MakeBackupFolder(std::string &folder, Language language) {
    const fs::path state = StateFolder();
    if (state.empty())
        return Phrase(language, NoHome, {});
    folder = (state / "k470" / "backups").string();
    if (auto failure = MakeFolders(folder))
        return failure;
    return CheckImageTarget(folder + "/any" + std::string(FileExtension), language);
}

std::optional<std::string> KeepBackup(const std::string &folder, const PortChoice &port,
                                      const MemoryImage &image, std::string &path, Language language) {
    const QString time = QDateTime::currentDateTime().toString("yyyy-MM-dd'T'HHmmss");
    if (auto failure = TakeName(folder + "/" + time.toStdString() + "-" + NameOfPort(port), path))
        return failure;
    auto failure = SaveImageFile(path, image, language);
    if (failure)
        ::unlink(path.c_str());
    return failure;
}

} // namespace k470
