#include "cli/ImageFiles.h"

#include "cli/Console.h"
#include "exchange/FieldTexts.h"
#include "files/CodeplugFile.h"
#include "files/WholeFile.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace k470 {

namespace {

namespace fs = std::filesystem;

constexpr TextPair NoCodeplug{"{}: not a codeplug file; a packed image is expected under this name",
                              "{}：不是写频数据文件；此名称应为压缩的映像文件"};
constexpr TextPair NoRawImage{"{}: not an image; {} raw bytes are expected under this name",
                              "{}：不是映像文件；此名称应为 {} 字节的原始映像"};
constexpr TextPair SystemWords{"{}: {}", "{}：{}"};

std::string InSystemWords(const std::string &path, const std::string &words, Language language) {
    return Phrase(language, SystemWords, {path, words});
}

std::optional<std::string> LoadPacked(const std::string &path, MemoryImage &image, Language language) {
    const std::optional<LoadFailure> failure = ReadCodeplug(path, image);
    if (!failure)
        return std::nullopt;
    if (failure->kind == LoadFailure::Kind::Unreadable)
        return InSystemWords(path, failure->text, language);
    return Phrase(language, NoCodeplug, {path});
}

std::optional<std::string> LoadRaw(const std::string &path, MemoryImage &image, Language language) {
    std::vector<std::uint8_t> bytes;
    if (const FileFailure failure = ReadWholeFile(path, ImageSize, bytes))
        return InSystemWords(path, *failure, language);
    if (bytes.size() != ImageSize)
        return Phrase(language, NoRawImage, {path, std::to_string(ImageSize)});
    std::copy(bytes.begin(), bytes.end(), image.begin());
    return std::nullopt;
}

/// @return why the access is refused, in the system's own words, or nothing
FileFailure CheckAccess(const fs::path &path, int mode) {
    if (::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0)
        return std::nullopt;
    return std::system_category().message(errno);
}

FileFailure CheckTarget(const std::string &path) {
    std::error_code error;
    const fs::path target = fs::weakly_canonical(fs::absolute(path, error), error);
    if (error)
        return error.message();
    switch (fs::status(target, error).type()) {
    case fs::file_type::directory:
        return std::make_error_code(std::errc::is_a_directory).message();
    case fs::file_type::regular:
        if (FileFailure failure = CheckAccess(target, W_OK))
            return failure;
        break;
    case fs::file_type::not_found:
        break;
    default:
        return error ? error.message() : std::string(NotRegularFile);
    }
    return CheckAccess(target.parent_path(), W_OK | X_OK);
}

} // namespace

bool IsPackedName(std::string_view path) {
    return HasEnding(path, FileExtension);
}

bool HasEnding(std::string_view path, std::string_view ending) {
    return path.size() >= ending.size() && IsSameWord(path.substr(path.size() - ending.size()), ending);
}

std::optional<std::string> LoadImageFile(const std::string &path, MemoryImage &image, Language language) {
    return IsPackedName(path) ? LoadPacked(path, image, language) : LoadRaw(path, image, language);
}

std::optional<std::string> SaveImageFile(const std::string &path, const MemoryImage &image,
                                         Language language) {
    const std::optional<std::string> failure =
        IsPackedName(path) ? WriteCodeplug(path, image) : ReplaceFile(path, image);
    return failure ? std::optional(InSystemWords(path, *failure, language)) : std::nullopt;
}

bool IsSameFile(const std::string &one, const std::string &other) {
    std::error_code error;
    if (fs::equivalent(one, other, error) && !error)
        return true;
    const fs::path first = fs::weakly_canonical(fs::absolute(one, error), error);
    return !error && first == fs::weakly_canonical(fs::absolute(other, error), error);
}

std::optional<std::string> CheckImageTarget(const std::string &path, Language language) {
    const FileFailure failure = CheckTarget(path);
    return failure ? std::optional(InSystemWords(path, *failure, language)) : std::nullopt;
}

} // namespace k470
