#include "cli/ExchangeCommands.h"
#include "cli/ImageCommands.h"
#include "cli/ImageCsv.h"
#include "cli/ImageJson.h"
#include "core/ChannelFields.h"
#include "core/Channels.h"
#include "core/ImageDifferences.h"
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

/// The problems as "place field: value", those of reading first.
std::vector<std::string> Import(const std::string &text, const Form &form, MemoryImage &image) {
    const ReadFields fields = form.read(text, Language::English);
    MemoryImage changed = image;
    FieldProblems problems = fields.problems;
    const FieldProblems applied = ApplyImageFields(fields.rows, form.naming, changed);
    problems.insert(problems.end(), applied.begin(), applied.end());
    std::vector<std::string> texts;
    for (const FieldProblem &problem : problems)
        texts.push_back(problem.place.text + " " + problem.field + ": " + problem.value);
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

    /// A radio in service with rows of the grid and here and there a byte that none would have.
    MemoryImage Plausible() {
        MemoryImage image = MakeSampleMemory(static_cast<int>(Below(MaxChannels + 1)));
        for (int ch = 0; ch < MaxChannels; ++ch) {
            if (Below(3) == 0)
                StoreRow(image, ch, Row(), Language::English);
        }
        for (std::size_t i = Below(60); i > 0; --i)
            image[Below(ImageSize)] = static_cast<std::uint8_t>(Below(256));
        return image;
    }

private:
    RowTexts Row() {
        AppState state;
        state.language = Language::English;
        RowTexts row;
        SetRowRx(row, std::to_string(400 + Below(80)), state);
        for (int column = ColPower; column < GridCols; ++column) {
            const auto choices = ColumnChoices(column, Language::English);
            row[static_cast<std::size_t>(column)] = choices[Below(choices.size())];
        }
        const auto tones = BuildToneList(Language::English);
        row[ColRxTone] = tones[Below(tones.size())];
        return row;
    }

    std::mt19937 random_;
};

/// What an exchange carries, byte by byte; the last two bits of each bitmap belong to no channel.
bool IsCarried(std::size_t address) {
    constexpr std::size_t MapBytes = 12;
    return address <= Address::BatterySave ||
           (address >= Address::EmptyMap && address < Address::EmptyMap + MapBytes) ||
           (address >= Address::ScanSkipMap && address < Address::ScanSkipMap + MapBytes) ||
           (address >= Address::BandLow && address < Address::BandHigh + BandLimitSize) ||
           (address > Address::WriteMark && address < Address::TuningDefaultsEnd);
}

/// Target after an import of all that source has.
MemoryImage Merged(const MemoryImage &source, const MemoryImage &target) {
    MemoryImage image = target;
    for (std::size_t address = 0; address < ImageSize; ++address)
        image[address] = IsCarried(address) ? source[address] : target[address];
    for (int ch = 96; ch < MaxChannels; ++ch) {
        MarkEmpty(image, ch, IsMarkedEmpty(source, ch));
        SetScanSkipped(image, ch, IsScanSkipped(source, ch));
    }
    return image;
}

TEST(Exchange, CarriesAnyImageIntoAnyOtherInBothForms) {
    Generator generator(470);
    for (int i = 0; i < 200; ++i) {
        MemoryImage source = i % 2 == 0 ? generator.RandomBytes() : generator.Plausible();
        Line(source, MaxChannels - 1)[Record::Reserved] = 0; // up to here all channels are listed
        for (const Form &form : Forms) {
            const std::string text = Exported(source, form);
            for (const MemoryImage &old : {Blank(), generator.RandomBytes()}) {
                MemoryImage target = old;
                ASSERT_EQ(Import(text, form, target), std::vector<std::string>());
                ASSERT_EQ(target, Merged(source, old)) << i << form.ending;
                ASSERT_TRUE(CompareFields(source, target, Language::Chinese).empty()) << i << form.ending;
            }
        }
    }
}

