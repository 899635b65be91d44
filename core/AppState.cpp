#include "core/AppState.h"

namespace k470 {

void TakeGridRowsFromImage(AppState &state) {
    const std::uint8_t count = state.image[Address::ChannelCount];
    if (count <= MaxChannels)
        state.gridRows = static_cast<std::uint8_t>(count + 1);
}

} // namespace k470
