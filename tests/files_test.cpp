#include "files/CodeplugFile.h"
#include "files/FileCommands.h"
#include "files/WholeFile.h"
#include "files/modEnDecode_Eliminator.h"

#include "core/AppState.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace k470 {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using Log = std::vector<std::string>;

constexpr uid_t Nobody = 65534;

/// An empty folder of the test's own, removed behind it.
class SaveFolderTest : public testing::Test {
protected:
    SaveFolderTest() {
        std::string name = testing::TempDir() + "k470-files-XXXXXX";
        folder_ = ::mkdtemp(name.data());
        fs::permissions(folder_, fs::perms(0777));
    }
    ~SaveFolderTest() override {
        fs::permissions(folder_, fs::perms(0777));
        fs::remove_all(folder_);
    }

    std::string In(const std::string &name) const { return (folder_ / name).string(); }

    Log Names() const {
        Log names;
        for (const auto &entry : fs::directory_iterator(folder_))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path folder_;
};

void Put(const std::string &path, const Bytes &bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes Content(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

/// Bytes that no pass makes smaller, different for each seed.
MemoryImage NoiseImage(unsigned seed) {
    std::mt19937 random(seed);
    MemoryImage image;
    for (auto &byte : image)
        byte = static_cast<std::uint8_t>(random());
    return image;
}

Bytes Encoded(Bytes plain) {
    EncodeBuffer(plain);
    return plain;
}

AppState NewState(std::uint8_t channels) {
    AppState state;
    state.image[Address::ChannelCount] = channels;
    NewImage(state);
    return state;
}

// The format

TEST(CodeplugFile, HoldsTheMarkTheFillerAndAllOfTheImage) {
    const MemoryImage image = NoiseImage(1); // no radio transfer carries all of it
    Bytes plain = PackImage(image);
    ASSERT_TRUE(DecodeBuffer(plain));
    ASSERT_EQ(plain.size(), 1808u);
    EXPECT_EQ(std::string(plain.begin(), plain.begin() + 6), "SLQFEO");
    EXPECT_EQ(std::count(plain.begin() + 6, plain.begin() + 16, 0xFF), 10);
    EXPECT_TRUE(std::equal(image.begin(), image.end(), plain.begin() + 16));

    std::fill(plain.begin() + 6, plain.begin() + 16, std::uint8_t{0}); // nobody examines the filler
    MemoryImage loaded{};
    EXPECT_FALSE(UnpackImage(Encoded(plain), loaded));
    EXPECT_EQ(loaded, image);
}

TEST_F(SaveFolderTest, WhatCannotBeReadSaysWhyAndNeverBlocks) {
    ASSERT_EQ(::mkfifo(In("pipe").c_str(), 0600), 0);
    const std::pair<std::string, std::string> cases[] = {{In("missing.tw"), "No such file or directory"},
                                                         {In(""), "Is a directory"},
                                                         {In("pipe"), "Not a regular file"},
                                                         {"", "No such file or directory"}};
    for (const auto &[path, text] : cases) {
        MemoryImage image{};
        const auto failure = ReadCodeplug(path, image);
        ASSERT_TRUE(failure) << path;
        EXPECT_EQ(failure->kind, LoadFailure::Kind::Unreadable) << path;
        EXPECT_EQ(failure->text, text) << path;
    }
}

TEST_F(SaveFolderTest, ReadingStopsOneByteBehindTheLimit) {
    for (const std::size_t size : {0u, 10u, 11u, 12u, 5000u}) {
        Put(In("file"), Bytes(size, 7));
        Bytes bytes{1, 2, 3};
        EXPECT_EQ(ReadWholeFile(In("file"), 10, bytes), std::nullopt);
        EXPECT_EQ(bytes, Bytes(std::min<std::size_t>(size, 11), 7));
    }
}

TEST(WithFileExtension, CompletesOnlyANameWithoutADot) {
    const std::pair<const char *, const char *> cases[] = {{"/home/a.b/fleet", "/home/a.b/fleet.tw"},
                                                           {"fleet", "fleet.tw"},
                                                           {"/a/fleet.bak", "/a/fleet.bak"},
                                                           {"/home/a/", "/home/a/"},
                                                           {"", ""}};
    for (const auto &[typed, used] : cases)
        EXPECT_EQ(WithFileExtension(typed), used);
}

TEST(FileFormatPage, ShowsANewCodeplugAsItIsSaved) {
    std::ifstream page(K470_SOURCE_DIR "/docs/file-format.md");
    const std::string text((std::istreambuf_iterator<char>(page)), {});
    const std::string fence = "```hex new codeplug\n";
    ASSERT_NE(text.find(fence), std::string::npos);
    const char *next = text.c_str() + text.find(fence) + fence.size();
    Bytes shown;
    for (char *end = nullptr; *next != '`'; next = end + std::strspn(end, " \n"))
        shown.push_back(static_cast<std::uint8_t>(std::strtoul(next, &end, 16)));
    EXPECT_EQ(shown, PackImage(NewState(16).image));
}

// Saving

TEST_F(SaveFolderTest, ANewFileGetsTheDefaultPermissionsAndAReplacedOneKeepsItsOwn) {
    const mode_t mask = ::umask(0027);
    EXPECT_EQ(WriteCodeplug(In("a.tw"), NoiseImage(1)), std::nullopt);
    ::umask(mask);
    struct stat status {};
    ASSERT_EQ(::stat(In("a.tw").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    for (const mode_t mode : {0600u, 0751u}) {
        Put(In("a.tw"), {1});
        ASSERT_EQ(::chmod(In("a.tw").c_str(), mode), 0);
        const bool given = ::chown(In("a.tw").c_str(), Nobody, Nobody) == 0; // only root may
        ASSERT_EQ(WriteCodeplug(In("a.tw"), NoiseImage(1)), std::nullopt);
        ASSERT_EQ(::stat(In("a.tw").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
        EXPECT_EQ(status.st_uid, given ? Nobody : ::getuid());
        EXPECT_EQ(Content(In("a.tw")), PackImage(NoiseImage(1)));
        EXPECT_EQ(Names(), Log{"a.tw"});
    }
}

TEST_F(SaveFolderTest, ALinkStaysAndItsTargetIsReplaced) {
    fs::create_directory(In("far"));
    Put(In("far/real.tw"), {1});
    fs::create_symlink("far/real.tw", In("link.tw"));
    fs::create_symlink(In("link.tw"), In("link of link.tw"));
    fs::create_symlink("far/not yet.tw", In("dangling.tw"));
    for (const char *name : {"link of link.tw", "dangling.tw"}) {
        EXPECT_EQ(WriteCodeplug(In(name), NoiseImage(1)), std::nullopt) << name;
        EXPECT_TRUE(fs::is_symlink(In(name))) << name;
    }
    EXPECT_TRUE(fs::is_symlink(In("link.tw")));
    EXPECT_EQ(Content(In("far/real.tw")), PackImage(NoiseImage(1)));
    EXPECT_EQ(Content(In("far/not yet.tw")), PackImage(NoiseImage(1)));
}

TEST_F(SaveFolderTest, ATargetThatIsNoFileIsRefusedInTheSystemsWords) {
    fs::create_directory(In("folder.tw"));
    Put(In("plain"), {1});
    fs::create_symlink("loop.tw", In("loop.tw"));
    ASSERT_EQ(::mkfifo(In("pipe").c_str(), 0600), 0);
    const auto before = Names();
    const std::pair<std::string, std::string> cases[] = {
        {"folder.tw", "Is a directory"},     {"missing/new.tw", "No such file or directory"},
        {"plain/new.tw", "Not a directory"}, {"loop.tw", "Too many levels of symbolic links"},
        {"pipe", "Not a regular file"},      {std::string(256, 'n'), "File name too long"},
    };
    for (const auto &[name, text] : cases)
        EXPECT_EQ(WriteCodeplug(In(name), NoiseImage(1)), text) << name;
    EXPECT_EQ(Names(), before);
    EXPECT_EQ(WriteCodeplug(In(std::string(255, 'n')), NoiseImage(1)), std::nullopt);
}

/// Saves in a process of its own that has been restricted, prints what became of it and exits.
[[noreturn]] void SaveRestricted(bool (*restrict)(), const std::string &path) {
    const bool restricted = restrict();
    std::cerr << WriteCodeplug(path, NoiseImage(2)).value_or("done");
    ::_exit(restricted ? 0 : 1);
}

/// The size limit of files stands in for a full disk: writing stops in the middle of the file.
bool FillDisk() {
    const struct rlimit small { .rlim_cur = 1000, .rlim_max = 1000 };
    return std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR && ::setrlimit(RLIMIT_FSIZE, &small) == 0;
}

TEST_F(SaveFolderTest, AFullDiskLeavesTheOldFileAndNothingElse) {
    Put(In("old.tw"), {1});
    for (const char *name : {"old.tw", "new.tw"})
        EXPECT_EXIT(SaveRestricted(FillDisk, In(name)), testing::ExitedWithCode(0), "File too large");
    EXPECT_EQ(Content(In("old.tw")), Bytes{1});
    EXPECT_EQ(Names(), Log{"old.tw"});
}

/// Root is above the permissions.
bool BecomeNobody() {
    return ::getuid() != 0 || (::setgid(Nobody) == 0 && ::setuid(Nobody) == 0);
}

TEST_F(SaveFolderTest, WhatIsWriteProtectedStaysAsItIs) {
    struct Case {
        const char *name;
        unsigned file, folder; ///< permissions
        const char *result;
    };
    for (const Case &c : {Case{"old.tw", 0666, 0777, "done"},
                          {"old.tw", 0444, 0777, "Permission denied"},
                          {"old.tw", 0666, 0555, "Permission denied"},
                          {"new.tw", 0666, 0555, "Permission denied"}}) {
        Put(In("old.tw"), {1});
        fs::permissions(In("old.tw"), fs::perms(c.file));
        fs::permissions(folder_, fs::perms(c.folder));
        EXPECT_EXIT(SaveRestricted(BecomeNobody, In(c.name)), testing::ExitedWithCode(0), c.result);
        EXPECT_EQ(Content(In("old.tw")) == Bytes{1}, c.result != std::string("done"));
        EXPECT_EQ(Names(), Log{"old.tw"});
    }
}

TEST_F(SaveFolderTest, AtEveryMomentOfASaveOneOfTheTwoFilesIsThereWhole) {
    const Bytes contents[] = {PackImage(NoiseImage(0)), PackImage(NoiseImage(1))};
    Put(In("fleet.tw"), contents[0]);
    const pid_t child = ::fork();
    for (unsigned turn = 1; child == 0; ++turn)
        if (WriteCodeplug(In("fleet.tw"), NoiseImage(turn % 2)))
            ::_exit(1);
    std::size_t seen = 0;
    bool whole = true;
    for (int changes = 0; whole && changes < 200 && ::waitpid(child, nullptr, WNOHANG) == 0;) {
        const Bytes found = Content(In("fleet.tw"));
        whole = found == contents[0] || found == contents[1];
        changes += found != contents[seen] ? 1 : 0;
        seen = found == contents[0] ? 0 : 1;
    }
    EXPECT_TRUE(whole) << "a kill would leave neither";
    EXPECT_EQ(::kill(child, SIGKILL), 0) << "a save failed";
    ::waitpid(child, nullptr, 0);
}

// The commands

/// Answers from a script and notes every call.
class ScriptedView : public FileCommandView {
public:
    explicit ScriptedView(AppState &state) : state_(state) {}

    SaveAnswer AskSaveFirst(std::string_view text) override {
        log.push_back("AskSaveFirst " + std::string(text));
        return saveFirst;
    }
    bool ConfirmClearAll(std::string_view text, std::string_view title) override {
        log.push_back("ConfirmClearAll " + std::string(text) + "|" + std::string(title));
        return clearAll;
    }
    void ShowMessage(std::string_view text, Icon icon, std::string_view title) override {
        log.push_back(std::string(icon == Icon::Critical ? "Critical " : "Exclamation ") + std::string(text) +
                      "|" + std::string(title));
    }
    std::optional<std::string> ChooseOpenFile() override {
        log.push_back("ChooseOpenFile");
        return openFile;
    }
    std::optional<std::string> ChooseSaveFile(const std::string &proposed) override {
        log.push_back("ChooseSaveFile " + proposed);
        return saveFile;
    }
    void TransferFocus() override { log.push_back("TransferFocus"); }
    void CommitEdits() override {
        log.push_back("CommitEdits");
        state_.image[0] = committed;
        TakeSnapshot(state_);
    }
    void RefreshChannelOP() override {
        log.push_back("RefreshChannelOP " + std::to_string(state_.gridRowsLaidOut) + " to " +
                      std::to_string(state_.gridRows));
    }
    void RefreshChData() override { log.push_back("RefreshChData"); }
    void RefreshData() override { log.push_back("RefreshData"); }
    void ShowTitle() override { log.push_back("ShowTitle"); }

    Log log;
    SaveAnswer saveFirst = SaveAnswer::Cancel;
    bool clearAll = false;
    std::optional<std::string> openFile;
    std::optional<std::string> saveFile;
    std::uint8_t committed = 0x77; ///< what the pending edits put into byte 0

private:
    AppState &state_;
};

class FileCommandsTest : public SaveFolderTest {
protected:
    FileCommandsTest() {
        state_.language = Language::English;
        const std::uint8_t band[] = {0x13, 0x65, 0x17, 0x40};
        static_assert(Address::BandHigh == Address::BandLow + 2);
        std::copy(std::begin(band), std::end(band), other_.begin() + Address::BandLow);
        Put(In("other.tw"), PackImage(other_));
        view_.openFile = In("other.tw");
    }

    MemoryImage Saved(const std::string &name) {
        MemoryImage image{};
        EXPECT_FALSE(ReadCodeplug(In(name), image)) << name;
        return image;
    }
    /// What the view was told since the last time.
    Log TakeLog() { return std::exchange(view_.log, {}); }

    AppState state_ = NewState(16);
    MemoryImage other_ = NewState(40).image; ///< of the file other.tw
    ScriptedView view_{state_};
    FileCommands commands_{state_, view_};
};

const Log OpenedWithNewRows = {"RefreshChannelOP 17 to 41", "RefreshChData", "RefreshData", "ShowTitle"};
const std::string SaveFirstText = "AskSaveFirst File has been modified, save it now?";

Log operator+(Log first, const Log &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST_F(FileCommandsTest, NewAsksAfterTheCommitAndRenewsTheImageWhenConfirmed) {
    const Log asked = {"TransferFocus", "CommitEdits", "ConfirmClearAll All data will be cleared.|Alert!"};
    state_.image[Address::Volume] = 3;
    state_.currentFileName = "/a/b.tw";
    commands_.New();
    EXPECT_EQ(TakeLog(), asked);
    EXPECT_EQ(state_.image[0], view_.committed);
    EXPECT_EQ(state_.image[Address::Volume], 3);

    view_.clearAll = true;
    commands_.New();
    EXPECT_EQ(TakeLog(), (asked + Log{"RefreshChData", "RefreshData"}));
    EXPECT_EQ(state_.image, NewState(16).image);
    EXPECT_EQ(state_.currentFileName, "/a/b.tw");
}

TEST_F(FileCommandsTest, SaveAsksForANameOnceAndSaveAsAlways) {
    const Log save = {"TransferFocus", "CommitEdits", "TransferFocus"};
    commands_.Save();
    EXPECT_EQ(TakeLog(), (save + Log{"ChooseSaveFile Untitled.tw"}));
    commands_.SaveAs();
    EXPECT_EQ(TakeLog(), (save + Log{"ChooseSaveFile Untitled"}));
    EXPECT_EQ(state_.currentFileName, "Untitled") << "cancelled";
    EXPECT_EQ(Names(), Log{"other.tw"});

    view_.saveFile = In("fleet");
    commands_.Save();
    EXPECT_EQ(TakeLog(), (save + Log{"ChooseSaveFile Untitled.tw"}));
    EXPECT_EQ(state_.currentFileName, In("fleet.tw"));
    view_.committed = 0x78;
    commands_.Save();
    EXPECT_EQ(TakeLog(), save);
    EXPECT_EQ(Saved("fleet.tw")[0], 0x78);

    view_.committed = 0x79;
    view_.saveFile = In("new.tw");
    commands_.SaveAs();
    EXPECT_EQ(TakeLog(), (save + Log{"ChooseSaveFile " + In("fleet.tw")}));
    EXPECT_EQ(state_.currentFileName, In("new.tw"));
    EXPECT_EQ(Saved("new.tw"), state_.image);
    EXPECT_EQ(Saved("fleet.tw")[0], 0x78);
}

TEST_F(FileCommandsTest, OpenTakesTheFileOverAndKeepsTheName) {
    commands_.Open();
    EXPECT_EQ(TakeLog(), (Log{"TransferFocus", "ChooseOpenFile"} + OpenedWithNewRows));
    EXPECT_EQ(state_.image, other_);
    EXPECT_FALSE(ImageModified(state_));
    EXPECT_EQ(state_.bandLow, 136.5);
    EXPECT_EQ(state_.bandHigh, 174);
    EXPECT_EQ(state_.gridRows, 41);
    EXPECT_EQ(state_.gridRowsLaidOut, 41);
    EXPECT_EQ(state_.currentFileName, "Untitled");

    commands_.Open();
    EXPECT_EQ(TakeLog(),
              (Log{"TransferFocus", "ChooseOpenFile", "RefreshChData", "RefreshData", "ShowTitle"}))
        << "the rows are laid out already";
}

TEST_F(FileCommandsTest, OpenAsksFirstWhenTheImageIsModified) {
    using Answer = FileCommandView::SaveAnswer;
    struct Case {
        Answer answer;
        const char *saveName; ///< nullptr: the save dialog is cancelled
        bool saved, opened;
        Log log;
    };
    const Log opened = Log{"ChooseOpenFile"} + OpenedWithNewRows;
    const Log asked = {"TransferFocus", "ChooseSaveFile Untitled.tw"};
    const Log failed = {"Exclamation No such file or directory|K470"};
    const Case cases[] = {{Answer::Cancel, "saved.tw", false, false, {}},
                          {Answer::No, "saved.tw", false, true, opened},
                          {Answer::Yes, "saved.tw", true, true, asked + opened},
                          {Answer::Yes, nullptr, false, true, asked + opened},
                          {Answer::Yes, "missing/saved.tw", false, true, asked + failed + opened}};
    for (const Case &c : cases) {
        state_ = NewState(16);
        state_.language = Language::English;
        state_.image[0] = 0x42;
        const MemoryImage modified = state_.image;
        view_.saveFirst = c.answer;
        view_.saveFile = c.saveName ? std::optional(In(c.saveName)) : std::nullopt;
        fs::remove(In("saved.tw"));
        commands_.Open();
        EXPECT_EQ(TakeLog(), (Log{"TransferFocus", SaveFirstText} + c.log));
        EXPECT_EQ(state_.image, c.opened ? other_ : modified);
        ASSERT_EQ(fs::exists(In("saved.tw")), c.saved);
        EXPECT_TRUE(!c.saved || Saved("saved.tw") == modified) << "without the pending edits";
    }
}

TEST_F(FileCommandsTest, OpenWithoutAReadableFileEndsSilently) {
    const MemoryImage before = state_.image;
    for (const auto &choice : {std::optional<std::string>(), std::optional(In("missing.tw"))}) {
        view_.openFile = choice;
        commands_.Open();
        EXPECT_EQ(TakeLog(), (Log{"TransferFocus", "ChooseOpenFile"}));
        EXPECT_EQ(state_.image, before);
    }
}

TEST_F(FileCommandsTest, AFileOfTheWrongTypeIsRefusedUnderTheTitleOfItsFault) {
    const Bytes plain = BuildPlainContent(NoiseImage(1));
    const Bytes shorter(plain.begin(), plain.end() - 1);
    Bytes lowerCase = plain, longer = plain;
    std::memcpy(lowerCase.data(), "slqfeo", 6);
    longer.push_back(0);
    struct Case {
        const char *what;
        Bytes file;
        bool packed;
    };
    const Case cases[] = {
        {"empty", {}, false},
        {"cut", {0, 0, 5, 0xEE, 0, 0, 8, 0x7F, 1}, false},
        {"beyond the largest size", Bytes(MaxFileSize + 1), false},
        {"of the largest size", Bytes(MaxFileSize), true},
        {"beyond the largest size once unpacked", Encoded(Bytes(MaxFileSize + 1)), true},
        {"1807 bytes", Encoded(shorter), true},
        {"1809 bytes", Encoded(longer), true},
        {"mark in lower case", Encoded(lowerCase), true},
    };
    const MemoryImage before = state_.image;
    for (const auto &[what, file, packed] : cases) {
        Put(In("refused.tw"), file);
        const auto failure = commands_.OpenNamed(In("refused.tw"));
        ASSERT_TRUE(failure) << what;
        EXPECT_EQ(failure->kind, packed ? LoadFailure::Kind::NoCodeplug : LoadFailure::Kind::NotPacked)
            << what;
        EXPECT_EQ(TakeLog(),
                  Log{std::string("Critical Incorrect File Type.|") + (packed ? "K470" : "Error")});
        EXPECT_EQ(state_.image, before) << what;
    }
}

TEST_F(FileCommandsTest, AFileByNameNeedsNoQuestionAndAChannelCountAbove99KeepsTheRows) {
    for (const int count : {99, 100, 255}) {
        state_.image[0] = 0x42;
        state_.gridRows = 17;
        state_.gridRowsLaidOut = 17;
        other_[Address::ChannelCount] = static_cast<std::uint8_t>(count);
        Put(In("other.tw"), PackImage(other_));
        EXPECT_FALSE(commands_.OpenNamed(In("other.tw")));
        EXPECT_EQ(TakeLog().front(), count == 99 ? "RefreshChannelOP 17 to 100" : "RefreshChData");
        EXPECT_EQ(state_.image[Address::ChannelCount], count);
        EXPECT_EQ(state_.gridRows, count == 99 ? 100 : 17);
    }
}

} // namespace
} // namespace k470
