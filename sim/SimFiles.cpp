#include "sim/SimFiles.h"

#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace k470 {

namespace {

namespace fs = std::filesystem;

/// A name beside the path that no other process uses.
std::string StagingName(const std::string &path) {
    return path + "." + std::to_string(::getpid()) + ".tmp";
}

std::string Describe(const std::string &path, const std::error_code &error) {
    return path + ": " + error.message();
}

/// Makes the staged file or link the one of the path. @return why not, or nothing
std::optional<std::string> Replace(const std::string &path, const std::string &staging) {
    std::error_code error;
    fs::rename(staging, path, error);
    if (!error)
        return std::nullopt;
    const std::string text = Describe(path, error);
    fs::remove(staging, error);
    return text;
}

} // namespace

LoadedMemory LoadMemory(const std::string &path) {
    std::error_code error;
    if (fs::exists(path, error) && !fs::is_regular_file(path, error))
        return {std::nullopt, path + ": is not a plain file"};
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return {std::nullopt, path + ": cannot be read"};
    std::vector<char> bytes(ImageSize + 1); // one more than fits tells a longer file
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (file.bad() || static_cast<std::size_t>(file.gcount()) != ImageSize)
        return {std::nullopt, path + ": is no memory image of exactly 1792 bytes"};
    MemoryImage image;
    for (std::size_t i = 0; i < ImageSize; ++i)
        image[i] = static_cast<std::uint8_t>(bytes[i]);
    return {image, ""};
}

std::optional<std::string> SaveMemory(const std::string &path, const MemoryImage &image) {
    const std::string staging = StagingName(path);
    std::ofstream file(staging, std::ios::binary | std::ios::trunc);
    for (const std::uint8_t byte : image)
        file.put(static_cast<char>(byte));
    file.close();
    if (!file) {
        std::error_code error;
        fs::remove(staging, error);
        return path + ": cannot be written";
    }
    return Replace(path, staging);
}

std::optional<std::string> CheckSavable(const std::string &path) {
    std::error_code error;
    const std::string staging = StagingName(path);
    const bool writable = std::ofstream(staging).is_open();
    fs::remove(staging, error);
    if (!writable || fs::is_directory(path, error))
        return path + ": cannot be written";
    return std::nullopt;
}

std::optional<std::string> PointLink(const std::string &path, const std::string &target) {
    std::error_code error;
    const fs::file_status there = fs::symlink_status(path, error);
    if (fs::exists(there) && !fs::is_symlink(there))
        return path + ": is there already and is no symbolic link";
    const std::string staging = StagingName(path);
    fs::create_symlink(target, staging, error);
    if (error)
        return Describe(path, error);
    return Replace(path, staging);
}

void RemoveLink(const std::string &path, const std::string &target) {
    std::error_code error;
    if (fs::read_symlink(path, error) == fs::path(target) && !error)
        fs::remove(path, error);
}

} // namespace k470
