#include "core/ChannelRows.h"
#include "core/Channels.h"
#include "exchange/ChannelFields.h"
#include "exchange/ImageCsv.h"
#include "exchange/ImageDifferences.h"
#include "exchange/ImageJson.h"
#include "sim/SampleMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace k470 {
namespace {

struct Form {
    const char *ending;
    std::string (*write)(const std::vector<FieldRow> &rows);
    ReadFields (*read)(std::string_view text, Language language);
    std::string_view FieldColumn::*naming;
};

constexpr Form Csv{".csv", FieldsAsCsv, FieldsFromCsv, &FieldColumn::header};
constexpr Form JsonForm{".json", FieldsAsJson, FieldsFromJson, &FieldColumn::member};
constexpr Form Forms[] = {Csv, JsonForm};

MemoryImage Blank() {
    MemoryImage image;
    image.fill(NotProgrammed);
    return image;
}

std::string Exported(const MemoryImage &image, const Form &form) {
    return form.write(ReadImageFields(image, Language::English));
}

/// The problems as "place field: value" one after the other, those of reading first; none is an empty text.
std::string Import(const std::string &text, const Form &form, MemoryImage &image) {
    const ReadFields fields = form.read(text, Language::English);
    MemoryImage changed = image;
    FieldProblems problems = fields.problems;
    const FieldProblems applied = ApplyImageFields(fields.rows, form.naming, changed);
    problems.insert(problems.end(), applied.begin(), applied.end());
    std::string texts;
    for (const FieldProblem &problem : problems)
        texts +=
            (texts.empty() ? "" : " | ") + problem.place.text + " " + problem.field + ": " + problem.value;
    EXPECT_TRUE(applied.empty() || changed == image) << "changed by half";
    if (texts.empty())
        image = changed;
    return texts;
}

class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed) {}

    std::size_t Below(std::size_t end) { return random_() % end; }

    MemoryImage RandomBytes() {
        MemoryImage image;
        for (std::uint8_t &byte : image)
            byte = static_cast<std::uint8_t>(Below(256));
        return image;
    }

    /// A radio in service with here and there a byte that none would have.
    MemoryImage Plausible() {
        MemoryImage image = MakeSampleMemory(static_cast<int>(Below(MaxChannels + 1)));
        for (std::size_t i = Below(60); i > 0; --i)
            image[Below(ImageSize)] = static_cast<std::uint8_t>(Below(256));
        return image;
    }

private:
    std::mt19937 random_;
};

/// Target after an import of all that source has; the last bits of each bitmap belong to no channel.
MemoryImage Merged(const MemoryImage &source, const MemoryImage &target) {
    constexpr std::size_t MapBytes = 12;
    MemoryImage image = target;
    const auto take = [&source, &image](std::size_t from, std::size_t end) {
        std::copy(&source[from], &source[end], &image[from]);
    };
    take(ChannelArea, ChannelArea + ChannelAreaSize);
    for (const SettingShape &shape : SettingShapes)
        take(shape.address, shape.address + 1);
    take(Address::EmptyMap, Address::EmptyMap + MapBytes);
    take(Address::ScanSkipMap, Address::ScanSkipMap + MapBytes);
    take(Address::BandLow, Address::BandHigh + BandLimitSize);
    take(Address::WriteMark + 1, Address::TuningDefaultsEnd);
    for (int ch = 8 * MapBytes; ch < MaxChannels; ++ch) {
        MarkEmpty(image, ch, IsMarkedEmpty(source, ch));
        SetScanSkipped(image, ch, IsScanSkipped(source, ch));
    }
    return image;
}

TEST(Exchange, CarriesAnyImageIntoAnyOtherInBothForms) {
    Generator generator(470);
    for (int i = 0; i < 120; ++i) {
        const MemoryImage source = i % 2 == 0 ? generator.RandomBytes() : generator.Plausible();
        const MemoryImage old = i % 3 == 0 ? Blank() : generator.RandomBytes();
        for (const Form &form : Forms) {
            MemoryImage target = old;
            ASSERT_EQ(Import(Exported(source, form), form, target), "");
            ASSERT_EQ(target, Merged(source, old)) << i << form.ending;
        }
    }
}

