#pragma once

// Lines of an image, and waiting.

#include "core/MemoryImage.h"
#include "tests/Files.h"

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace k470 {

using Strings = std::vector<std::string>;

inline Bytes operator+(Bytes left, const Bytes &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes LineBytes(const MemoryImage &image, int line) {
    const auto bytes = Line(image, line);
    return {bytes.begin(), bytes.end()};
}

/// The lines in which two images differ.
inline std::vector<int> ChangedLines(const MemoryImage &before, const MemoryImage &after) {
    std::vector<int> lines;
    for (int line = 0; line < static_cast<int>(LineCount); ++line)
        if (LineBytes(before, line) != LineBytes(after, line))
            lines.push_back(line);
    return lines;
}

/// The lines that a session with that many channel lines transfers.
inline std::vector<int> TransferredLines(int channels) {
    std::vector<int> lines;
    for (int line = 0; line <= 107; ++line)
        if (line < channels || line >= 99)
            lines.push_back(line);
    return lines;
}

/// @return whether the condition came to hold before far too long
inline bool Await(const std::function<bool()> &condition) {
    using Clock = std::chrono::steady_clock;
    for (const auto end = Clock::now() + std::chrono::seconds(30); Clock::now() < end;) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

} // namespace k470
