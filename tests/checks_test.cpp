// What the check of an image warns of.

#include "core/Channels.h"
#include "exchange/ImageChecks.h"
#include "sim/SampleMemory.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace k470 {

void PrintTo(const ImageWarning &warning, std::ostream *out) {
    *out << "channel " << warning.channel << " " << FieldName(warning, Language::English) << " "
         << warning.value << " " << WarningText(warning.kind, Language::English);
}

namespace {

using Kind = ImageWarning::Kind;
using Warnings = std::vector<ImageWarning>;

constexpr int Radio = ImageWarning::WholeRadio;
constexpr int Channels = 20;
constexpr int Ch = 4;
constexpr std::size_t Start = Ch * LineSize;

TEST(CheckImage, NamesAFrequencyOutsideTheBandOrOffTheRaster) {
    const std::pair<const char *, std::vector<Kind>> cases[] = {
        {"400.00000", {}},
        {"480.00000", {}},
        {"446.00625", {}},
        {"480.00500", {Kind::OutsideBand}},
        {"399.99999", {Kind::OutsideBand, Kind::OffRaster}}};
    for (const auto &[text, kinds] : cases) {
        MemoryImage image = MakeSampleMemory(Channels);
        SetFreqString(image, Field::Rx, Ch, text);
        Warnings warnings;
        for (const Kind kind : kinds)
            warnings.push_back({kind, Ch, "receiveFrequency", text});
        EXPECT_EQ(CheckImage(image), warnings) << text;
    }
}

TEST(CheckImage, NamesEachFaultWithItsChannelAndField) {
    const struct {
        const char *what;
        std::vector<std::pair<std::size_t, std::uint8_t>> bytes;
        Warnings warnings;
    } cases[] = {
        {"a sound image", {}, {}},
        {"a digit that is none",
         {{Start + 3, 0x4A}},
         {{Kind::NoFrequency, Ch, "receiveFrequency", "0x0000374A"}}},
        {"no transmit frequency, whose tone counts no more",
         {{Start + Record::TxFreq, 0xFF}, {Start + Record::TxTone + 1, 0x50}},
         {}},
        {"an unknown kind of tone",
         {{Start + Record::RxTone + 1, 0x50}},
         {{Kind::UnknownTone, Ch, "receiveTone", "0xED50"}}},
        {"a tone below the range",
         {{Start + Record::TxTone, 0x57}, {Start + Record::TxTone + 1, 0x02}},
         {{Kind::UnknownTone, Ch, "transmitTone", "59.9"}}},
        {"a fourth lockout", {{Start + Record::Flags, 0x07}}, {{Kind::NoChoice, Ch, "lockout", "Off"}}},
        {"a fourth option", {{Start + Record::Flags, 0x0E}}, {{Kind::NoChoice, Ch, "option", "Off"}}},
        {"a channel marked empty", {{Start, 0xAA}, {Address::EmptyMap, 1U << Ch}}, {}},
        {"a channel beyond the count",
         {{Address::ChannelCount, Channels - 1}},
         {{Kind::BeyondCount, Channels - 1, "receiveFrequency", "415.71500"}}},
        {"settings out of range",
         {{Address::TimeOutTimer, 41},
          {Address::Squelch, 10},
          {Address::BatterySave, 12},
          {Address::Beep, 0xFF}},
         {{Kind::NotInList, Radio, "timeOutTimer", "0x29"},
          {Kind::NotInList, Radio, "squelch", "0x0A"},
          {Kind::NotInList, Radio, "batterySave", "0x0C"}}},
        {"a working channel that there is not",
         {{Address::WorkingChannel, Channels}},
         {{Kind::NotInList, Radio, "workingChannel", "21"}}},
        {"an empty working channel",
         {{Address::WorkingChannel, Ch}, {Address::EmptyMap, 1U << Ch}},
         {{Kind::EmptyWorkingChannel, Radio, "workingChannel", "5"}}}};
    for (const auto &[what, bytes, warnings] : cases) {
        MemoryImage image = MakeSampleMemory(Channels);
        for (const auto &[address, byte] : bytes)
            image[address] = byte;
        EXPECT_EQ(CheckImage(image), warnings) << what;
    }
}

TEST(CheckImage, NamesLimitsInTheWrongOrder) {
    MemoryImage image = MakeSampleMemory(0);
    std::swap(image[Address::BandLow], image[Address::BandHigh]);
    EXPECT_EQ(CheckImage(image).front(), (ImageWarning{Kind::NoBand, Radio, "band", "0x4800 - 0x4000"}));
}

TEST(CheckImage, LooksIntoEveryChannelWhenTheCountIsNone) {
    for (const int count : {0, 100, 255}) {
        MemoryImage image = MakeSampleMemory(MaxChannels);
        image[Address::ChannelCount] = static_cast<std::uint8_t>(count);
        image[(MaxChannels - 1) * LineSize + Record::RxTone + 1] = 0x50;
        const Warnings found = CheckImage(image);
        ASSERT_EQ(found.size(), 2U) << count;
        EXPECT_EQ(found[0].field, "channelCount") << count;
        EXPECT_EQ(found[1].channel, MaxChannels - 1);
    }
}

} // namespace
} // namespace k470
