#include "files/CodeplugFile.h"
#include "files/FileCommands.h"
#include "files/WholeFile.h"
#include "files/modEnDecode_Eliminator.h"
#include "tests/FakeCommandView.h"
#include "tests/Files.h"

#include "core/AppState.h"

#include <gtest/gtest.h>

#include <csignal>
#include <iostream>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace k470 {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

constexpr uid_t Nobody = 65534;

/// A folder that anybody may use.
class FilesTest : public testing::Test {
protected:
    FilesTest() {
        Permit(0777);
        ::alarm(120); // what hangs ends as a failure
    }
    ~FilesTest() override { ::alarm(0); }

    std::string In(const std::string &name) const { return folder_.In(name); }
    void Permit(unsigned mode) const { fs::permissions(In(""), fs::perms(mode)); }

    const TempFolder folder_;
};

/// Bytes that no pass makes smaller, different for each seed.
MemoryImage NoiseImage(unsigned seed) {
    std::mt19937 random(seed);
    MemoryImage image;
    for (auto &byte : image)
        byte = static_cast<std::uint8_t>(random());
    return image;
}

/// What the file of an image holds, before it is packed.
Bytes Plain(const MemoryImage &image) {
    Bytes plain{'S', 'L', 'Q', 'F', 'E', 'O'};
    plain.resize(16, 0xFF);
    plain.insert(plain.end(), image.begin(), image.end());
    return plain;
}

Bytes Encoded(Bytes plain) {
    EncodeBuffer(plain);
    return plain;
}

TEST(CodeplugFile, HoldsTheMarkTheFillerAndAllOfTheImage) {
    const MemoryImage image = NoiseImage(1); // no radio transfer carries all of it
    EXPECT_EQ(PackImage(image), Encoded(Plain(image)));
    Bytes other = Plain(image);
    std::fill(other.begin() + 6, other.begin() + 16, std::uint8_t{0}); // nobody examines the filler
    MemoryImage loaded{};
    EXPECT_FALSE(UnpackImage(Encoded(other), loaded));
    EXPECT_EQ(loaded, image);
}

TEST_F(FilesTest, ReadingStopsOneByteBehindTheLimit) {
    for (const std::size_t size : {0u, 10u, 11u, 12u, 5000u}) {
        Put(In("file"), Bytes(size, 7));
        Bytes bytes{1, 2, 3};
        EXPECT_EQ(ReadWholeFile(In("file"), 10, bytes), std::nullopt);
        EXPECT_EQ(bytes, Bytes(std::min<std::size_t>(size, 11), 7));
    }
}

TEST(WithFileExtension, CompletesOnlyANameWithoutADot) {
    for (const auto &[typed, used] : {std::pair{"/home/a.b/fleet", "/home/a.b/fleet.tw"},
                                      {"fleet", "fleet.tw"},
                                      {"/a/fleet.bak", "/a/fleet.bak"},
                                      {"/home/a/", "/home/a/"},
                                      {"", ""}})
        EXPECT_EQ(WithFileExtension(typed), used);
}

TEST_F(FilesTest, WhatIsNoFileIsRefusedInTheSystemsWordsAndNeverBlocks) {
    fs::create_directory(In("folder"));
    Put(In("plain"), Bytes{1});
    fs::create_symlink("loop", In("loop"));
    ASSERT_EQ(::mkfifo(In("pipe").c_str(), 0600), 0);
    const Names before = folder_.Names();
    const struct {
        std::string name;
        const char *read;
        const char *saved;
    } cases[] = {
        {"folder", "Is a directory", "Is a directory"},
        {"missing/new", "No such file or directory", "No such file or directory"},
        {"plain/new", "Not a directory", "Not a directory"},
        {"loop", "Too many levels of symbolic links", "Too many levels of symbolic links"},
        {"pipe", "Not a regular file", "Not a regular file"},
        {std::string(256, 'n'), "File name too long", "File name too long"},
        {std::string(255, 'n'), "No such file or directory", nullptr},
    };
    for (const auto &[name, read, saved] : cases) {
        MemoryImage image{};
        const auto failure = ReadCodeplug(In(name), image);
        ASSERT_TRUE(failure) << name;
        EXPECT_EQ(failure->kind, LoadFailure::Kind::Unreadable) << name;
        EXPECT_EQ(failure->text, read) << name;
        EXPECT_EQ(folder_.Names(), before);
        EXPECT_EQ(WriteCodeplug(In(name), image).value_or(""), saved == nullptr ? "" : saved) << name;
    }
}

