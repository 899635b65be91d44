#include "exchange/ImageChecks.h"

#include "core/Bands.h"
#include "core/ChannelColumns.h"
#include "core/ChannelCount.h"
#include "core/Channels.h"
#include "core/PackedDecimal.h"
#include "core/Settings.h"
#include "core/Tones.h"
#include "exchange/FieldTexts.h"
#include "exchange/ImageFields.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace k470 {

namespace {

using Kind = ImageWarning::Kind;

constexpr std::string_view BandField = "band";

/// The image under the check and what it has found.
struct Findings {
    const MemoryImage &image;
    Band band;
    std::vector<ImageWarning> warnings{};

    void Warn(Kind kind, int channel, Column column, std::string value) {
        warnings.push_back(
            {kind, channel, ColumnAt(static_cast<std::size_t>(column)).fileName, std::move(value)});
    }
    void Warn(Kind kind, std::string_view field, std::string value) {
        warnings.push_back({kind, ImageWarning::WholeRadio, field, std::move(value)});
    }
};

void CheckBand(Findings &findings) {
    const std::span<const std::uint8_t> bytes(&findings.image[Address::BandLow], 2 * BandLimitSize);
    const auto [low, high] = findings.band;
    if (!std::all_of(bytes.begin(), bytes.end(), IsPackedDecimal) || low < LowestFrequency ||
        high > HighestFrequency || !IsSpanAllowed(findings.band))
        findings.Warn(Kind::NoBand, BandField,
                      LimitText(findings.image, 0) + " - " + LimitText(findings.image, 1));
}

/// Whether a radio would work with the setting. A check box takes any byte.
bool IsSound(const SettingShape &shape, const MemoryImage &image) {
    const std::uint8_t byte = image[shape.address];
    if (shape.address == Address::WorkingChannel)
        return byte < CheckedChannels(image);
    return shape.IsCheckBox() || IsOffered(shape, byte);
}

void CheckSettings(Findings &findings) {
    const auto warn = [&findings](Kind kind, const SettingShape &shape) {
        findings.Warn(kind, shape.fileName, SettingValue(findings.image, shape, Language::English));
    };
    for (const SettingShape &shape : SettingShapes) {
        if (!IsSound(shape, findings.image))
            warn(Kind::NotInList, shape);
    }
    const int working = findings.image[Address::WorkingChannel];
    if (working < CheckedChannels(findings.image) && IsEmptyChannel(findings.image, working))
        warn(Kind::EmptyWorkingChannel, SettingAt(Address::WorkingChannel));
}

std::span<const std::uint8_t> BytesOf(const MemoryImage &image, int ch, Column column) {
    const ColumnBytes &place = ColumnAt(static_cast<std::size_t>(column)).bytes;
    return Line(image, ch).subspan(place.first, place.size);
}

void CheckFrequency(Findings &findings, int ch, Field which) {
    const Column column = which == Field::Rx ? ColRxFreq : ColTxFreq;
    const auto frequency = GetFrequency(findings.image, which, ch);
    if (!frequency) {
        const auto bytes = BytesOf(findings.image, ch, column);
        if (std::find(bytes.begin(), bytes.end(), NotProgrammed) == bytes.end())
            findings.Warn(Kind::NoFrequency, ch, column, RawText(bytes));
        return;
    }
    if (frequency->Megahertz() < findings.band.low || frequency->Megahertz() > findings.band.high)
        findings.Warn(Kind::OutsideBand, ch, column, frequency->Text());
    if (!IsOnRaster(*frequency))
        findings.Warn(Kind::OffRaster, ch, column, frequency->Text());
}

void CheckTone(Findings &findings, int ch, Field which) {
    const Column column = which == Field::Rx ? ColRxTone : ColTxTone;
    const std::string text = GetToneString(findings.image, which, ch, Language::English);
    if (text.empty() || NormalizeTone(text, Language::English) != text)
        findings.Warn(Kind::UnknownTone, ch, column,
                      text.empty() ? RawText(BytesOf(findings.image, ch, column)) : text);
}

/// The radio takes any scrambler number, so only the flags are looked into.
void CheckChoices(Findings &findings, int ch) {
    const std::uint8_t flags = Line(findings.image, ch)[Record::Flags];
    for (int column = ColPower; column < GridCols; ++column) {
        const GridColumn &shape = ColumnAt(static_cast<std::size_t>(column));
        if (shape.bytes.first == Record::Flags && FindByBits(shape, flags) == nullptr)
            findings.Warn(Kind::NoChoice, ch, static_cast<Column>(column),
                          ValueText(shape.values.front(), Language::English));
    }
}

void CheckChannel(Findings &findings, int ch) {
    if (IsMarkedEmpty(findings.image, ch))
        return;
    CheckFrequency(findings, ch, Field::Rx);
    if (IsEmptyChannel(findings.image, ch))
        return;
    CheckFrequency(findings, ch, Field::Tx);
    CheckTone(findings, ch, Field::Rx);
    if (!GetFreqString(findings.image, Field::Tx, ch).empty())
        CheckTone(findings, ch, Field::Tx);
    CheckChoices(findings, ch);
}

/// Neither the radio nor the grid has a place for it.
void CheckUnusedChannel(Findings &findings, int ch) {
    if (!IsEmptyChannel(findings.image, ch))
        findings.Warn(Kind::BeyondCount, ch, ColRxFreq, GetFreqString(findings.image, Field::Rx, ch));
}

} // namespace

std::vector<ImageWarning> CheckImage(const MemoryImage &image) {
    Findings findings{image, GetBandLimits(image)};
    CheckBand(findings);
    CheckSettings(findings);
    const int used = CheckedChannels(image);
    for (int ch = 0; ch < used; ++ch)
        CheckChannel(findings, ch);
    for (int ch = used; ch < MaxChannels; ++ch)
        CheckUnusedChannel(findings, ch);
    return std::move(findings.warnings);
}

std::string_view FieldName(const ImageWarning &warning, Language language) {
    constexpr TextPair BandName{"band", "频段"};
    if (warning.channel == ImageWarning::WholeRadio)
        return Pick(language, warning.field == BandField ? BandName : SettingNamed(warning.field).words);
    const auto column =
        std::find_if(ChannelColumns.begin(), ChannelColumns.end(),
                     [&](const GridColumn &shape) { return shape.fileName == warning.field; });
    return column == ChannelColumns.end() ? warning.field : Pick(language, column->words);
}

std::string_view WarningText(Kind kind, Language language) {
    constexpr std::array<TextPair, 9> Texts{{
        {"outside the band", "超出频段"},
        {"on neither the 5 nor the 6.25 kHz raster", "不在 5 kHz 或 6.25 kHz 频率步进上"},
        {"no frequency", "不是有效频率"},
        {"no tone that the radio knows", "不是有效亚音"},
        {"out of range", "超出范围"},
        {"shown for bits that no choice has", "其数据位无对应选项，按此显示"},
        {"channel is empty", "信道为空"},
        {"no band: 130 to 490 MHz, 1 to 100 MHz wide",
         "不是有效频段：须在 130 至 490 MHz 之间，宽度 1 至 100 MHz"},
        {"beyond the channel count, so that no write sends it", "超出信道数，写频时不会发送"},
    }};
    return Pick(language, Texts[static_cast<std::size_t>(kind)]);
}

} // namespace k470
