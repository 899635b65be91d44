#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

/// Files and pages as tests see them.
namespace k470 {

using Bytes = std::vector<std::uint8_t>;

/// An empty folder of the test's own, removed behind it.
class TempFolder {
public:
    TempFolder() {
        std::string name = std::filesystem::temp_directory_path() / "k470-test-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no folder " + name);
        path_ = name;
    }
    ~TempFolder() {
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
        std::filesystem::remove_all(path_);
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;

    std::string In(const std::string &name) const { return path_ / name; }
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(path_))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::filesystem::path path_;
};

template <typename Content>
void Put(const std::string &path, const Content &bytes) {
    std::ofstream file(path, std::ios::binary);
    std::copy(bytes.begin(), bytes.end(), std::ostreambuf_iterator<char>(file));
}

/// Nothing when the file cannot be read.
template <typename Content = Bytes>
Content ContentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return Content(std::istreambuf_iterator<char>(file), {});
}

/// The fenced block of that kind in a page of docs/, which must have it.
inline std::string BlockOf(const std::string &page, const std::string &kind) {
    const auto text = ContentOf<std::string>(std::string(K470_SOURCE_DIR) + "/docs/" + page);
    const std::string fence = "\n```" + kind + "\n";
    const std::size_t start = text.find(fence);
    if (start == std::string::npos)
        throw std::runtime_error(page + " has no " + kind);
    return text.substr(start + fence.size(), text.find("```", start + fence.size()) - start - fence.size());
}

/// Hexadecimal bytes between blanks; "EE*14" is fourteen times EE, "1..7" the bytes from 1 up to 7.
inline Bytes HexBytes(const std::string &text) {
    Bytes bytes;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        char *end = nullptr;
        const auto first = std::strtoul(word.c_str(), &end, 16);
        const std::string rest(end);
        const auto last = rest.starts_with("..") ? std::strtoul(rest.c_str() + 2, nullptr, 16) : first;
        const auto times = rest.starts_with("*") ? std::strtoul(rest.c_str() + 1, nullptr, 10) : 1;
        for (auto value = first; value <= last; ++value)
            bytes.insert(bytes.end(), times, static_cast<std::uint8_t>(value));
    }
    return bytes;
}

} // namespace k470