TEST_F(FilesTest, ANewFileGetsTheDefaultPermissionsAndAReplacedOneKeepsItsOwn) {
    const mode_t mask = ::umask(0027);
    for (const mode_t mode : {0640u, 0600u, 0751u}) {                        // the first one is new
        const bool given = ::chown(In("a.tw").c_str(), Nobody, Nobody) == 0; // only root may
        ASSERT_EQ(WriteCodeplug(In("a.tw"), NoiseImage(mode)), std::nullopt);
        struct stat status {};
        ASSERT_EQ(::stat(In("a.tw").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
        EXPECT_EQ(status.st_uid, given ? Nobody : ::getuid());
        EXPECT_EQ(ContentOf(In("a.tw")), Encoded(Plain(NoiseImage(mode))));
        EXPECT_EQ(folder_.Names(), Names{"a.tw"});
        ASSERT_EQ(::chmod(In("a.tw").c_str(), mode == 0640u ? 0600u : 0751u), 0);
    }
    ::umask(mask);
}

TEST_F(FilesTest, ALinkStaysAndItsTargetIsReplaced) {
    fs::create_directory(In("far"));
    Put(In("far/real.tw"), Bytes{1});
    fs::create_symlink("far/real.tw", In("link.tw"));
    fs::create_symlink(In("link.tw"), In("link of link.tw"));
    fs::create_symlink("far/not yet.tw", In("dangling.tw"));
    for (const auto &[name, target] :
         {std::pair{"link of link.tw", "far/real.tw"}, {"dangling.tw", "far/not yet.tw"}}) {
        EXPECT_EQ(WriteCodeplug(In(name), NoiseImage(1)), std::nullopt) << name;
        EXPECT_TRUE(fs::is_symlink(In(name))) << name;
        EXPECT_EQ(ContentOf(In(target)), Encoded(Plain(NoiseImage(1))));
    }
    EXPECT_TRUE(fs::is_symlink(In("link.tw")));
}

/// The size limit of files stands in for a full disk: writing stops in the middle of the file.
bool FillDisk() {
    const struct rlimit small { .rlim_cur = 1000, .rlim_max = 1000 };
    return std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR && ::setrlimit(RLIMIT_FSIZE, &small) == 0;
}

/// Root is above the permissions.
bool BecomeNobody() {
    return ::getuid() != 0 || (::setgid(Nobody) == 0 && ::setuid(Nobody) == 0);
}

/// Saves in a process of its own that has been restricted, prints what became of it and exits.
[[noreturn]] void SaveRestricted(bool (*restrict)(), const std::string &path) {
    const bool restricted = restrict();
    std::cerr << WriteCodeplug(path, NoiseImage(2)).value_or("done");
    ::_exit(restricted ? 0 : 1);
}

TEST_F(FilesTest, AFullDiskOrAProtectionLeavesTheOldFileAndNothingElse) {
    struct Case {
        bool (*restrict)();
        const char *name;
        unsigned file, folder; ///< permissions
        const char *result;
    };
    for (const Case &c : {Case{FillDisk, "old.tw", 0666, 0777, "File too large"},
                          {FillDisk, "new.tw", 0666, 0777, "File too large"},
                          {BecomeNobody, "old.tw", 0666, 0777, "done"},
                          {BecomeNobody, "old.tw", 0444, 0777, "Permission denied"},
                          {BecomeNobody, "old.tw", 0666, 0555, "Permission denied"},
                          {BecomeNobody, "new.tw", 0666, 0555, "Permission denied"}}) {
        Put(In("old.tw"), Bytes{1});
        fs::permissions(In("old.tw"), fs::perms(c.file));
        Permit(c.folder);
        EXPECT_EXIT(SaveRestricted(c.restrict, In(c.name)), testing::ExitedWithCode(0), c.result);
        EXPECT_EQ(ContentOf(In("old.tw")) == Bytes{1}, c.result != std::string("done"));
        EXPECT_EQ(folder_.Names(), Names{"old.tw"});
        Permit(0777);
    }
}

TEST_F(FilesTest, AtEveryMomentOfASaveOneOfTheTwoFilesIsThereWhole) {
    const Bytes contents[] = {PackImage(NoiseImage(0)), PackImage(NoiseImage(1))};
    Put(In("fleet.tw"), contents[0]);
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60); // whatever becomes of the test
        for (unsigned turn = 1; !WriteCodeplug(In("fleet.tw"), NoiseImage(turn % 2)); ++turn) {
        }
        ::_exit(1);
    }
    std::size_t seen = 0;
    int changes = 0;
    bool whole = true, saving = true;
    while (whole && changes < 200 && (saving = ::waitpid(child, nullptr, WNOHANG) == 0)) {
        const Bytes found = ContentOf(In("fleet.tw"));
        whole = found == contents[0] || found == contents[1];
        changes += found != contents[seen] ? 1 : 0;
        seen = found == contents[0] ? 0 : 1;
    }
    EXPECT_TRUE(whole) << "a kill would leave neither";
    EXPECT_TRUE(saving && ::kill(child, SIGKILL) == 0) << "a save failed or changed nothing";
    ::waitpid(child, nullptr, 0);
}