TEST(Exchange, ListsChannelsUpToTheCountAndTheLastThatIsNotBlank) {
    for (const auto &[count, last, listed] :
         {std::tuple{5, 0, 5}, {5, 7, 7}, {0, 0, 0}, {100, 3, 3}, {255, 0, 0}, {99, 1, 99}}) {
        MemoryImage image = Blank();
        image[Address::ChannelCount] = static_cast<std::uint8_t>(count);
        if (last > 0)
            SetFreqString(image, Field::Rx, last - 1, "446.00000");
        const auto rows = ReadImageFields(image, Language::English);
        EXPECT_EQ(std::count_if(rows.begin(), rows.end(),
                                [](const FieldRow &row) { return row.table == FieldTable::Channels; }),
                  listed)
            << count << " " << last;
    }
}

TEST(Exchange, GivesAnOrdinaryRowTheBytesOfTheGrid) {
    Generator generator(7);
    AppState state;
    state.language = Language::English;
    for (const auto &[line, change] : std::initializer_list<
             std::pair<const char *, void (*)(RowTexts &)>>{{"9,446.5,446.5,,,,,,,,", [](RowTexts &) {}},
                                                            {"9,446.5,451.5,88.5,d023i,LOW,narrow,qt/"
                                                             "dqt,TRUE,compander,8",
                                                             [](RowTexts &row) {
                                                                 row = {"",          "446.50000", "451.50000",
                                                                        "88.5",      "D023I",     "Low",
                                                                        "Narrow",    "QT/DQT",    "Yes",
                                                                        "Compander", "8"};
                                                             }},
                                                            {"9,446.5,,none,,,,carrier,no,Scrambler,3",
                                                             [](RowTexts &row) {
                                                                 row[ColTxFreq] = row[ColTxTone] = "";
                                                                 row[ColLockout] = "Carrier";
                                                                 row[ColOption] = "Scrambler";
                                                             }},
                                                            {"9,,451.5,88.5,,Low,,,,,",
                                                             [](RowTexts &row) { row = {}; }}}) {
        RowTexts row;
        SetRowRx(row, "446.5", state);
        change(row);
        MemoryImage expected = Blank();
        StoreRow(expected, 8, row, Language::English);
        MemoryImage image = generator.RandomBytes();
        const std::string header = FieldsAsCsv({}).substr(0, FieldsAsCsv({}).find('\n') + 1);
        ASSERT_EQ(Import(header + line, Csv, image), std::vector<std::string>()) << line;
        EXPECT_TRUE(std::equal(Line(image, 8).begin(), Line(image, 8).end(), Line(expected, 8).begin()))
            << line;
        EXPECT_EQ(IsMarkedEmpty(image, 8), row[ColRxFreq].empty()) << line;
        EXPECT_EQ(IsScanSkipped(image, 8), row[ColScanAdd] != "Yes") << line;
    }
}

TEST(Exchange, PutsEditedCellsAboveRawBytesAndLeavesTheOthers) {
    struct Case {
        const char *cells; ///< of a row whose raw bytes show the first ones
        const char *stored;
    };
    for (const auto &[cells, stored] :
         std::initializer_list<Case>{{"1,446.15,,,,Low,No,", "0x00506144FFFFFFFF3412345600031122:01"},
                                     {"1,446.25,,,,low,no,", "0x00506244FFFFFFFF3412345600031122:01"},
                                     {"1,446.15,451.15,,,Low,No,", "0x00506144005011453412FFFF00031122:01"},
                                     {"1,446.15,,67,,High,Yes,", "0x00506144FFFFFFFF9E02345660031122:00"},
                                     {"1,,,,,Low,No,", "0xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF:11"}}) {
        MemoryImage image = Blank();
        const std::string text =
            std::string("Channel,Receive MHz,Transmit MHz,Receive Tone,Transmit Tone,Power,"
                        "Scan,Raw\n") +
            cells + "0x00506144FFFFFFFF3412345600031122:01\n";
        ASSERT_EQ(Import(text, Csv, image), std::vector<std::string>()) << cells;
        EXPECT_EQ(RawChannelText(image, 0), stored) << cells;
    }
    MemoryImage image = Blank();
    const std::string raw = "Channel,Receive MHz,Raw\n1,446.15,0xFFFFFFFFFFFFFFFFFFFFFFFF00FF1122:01\n";
    ASSERT_EQ(Import(raw, Csv, image), std::vector<std::string>());
    EXPECT_EQ(RawChannelText(image, 0), "0x0050614400506144FFFFFFFF30F11122:01") << "a new channel";
}

