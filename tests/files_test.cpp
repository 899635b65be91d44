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
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace k470 {
namespace {

namespace fs = std::filesystem;

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

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(folder_))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path folder_;
};

void Put(const std::string &path, const std::vector<std::uint8_t> &bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::uint8_t> Content(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(file), {});
}

mode_t Mode(const std::string &path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

/// Bytes that no pass makes smaller, different for each seed.
MemoryImage NoiseImage(unsigned seed) {
    std::mt19937 random(seed);
    MemoryImage image;
    for (auto &byte : image)
        byte = static_cast<std::uint8_t>(random());
    return image;
}

std::vector<std::uint8_t> Encoded(std::vector<std::uint8_t> plain) {
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
    MemoryImage image = NewState(16).image;
    std::fill(image.begin() + 0x6C0, image.end(), std::uint8_t{0xA5}); // no radio transfer carries these
    std::vector<std::uint8_t> plain = PackImage(image);
    ASSERT_TRUE(DecodeBuffer(plain));
    ASSERT_EQ(plain.size(), 1808u);
    EXPECT_EQ(std::string(plain.begin(), plain.begin() + 6), "SLQFEO");
    EXPECT_EQ(std::count(plain.begin() + 6, plain.begin() + 16, 0xFF), 10);
    EXPECT_TRUE(std::equal(image.begin(), image.end(), plain.begin() + 16));

    MemoryImage loaded{};
    EXPECT_FALSE(UnpackImage(PackImage(image), loaded));
    EXPECT_EQ(loaded, image);
}

TEST(CodeplugFile, DoesNotExamineTheFiller) {
    std::vector<std::uint8_t> plain = BuildPlainContent(NoiseImage(1));
    std::fill(plain.begin() + 6, plain.begin() + 16, std::uint8_t{0});
    MemoryImage loaded{};
    EXPECT_FALSE(UnpackImage(Encoded(plain), loaded));
    EXPECT_EQ(loaded, NoiseImage(1));
}

struct Refused {
    const char *what;
    std::vector<std::uint8_t> file;
    LoadFailure::Kind kind;
};

std::vector<Refused> RefusedFiles() {
    const std::vector<std::uint8_t> plain = BuildPlainContent(NoiseImage(1));
    std::vector<std::uint8_t> lowerCase = plain;
    std::memcpy(lowerCase.data(), "slqfeo", 6);
    std::vector<std::uint8_t> shorter(plain.begin(), plain.end() - 1);
    std::vector<std::uint8_t> longer = plain;
    longer.push_back(0);
    using Kind = LoadFailure::Kind;
    return {
        {"empty", {}, Kind::NotPacked},
        {"cut", {0, 0, 5, 0xEE, 0, 0, 8, 0x7F, 1}, Kind::NotPacked},
        {"beyond the largest size", std::vector<std::uint8_t>(MaxFileSize + 1), Kind::NotPacked},
        {"of the largest size", std::vector<std::uint8_t>(MaxFileSize), Kind::NoCodeplug},
        {"nothing in it", {0}, Kind::NoCodeplug},
        {"1807 bytes", Encoded(shorter), Kind::NoCodeplug},
        {"1809 bytes", Encoded(longer), Kind::NoCodeplug},
        {"mark in lower case", Encoded(lowerCase), Kind::NoCodeplug},
    };
}

TEST_F(SaveFolderTest, AFileThatIsNoCodeplugLeavesTheImage) {
    for (const auto &[what, file, kind] : RefusedFiles()) {
        MemoryImage image = NoiseImage(2);
        Put(In("refused.tw"), file);
        const auto failure = ReadCodeplug(In("refused.tw"), image);
        ASSERT_TRUE(failure) << what;
        EXPECT_EQ(failure->kind, kind) << what;
        EXPECT_EQ(image, NoiseImage(2)) << what;
    }
}

TEST_F(SaveFolderTest, WhatCannotBeReadSaysWhyAndNeverBlocks) {
    ASSERT_EQ(::mkfifo(In("pipe").c_str(), 0600), 0);
    const std::pair<std::string, std::string> cases[] = {
        {In("missing.tw"), "No such file or directory"},
        {In(""), "Is a directory"},
        {In("pipe"), "Not a regular file"},
        {"", "No such file or directory"},
    };
    for (const auto &[path, text] : cases) {
        MemoryImage image{};
        const auto failure = ReadCodeplug(path, image);
        ASSERT_TRUE(failure) << path;
        EXPECT_EQ(failure->kind, LoadFailure::Kind::Unreadable) << path;
        EXPECT_EQ(failure->text, text) << path;
    }
}

TEST_F(SaveFolderTest, ReadingStopsOneByteBehindTheLimit) {
    for (const std::size_t size : {0u, 9u, 10u, 11u, 12u, 5000u}) {
        Put(In("file"), std::vector<std::uint8_t>(size, 7));
        std::vector<std::uint8_t> bytes{1, 2, 3};
        EXPECT_EQ(ReadWholeFile(In("file"), 10, bytes), std::nullopt);
        EXPECT_EQ(bytes, std::vector<std::uint8_t>(std::min<std::size_t>(size, 11), 7));
    }
}

TEST(WithFileExtension, CompletesOnlyANameWithoutADot) {
    const std::pair<const char *, const char *> cases[] = {
        {"/home/a/fleet", "/home/a/fleet.tw"},
        {"/home/a.b/fleet", "/home/a.b/fleet.tw"},
        {"fleet", "fleet.tw"},
        {"/home/a/fleet.tw", "/home/a/fleet.tw"},
        {"/a/fleet.bak", "/a/fleet.bak"},
        {"/home/a/", "/home/a/"},
        {"", ""},
    };
    for (const auto &[typed, used] : cases)
        EXPECT_EQ(WithFileExtension(typed), used);
}

TEST(FileFormatPage, ShowsANewCodeplugAsItIsSaved) {
    std::ifstream page(K470_SOURCE_DIR "/docs/file-format.md");
    const std::string text((std::istreambuf_iterator<char>(page)), {});
    const std::string fence = "```hex new codeplug\n";
    ASSERT_NE(text.find(fence), std::string::npos);
    const char *next = text.c_str() + text.find(fence) + fence.size();
    std::vector<std::uint8_t> shown;
    for (char *end = nullptr; *next != '`'; next = end + std::strspn(end, " \n"))
        shown.push_back(static_cast<std::uint8_t>(std::strtoul(next, &end, 16)));
    EXPECT_EQ(shown, PackImage(NewState(16).image));
}

// Saving

TEST_F(SaveFolderTest, ANewFileGetsTheDefaultPermissions) {
    const mode_t mask = ::umask(0027);
    EXPECT_EQ(WriteCodeplug(In("new.tw"), NoiseImage(1)), std::nullopt);
    ::umask(mask);
    EXPECT_EQ(Mode(In("new.tw")), 0640u);
    EXPECT_EQ(Content(In("new.tw")), PackImage(NoiseImage(1)));
    EXPECT_EQ(Names(), std::vector<std::string>{"new.tw"});
}

TEST_F(SaveFolderTest, AReplacedFileKeepsPermissionsAndOwner) {
    for (const mode_t mode : {0600u, 0666u, 0751u}) {
        Put(In("old.tw"), {1});
        ASSERT_EQ(::chmod(In("old.tw").c_str(), mode), 0);
        const bool given = ::chown(In("old.tw").c_str(), Nobody, Nobody) == 0; // only root may
        ASSERT_EQ(WriteCodeplug(In("old.tw"), NoiseImage(1)), std::nullopt);
        struct stat status {};
        ASSERT_EQ(::stat(In("old.tw").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
        EXPECT_EQ(status.st_uid, given ? Nobody : ::getuid());
        EXPECT_EQ(Content(In("old.tw")), PackImage(NoiseImage(1)));
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

/// The size limit of files stands in for a full disk: writing stops in the middle of the file.
template <typename Action>
void OnAFullDisk(Action action) {
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit old {};
    ::getrlimit(RLIMIT_FSIZE, &old);
    const struct rlimit small { .rlim_cur = 1000, .rlim_max = old.rlim_max };
    ::setrlimit(RLIMIT_FSIZE, &small);
    action();
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, handler);
}

TEST_F(SaveFolderTest, AFullDiskLeavesTheOldFileAndNothingElse) {
    ASSERT_EQ(WriteCodeplug(In("old.tw"), NoiseImage(1)), std::nullopt);
    OnAFullDisk([&] {
        EXPECT_EQ(WriteCodeplug(In("old.tw"), NoiseImage(2)), "File too large");
        EXPECT_EQ(WriteCodeplug(In("new.tw"), NoiseImage(2)), "File too large");
    });
    EXPECT_EQ(Content(In("old.tw")), PackImage(NoiseImage(1)));
    EXPECT_EQ(Names(), std::vector<std::string>{"old.tw"});
}

/// Runs the action as a user whom permissions bind. @return the text that it gives
std::string AsOrdinaryUser(const std::function<FileFailure()> &action) {
    int ends[2];
    if (::pipe(ends) != 0)
        return "no pipe";
    const pid_t child = ::fork();
    if (child == 0) {
        if (::getuid() == 0 && (::setgid(Nobody) != 0 || ::setuid(Nobody) != 0))
            ::_exit(1);
        const std::string text = action().value_or("done");
        ::_exit(::write(ends[1], text.data(), text.size()) < 0 ? 1 : 0);
    }
    ::close(ends[1]);
    char text[256];
    const ssize_t length = ::read(ends[0], text, sizeof text);
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    return std::string(text, length > 0 ? static_cast<std::size_t>(length) : 0);
}

TEST_F(SaveFolderTest, WhatIsWriteProtectedStaysAsItIs) {
    const auto save = [&](const char *name) {
        return AsOrdinaryUser([&] { return WriteCodeplug(In(name), NoiseImage(2)); });
    };
    Put(In("old.tw"), {1});
    fs::permissions(In("old.tw"), fs::perms(0666));
    EXPECT_EQ(save("old.tw"), "done");

    Put(In("old.tw"), {1});
    fs::permissions(In("old.tw"), fs::perms(0444));
    EXPECT_EQ(save("old.tw"), "Permission denied") << "the file";

    fs::permissions(In("old.tw"), fs::perms(0666));
    fs::permissions(folder_, fs::perms(0555));
    EXPECT_EQ(save("old.tw"), "Permission denied") << "the folder";
    EXPECT_EQ(save("new.tw"), "Permission denied");
    EXPECT_EQ(Content(In("old.tw")), std::vector<std::uint8_t>{1});
    EXPECT_EQ(Names(), std::vector<std::string>{"old.tw"});

    fs::permissions(In("old.tw"), fs::perms(0000));
    EXPECT_EQ(AsOrdinaryUser([&] {
                  MemoryImage image{};
                  const auto failure = ReadCodeplug(In("old.tw"), image);
                  return failure ? FileFailure(failure->text) : std::nullopt;
              }),
              "Permission denied");
}

/// Saves two images in turn for ever, telling the pipe before each save.
[[noreturn]] void SaveForEver(const std::string &path, int pipe) {
    const MemoryImage images[] = {NoiseImage(1), NoiseImage(2)};
    for (std::size_t turn = 0;; ++turn)
        if (::write(pipe, "s", 1) != 1 || WriteCodeplug(path, images[turn % 2]))
            ::_exit(1);
}

TEST_F(SaveFolderTest, AKillInTheMiddleOfASaveLeavesOneOfTheTwoFilesWhole) {
    const auto first = PackImage(NoiseImage(1));
    const auto second = PackImage(NoiseImage(2));
    Put(In("fleet.tw"), first);
    std::mt19937 random(9);
    for (int kill = 0; kill < 200; ++kill) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = ::fork();
        if (child == 0)
            SaveForEver(In("fleet.tw"), ends[1]);
        ::close(ends[1]);
        char begun = 0;
        EXPECT_EQ(::read(ends[0], &begun, 1), 1);
        ::usleep(
            static_cast<useconds_t>(random() % 1500)); // where in its saves the child dies is what is to vary
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ::close(ends[0]);
        EXPECT_TRUE(WIFSIGNALED(status)) << "a save failed";
        const auto found = Content(In("fleet.tw"));
        ASSERT_TRUE(found == first || found == second) << "kill " << kill << ", " << found.size() << " bytes";
    }
}

// The commands

/// Answers from a script and notes every call.
class ScriptedView : public FileCommandView {
public:
    using Log = std::vector<std::string>;

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

using Log = ScriptedView::Log;

class FileCommandsTest : public SaveFolderTest {
protected:
    FileCommandsTest() {
        state_.language = Language::English;
        other_.image = NewState(40).image;
        other_.image[Address::BandLow] = 0x13;
        other_.image[Address::BandLow + 1] = 0x65;
        other_.image[Address::BandHigh] = 0x17;
        other_.image[Address::BandHigh + 1] = 0x40;
        Put(In("other.tw"), PackImage(other_.image));
    }

    MemoryImage Saved(const std::string &path) {
        MemoryImage image{};
        EXPECT_FALSE(ReadCodeplug(path, image)) << path;
        return image;
    }
    MemoryImage Committed() {
        MemoryImage image = state_.image;
        image[0] = view_.committed;
        return image;
    }

    AppState state_ = NewState(16);
    AppState other_; ///< holds the image of the file other.tw
    ScriptedView view_{state_};
    FileCommands commands_{state_, view_};
};

const Log OpenedWithNewRows = {"RefreshChannelOP 17 to 41", "RefreshChData", "RefreshData", "ShowTitle"};
const std::string SaveFirstText = "AskSaveFirst File has been modified, save it now?";

Log operator+(Log first, const Log &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST_F(FileCommandsTest, NewAsksAfterTheCommitAndRenewsTheImage) {
    view_.clearAll = true;
    state_.image[Address::Volume] = 3;
    state_.currentFileName = "/a/b.tw";
    commands_.New();
    EXPECT_EQ(view_.log,
              (Log{"TransferFocus", "CommitEdits", "ConfirmClearAll All data will be cleared.|Alert!",
                   "RefreshChData", "RefreshData"}));
    EXPECT_EQ(state_.image, NewState(16).image);
    EXPECT_EQ(state_.currentFileName, "/a/b.tw");
}

TEST_F(FileCommandsTest, NewCancelledKeepsTheCommittedImage) {
    state_.language = Language::Chinese;
    const MemoryImage committed = Committed();
    commands_.New();
    EXPECT_EQ(view_.log, (Log{"TransferFocus", "CommitEdits", "ConfirmClearAll 所有数据将被清空。|警告!"}));
    EXPECT_EQ(state_.image, committed);
}

TEST_F(FileCommandsTest, SaveAsksForANameOnceAndThenUsesIt) {
    view_.saveFile = In("fleet");
    const MemoryImage committed = Committed();
    commands_.Save();
    EXPECT_EQ(view_.log,
              (Log{"TransferFocus", "CommitEdits", "TransferFocus", "ChooseSaveFile Untitled.tw"}));
    EXPECT_EQ(state_.currentFileName, In("fleet.tw"));
    EXPECT_EQ(Saved(In("fleet.tw")), committed);

    view_.log.clear();
    view_.committed = 0x78;
    commands_.Save();
    EXPECT_EQ(view_.log, (Log{"TransferFocus", "CommitEdits", "TransferFocus"}));
    EXPECT_EQ(Saved(In("fleet.tw"))[0], 0x78);
}

TEST_F(FileCommandsTest, SaveAsAlwaysAsksAndProposesTheNameInUse) {
    state_.currentFileName = In("old.tw");
    view_.saveFile = In("new.tw");
    const MemoryImage committed = Committed();
    commands_.SaveAs();
    EXPECT_EQ(view_.log,
              (Log{"TransferFocus", "CommitEdits", "TransferFocus", "ChooseSaveFile " + In("old.tw")}));
    EXPECT_EQ(state_.currentFileName, In("new.tw"));
    EXPECT_EQ(Saved(In("new.tw")), committed);
    EXPECT_FALSE(fs::exists(In("old.tw")));
}

TEST_F(FileCommandsTest, ACancelledSaveDialogKeepsTheName) {
    commands_.Save();
    EXPECT_EQ(state_.currentFileName, "Untitled");
    commands_.SaveAs();
    EXPECT_EQ(view_.log.back(), "ChooseSaveFile Untitled");
    EXPECT_EQ(state_.currentFileName, "Untitled");
    EXPECT_EQ(Names(), Log{"other.tw"});
}

TEST_F(FileCommandsTest, AFailedSaveShowsTheSystemsWords) {
    fs::create_directory(In("folder.tw"));
    view_.saveFile = In("folder.tw");
    commands_.SaveAs();
    EXPECT_EQ(view_.log.back(), "Exclamation Is a directory|K470");
}

TEST_F(FileCommandsTest, OpenTakesTheFileOverAndKeepsTheName) {
    view_.openFile = In("other.tw");
    commands_.Open();
    EXPECT_EQ(view_.log, (Log{"TransferFocus", "ChooseOpenFile"} + OpenedWithNewRows));
    EXPECT_EQ(state_.image, other_.image);
    EXPECT_FALSE(ImageModified(state_));
    EXPECT_EQ(state_.bandLow, 136.5);
    EXPECT_EQ(state_.bandHigh, 174);
    EXPECT_EQ(state_.gridRows, 41);
    EXPECT_EQ(state_.gridRowsLaidOut, 41);
    EXPECT_EQ(state_.currentFileName, "Untitled");

    view_.log.clear();
    commands_.Open();
    EXPECT_EQ(view_.log,
              (Log{"TransferFocus", "ChooseOpenFile", "RefreshChData", "RefreshData", "ShowTitle"}))
        << "the rows are laid out already";
}

TEST_F(FileCommandsTest, OpenAsksFirstWhenTheImageIsModified) {
    using Answer = FileCommandView::SaveAnswer;
    struct Case {
        const char *what;
        Answer answer;
        const char *saveName; ///< nullptr: the save dialog is cancelled
        Log log;
    };
    const Log opened = Log{"ChooseOpenFile"} + OpenedWithNewRows;
    const Log asked = {"TransferFocus", "ChooseSaveFile Untitled.tw"};
    const Case cases[] = {
        {"cancel", Answer::Cancel, "saved.tw", {}},
        {"no", Answer::No, "saved.tw", opened},
        {"yes", Answer::Yes, "saved.tw", asked + opened},
        {"yes, no name chosen", Answer::Yes, nullptr, asked + opened},
        {"yes, save fails", Answer::Yes, "missing/saved.tw",
         asked + Log{"Exclamation No such file or directory|K470"}},
    };
    for (const auto &[what, answer, saveName, log] : cases) {
        state_ = NewState(16);
        state_.language = Language::English;
        state_.image[0] = 0x42;
        const MemoryImage modified = state_.image;
        view_.log.clear();
        view_.saveFirst = answer;
        view_.saveFile = saveName ? std::optional(In(saveName)) : std::nullopt;
        view_.openFile = In("other.tw");
        fs::remove(In("saved.tw"));
        commands_.Open();
        EXPECT_EQ(view_.log, (Log{"TransferFocus", SaveFirstText} + log)) << what;
        const bool opens = !log.empty() && log.back() == "ShowTitle";
        EXPECT_EQ(state_.image, opens ? other_.image : modified) << what;
        ASSERT_EQ(fs::exists(In("saved.tw")), std::string(what) == "yes");
        if (fs::exists(In("saved.tw"))) {
            EXPECT_EQ(Saved(In("saved.tw")), modified) << "without the pending edits";
        }
    }
}

TEST_F(FileCommandsTest, OpenWithoutAReadableFileEndsSilently) {
    const MemoryImage before = state_.image;
    for (const auto &choice :
         {std::optional<std::string>(), std::optional(In("missing.tw")), std::optional(In(""))}) {
        view_.log.clear();
        view_.openFile = choice;
        commands_.Open();
        EXPECT_EQ(view_.log, (Log{"TransferFocus", "ChooseOpenFile"}));
        EXPECT_EQ(state_.image, before);
    }
}

TEST_F(FileCommandsTest, AFileOfTheWrongTypeIsRefusedUnderTheTitleOfItsFault) {
    const MemoryImage before = state_.image;
    for (const auto &[what, file, kind] : RefusedFiles()) {
        Put(In("refused.tw"), file);
        const std::string title = kind == LoadFailure::Kind::NotPacked ? "|Error" : "|K470";
        view_.log.clear();
        state_.language = Language::English;
        EXPECT_TRUE(commands_.OpenNamed(In("refused.tw")));
        state_.language = Language::Chinese;
        EXPECT_TRUE(commands_.OpenNamed(In("refused.tw")));
        EXPECT_EQ(view_.log,
                  (Log{"Critical Incorrect File Type." + title, "Critical 文件类型不正确。" + title}))
            << what;
        EXPECT_EQ(state_.image, before) << what;
    }
}

TEST_F(FileCommandsTest, AnOpenedFileByNameNeedsNoQuestion) {
    state_.image[0] = 0x42;
    EXPECT_FALSE(commands_.OpenNamed(In("other.tw")));
    EXPECT_EQ(view_.log, OpenedWithNewRows);
    EXPECT_EQ(state_.currentFileName, "Untitled");
    const auto missing = commands_.OpenNamed(In("missing.tw"));
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->text, "No such file or directory");
    EXPECT_EQ(view_.log, OpenedWithNewRows) << "no message";
}

TEST_F(FileCommandsTest, AChannelCountAbove99IsLoadedButKeepsTheRows) {
    for (const int count : {99, 100, 255}) {
        state_.gridRows = 17;
        other_.image[Address::ChannelCount] = static_cast<std::uint8_t>(count);
        Put(In("other.tw"), PackImage(other_.image));
        EXPECT_FALSE(commands_.OpenNamed(In("other.tw")));
        EXPECT_EQ(state_.image[Address::ChannelCount], count);
        EXPECT_EQ(state_.gridRows, count == 99 ? 100 : 17);
    }
}

} // namespace
} // namespace k470
