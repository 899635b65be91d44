#include "files/CodeplugFile.h"

#include "files/WholeFile.h"
#include "files/modEnDecode_Eliminator.h"

#include <algorithm>
#include <utility>

namespace k470 {

namespace {

constexpr std::uint8_t Filler = 0xFF;

LoadFailure WrongType(LoadFailure::Kind kind) {
    return {.kind = kind, .text = {}};
}

} // namespace

std::vector<std::uint8_t> BuildPlainContent(const MemoryImage &image) {
    std::vector<std::uint8_t> plain(PlainSize, Filler);
    std::copy(FileMark.begin(), FileMark.end(), plain.begin());
    std::copy(image.begin(), image.end(), plain.begin() + ImageOffset);
    return plain;
}

bool ParsePlainContent(std::span<const std::uint8_t> plain, MemoryImage &image) {
    if (plain.size() != PlainSize || !std::equal(FileMark.begin(), FileMark.end(), plain.begin()))
        return false;
    std::copy_n(plain.begin() + ImageOffset, ImageSize, image.begin());
    return true;
}

std::vector<std::uint8_t> PackImage(const MemoryImage &image) {
    std::vector<std::uint8_t> buffer = BuildPlainContent(image);
    EncodeBuffer(buffer);
    return buffer;
}

std::optional<LoadFailure> UnpackImage(std::span<const std::uint8_t> packed, MemoryImage &image) {
    std::vector<std::uint8_t> buffer(packed.begin(), packed.end());
    if (packed.size() > MaxFileSize || !DecodeBuffer(buffer))
        return WrongType(LoadFailure::Kind::NotPacked);
    if (!ParsePlainContent(buffer, image))
        return WrongType(LoadFailure::Kind::NoCodeplug);
    return std::nullopt;
}

std::optional<LoadFailure> ReadCodeplug(const std::string &path, MemoryImage &image) {
    std::vector<std::uint8_t> packed;
    if (FileFailure failure = ReadWholeFile(path, MaxFileSize, packed))
        return LoadFailure{.kind = LoadFailure::Kind::Unreadable, .text = std::move(*failure)};
    return UnpackImage(packed, image);
}

std::optional<std::string> WriteCodeplug(const std::string &path, const MemoryImage &image) {
    return ReplaceFile(path, PackImage(image));
}

std::string WithFileExtension(std::string path) {
    const std::size_t nameStart = path.find_last_of('/') + 1;
    if (nameStart < path.size() && path.find('.', nameStart) == std::string::npos)
        path += FileExtension;
    return path;
}

} // namespace k470
