#pragma once

#include <cstddef>

/// The radio's configuration memory: where everything is. Addresses are the same in the radio, on the serial
/// link, in a codeplug file (behind its header) and in the memory image.
namespace k470 {

inline constexpr std::size_t ImageSize = 1792;
inline constexpr std::size_t LineSize = 16;
inline constexpr std::size_t LineCount = ImageSize / LineSize;
static_assert(LineCount * LineSize == ImageSize && LineCount == 112);

/// Channel records: channel n is line n.
inline constexpr int MaxChannels = 99;
inline constexpr std::size_t ChannelArea = 0x000;
inline constexpr std::size_t ChannelAreaSize = MaxChannels * LineSize;

/// Offsets inside a channel record.
namespace Record {
inline constexpr std::size_t RxFreq = 0;
inline constexpr std::size_t TxFreq = 4;
inline constexpr std::size_t RxTone = 8;
inline constexpr std::size_t TxTone = 10;
inline constexpr std::size_t Flags = 12;
inline constexpr std::size_t ScramblerNo = 13;
inline constexpr std::size_t Reserved = 14;
inline constexpr std::size_t FreqSize = 4;
inline constexpr std::size_t ToneSize = 2;
static_assert(Reserved + 2 == LineSize);
} // namespace Record

/// Radio-wide function settings, one byte each (line 99).
namespace Address {
inline constexpr std::size_t Volume = 0x630;
inline constexpr std::size_t WorkingChannel = 0x631;
inline constexpr std::size_t ChannelCount = 0x632;
inline constexpr std::size_t Scrambler = 0x633;
inline constexpr std::size_t Compander = 0x634;
inline constexpr std::size_t Voice = 0x635;
inline constexpr std::size_t TimeOutTimer = 0x636;
inline constexpr std::size_t Squelch = 0x637;
inline constexpr std::size_t Beep = 0x638;
inline constexpr std::size_t BatterySave = 0x639;

/// Channel bitmaps: channel n is bit n mod 8 (bit 0 lowest) of byte n div 8.
inline constexpr std::size_t EmptyMap = 0x640;
inline constexpr std::size_t ScanSkipMap = 0x650;

inline constexpr std::size_t ModelText = 0x660;
inline constexpr std::size_t BandLow = 0x666;
inline constexpr std::size_t BandHigh = 0x668;
inline constexpr std::size_t ChannelCountCopy = 0x66F;

/// Tuning area: a mark byte, then one byte a 10 MHz segment for squelch and for noise.
inline constexpr std::size_t TuningArea = 0x670;
inline constexpr std::size_t WriteMark = TuningArea;
inline constexpr std::size_t NoiseDefaults = 0x696;
inline constexpr std::size_t TuningDefaultsEnd = 0x6BB;
} // namespace Address

inline constexpr std::size_t BitmapSize = 16;
inline constexpr std::size_t BitmapChannels = BitmapSize * 8;
inline constexpr std::size_t ModelTextSize = 6;
inline constexpr std::size_t BandLimitSize = 2;
inline constexpr std::size_t TuningAreaSize = 80;

/// Lines of the image that travel between program and radio besides the channel lines in use.
inline constexpr int FirstSettingsLine = 99;
inline constexpr int LastSettingsLine = 107;

static_assert(ChannelArea + ChannelAreaSize == Address::Volume);
static_assert(Address::Volume == FirstSettingsLine * LineSize);
static_assert(Address::EmptyMap + BitmapSize == Address::ScanSkipMap);
static_assert(Address::ScanSkipMap + BitmapSize == Address::ModelText);
static_assert(Address::ModelText + ModelTextSize == Address::BandLow);
static_assert(Address::BandLow + BandLimitSize == Address::BandHigh);
static_assert(Address::BandHigh + BandLimitSize <= Address::ChannelCountCopy);
static_assert(Address::ChannelCountCopy + 1 == Address::TuningArea);
static_assert(Address::TuningArea + TuningAreaSize == (LastSettingsLine + 1) * LineSize);
static_assert(Address::TuningDefaultsEnd <= Address::TuningArea + TuningAreaSize);
static_assert(BitmapChannels >= MaxChannels);
static_assert((LastSettingsLine + 1) * LineSize <= ImageSize);

} // namespace k470
