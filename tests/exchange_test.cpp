#include "cli/ExchangeCommands.h"
#include "cli/ImageCommands.h"
#include "core/Channels.h"
#include "exchange/ChannelFields.h"
#include "exchange/ImageCsv.h"
#include "exchange/ImageDifferences.h"
#include "exchange/ImageJson.h"
#include "sim/SampleMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <tuple>

#include <unistd.h>

namespace k470 {
namespace {

namespace fs = std::filesystem;

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
    for (int i = 0; i < 200; ++i) {
        const MemoryImage source = i % 2 == 0 ? generator.RandomBytes() : generator.Plausible();
        for (const Form &form : Forms) {
            const std::string text = Exported(source, form);
            for (const MemoryImage &old : {Blank(), generator.RandomBytes()}) {
                MemoryImage target = old;
                ASSERT_EQ(Import(text, form, target), "");
                ASSERT_EQ(target, Merged(source, old)) << i << form.ending;
                ASSERT_TRUE(CompareFields(source, target, Language::Chinese).empty()) << i << form.ending;
            }
        }
    }
}

TEST(Exchange, GivesAnOrdinaryRowTheBytesOfTheGrid) {
    const std::pair<const char *, RowTexts> cases[] = {
        {"9,446.5,446.5,,,,,,,,",
         {"", "446.50000", "446.50000", "None", "None", "High", "Wide", "Off", "No", "Off", "1"}},
        {"9,0.5,451.5,88.5,d023i,LOW,narrow,qt/dqt,TRUE,compander,8",
         {"", "0.50000", "451.50000", "88.5", "D023I", "Low", "Narrow", "QT/DQT", "Yes", "Compander", "8"}},
        {"9,446.5,,none,,,,carrier,no,Scrambler,3",
         {"", "446.50000", "", "None", "", "High", "Wide", "Carrier", "No", "Scrambler", "1"}},
        {"9,,451.5,88.5,,Low,,,,,", {}}};
    const std::string header = FieldsAsCsv({}).substr(0, FieldsAsCsv({}).find('\n') + 1);
    for (const auto &[line, row] : cases) {
        MemoryImage expected = Blank();
        StoreRow(expected, 8, row, Language::English);
        MemoryImage image = Generator(7).RandomBytes();
        ASSERT_EQ(Import(header + line, Csv, image), "") << line;
        EXPECT_EQ(RawChannelText(image, 8), RawChannelText(expected, 8)) << line;
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

TEST(Exchange, SurvivesDamagedFiles) {
    Generator generator(99);
    MemoryImage source = MakeSampleMemory(6);
    source[0] = 0xAA;
    source[Address::Volume] = 99;
    const std::string valid[] = {Exported(source, Forms[0]), Exported(source, Forms[1])};
    int refused = 0;
    constexpr int Files = 4000;
    for (int i = 0; i < Files; ++i) {
        MemoryImage image = MakeSampleMemory(3);
        refused += Import(Mutated(valid[i % 2], generator), Forms[i % 2], image).empty() ? 0 : 1;
    }
    EXPECT_GT(refused, Files / 2);
    EXPECT_LT(refused, Files);
}

TEST(Differences, AreToldByFieldAndByByte) {
    const MemoryImage first = MakeSampleMemory(3);
    MemoryImage second = first;
    SetFreqString(second, Field::Rx, 0, "446.00000");
    Line(second, 1)[Record::Reserved] ^= 0xFF;
    second[Address::Volume] = 200;
    second[Address::BandLow + 1] = 0x10;
    second[Address::NoiseDefaults] = 7;
    for (std::size_t address = ImageSize - LineSize - 1; address < ImageSize; ++address)
        second[address] ^= 0xFF;
    std::string fields;
    for (const FieldDifference &difference : CompareFields(first, second, Language::English))
        fields += std::string(ShapeOf(difference.table).member) + " " + difference.row + " " +
                  std::to_string(difference.column) + " " + difference.second + "\n";
    EXPECT_EQ(fields, "channels 1 1 446.00000\nchannels 2 11 " + RawChannelText(second, 1) +
                          "\nsettings volume 1 0xC8\nband low 1 401.0\ntuning 13 2 7\n");
    MemoryImage patched = first;
    for (const ByteRun &run : CompareBytes(first, second)) {
        ASSERT_LE(run.address % LineSize + run.second.size(), LineSize);
        EXPECT_TRUE(std::equal(run.first.begin(), run.first.end(), &first[run.address]));
        std::copy(run.second.begin(), run.second.end(), &patched[run.address]);
    }
    EXPECT_EQ(patched, second);
}

/// The fenced block of that kind in the page.
std::string BlockOf(const std::string &kind) {
    std::ifstream file(std::string(K470_SOURCE_DIR) + "/docs/exchange-format.md");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const std::string fence = "```" + kind + "\n";
    const std::size_t start = text.find(fence) + fence.size();
    return text.substr(start, text.find("```", start) - start);
}

TEST(ExchangePage, ItsExamplesMakeItsRecords) {
    MemoryImage expected = MakeSampleMemory(3);
    std::istringstream records(BlockOf("records"));
    for (std::size_t at = 0; at < 2 * LineSize; ++at) {
        unsigned byte = 0;
        ASSERT_TRUE(records >> std::hex >> byte);
        expected[at] = static_cast<std::uint8_t>(byte);
    }
    StoreRow(expected, 2, {}, Language::English);
    SetScanSkipped(expected, 0, false);
    SetScanSkipped(expected, 1, true);
    ASSERT_EQ(
        Import("Setting,Value\ntimeOutTimer,60\nBand,MHz\nlow,400\nhigh,480\nSegment,Squelch,Noise\n44,40,80",
               Csv, expected),
        "");
    for (const auto &[form, kind] : {std::pair{Csv, "csv example"}, std::pair{JsonForm, "json example"}}) {
        MemoryImage image = MakeSampleMemory(3);
        EXPECT_EQ(Import(BlockOf(kind), form, image), "");
        EXPECT_EQ(image, expected) << kind;
    }
}

class ExchangeFiles : public testing::Test {
protected:
    ExchangeFiles() { fs::create_directories(folder_); }
    ~ExchangeFiles() override { fs::remove_all(folder_); }

    std::string Path(const std::string &name) const { return folder_ / name; }

    std::string Put(const std::string &name, const std::string &content) const {
        std::ofstream(Path(name), std::ios::binary) << content;
        return Path(name);
    }

    std::string Content(const std::string &name) const {
        std::ifstream file(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// @param second the second argument of the command, whatever it is
    ExitCode Run(Command command, const std::string &input, const std::string &second, bool json = false,
                 Language language = Language::English) {
        CommandArguments arguments;
        arguments.input = input;
        arguments.output = arguments.other = second;
        arguments.json = json;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const ExitCode code = command(arguments, Console(language, false));
        output = testing::internal::GetCapturedStdout();
        errors = testing::internal::GetCapturedStderr();
        return code;
    }

    std::string output;
    std::string errors;

private:
    fs::path folder_ = fs::temp_directory_path() / ("k470-exchange-" + std::to_string(::getpid()));
};

std::string BytesOf(const MemoryImage &image) {
    return {image.begin(), image.end()};
}

TEST_F(ExchangeFiles, GoThroughExportImportAndDiff) {
    const std::string source = Put("a.bin", BytesOf(MakeSampleMemory(12)));
    for (const char *name : {"a.JSON", "b.csv"}) {
        const std::string target = Put("t.bin", BytesOf(Blank()));
        EXPECT_EQ(Run(RunExport, source, Path(name)), ExitDone);
        EXPECT_EQ(Run(RunImport, Path(name), target), ExitDone);
        EXPECT_EQ(output, "Channels taken over: 12\n");
        EXPECT_EQ(Run(RunDiff, source, target, true), ExitDiffers);
        EXPECT_NE(output.find("\"fields\": []"), std::string::npos) << output;
    }
    EXPECT_EQ(Run(RunShow, source, "", true), ExitDone);
    EXPECT_EQ(output, Content("a.JSON"));
    EXPECT_EQ(Run(RunDiff, source, source), ExitDone);
    EXPECT_EQ(output, "Nothing differs.\n");
    const std::string other = Put("c.bin", BytesOf(MakeSampleMemory(11)));
    EXPECT_EQ(Run(RunDiff, source, other, false, Language::Chinese), ExitDiffers);
    EXPECT_NE(output.find("信道 12"), std::string::npos) << output;
    EXPECT_NE(output.find("0631  06 0C"), std::string::npos) << output;
}

TEST_F(ExchangeFiles, StayAsTheyWereWhenAnythingIsRefused) {
    const std::string target = Put("t.bin", BytesOf(MakeSampleMemory(4)));
    const std::array<std::string, 3> cases[] = {
        {"bad.csv", "Channel,Receive MHz\n1,446\n2,x\n",
         "line 3: Receive MHz \"x\": a frequency in MHz is needed"},
        {"esc.csv", "Channel,Receive MHz\n1,\x1B[2J\xFF" + std::string(50, 'y'), "\"\uFFFD[2J\uFFFDyyy"},
        {"bad.json", "{\"channels\":\n[}", "line 2, column 2: no valid JSON"},
        {"nul.csv", std::string("Channel\n\0", 9), "holds a byte 00"},
        {"large.json", std::string(1024 * 1024, ' ') + "{}", "larger than 1 MiB"}};
    for (const auto &[name, content, message] : cases) {
        EXPECT_EQ(Run(RunImport, Put(name, content), target), ExitFile) << name;
        EXPECT_NE(errors.find(message), std::string::npos) << errors;
        EXPECT_EQ(Content("t.bin"), BytesOf(MakeSampleMemory(4))) << name;
    }
    EXPECT_EQ(Run(RunImport, Put("order.csv", "Band,MHz\nlow,480\nhigh,470\nmid,1\n"), target), ExitFile);
    EXPECT_LT(errors.find("line 3"), errors.find("line 4")) << errors;
    EXPECT_EQ(Run(RunImport, Path("none.csv"), target), ExitFile);
    EXPECT_EQ(Run(RunImport, Put("ok.csv", "Channel\n"), Path("none.bin")), ExitFile);
    EXPECT_EQ(Run(RunImport, Put("a.txt", ""), target), ExitUsage);
    EXPECT_EQ(Run(RunExport, target, Path("a.xml")), ExitUsage);
    EXPECT_EQ(Run(RunExport, target, Path("none/a.csv")), ExitFile);
    EXPECT_EQ(Run(RunDiff, target, Path("none.bin")), ExitFile);
}

} // namespace
} // namespace k470
