#include "core/ChannelRows.h"
#include "link/CloneFrames.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace k470 {

namespace {

/// The fenced block of that kind in a page of docs/.
std::vector<std::string> BlockOf(const std::string &page, const std::string &kind) {
    std::ifstream file(std::string(K470_SOURCE_DIR) + "/docs/" + page);
    std::vector<std::string> lines;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (inside && line == "```")
            break;
        if (inside)
            lines.push_back(line);
        inside = inside || line == "```" + kind;
    }
    return lines;
}

std::vector<std::uint8_t> BytesOf(const std::string &hex) {
    std::istringstream stream(hex);
    std::vector<std::uint8_t> bytes;
    for (unsigned value = 0; stream >> std::hex >> value;)
        bytes.push_back(static_cast<std::uint8_t>(value));
    return bytes;
}

TEST(MemoryMapPage, ItsRecordShowsItsRowAndIsStoredFromIt) {
    const auto record = BytesOf(BlockOf("memory-map.md", "record").at(0));
    ASSERT_EQ(record.size(), LineSize);
    MemoryImage image{};
    std::copy(record.begin(), record.end(), image.begin());
    const RowTexts row = RowFromRecord(image, 0, Language::English);
    std::string shown;
    for (std::size_t col = ColRxFreq; col < row.size(); ++col)
        shown += (col == ColRxFreq ? "" : " | ") + row[col];
    EXPECT_EQ(shown, BlockOf("memory-map.md", "row").at(0));

    MemoryImage stored;
    stored.fill(0xFF);
    stored[Record::Flags] = 0x7F;
    StoreRow(stored, 0, row, Language::English);
    EXPECT_TRUE(std::equal(record.begin(), record.end(), stored.begin()));
}

/// The page's line against the bytes: "> 02", without its direction.
void ExpectLine(const std::string &line, char direction, const std::vector<std::uint8_t> &bytes) {
    ASSERT_EQ(line.at(0), direction) << line;
    EXPECT_EQ(BytesOf(line.substr(1)), bytes) << line;
}

TEST(WireProtocolPage, ItsSessionIsWhatProgramAndRadioSay) {
    MemoryImage memory = MakeSampleMemory(2);
    const auto record = BytesOf(BlockOf("memory-map.md", "record").at(0));
    std::copy(record.begin(), record.end(), memory.begin());
    SimulatedRadio radio(memory);
    struct Exchange {
        int step;
        bool waitAck;
        bool answered; ///< the page shows the answer too
    };
    const std::vector<Exchange> exchanges{{0, true, true},     {1, false, true},  {1, true, true},
                                          {2, false, true},    {2, true, true},   {3, false, false},
                                          {109, false, false}, {110, true, false}};
    const auto page = BlockOf("wire-protocol.md", "session");
    std::size_t at = 0;
    for (const auto &[step, waitAck, answered] : exchanges) {
        while (page.at(at) == "...")
            ++at;
        const CloneFrame frame = BuildFrame(step, waitAck, CloneMode::Read, memory);
        ExpectLine(page.at(at++), '>', frame.bytes);
        if (!answered)
            continue;
        const auto replies = radio.Feed(frame.bytes);
        ASSERT_EQ(replies.size(), 1U);
        EXPECT_EQ(replies.front().bytes.size(), frame.replyLength);
        ExpectLine(page.at(at++), '<', replies.front().bytes);
    }
    EXPECT_EQ(at, page.size());
}

} // namespace

} // namespace k470
