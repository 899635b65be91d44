#include "core/ChannelCount.h"

namespace k470 {

std::optional<int> GetChannelCount(const MemoryImage &image) {
    return ChannelCountOf(image[Address::ChannelCount]);
}

bool HasChannelCount(const MemoryImage &image) {
    return GetChannelCount(image).value_or(0) > 0;
}

int CheckedChannels(const MemoryImage &image) {
    return HasChannelCount(image) ? *GetChannelCount(image) : MaxChannels;
}

} // namespace k470
