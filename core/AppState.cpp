#include "core/AppState.h"

#include "core/ChannelCount.h"

namespace k470 {

void TakeGridRowsFromImage(AppState &state) {
    if (const auto count = GetChannelCount(state.image))
        state.gridRows = static_cast<std::uint8_t>(*count + 1);
}

} // namespace k470