// The commands

AppState NewState(std::uint8_t channels) {
    AppState state;
    state.language = Language::English;
    state.image[Address::ChannelCount] = channels;
    NewImage(state);
    return state;
}

class FileCommandsTest : public FilesTest {
protected:
    FileCommandsTest() {
        const Bytes band = HexBytes("13 65 17 40");
        std::copy(band.begin(), band.end(), other_.begin() + Address::BandLow);
        Put(In("other.tw"), Encoded(Plain(other_)));
    }
    /// What the view was told since the last time, the folder's path left out.
    std::string TakeLog() {
        std::string log = std::exchange(view_.log, {});
        for (std::size_t at = 0; (at = log.find(In(""))) != std::string::npos;)
            log.erase(at, In("").size());
        return log;
    }

    AppState state_ = NewState(16);
    MemoryImage other_ = NewState(40).image; ///< of the file other.tw
    FakeCommandView view_{state_};
    FileCommands commands_{state_, view_};
};

TEST_F(FileCommandsTest, AskCommitAndRefreshInTheirOrder) {
    using Answer = std::optional<FileCommandView::SaveAnswer>;
    constexpr Answer Yes = FileCommandView::SaveAnswer::Yes, No = FileCommandView::SaveAnswer::No;
    constexpr Answer Cancel = FileCommandView::SaveAnswer::Cancel, Unmodified = std::nullopt;
    constexpr int Old = 0x42, Typed = 0x77, Renewed = 0xFF, None = -1;
    constexpr auto New = &FileCommands::New, Open = &FileCommands::Open;
    constexpr auto Save = &FileCommands::Save, SaveAs = &FileCommands::SaveAs;
    const std::string untitled = UntitledFileName;
    const std::string clear =
        "TransferFocus\nCommitEdits\nConfirmClearAll Alert!: All data will be cleared.\n";
    const std::string save = "TransferFocus\nCommitEdits\nTransferFocus\n";
    const std::string name = "ChooseSaveFile Untitled.tw\n";
    const std::string first = "TransferFocus\nAskSaveFirst File has been modified, save it now?\n";
    const std::string choose = "ChooseOpenFile\n", saved = first + "TransferFocus\n";
    const std::string open = choose + "ShowImage 41\n";
    const std::string noFolder = "Exclamation K470: No such file or directory\n";
    const struct {
        void (FileCommands::*run)();
        std::string name;   ///< of the current file
        Answer answer;      ///< to the question; of New anything but Yes is Cancel
        std::string chosen; ///< in either dialog; "": cancelled
        std::string log;
        std::string nameAfter;
        int holds; ///< byte 0 of the image
        int saved; ///< byte 0 of the file fleet.tw
    } cases[] = {
        {New, "b.tw", No, "", clear, "b.tw", Typed, None},
        {New, "b.tw", Yes, "", clear + "RefreshChData\nRefreshData\n", "b.tw", Renewed, None},
        {Save, untitled, No, "", save + name, untitled, Typed, None},
        {Save, untitled, No, "fleet", save + name, "fleet.tw", Typed, Typed},
        {Save, "fleet.tw", No, "x", save, "fleet.tw", Typed, Typed},
        {SaveAs, untitled, No, "", save + "ChooseSaveFile Untitled\n", untitled, Typed, None},
        {SaveAs, "b.tw", No, "fleet.tw", save + "ChooseSaveFile b.tw\n", "fleet.tw", Typed, Typed},
        {Open, untitled, Unmodified, "other.tw", "TransferFocus\n" + open, untitled, Renewed, None},
        {Open, untitled, Unmodified, "", "TransferFocus\n" + choose, untitled, Old, None},
        {Open, untitled, Unmodified, "missing.tw", "TransferFocus\n" + choose, untitled, Old, None},
        {Open, untitled, Cancel, "other.tw", first, untitled, Old, None},
        {Open, untitled, No, "other.tw", first + open, untitled, Renewed, None},
        {Open, "fleet.tw", Yes, "other.tw", saved + open, "fleet.tw", Renewed, Old},
        {Open, untitled, Yes, "", saved + name + choose, untitled, Old, None},
        {Open, untitled, Yes, "no/x", saved + name + noFolder + choose, "no/x.tw", Old, None},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.log + c.chosen);
        state_ = NewState(16);
        state_.currentFileName = c.name == untitled ? untitled : In(c.name);
        state_.image[0] = Old;
        if (!c.answer)
            TakeSnapshot(state_);
        view_.saveFirst = c.answer.value_or(FileCommandView::SaveAnswer::Cancel);
        view_.clearAll = c.answer == Yes;
        view_.saveFile.reset();
        if (!c.chosen.empty())
            view_.saveFile = In(c.chosen);
        view_.openFile = view_.saveFile;
        fs::remove(In("fleet.tw"));
        (commands_.*c.run)();
        EXPECT_EQ(TakeLog(), c.log);
        EXPECT_EQ(state_.currentFileName, c.nameAfter == untitled ? untitled : In(c.nameAfter));
        EXPECT_EQ(state_.image[0], c.holds);
        EXPECT_EQ(ImageModified(state_), c.holds == Old && c.answer);
        MemoryImage file{};
        EXPECT_EQ(ReadCodeplug(In("fleet.tw"), file) ? None : int{file[0]}, c.saved);
        EXPECT_TRUE(!c.log.ends_with(open) ||
                    (state_.image == other_ && state_.bandLow == 136.5 && state_.bandHigh == 174));
    }
}