TEST(Exchange, TakesWhatPeopleAndSpreadsheetsWrite) {
    MemoryImage expected = Blank();
    ASSERT_EQ(Import("Channel,Receive MHz,Transmit MHz,Scan\n7,446.00625,446.00625,Yes\n\nSetting,Value\n"
                     "batterySave,1:4\nbeep,Yes\n\nBand,MHz\nlow,400.5\nhigh,480\n\nSegment,Noise\n44,7\n",
                     Csv, expected),
              std::vector<std::string>());
    for (const auto &[form, text] : std::initializer_list<std::pair<Form, const char *>>{
             {Csv, "\xEF\xBB\xBF"
                   "channel;RECEIVE MHz;scan;;\r\n7;446,00625;TRUE;;\r\n;;;;\r\nSetting;Value\r\n"
                   "batterySave;01:04:00\r\nBEEP;true\r\n;;\r\nBand;MHz\r\nhigh;480,0\r\nlow;400,50\r\n"
                   "Segment;Squelch;Noise\r\n44;;7"},
             {Csv,
              ",\nSetting,\"Value\"\n\"batterySave\",\"4\"\nbeep,yes\n\"Band\",MHz\nlow,\" 400.5 \"\n"
              "high,480.0000\nChannel,Scan,Receive MHz\n7,\"Yes\",446.0062500\nSegment,,Noise\n44,,7,,\n"},
             {JsonForm, R"({"settings":{"batterySave":4,"beep":true},"band":{"low":400.5,"high":480},
                 "tuning":[{"segment":44,"noise":7,"squelch":null}],
                 "channels":[{"channel":"7","receiveFrequency":446.00625,"scan":"yes"}]})"},
             {JsonForm,
              R"({"format":"k470","version":1,"settings":{"batterySave":"1:4","beep":"YES","volume":null},
                 "channels":[{"channel":7,"receiveFrequency":"446.006250","scan":true,"raw":null}],
                 "band":{"low":"400.50","high":480.0},"tuning":[{"segment":44,"noise":7}]})"}}) {
        MemoryImage image = Blank();
        EXPECT_EQ(Import(text, form, image), std::vector<std::string>()) << text;
        EXPECT_EQ(image, expected) << text;
    }
}

struct Refusal {
    Form form;
    std::string text;
    std::vector<std::string> problems;
};