TEST(Exchange, WritesImagesInFormsThatScriptsRelyOn) {
    MemoryImage image = MakeSampleMemory(2);
    StoreRow(image, 0, {}, Language::English);
    image[Address::Beep] = 0;
    const std::string csv = Exported(image, Csv), json = Exported(image, JsonForm);
    for (const char *part :
         {"Channel,Receive MHz,Transmit MHz,Receive Tone,Transmit Tone,Power,Bandwidth,Lockout,Scan,Option,"
          "Scrambler,Raw\n1,,,,,,,,,,,\n"
          "2,401.31250,402.31250,67.0,254.1,Low,Wide,Carrier,Yes,Off,1,0x50121340501223409E02ED09511101FE:"
          "00\n"
          "3,,",
          "\n\nSetting,Value\ntimeOutTimer,120\nsquelch,3\nvoice,English\nchannelCount,2\nworkingChannel,2\n"
          "volume,12\nbatterySave,1:4\nbeep,No\nscrambler,Yes\ncompander,Yes\n\n"
          "Band,MHz\nlow,400.0\nhigh,480.0\n\nSegment,Squelch,Noise\n13,"})
        EXPECT_NE(csv.find(part), std::string::npos) << part;
    for (
        const char *part :
        {R"({"format":"k470","version":1,"band":{"low":"400.0","high":"480.0"},"settings":{"timeOutTimer":120,)"
         R"("squelch":3,"voice":"English","channelCount":2,"workingChannel":2,"volume":12,"batterySave":"1:4",)"
         R"("beep":false,"scrambler":true,"compander":true},"channels":[{"channel":1,"receiveFrequency":null},)"
         R"({"channel":2,"receiveFrequency":"401.31250","transmitFrequency":"402.31250","receiveTone":"67.0",)"
         R"("transmitTone":"254.1","power":"Low","bandwidth":"Wide","lockout":"Carrier","scan":true,)"
         R"("option":"Off","scrambler":1,"raw":"0x50121340501223409E02ED09511101FE:00"},{"channel":3,)",
         R"(],"tuning":[{"segment":13,"squelch":)"}) {
        std::string compact = json; // no text of it has a blank
        std::erase_if(compact, [](char c) { return c == ' ' || c == '\n'; });
        EXPECT_NE(compact.find(part), std::string::npos) << part;
    }
}

TEST(Exchange, GivesAnOrdinaryRowTheBytesOfTheGrid) {
    const std::string header = FieldsAsCsv({}).substr(0, FieldsAsCsv({}).find('\n') + 1);
    for (const auto &[line, stored] :
         {std::pair{"9,446.5,446.5,,,,,,,,", "0x0000654400006544FFFFFFFFB0F1FFFF:01"},
          {"9,0.5,451.5,88.5,d023i,LOW,narrow,qt/dqt,TRUE,compander,8",
           "0x0000050000001545750313A8CAF1FFFF:00"},
          {"9,446.5,,none,,,,carrier,no,Scrambler,3", "0x00006544FFFFFFFFFFFFFFFFB5F1FFFF:01"},
          {"9,,451.5,88.5,,Low,,,,,", "0xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF:11"}}) {
        MemoryImage image = Generator(7).RandomBytes();
        ASSERT_EQ(Import(header + line, Csv, image), "") << line;
        EXPECT_EQ(RawChannelText(image, 8), stored) << line;
    }
}

