// What the check of an image warns of.

#include "core/AppState.h"
#include "core/ChannelRows.h"
#include "core/ImageChecks.h"
#include "sim/SampleMemory.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace k470 {

namespace {

using Kind = ImageWarning::Kind;

constexpr int Radio = ImageWarning::WholeRadio;
constexpr int Channels = 20;
constexpr int Ch = 4;

MemoryImage SoundImage() {
    return MakeSampleMemory(Channels);
}

std::uint8_t &ByteOf(MemoryImage &image, std::size_t offset) {
    return image[Ch * LineSize + offset];
}

struct Case {
    const char *what;
    std::function<void(MemoryImage &)> spoil;
    std::vector<ImageWarning> warnings;
};

void SetRx(MemoryImage &image, const char *text) {
    RowTexts row = RowFromRecord(image, Ch, Language::English);
    row[ColRxFreq] = text;
    StoreRow(image, Ch, row, Language::English);
}

const std::vector<Case> Cases{
    {"a sound image", [](MemoryImage &) {}, {}},
    {"the limits of the band",
     [](MemoryImage &image) { SetRx(image, "400.00000"); }, // and 480, below
     {}},
    {"the high limit", [](MemoryImage &image) { SetRx(image, "480.00000"); }, {}},
    {"a step above",
     [](MemoryImage &image) { SetRx(image, "480.00500"); },
     {{Kind::OutsideBand, Ch, "receiveFrequency", "480.00500"}}},
    {"below and off the raster",
     [](MemoryImage &image) { SetRx(image, "399.99999"); },
     {{Kind::OutsideBand, Ch, "receiveFrequency", "399.99999"},
      {Kind::OffRaster, Ch, "receiveFrequency", "399.99999"}}},
    {"a point of the 6.25 kHz raster alone", [](MemoryImage &image) { SetRx(image, "446.00625"); }, {}},
    {"a digit that is none",
     [](MemoryImage &image) { ByteOf(image, Record::RxFreq + 3) = 0x4A; },
     {{Kind::NoFrequency, Ch, "receiveFrequency", "00 00 37 4A"}}},
    {"an erased transmit frequency",
     [](MemoryImage &image) { ByteOf(image, Record::TxFreq) = 0xFF; }, // and its tone counts no more
     {}},
    {"an unknown kind of tone",
     [](MemoryImage &image) { ByteOf(image, Record::RxTone + 1) = 0x50; },
     {{Kind::UnknownTone, Ch, "receiveTone", ""}}},
    {"a tone below the range",
     [](MemoryImage &image) {
         ByteOf(image, Record::TxTone) = 0x57;
         ByteOf(image, Record::TxTone + 1) = 0x02;
     },
     {{Kind::UnknownTone, Ch, "transmitTone", "59.9"}}},
    {"a fourth lockout and a fourth option",
     [](MemoryImage &image) { ByteOf(image, Record::Flags) |= 0x0F; },
     {{Kind::NotInList, Ch, "lockout", "3"}, {Kind::NotInList, Ch, "option", "12"}}},
    {"a channel marked empty is not looked into",
     [](MemoryImage &image) {
         ByteOf(image, Record::RxFreq) = 0xAA;
         image[Address::EmptyMap] |= 1U << Ch;
     },
     {}},
    {"a channel behind the count is not looked into",
     [](MemoryImage &image) { image[Channels * LineSize] = 0xAA; },
     {}},
    {"settings out of range",
     [](MemoryImage &image) {
         image[Address::TimeOutTimer] = 41;
         image[Address::Squelch] = 10;
         image[Address::Voice] = 3;
         image[Address::Volume] = 16;
         image[Address::BatterySave] = 12;
         image[Address::Beep] = 0xFF; // any byte but 0 is on
     },
     {{Kind::NotInList, Radio, "timeOutTimer", "41"},
      {Kind::NotInList, Radio, "squelch", "10"},
      {Kind::NotInList, Radio, "voice", "3"},
      {Kind::NotInList, Radio, "volume", "16"},
      {Kind::NotInList, Radio, "batterySave", "12"}}},
    {"a working channel that there is not",
     [](MemoryImage &image) { image[Address::WorkingChannel] = Channels; },
     {{Kind::NotInList, Radio, "workingChannel", "20"}}},
    {"an empty working channel",
     [](MemoryImage &image) {
         image[Address::WorkingChannel] = Ch;
         image[Address::EmptyMap] |= 1U << Ch;
     },
     {{Kind::EmptyWorkingChannel, Radio, "workingChannel", "5"}}},
    {"limits in the wrong order",
     [](MemoryImage &image) { std::swap(image[Address::BandLow], image[Address::BandHigh]); },
     {{Kind::NoBand, Radio, "band", "48 00 40 00"}}},
};

} // namespace

TEST(CheckImage, NamesEachFaultWithItsChannelAndField) {
    for (const auto &[what, spoil, warnings] : Cases) {
        MemoryImage image = SoundImage();
        spoil(image);
        std::vector<ImageWarning> found = CheckImage(image);
        if (!warnings.empty() && warnings.front().kind == Kind::NoBand)
            found.resize(1); // every frequency is outside a band without inside
        for (std::size_t i = 0; i < found.size() && i < warnings.size(); ++i)
            if (warnings[i].value.empty())
                found[i].value.clear();
        EXPECT_EQ(found, warnings) << what;
    }
}

TEST(CheckImage, LooksIntoEveryChannelWhenTheCountIsNone) {
    for (const std::uint8_t count : std::initializer_list<std::uint8_t>{0, 100, 255}) {
        MemoryImage image = MakeSampleMemory(MaxChannels);
        image[Address::ChannelCount] = count;
        image[(MaxChannels - 1) * LineSize + Record::RxTone + 1] = 0x50;
        const std::vector<ImageWarning> found = CheckImage(image);
        ASSERT_EQ(found.size(), 2U) << int{count};
        EXPECT_EQ(found[0].field, "channelCount") << int{count};
        EXPECT_EQ(found[1].channel, MaxChannels - 1);
    }
}

void PrintTo(const ImageWarning &warning, std::ostream *out) {
    *out << "channel " << warning.channel << " " << FieldName(warning, Language::English) << " "
         << warning.value << " " << WarningText(warning.kind, Language::English);
}

} // namespace k470