TEST(Exchange, NamesEveryBadRowWithItsPlaceAndChangesNothing) {
    for (const auto &[form, text, problems] : std::initializer_list<Refusal>{
             {Csv,
              "Channel,Receive MHz,Power,Foo,Power\n1,446.525,Hih\n\n1,446.1234567,Low\n0,1,Low\n100,1\n,1\n",
              {"line 1 : Foo", "line 1 : Power", "line 2 Power: Hih", "line 4 Channel: 1",
               "line 4 Receive MHz: 446.1234567", "line 5 Channel: 0", "line 6 Channel: 100",
               "line 7 Channel: "}},
             {Csv,
              "Channel,Receive MHz,Transmit MHz,Receive Tone,Transmit "
              "Tone,Scrambler\n1,1000,-5,59.9,D089N,9\n"
              "2,4e2,\"446,5\",260.1,67.05,0\n3,5.,.5,023,D023,\n",
              {"line 2 Receive MHz: 1000", "line 2 Transmit MHz: -5", "line 2 Receive Tone: 59.9",
               "line 2 Transmit Tone: D089N", "line 2 Scrambler: 9", "line 3 Receive MHz: 4e2",
               "line 3 Transmit MHz: 446,5", "line 3 Receive Tone: 260.1", "line 3 Transmit Tone: 67.05",
               "line 3 Scrambler: 0", "line 4 Receive MHz: 5.", "line 4 Transmit MHz: .5",
               "line 4 Receive Tone: 023", "line 4 Transmit Tone: D023"}},
             {Csv, "Channel,Power\n5,Low\n", {"line 2 Receive MHz: "}},
             {Csv,
              "Channel,Receive MHz,Raw\n5,1,0x12\n6,1,0xZZ506144FFFFFFFF3412345600031122:01\n"
              "7,1,0x00506144FFFFFFFF3412345600031122:02\n",
              {"line 2 Raw: 0x12", "line 3 Raw: 0xZZ506144FFFFFFFF3412345600031122:01",
               "line 4 Raw: 0x00506144FFFFFFFF3412345600031122:02"}},
             {Csv,
              "Setting,Value\nvolume,17\nvolume,1\nfoo,1\nbeep,2\nvoice,0x123\nbatterySave,2:4\n",
              {"line 2 Value: 17", "line 3 Setting: volume", "line 4 Setting: foo", "line 5 Value: 2",
               "line 6 Value: 0x123", "line 7 Value: 2:4"}},
             {Csv, "Band,MHz\nlow,480\nhigh,480\nmid,1\n", {"line 4 Band: mid", "line 3 : "}},
             {Csv, "Band,MHz\nlow,400.25\nhigh,1000\n", {"line 2 MHz: 400.25", "line 3 MHz: 1000"}},
             {Csv,
              "Segment,Squelch,Noise\n12,1,1\n50,1,1\n13,256,-1\n13,1,1,8\n",
              {"line 5 : 8", "line 2 Segment: 12", "line 3 Segment: 50", "line 4 Squelch: 256",
               "line 4 Noise: -1", "line 5 Segment: 13"}},
             {Csv, "Channel\n\nSetting,Value\nChannel\n", {"line 4 : Channel"}},
             {Csv, "", {"line 1 : "}},
             {Csv, "\nReceive MHz,Channel\n446,1\n", {"line 2 : Receive MHz"}},
             {Csv, "Channel,\"Raw\nx", {"line 1 : "}},
             {Csv, "Channel,\"Ra\"w\n", {"line 1 : "}},
             {Csv,
              "Channel,Raw\n\"1\n2\",\n3,\"",
              {"line 4 : ", "line 2 Channel: 1\n2", "line 2 Receive MHz: "}},
             {JsonForm,
              R"({"channels":[{"channel":1,"receiveFrequency":446.000001},{"channel":1.5},7,
                 {"channel":2,"channel":3,"foo":1,"receiveFrequency":[]}],"channels":{}})",
              {"channels[2] : 7", "channels[3] channel: 3", "channels[3] foo: 1",
               "channels[3] receiveFrequency: ", " channels: ", " channels: ",
               "channels[0] receiveFrequency: 446.000001", "channels[1] channel: 1.5",
               "channels[1] receiveFrequency: "}},
             {JsonForm,
              R"({"format":"k471","version":2,"x":true,"band":[],"settings":{"beep":{},"volume":"x"}})",
              {" format: k471", " version: 2", " x: Yes",
               " band: ", "settings beep: ", "settings.volume value: x"}},
             {JsonForm, "[]", {" : "}},
             {JsonForm, "{\n \"channels\": [\n  1,]}", {"line 3, column 5 : "}},
             {JsonForm, "", {"line 1, column 1 : "}},
             {JsonForm, "{} {}", {"line 1, column 4 : "}},
             {JsonForm, std::string(1'000'000, '['), {" : "}}}) {
        MemoryImage image = MakeSampleMemory(9);
        EXPECT_EQ(Import(text, form, image), problems) << text.substr(0, 300);
        EXPECT_EQ(image, MakeSampleMemory(9));
    }
}

/// Flips bits, cuts, repeats and moves pieces of a valid file.
std::string Mutated(std::string text, Generator &generator) {
    for (std::size_t i = 1 + generator.Below(4); i > 0 && !text.empty(); --i) {
        const std::size_t at = generator.Below(text.size());
        const std::size_t length = generator.Below(20);
        switch (generator.Below(4)) {
        case 0:
            text[at] = static_cast<char>(text[at] ^ (1 << generator.Below(8)));
            break;
        case 1:
            text.resize(at);
            break;
        case 2:
            text.erase(at, length);
            break;
        default:
            text.insert(generator.Below(text.size()), text.substr(at, length));
        }
    }
    return text;
}

TEST(Exchange, SurvivesDamagedFiles) {
    Generator generator(99);
    MemoryImage source = MakeSampleMemory(6);
    std::copy_n(generator.RandomBytes().begin(), 3 * LineSize, source.begin());
    source[Address::Volume] = 99;
    const std::string valid[] = {Exported(source, Forms[0]), Exported(source, Forms[1])};
    int refused = 0;
    constexpr int Files = 4000;
    for (int i = 0; i < Files; ++i) {
        const Form &form = Forms[i % 2];
        const MemoryImage old = MakeSampleMemory(3);
        MemoryImage image = old;
        const std::string text = Mutated(valid[i % 2], generator);
        if (Import(text, form, image).empty())
            continue;
        EXPECT_EQ(image, old) << text;
        ++refused;
    }
    EXPECT_GT(refused, Files / 2);
    EXPECT_LT(refused, Files);
}