TEST(Exchange, PutsEditedCellsAboveRawBytesAndLeavesTheOthers) {
    const std::string header = "Channel,Receive MHz,Transmit MHz,Receive Tone,Transmit Tone,Power,Scan,Raw\n";
    const std::string raw = "0x00506144FFFFFFFF3412345600031122:01";
    const std::pair<std::string, std::string> cases[] = {
        {"1,446.15,,,,Low,No,", raw},
        {"1,446.25,,,,low,no,", "0x00506244FFFFFFFF3412345600031122:01"},
        {"1,446.15,451.15,,,Low,No,", "0x00506144005011453412FFFF00031122:01"},
        {"1,446.15,,67,,High,Yes,", "0x00506144FFFFFFFF9E02345660031122:00"},
        {"1,,,,,Low,No,", "0xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF:11"}};
    for (const auto &[cells, stored] : cases) {
        MemoryImage image = Blank();
        ASSERT_EQ(Import(header + cells + raw, Csv, image), "") << cells;
        EXPECT_EQ(RawChannelText(image, 0), stored) << cells;
    }
    MemoryImage image = Blank();
    ASSERT_EQ(Import("Channel,Receive MHz,Raw\n1,446.15,0xFFFFFFFFFFFFFFFFFFFFFFFF00FF1122:01", Csv, image),
              "");
    EXPECT_EQ(RawChannelText(image, 0), "0x0050614400506144FFFFFFFF30F11122:01") << "a new channel";
}

TEST(Exchange, TakesWhatPeopleAndSpreadsheetsWrite) {
    MemoryImage expected = Blank();
    ASSERT_EQ(Import("Channel,Receive MHz,Transmit MHz,Scan\n7,446.00625,446.00625,Yes\n\nSetting,Value\n"
                     "batterySave,1:4\nbeep,Yes\n\nBand,MHz\nlow,400.5\nhigh,480\n\nSegment,Noise\n44,7\n",
                     Csv, expected),
              "");
    const std::pair<Form, const char *> cases[] = {
        {Csv, "\xEF\xBB\xBF"
              "\r\nchannel;RECEIVE MHz;scan;;\r\n7;446,00625;TRUE;;\r\n;;;;\r\nSetting;Value\r\n"
              "batterySave;01:04:00\r\nBEEP;true\r\n;;\r\nBand;MHz\r\nhigh;480,0\r\nlow;400,50\r\n"
              "Segment;Squelch;Noise\r\n44;;7"},
        {Csv, ",\nSetting,\"Value\"\n\"batterySave\",\"4\"\nbeep,yes\n\"Band\",MHz\nlow,\" 400.5 \"\n"
              "high,480.0000\nChannel,Scan,Receive MHz\n7,\"Yes\",446.0062500\nSegment,,Noise\n44,,7,,\n"},
        {JsonForm, R"({"settings":{"batterySave":4,"beep":true},"band":{"low":400.5,"high":480},
                 "tuning":[{"segment":44,"noise":7,"squelch":null}],
                 "channels":[{"channel":"7","receiveFrequency":446.00625,"scan":"yes"}]})"},
        {JsonForm,
         R"({"format":"k470","version":1,"settings":{"batterySave":"1:4","beep":"YES","volume":null},
                 "channels":[{"channel":7,"receiveFrequency":"446.006250","scan":true,"raw":null}],
                 "band":{"low":"400.50","high":480.0},"tuning":[{"segment":44,"noise":7}]})"}};
    for (const auto &[form, text] : cases) {
        MemoryImage image = Blank();
        EXPECT_EQ(Import(text, form, image), "") << text;
        EXPECT_EQ(image, expected) << text;
    }
}