TEST_F(FileCommandsTest, AFileByNameBringsTheRowsOfItsChannelCountIfItIsOne) {
    for (const auto &[count, rows] : {std::pair{40, 41}, {99, 100}, {100, 100}, {255, 100}}) {
        other_[Address::ChannelCount] = static_cast<std::uint8_t>(count);
        Put(In("other.tw"), Encoded(Plain(other_)));
        state_.image[0] = 0x42;
        EXPECT_FALSE(commands_.OpenNamed(In("other.tw")));
        EXPECT_EQ(TakeLog(), "ShowImage " + std::to_string(rows) + "\n");
        EXPECT_EQ(state_.image, other_);
        EXPECT_EQ(state_.gridRows, rows);
    }
}

TEST_F(FileCommandsTest, AFileOfTheWrongTypeIsRefusedUnderTheTitleOfItsFault) {
    const Bytes plain = Plain(NoiseImage(1));
    Bytes lowerCase = plain, longer = plain;
    lowerCase[0] = 's';
    longer.push_back(0);
    const struct {
        const char *what;
        Bytes file;
        bool packed;
    } cases[] = {
        {"empty", {}, false},
        {"cut", HexBytes("00 00 05 EE 00 00 08 7F 01"), false},
        {"beyond the largest size", Bytes((1 << 20) + 1), false},
        {"of the largest size", Bytes(1 << 20), true},
        {"beyond the largest size once unpacked", Encoded(Bytes((1 << 20) + 1)), true},
        {"1807 bytes", Encoded(Bytes(plain.begin(), plain.end() - 1)), true},
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
                  std::string(packed ? "Critical K470" : "Critical Error") + ": Incorrect File Type.\n");
        EXPECT_EQ(state_.image, before) << what;
    }
}

} // namespace
} // namespace k470
