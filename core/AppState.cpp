#include "core/AppState.h"

#include "core/Bands.h"
#include "core/ChannelCount.h"

namespace k470 {

void StartImage(AppState &state) {
    state.image[Address::ChannelCount] = static_cast<std::uint8_t>(state.gridRows - 1);
    StoreBandLimits(state);
    NewImage(state); // it keeps the channel count and the band
}

void FollowImage(AppState &state) {
    LoadBandLimits(state);
    if (const auto count = GetChannelCount(state.image))
        state.gridRows = static_cast<std::uint8_t>(*count + 1);
}

} // namespace k470