TEST(Exchange, NamesEveryBadRowWithItsPlaceAndChangesNothing) {
    const struct {
        Form form;
        std::string text;
        std::string problems;
    } cases[] = {
        {Csv, "Channel,Receive MHz,Power,Foo,Power\n1,446.525,Hih\n\n1,446.1234567,Low\n0,1,Low\n100,1\n,1\n",
         "line 1 : Foo | line 1 : Power | line 2 Power: Hih | line 4 Channel: 1 | "
         "line 4 Receive MHz: 446.1234567 | line 5 Channel: 0 | line 6 Channel: 100 | line 7 Channel: "},
        {Csv, "Channel,Receive MHz,Transmit MHz,Scrambler\n1,1000,-5,9\n2,4e2,\"446,5\",0\n3,5.,.5,\n",
         "line 2 Receive MHz: 1000 | line 2 Transmit MHz: -5 | line 2 Scrambler: 9 | line 3 Receive MHz: 4e2 "
         "| "
         "line 3 Transmit MHz: 446,5 | line 3 Scrambler: 0 | line 4 Receive MHz: 5. | line 4 Transmit MHz: "
         ".5"},
        {Csv,
         "Channel,Receive MHz,Receive Tone,Transmit Tone\n1,1,59.9,D089N\n2,1,260.1,67.05\n3,1,023,D023\n",
         "line 2 Receive Tone: 59.9 | line 2 Transmit Tone: D089N | line 3 Receive Tone: 260.1 | "
         "line 3 Transmit Tone: 67.05 | line 4 Receive Tone: 023 | line 4 Transmit Tone: D023"},
        {Csv, "Channel,Power\n5,Low\n", "line 2 Receive MHz: "},
        {Csv, "Channel,Raw\n5,0x12\n6,0xZZ506144FFFFFFFF3412345600031122:01\n",
         "line 2 Raw: 0x12 | line 3 Raw: 0xZZ506144FFFFFFFF3412345600031122:01"},
        {Csv,
         "Channel,Raw\n7,0x00506144FFFFFFFF3412345600031122:02\n8,0x00506144FFFFFFFF3412345600031122:011\n",
         "line 2 Raw: 0x00506144FFFFFFFF3412345600031122:02 | line 3 Raw: "
         "0x00506144FFFFFFFF3412345600031122:011"},
        {Csv, "Setting,Value\nvolume,17\nvolume,1\nfoo,1\nvoice,0x123\nbatterySave,2:4\n",
         "line 2 Value: 17 | line 3 Setting: volume | line 4 Setting: foo | line 5 Value: 0x123 | line 6 "
         "Value: 2:4"},
        {Csv, "Band,MHz\nlow,480\nhigh,480\nmid,1\n", "line 4 Band: mid | line 3 : "},
        {Csv, "Band,MHz\nlow,400.25\nhigh,1000\n", "line 2 MHz: 400.25 | line 3 MHz: 1000"},
        {Csv, "Segment,Squelch,Noise\n12,1,1\n50,1,1\n13,256,-1\n13,1,1,8\n",
         "line 5 : 8 | line 2 Segment: 12 | line 3 Segment: 50 | line 4 Squelch: 256 | line 4 Noise: -1 | "
         "line 5 Segment: 13"},
        {Csv, "Channel\n\nSetting,Value\nChannel\n", "line 4 : Channel"},
        {Csv, "", "line 1 : "},
        {Csv, "\nReceive MHz,Channel\n446,1\n", "line 2 : Receive MHz"},
        {Csv, "Channel,\"Raw\nx", "line 1 : "},
        {Csv, "Channel,\"Ra\"w\n", "line 1 : "},
        {Csv, "Channel,\"a\"\"b\"\n\"1\n2\",\n3,\"",
         "line 1 : a\"b | line 4 :  | line 2 Channel: 1\n2 | line 2 Receive MHz: "},
        {JsonForm, R"({"channels":[{"channel":1,"receiveFrequency":446.000001},{"channel":1.5},7,
                 {"channel":2,"channel":3,"foo":1,"receiveFrequency":[]}],"channels":{}})",
         "channels[2] : 7 | channels[3] channel: 3 | channels[3] foo: 1 | channels[3] receiveFrequency:  |  "
         "channels:  | "
         " channels:  | channels[0] receiveFrequency: 446.000001 | channels[1] channel: 1.5 | channels[1] "
         "receiveFrequency: "},
        {JsonForm, R"({"format":"k471","version":2,"x":true,"band":[],"settings":{"beep":{},"volume":"x"}})",
         " format: k471 |  version: 2 |  x: Yes |  band:  | settings beep:  | settings.volume value: x"},
        {JsonForm, "[]", " : "},
        {JsonForm, "{\n \"channels\": [\n  1,]}", "line 3, column 5 : "},
        {JsonForm, "{} {}", "line 1, column 4 : "},
        {JsonForm, std::string(1'000'000, '['), "line 1, column 1000001 : "}};
    for (const auto &[form, text, problems] : cases) {
        MemoryImage image = MakeSampleMemory(9);
        EXPECT_EQ(Import(text, form, image), problems) << text.substr(0, 300);
    }
}