TEST(Differences, AreToldByFieldAndByByte) {
    const MemoryImage first = MakeSampleMemory(3);
    MemoryImage second = first;
    SetFreqString(second, Field::Rx, 1, "446.00000");
    Line(second, 1)[Record::Reserved] ^= 0xFF;
    second[Address::Volume] = 200;
    second[Address::BandLow + 1] = 0x10;
    second[Address::NoiseDefaults] = 7;
    for (std::size_t address = ImageSize - LineSize - 1; address < ImageSize; ++address)
        second[address] ^= 0xFF;
    std::vector<std::string> fields;
    for (const FieldDifference &difference : CompareFields(first, second, Language::English))
        fields.push_back(std::string(ShapeOf(difference.table).member) + " " + difference.row + " " +
                         std::to_string(difference.column) + " " + difference.second);
    EXPECT_EQ(fields, (std::vector<std::string>{
                          "channels 2 1 446.00000", "channels 2 11 " + RawChannelText(second, 1),
                          "settings volume 1 0xC8", "band low 1 401.0", "tuning 13 2 7"}));
    MemoryImage patched = first;
    for (const ByteRun &run : CompareBytes(first, second)) {
        ASSERT_LE(run.address % LineSize + run.second.size(), LineSize);
        EXPECT_TRUE(std::equal(run.first.begin(), run.first.end(), &first[run.address]));
        std::copy(run.second.begin(), run.second.end(), &patched[run.address]);
    }
    EXPECT_EQ(patched, second);
    EXPECT_TRUE(CompareBytes(first, first).empty());
}

/// The fenced block of that kind in the page.
std::string BlockOf(const std::string &kind) {
    std::ifstream file(std::string(K470_SOURCE_DIR) + "/docs/exchange-format.md");
    std::stringstream page;
    page << file.rdbuf();
    const std::string text = page.str();
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
        std::vector<std::string>());
    for (const auto &[form, kind] : {std::pair{Csv, "csv example"}, std::pair{JsonForm, "json example"}}) {
        MemoryImage image = MakeSampleMemory(3);
        EXPECT_EQ(Import(BlockOf(kind), form, image), std::vector<std::string>());
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
    for (const auto &[name, content, message] : std::initializer_list<std::array<std::string, 3>>{
             {"bad.csv", "Channel,Receive MHz\n1,446\n2,x\n",
              "line 3: Receive MHz \"x\": a frequency in MHz is needed"},
             {"esc.csv", "Channel,Receive MHz\n1,\x1B[2J\xFF" + std::string(50, 'y') + "\n",
              "\"\uFFFD[2J\uFFFDyyy"},
             {"bad.json", "{\"channels\":\n[}", "line 2, column 2: no valid JSON"},
             {"nul.csv", std::string("Channel\n\0", 9), "holds a byte 00"},
             {"large.json", std::string(1024 * 1024, ' ') + "{}", "larger than 1 MiB"}}) {
        EXPECT_EQ(Run(RunImport, Put(name, content), target), ExitFile) << name;
        EXPECT_NE(errors.find(message), std::string::npos) << errors;
        EXPECT_EQ(Content("t.bin"), BytesOf(MakeSampleMemory(4))) << name;
    }
    EXPECT_EQ(Run(RunImport, Path("none.csv"), target), ExitFile);
    EXPECT_EQ(Run(RunImport, Put("ok.csv", "Channel\n"), Path("none.bin")), ExitFile);
    EXPECT_EQ(Run(RunImport, Put("a.txt", ""), target), ExitUsage);
    EXPECT_EQ(Run(RunExport, target, Path("a.xml")), ExitUsage);
    EXPECT_EQ(Run(RunExport, target, Path("none/a.csv")), ExitFile);
    EXPECT_EQ(Run(RunDiff, target, Path("none.bin")), ExitFile);
}

} // namespace
} // namespace k470
