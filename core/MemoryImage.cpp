#include "core/MemoryImage.h"

#include "core/AppState.h"
#include "core/Settings.h"

#include <algorithm>
#include <string_view>

namespace k470 {

namespace {

constexpr std::string_view DefaultModelText = "VZ-470";
static_assert(DefaultModelText.size() == ModelTextSize);

constexpr std::uint8_t DefaultSquelchTuning = 0x28;
constexpr std::uint8_t DefaultNoiseTuning = 0x50;
constexpr std::uint8_t WriteMarkValue = 0x55;

void FillRange(MemoryImage &image, std::size_t from, std::size_t end, std::uint8_t value) {
    std::fill(image.begin() + static_cast<std::ptrdiff_t>(from),
              image.begin() + static_cast<std::ptrdiff_t>(end), value);
}

} // namespace

std::span<std::uint8_t, LineSize> Line(MemoryImage &image, int line) {
    return std::span<std::uint8_t, LineSize>(image.data() + static_cast<std::size_t>(line) * LineSize,
                                             LineSize);
}

std::span<const std::uint8_t, LineSize> Line(const MemoryImage &image, int line) {
    return std::span<const std::uint8_t, LineSize>(image.data() + static_cast<std::size_t>(line) * LineSize,
                                                   LineSize);
}

void NewImage(AppState &state) {
    MemoryImage fresh;
    fresh.fill(NotProgrammed);
    for (const SettingShape &shape : SettingShapes)
        fresh[shape.address] = shape.newByte.value_or(state.image[shape.address]);
    std::copy(DefaultModelText.begin(), DefaultModelText.end(), fresh.begin() + Address::ModelText);
    std::copy_n(state.image.begin() + Address::BandLow, 2 * BandLimitSize, fresh.begin() + Address::BandLow);
    FillRange(fresh, Address::TuningArea, Address::NoiseDefaults, DefaultSquelchTuning);
    FillRange(fresh, Address::NoiseDefaults, Address::TuningDefaultsEnd, DefaultNoiseTuning);
    state.image = fresh;
    TakeSnapshot(state);
}

void ClearChannels(AppState &state) {
    FillRange(state.image, ChannelArea, ChannelArea + ChannelAreaSize, NotProgrammed);
    TakeSnapshot(state);
}

void TakeSnapshot(AppState &state) {
    state.snapshot = state.image;
}

bool ImageModified(const AppState &state) {
    return state.image != state.snapshot;
}

void PrepareForWrite(MemoryImage &image) {
    image[Address::WriteMark] = WriteMarkValue;
    image[Address::ChannelCountCopy] = image[Address::ChannelCount];
}

} // namespace k470
