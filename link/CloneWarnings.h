#pragma once

#include "resources/StringTable.h"

namespace k470 {

// What is said of a radio that a write may have left between two images.

inline constexpr TextPair DisturbedWriteText{
    "The connection was disturbed during the write. The radio may lack lines. Read it again to compare, or "
    "write "
    "it again.",
    "写入时连接受到干扰，对讲机中可能缺少部分数据。请重新读取并核对，或重新写入。"};
inline constexpr TextPair MixtureText{"The radio may now hold a mixture of old and new data.",
                                      "对讲机中可能混有新旧数据。"};
inline constexpr TextPair WriteAgainText{"Write it again before you use it.", "使用前请重新写入。"};

} // namespace k470
