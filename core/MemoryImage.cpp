#include "core/MemoryImage.h"

#include "core/AppState.h"

#include <algorithm>
#include <string_view>

namespace k470 {

namespace {

constexpr std::string_view DefaultModelText = "VZ-470";
static_assert(DefaultModelText.size() == ModelTextSize);

constexpr std::uint8_t DefaultSquelchTuning = 0x28;
constexpr std::uint8_t DefaultNoiseTuning = 0x50;
constexpr std::uint8_t WriteMarkValue = 0x55;

struct DefaultByte {
    std::size_t address;
    std::uint8_t value;
};

/// The function settings of a new codeplug; the channel count is kept from the old one.
constexpr std::array<DefaultByte, 9> SettingDefaults{{
    {Address::Volume, 15},
    {Address::WorkingChannel, 0},
    {Address::Scrambler, 0},
    {Address::Compander, 0},
    {Address::Voice, 1},
    {Address::TimeOutTimer, 4},
    {Address::Squelch, 5},
    {Address::Beep, 1},
    {Address::BatterySave, 5},
}};

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
    fresh[Address::ChannelCount] = state.image[Address::ChannelCount];
    for (const auto &[address, value] : SettingDefaults)
        fresh[address] = value;
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
