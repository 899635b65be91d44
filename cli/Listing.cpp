#include "cli/Listing.h"

#include "cli/TextTable.h"
#include "core/Bands.h"
#include "core/ChannelCount.h"
#include "core/ChannelRows.h"
#include "core/NumberText.h"
#include "core/Settings.h"

namespace k470 {

namespace {

std::vector<TextRow> ChannelTable(const MemoryImage &image, Language language) {
    std::vector<TextRow> rows(1);
    for (int column = 0; column < GridCols; ++column)
        rows.front().push_back(ColumnHeader(column, language));
    const int channels = GetChannelCount(image).value_or(CountFallback::Shown);
    for (int ch = 0; ch < channels; ++ch) {
        RowTexts row = RowFromRecord(image, ch, language);
        row[ColNumber] = std::to_string(ch + 1);
        rows.emplace_back(row.begin(), row.end());
    }
    return rows;
}

std::string BandRange(const MemoryImage &image) {
    const Band limits = GetBandLimits(image);
    return ShortestDecimal(limits.low) + " - " + ShortestDecimal(limits.high) + " MHz";
}

} // namespace

std::string ListImage(const MemoryImage &image, Language language) {
    std::vector<TextRow> settings{{std::string(Res(language, Text::Frequency)), BandRange(image)}};
    for (const SettingShape &shape : SettingShapes)
        settings.push_back({SettingName(shape, language), SettingText(image, shape, language)});
    return FormatTable(ChannelTable(image, language)) + "\n" + FormatTable(settings);
}

} // namespace k470