/// Flips a bit, cuts, or repeats a piece of a valid file, up to four times.
std::string Mutated(std::string text, Generator &generator) {
    for (std::size_t i = 1 + generator.Below(4); i > 0 && !text.empty(); --i) {
        const std::size_t at = generator.Below(text.size());
        const std::size_t kind = generator.Below(4);
        if (kind == 0)
            text[at] = static_cast<char>(text[at] ^ (1 << generator.Below(8)));
        else if (kind == 1)
            text.erase(at, generator.Below(20));
        else if (kind == 2)
            text.insert(generator.Below(text.size()), text.substr(at, generator.Below(20)));
        else
            text.resize(at);
    }
    return text;
}

TEST(Exchange, TakesWhatADamagedFileSaysOrNothing) {
    Generator generator(99);
    MemoryImage source = MakeSampleMemory(6);
    source[0] = 0xAA;
    source[Address::Volume] = 99;
    const std::string valid[] = {Exported(source, Forms[0]), Exported(source, Forms[1])};
    bool refused = false, taken = false;
    for (int i = 0; i < 1000; ++i) {
        const MemoryImage before = MakeSampleMemory(3);
        MemoryImage image = before;
        if (!Import(Mutated(valid[i % 2], generator), Forms[i % 2], image).empty()) {
            refused = true;
            ASSERT_EQ(image, before);
            continue;
        }
        taken = true;
        MemoryImage again = before;
        ASSERT_EQ(Import(Exported(image, Forms[i % 2]), Forms[i % 2], again), "");
        ASSERT_EQ(again, Merged(image, before));
    }
    EXPECT_TRUE(refused && taken);
}

TEST(Differences, AreToldByFieldAndByByte) {
    const MemoryImage first = MakeSampleMemory(3);
    MemoryImage second = first;
    SetFreqString(second, Field::Rx, 0, "446.00000");
    for (const int ch : {0, 1})
        Line(second, ch)[Record::Reserved] ^= 0xFF;
    second[Address::Volume] = 200;
    second[Address::BandLow + 1] = 0x10;
    second[Address::NoiseDefaults] = 7;
    for (std::size_t address = ImageSize - LineSize - 1; address < ImageSize; ++address)
        second[address] ^= 0xFF;
    std::string fields;
    for (const FieldDifference &difference : CompareFields(first, second, Language::English))
        fields += std::string(ShapeOf(difference.table).member) + " " + difference.row + " " +
                  std::to_string(difference.column) + " " + difference.second + "\n";
    EXPECT_EQ(fields, "channels 1 1 446.00000\nchannels 1 11 " + RawChannelText(second, 0) +
                          "\nchannels 2 11 " + RawChannelText(second, 1) +
                          "\nsettings volume 1 0xC8\nband low 1 401.0\ntuning 13 2 7\n");
    MemoryImage patched = first;
    for (const ByteRun &run : CompareBytes(first, second)) {
        ASSERT_LE(run.address % LineSize + run.second.size(), LineSize);
        EXPECT_TRUE(std::equal(run.first.begin(), run.first.end(), &first[run.address]));
        std::copy(run.second.begin(), run.second.end(), &patched[run.address]);
    }
    EXPECT_EQ(patched, second);
}

} // namespace
} // namespace k470
