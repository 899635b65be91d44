#include "sim/SampleMemory.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace k470 {

namespace {

constexpr std::uint16_t NoTone = 0xFFFF;

/// Frequencies in units of 10 Hz: whole points of the 5 or 6.25 kHz raster, 0.8 MHz from channel to channel.
constexpr int FirstFreq = 40'050'000;
constexpr int ChannelSpacing = 80'000;
constexpr std::array<int, 4> RasterOffsets{0, 1'250, 625, 1'500};
constexpr std::array<int, 3> TransmitOffsets{0, 100'000, -50'000};

/// None, 67.0, D023N, D023I, 254.1, D754N, D754I, 100.0
constexpr std::array<std::uint16_t, 8> Tones{NoTone, 0x029E, 0x2813, 0xA813, 0x09ED, 0x29EC, 0xA9EC, 0x03E8};

constexpr std::uint8_t HighPower = 0x20;
constexpr std::uint8_t WideBand = 0x10;
constexpr std::uint8_t ScanAdd = 0x40;
constexpr std::uint8_t UnusedFlag = 0x80;
constexpr int OptionShift = 2;

constexpr std::string_view Model = "VZ-470";
static_assert(Model.size() == ModelTextSize);

/// From 0x630 on, the channel count left open.
constexpr std::array<std::uint8_t, 10> Settings{11, 0, 0, 1, 1, 2, 8, 3, 1, 5};
/// 400.0 and 480.0 MHz
constexpr std::array<std::uint8_t, 2 * BandLimitSize> Band{0x40, 0x00, 0x48, 0x00};
constexpr std::uint8_t WrittenMark = 0x55;

void PutFreq(MemoryImage &image, std::size_t address, int freq) {
    for (std::size_t i = 0; i < Record::FreqSize; ++i) {
        image[address + i] = static_cast<std::uint8_t>(freq / 10 % 10 * 16 + freq % 10);
        freq /= 100;
    }
}

void PutTone(MemoryImage &image, std::size_t address, std::uint16_t tone) {
    image[address] = static_cast<std::uint8_t>(tone & 0xFF);
    image[address + 1] = static_cast<std::uint8_t>(tone >> 8);
}

std::uint8_t SampleFlags(unsigned ch) {
    unsigned flags = ch % 3; // busy channel lockout
    flags |= ch / 3 % 3 << OptionShift;
    flags |= ch % 2 == 0 ? HighPower : 0U;
    flags |= ch / 2 % 2 == 0 ? WideBand : 0U;
    flags |= ch % 4 != 3 ? ScanAdd : 0U;
    flags |= ch % 5 == 0 ? UnusedFlag : 0U;
    return static_cast<std::uint8_t>(flags);
}

void PutChannel(MemoryImage &image, unsigned ch) {
    const std::size_t record = ChannelArea + ch * LineSize;
    const int freq =
        FirstFreq + static_cast<int>(ch) * ChannelSpacing + RasterOffsets[ch % RasterOffsets.size()];
    PutFreq(image, record + Record::RxFreq, freq);
    PutTone(image, record + Record::RxTone, Tones[ch % Tones.size()]);
    if (ch % 10 != 9) {
        PutFreq(image, record + Record::TxFreq, freq + TransmitOffsets[ch % TransmitOffsets.size()]);
        PutTone(image, record + Record::TxTone, Tones[(3 * ch + 1) % Tones.size()]);
    }
    image[record + Record::Flags] = SampleFlags(ch);
    image[record + Record::ScramblerNo] = static_cast<std::uint8_t>(ch % 16 * 16 + 1);
    image[record + Record::Reserved] = static_cast<std::uint8_t>(ch);
    image[record + Record::Reserved + 1] = static_cast<std::uint8_t>(~ch);

    const auto bit = static_cast<std::uint8_t>(1U << ch % 8);
    image[Address::EmptyMap + ch / 8] ^= bit;
    if ((image[record + Record::Flags] & ScanAdd) != 0)
        image[Address::ScanSkipMap + ch / 8] ^= bit;
}

void FillByAddress(MemoryImage &image, std::size_t from, std::size_t end) {
    for (std::size_t address = from; address < end; ++address)
        image[address] = static_cast<std::uint8_t>(0x80 + address % 0x70);
}

void PutTuning(MemoryImage &image) {
    constexpr std::size_t AreaEnd = Address::TuningArea + TuningAreaSize;
    for (std::size_t address = Address::TuningArea; address < Address::NoiseDefaults; ++address)
        image[address] = static_cast<std::uint8_t>(0x20 + (address - Address::TuningArea));
    for (std::size_t address = Address::NoiseDefaults; address < Address::TuningDefaultsEnd; ++address)
        image[address] = static_cast<std::uint8_t>(0x50 + (address - Address::NoiseDefaults));
    FillByAddress(image, Address::TuningDefaultsEnd, AreaEnd);
    image[Address::WriteMark] = WrittenMark;
}

} // namespace

MemoryImage MakeSampleMemory(int channels) {
    MemoryImage image;
    image.fill(NotProgrammed);
    for (unsigned ch = 0; ch < static_cast<unsigned>(channels); ++ch)
        PutChannel(image, ch);
    std::copy(Settings.begin(), Settings.end(), image.begin() + Address::Volume);
    image[Address::WorkingChannel] = static_cast<std::uint8_t>(channels / 2);
    image[Address::ChannelCount] = static_cast<std::uint8_t>(channels);
    FillByAddress(image, Address::Volume + Settings.size(), Address::EmptyMap);
    std::copy(Model.begin(), Model.end(), image.begin() + Address::ModelText);
    std::copy(Band.begin(), Band.end(), image.begin() + Address::BandLow);
    FillByAddress(image, Address::BandLow + Band.size(), Address::ChannelCountCopy);
    image[Address::ChannelCountCopy] = static_cast<std::uint8_t>(channels);
    PutTuning(image);
    FillByAddress(image, Address::TuningArea + TuningAreaSize, ImageSize);
    return image;
}

} // namespace k470
