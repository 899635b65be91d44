// The worked blocks of the pages in docs/ are what the program does.

#include "core/ChannelRows.h"
#include "core/HexCells.h"
#include "exchange/ImageJson.h"
#include "files/CodeplugFile.h"
#include "files/modEnDecode_Eliminator.h"
#include "link/CloneFrames.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/Files.h"

#include <gtest/gtest.h>

namespace k470 {
namespace {

TEST(MemoryMapPage, ItsRecordShowsItsRowAndIsStoredFromIt) {
    const Bytes record = HexBytes(BlockOf("memory-map.md", "record"));
    ASSERT_EQ(record.size(), LineSize);
    MemoryImage image{};
    std::copy(record.begin(), record.end(), image.begin());
    const RowTexts row = RowFromRecord(image, 0, Language::English);
    std::string shown = row[ColRxFreq];
    for (std::size_t col = ColRxFreq + 1; col < row.size(); ++col)
        shown += " | " + row[col];
    EXPECT_EQ(shown + "\n", BlockOf("memory-map.md", "row"));

    image.fill(0xFF);
    image[Record::Flags] = 0x7F;
    StoreRow(image, 0, row, Language::English);
    EXPECT_TRUE(std::equal(record.begin(), record.end(), image.begin()));
}

TEST(WireProtocolPage, ItsSessionIsWhatProgramAndRadioSay) {
    MemoryImage memory = MakeSampleMemory(2);
    const Bytes record = HexBytes(BlockOf("memory-map.md", "record"));
    std::copy(record.begin(), record.end(), memory.begin());
    SimulatedRadio radio(memory);
    const struct {
        int step;
        bool waitAck;
        const char *instead = nullptr; ///< of the answer
    } exchanges[] = {{0, true},
                     {1, false},
                     {1, true},
                     {2, false},
                     {2, true},
                     {3, false, "...\n"},
                     {109, false, "...\n"},
                     {110, true, ""}};
    std::string session;
    for (const auto &[step, waitAck, instead] : exchanges) {
        const CloneFrame frame = BuildFrame(step, waitAck, CloneMode::Read, memory);
        session += "> " + HexText(frame.bytes) + "\n";
        if (instead == nullptr) {
            const Bytes reply = radio.Feed(frame.bytes).at(0).bytes;
            EXPECT_EQ(reply.size(), frame.replyLength);
            session += "< " + HexText(reply) + "\n";
        } else {
            session += instead;
        }
    }
    EXPECT_EQ(session, BlockOf("wire-protocol.md", "session"));
}

TEST(FileFormatPage, ShowsThePackingAndANewCodeplugAsTheyAre) {
    const std::string page = "file-format.md";
    ByteBuffer buffer = HexBytes(BlockOf(page, "hex example plain"));
    ASSERT_TRUE(CompressPass(buffer));
    EXPECT_EQ(buffer, HexBytes(BlockOf(page, "hex example pass")));
    buffer = HexBytes(BlockOf(page, "hex example plain"));
    EncodeBuffer(buffer);
    EXPECT_EQ(buffer, HexBytes(BlockOf(page, "hex example file")));

    AppState state;
    state.image[Address::ChannelCount] = 16;
    NewImage(state);
    EXPECT_EQ(PackImage(state.image), HexBytes(BlockOf(page, "hex new codeplug")));
}

TEST(ExchangePage, ItsExamplesMakeItsRecordsAndValues) {
    const std::string page = "exchange-format.md";
    MemoryImage expected = MakeSampleMemory(3);
    const Bytes records = HexBytes(BlockOf(page, "records") + "FF*16");
    std::copy(records.begin(), records.end(), expected.begin());
    expected[Address::EmptyMap] = 0xFC;
    expected[Address::ScanSkipMap] = 0xFE;
    const std::pair<std::size_t, std::uint8_t> values[] = {{Address::TimeOutTimer, 4},
                                                           {0x666, 0x40},
                                                           {0x667, 0},
                                                           {0x668, 0x48},
                                                           {0x669, 0},
                                                           {0x690, 40},
                                                           {0x6B5, 80}};
    for (const auto &[address, value] : values)
        expected[address] = value;
    for (const bool json : {false, true}) {
        const std::string text = BlockOf(page, json ? "json example" : "csv example");
        const ReadFields fields = (json ? FieldsFromJson : FieldsFromCsv)(text, Language::English);
        MemoryImage image = MakeSampleMemory(3);
        EXPECT_TRUE(fields.problems.empty());
        EXPECT_TRUE(ApplyImageFields(fields.rows, &FieldColumn::header, image).empty());
        EXPECT_EQ(image, expected) << json;
    }
}

} // namespace
} // namespace k470
