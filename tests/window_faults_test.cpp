#include "core/AppState.h"
#include "link/CloneFrames.h"
#include "link/CloneWarnings.h"
#include "link/ComPorts.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "ui/main/frmclone.h"
#include "ui/shared/Texts.h"

#include <QDeadlineTimer>
#include <QEvent>
#include <QEventLoop>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QPixmapCache>
#include <QProgressBar>
#include <QPushButton>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <memory>
#include <ostream>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <malloc.h>
#include <sys/resource.h>

#ifdef __SANITIZE_ADDRESS__
/// Of the sanitizer, whose own allocator mallinfo2 does not know.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace k470 {
namespace {

constexpr int Deadline = 30000; // ms
constexpr int Channels = 8;
constexpr std::uint8_t Untouched = 0xAA;

enum class Trouble { HangUp, Silence, Garbage, LateReply };
enum class User { Retries, Cancels, PullsTheCableThenRetries, ClosesTheWindow };

/// One transfer of the matrix: what goes wrong in it, where, how often, and what the user does about it.
struct Cell {
    Trouble trouble;
    int step;
    CloneMode mode;
    int strikes = 1; ///< replies that the trouble befalls; 0: a healthy radio
    User user = User::Retries;
    Language language = Language::English;

    bool Reading() const { return mode == CloneMode::Read; }
};

std::ostream &operator<<(std::ostream &out, const Cell &cell) {
    constexpr std::array<const char *, 4> Names{"hang-up", "silence", "garbage", "late reply"};
    return out << Names[static_cast<std::size_t>(cell.trouble)] << " x" << cell.strikes << " at step "
               << cell.step << (cell.Reading() ? " of a read" : " of a write");
}

constexpr std::array<int, 6> Steps{Clone::StepHandshake, Clone::StepIdentify, Clone::FirstLineStep, 7,
                                   Clone::LastLineStep,  Clone::EndStep};

FaultKind KindOf(const Cell &cell) {
    switch (cell.trouble) {
    case Trouble::HangUp:
        return FaultKind::HangUp;
    case Trouble::Silence:
        return FaultKind::NoReply;
    case Trouble::LateReply:
        return FaultKind::LateReply;
    case Trouble::Garbage:
        break;
    }
    // The handshake passes over what comes before its acknowledge.
    return cell.step == Clone::StepHandshake ? FaultKind::WrongAck : FaultKind::StrayBytes;
}

/// How many replies a trouble befalls until the user is asked.
int StrikesBeforeTheQuestion(Trouble trouble, int step, CloneMode mode) {
    constexpr int Frames = 1 + Clone::MaxRetries;
    if (trouble == Trouble::HangUp)
        return step == Clone::StepHandshake ? 2 : 1; // the port search finds the radio once more
    if (step == Clone::StepHandshake)
        return Frames + 1; // the port search says hello too
    // Any 16 or 20 bytes are data: only the acknowledge after them finds the garbage.
    const bool asksForData = step == Clone::StepIdentify || mode == CloneMode::Read;
    return trouble == Trouble::Garbage && asksForData ? Frames + 1 : Frames;
}

bool IsTransferred(int line) {
    return line < Channels || (line >= FirstSettingsLine && line <= LastSettingsLine);
}

/// A message as the user sees it: title, text, icon and buttons.
std::string Shown(const std::string &title, const std::string &text, QMessageBox::Icon icon,
                  QMessageBox::StandardButtons buttons) {
    return title + " | " + text + " | icon " + std::to_string(icon) + " | buttons " +
           std::to_string(buttons.toInt());
}

std::string Question(Language language) {
    constexpr TextPair Text{"Check Connection. Retry or Cancel?", "检测连接。重试或取消？"};
    return Shown(language == Language::English ? "Error" : "错误", std::string(Pick(language, Text)),
                 QMessageBox::Critical, QMessageBox::Retry | QMessageBox::Cancel);
}

std::string Done(CloneMode mode) {
    return Shown("K470", mode == CloneMode::Read ? "Reading completed!" : "Writing completed!",
                 QMessageBox::Information, QMessageBox::Ok);
}

std::string Disturbed() {
    return Shown("K470", std::string(Pick(Language::English, DisturbedWriteText)), QMessageBox::Warning,
                 QMessageBox::Ok);
}

std::string Missing(int line) {
    const std::string text = (line < MaxChannels ? "Channel " + std::to_string(line + 1)
                                                 : "Line " + std::to_string(line) + " (noise tuning)") +
                             " was not received. Read the radio again.";
    return Shown("K470", text, QMessageBox::Warning, QMessageBox::Ok);
}

/// Whether a program that comes now gets the port.
bool PortIsFree(const QString &device) {
    QSerialPort other;
    other.setPortName(QFileInfo(device).canonicalFilePath());
    return other.open(QIODevice::ReadWrite);
}

/// A transfer window over its own pseudo-terminal, with its own state, radio and user.
class Transfer : public QObject, public CloneHost {
public:
    explicit Transfer(const Cell &what) : cell(what) {
        state.language = cell.language;
        state.cloneMode = cell.mode;
        state.gridRows = Channels + 1;
        MemoryImage memory = MakeSampleMemory(Channels);
        state.image = memory;
        (cell.Reading() ? state.image : memory).fill(Untouched);
        before = state.image;
        const Fault fault{.kind = KindOf(cell), .step = cell.step, .count = cell.strikes};
        radio_ = std::make_unique<SimulatedRadio>(
            memory, FaultInjector(cell.strikes > 0 ? std::vector{fault} : std::vector<Fault>{}));
        server_ = std::make_unique<PtyServer>(*radio_, PtyServerOptions{.link = FromQt(link_)});
    }

    void Begin() {
        PlugIn();
        window = std::make_unique<frmclone>(state, *this, nullptr);
        window->findChild<QTimer *>("tmrOvertime")->installEventFilter(this);
        window->show();
    }
    bool Ended() const { return !window->isVisible(); }
    /// The message over the window; an answered one is hidden until those that came after it are answered.
    QMessageBox *Box() const { return window->findChild<QMessageBox *>("MessageBox"); }
    bool Asks() const { return Box() != nullptr && Box()->isVisible(); }
    void Answer();
    /// What the user does without being asked.
    void Look() {
        if (cell.user == User::ClosesTheWindow && Box() == nullptr && Strikes() > 0)
            QMetaObject::invokeMethod(window.get(), &QWidget::close, Qt::QueuedConnection); // it may ask
    }
    void ExpectNothingLeft() const;

    /// Passes a timeout on when the radio owes it: after a strike that leaves no reply, or on a closed port.
    /// Any other is that of a machine too busy to bring a reply in time; the timer ticks again.
    bool eventFilter(QObject *timer, QEvent *event) override {
        if (event->type() != QEvent::Timer || static_cast<QTimer *>(timer)->interval() < Clone::ReplyTimeout)
            return false;
        const int timedBefore = std::exchange(strikesTimed_, Strikes());
        const bool owed = strikesTimed_ > timedBefore && KindOf(cell) != FaultKind::StrayBytes;
        return !owed && !PortIsFree(link_);
    }

    /// What `look` sees while the radio stands still.
    template <typename Look>
    auto Radio(Look look) const {
        decltype(look(*radio_)) seen{};
        server_->Inspect([&] { seen = look(*radio_); });
        return seen;
    }
    int Strikes() const {
        return Radio([](const SimulatedRadio &radio) { return static_cast<int>(radio.Strikes().size()); });
    }
    MemoryImage RadioMemory() const {
        return Radio([](const SimulatedRadio &radio) { return radio.Memory(); });
    }
    /// The lines of the transfer that are not alike in the image and in the radio.
    std::vector<int> LostLines() const {
        const MemoryImage memory = RadioMemory();
        std::vector<int> lines;
        for (int line = 0; line < static_cast<int>(LineCount); ++line)
            if (IsTransferred(line) && !std::ranges::equal(Line(state.image, line), Line(memory, line)))
                lines.push_back(line);
        return lines;
    }
    std::pair<int, int> Bar() const {
        const auto *bar = window->findChild<QProgressBar *>("prgPercent");
        return {bar->value(), bar->maximum()};
    }
    std::string Label() const { return FromQt(window->findChild<QLabel *>("lblPercent")->text()); }

    const Cell cell;
    AppState state;
    MemoryImage before; ///< the image
    std::unique_ptr<frmclone> window;
    std::vector<std::string> messages;
    int portsShown = 0;
    int refreshes = 0;

private:
    void PlugIn() { ASSERT_EQ(server_->Start().value_or(""), ""); }
    bool IsBusy() const {
        return window->findChild<QTimer *>("tmrSend")->isActive() ||
               window->findChild<QTimer *>("tmrOvertime")->isActive();
    }
    void ExpectQuestionOverARestingWindow() const;

    void ShowPort() override { ++portsShown; }
    void RefreshAfterRead() override { ++refreshes; }
    ComPortTable ComPorts() override { return {{1, FromQt(link_), ""}}; }

    QTemporaryDir folder_;
    const QString link_ = folder_.filePath("radio");
    std::unique_ptr<SimulatedRadio> radio_;
    std::unique_ptr<PtyServer> server_;
    bool cablePulled_ = false;
    int strikesTimed_ = 0; ///< strikes before the latest timeout
};

void Transfer::Answer() {
    const QMessageBox &box = *Box();
    EXPECT_FALSE(IsBusy()) << "something ticks under a message: " << cell;
    const bool asked = box.icon() == QMessageBox::Critical;
    if (asked && cell.user == User::PullsTheCableThenRetries && !std::exchange(cablePulled_, true)) {
        server_->Stop();
        return;
    }
    messages.push_back(
        Shown(FromQt(box.windowTitle()), FromQt(box.text()), box.icon(), box.standardButtons()));
    if (asked && cablePulled_)
        PlugIn();
    else if (asked && cell.user != User::ClosesTheWindow)
        ExpectQuestionOverARestingWindow();
    const bool retries = cell.user == User::Retries || cell.user == User::PullsTheCableThenRetries;
    const auto choice = retries ? QMessageBox::Retry : QMessageBox::Cancel;
    box.button(asked ? choice : QMessageBox::Ok)->click();
}

void Transfer::ExpectQuestionOverARestingWindow() const {
    EXPECT_EQ(Strikes(), cell.strikes) << cell;
    EXPECT_TRUE(window->findChild<QLabel *>("lblPercent")->isVisible());
    EXPECT_EQ(Label(), Pick(cell.language, {"Completion percentage:  0%", "完成进度:  0%"})) << cell;
    EXPECT_EQ(Bar().first, 0) << cell;
    EXPECT_FALSE(PortIsFree(link_)) << "the question stands over a closed port: " << cell;
}

/// After the end: no timer, the port is anybody's, and a writer's image is as it was.
void Transfer::ExpectNothingLeft() const {
    EXPECT_FALSE(IsBusy()) << cell;
    EXPECT_TRUE(QTest::qWaitFor([this] { return PortIsFree(link_); }, Deadline)) << cell;
    if (cell.user != User::ClosesTheWindow && !messages.empty() &&
        messages.back() != Question(cell.language)) {
        const auto sawTheEnd = [](const SimulatedRadio &radio) { return radio.EndedByE(); };
        EXPECT_TRUE(QTest::qWaitFor([&] { return Radio(sawTheEnd); }, Deadline)) << cell;
    }
    EXPECT_TRUE(cell.Reading() || state.image == before) << cell;
}

using Transfers = std::vector<std::unique_ptr<Transfer>>;

/// Runs transfers side by side until all windows are closed. Messages are answered when one stands over every
/// open window and, if wanted, the process has been seen to rest.
class Stage {
public:
    enum class Watch { ForRest, Nothing };

    Stage(Transfers &transfers, Watch watch) : transfers_(transfers), watch_(watch) {}

    void Play() {
        QObject::connect(&director_, &QTimer::timeout, [this] { Direct(); });
        director_.start(LookInterval);
        for (const auto &transfer : transfers_)
            transfer->Begin();
        loop_.exec();
        director_.stop();
        for (const auto &transfer : transfers_)
            transfer->ExpectNothingLeft();
    }

private:
    static constexpr int LookInterval = 5;                     // ms
    static constexpr int MeasuredInterval = 200;               // ms
    static constexpr auto Rest = std::chrono::milliseconds(3); ///< of CPU time in that interval

    void Direct() {
        bool allWait = true;
        bool allEnded = true;
        for (const auto &transfer : transfers_) {
            transfer->Look();
            allEnded = allEnded && transfer->Ended();
            allWait = allWait && (transfer->Ended() || transfer->Box() != nullptr);
        }
        if (allEnded)
            loop_.quit();
        else if (deadline_.hasExpired())
            GiveUp();
        else if (!allWait)
            LookAgain();
        else if (watch_ == Watch::Nothing || HasRested())
            AnswerAll();
    }
    void LookAgain() {
        measuring_ = false;
        director_.setInterval(LookInterval);
    }
    void AnswerAll() {
        LookAgain();
        for (const auto &transfer : transfers_)
            if (transfer->Asks())
                transfer->Answer();
    }
    void GiveUp() {
        ADD_FAILURE() << (measuring_ ? "the process does not rest under a message" : "no message, no end");
        for (const auto &transfer : transfers_) {
            if (transfer->Asks())
                transfer->Box()->reject();
            transfer->window->close();
        }
    }
    /// Measures from one call to the next, until an interval goes by in which all threads rest.
    bool HasRested() {
        const auto before = std::exchange(cpuTime_, CpuTime());
        if (std::exchange(measuring_, true))
            return cpuTime_ - before < Rest;
        director_.setInterval(MeasuredInterval);
        return false;
    }
    static std::chrono::microseconds CpuTime() {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
               std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
    }

    Transfers &transfers_;
    Watch watch_;
    QEventLoop loop_;
    QTimer director_;
    QDeadlineTimer deadline_{Deadline};
    std::chrono::microseconds cpuTime_{0};
    bool measuring_ = false;
};

Transfers RunTogether(const std::vector<Cell> &cells, Stage::Watch watch = Stage::Watch::ForRest) {
    Transfers transfers;
    for (const Cell &cell : cells)
        transfers.push_back(std::make_unique<Transfer>(cell));
    Stage(transfers, watch).Play();
    return transfers;
}

std::string PercentLabel(std::pair<int, int> progress) {
    const auto [value, maximum] = progress;
    return value == 0
               ? "Completion percentage:  0%"
               : "Completion percentage: " + std::to_string(std::lround(100.0 * value / maximum)) + "%";
}

/// The bar of a transfer without trouble, at its end.
std::pair<int, int> FullBar(CloneMode mode) {
    const int most = mode == CloneMode::Read ? Channels + 9 : Channels + 6;
    return {most, most};
}

/// The bar at the end of a transfer that had to repeat a frame at this step: the repetition sets it back.
std::pair<int, int> BarAfterRepetition(const Cell &cell) {
    auto [value, maximum] = FullBar(cell.mode);
    const int firstCounted = cell.Reading() ? Clone::FirstLineStep : 5;
    for (int step = firstCounted; step < cell.step + (cell.Reading() ? 1 : 0); ++step)
        value -= IsTransferred(LineOfStep(step)) ? 1 : 0;
    return {value, maximum};
}

void ExpectRetriedAndCompleted(const Transfer &transfer) {
    const Cell &cell = transfer.cell;
    EXPECT_EQ(transfer.messages, (std::vector{Question(Language::English), Done(cell.mode)})) << cell;
    EXPECT_EQ(transfer.LostLines(), std::vector<int>{}) << cell;
    EXPECT_EQ(transfer.Bar(), FullBar(cell.mode)) << cell;
    EXPECT_EQ(transfer.Label(), "Completion percentage: 100%") << cell;
    EXPECT_EQ(transfer.refreshes, cell.Reading() ? 1 : 0) << cell;
}

class LastingTrouble : public testing::TestWithParam<Trouble> {
protected:
    static std::vector<Cell> Cells(User user, Language language) {
        std::vector<Cell> cells;
        for (const CloneMode mode : {CloneMode::Read, CloneMode::Write})
            for (const int step : Steps)
                if (step != Clone::EndStep)
                    cells.push_back({GetParam(), step, mode, StrikesBeforeTheQuestion(GetParam(), step, mode),
                                     user, language});
        return cells;
    }
};

TEST_P(LastingTrouble, IsAskedAboutAndRetryTransfersEverything) {
    for (const auto &transfer : RunTogether(Cells(User::Retries, Language::English)))
        ExpectRetriedAndCompleted(*transfer);
}

TEST_P(LastingTrouble, LeavesAfterCancelWhatCameBeforeItAndNothingElse) {
    for (const auto &transfer : RunTogether(Cells(User::Cancels, Language::Chinese))) {
        const Cell &cell = transfer->cell;
        EXPECT_EQ(transfer->messages, std::vector{Question(Language::Chinese)}) << cell;
        EXPECT_EQ(transfer->window->result(), QDialog::Rejected);
        EXPECT_EQ(transfer->refreshes, 0);
        EXPECT_EQ(transfer->state.portNumber, DefaultPortNumber);
        // The port that the search tries, and the one that Cancel restores.
        EXPECT_EQ(transfer->portsShown, cell.step == Clone::StepHandshake ? 2 : 0) << cell;
        const MemoryImage memory = transfer->RadioMemory();
        const MemoryImage &from = cell.Reading() ? memory : transfer->state.image;
        const MemoryImage &to = cell.Reading() ? transfer->state.image : memory;
        for (int line = 0; line < static_cast<int>(LineCount); ++line) {
            const bool came = IsTransferred(line) && line < LineOfStep(cell.step);
            const bool spoiled = GetParam() == Trouble::Garbage && line == LineOfStep(cell.step);
            const auto there = Line(to, line);
            EXPECT_TRUE(spoiled || (came ? std::ranges::equal(there, Line(from, line))
                                         : std::ranges::count(there, Untouched) == LineSize))
                << cell << ", line " << line;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(FaultMatrix, LastingTrouble,
                         testing::Values(Trouble::HangUp, Trouble::Silence, Trouble::Garbage));

TEST(FaultMatrix, ACablePulledUnderTheQuestionIsFoundAgain) {
    const User user = User::PullsTheCableThenRetries;
    for (const auto &transfer : RunTogether({{Trouble::Garbage, 7, CloneMode::Read, 9, user},
                                             {Trouble::Garbage, 7, CloneMode::Write, 8, user}}))
        ExpectRetriedAndCompleted(*transfer);
}

/// Whether the bytes that a passing trouble leaves on the line may be taken for the next replies, so that
/// which lines are lost depends on who is quicker. Then they are at least named.
bool MayShiftReplies(const Cell &cell) {
    const bool garbledData = cell.trouble == Trouble::Garbage && cell.step != Clone::StepHandshake;
    return cell.step < Clone::EndStep &&
           (cell.trouble == Trouble::LateReply || (cell.Reading() && garbledData));
}

void ExpectEveryLostLineNamed(const Transfer &transfer) {
    const Cell &cell = transfer.cell;
    ASSERT_FALSE(transfer.messages.empty()) << cell;
    EXPECT_EQ(transfer.messages.front(), Done(cell.mode)) << cell;
    const std::string warning = transfer.messages.back();
    for (const int line : transfer.LostLines()) {
        const std::regex named(line < MaxChannels
                                   ? "^K470 . Channels? [0-9, and]*\\b" + std::to_string(line + 1) + "\\b"
                                   : "[Ll]ines? .*\\b" + std::to_string(line) + " \\(");
        EXPECT_TRUE(std::regex_search(warning, named)) << cell << ": line " << line << " is lost in silence";
    }
}

/// A read knows of the lost identification nothing but that it has to read all lines; a data reply that is
/// lost is not asked for again.
void ExpectRepeatedAndCompleted(const Transfer &transfer) {
    const Cell &cell = transfer.cell;
    std::vector<std::string> messages{Done(cell.mode)};
    std::vector<int> lostLines;
    if (cell.Reading() && cell.step >= Clone::FirstLineStep && cell.step < Clone::EndStep) {
        lostLines.push_back(LineOfStep(cell.step));
        messages.push_back(Missing(lostLines.front()));
        const auto line = Line(transfer.state.image, lostLines.front());
        EXPECT_EQ(std::ranges::count(line, Untouched), LineSize) << cell;
    }
    if (!cell.Reading() && cell.step > Clone::StepHandshake && cell.step < Clone::EndStep)
        messages.push_back(Disturbed());
    EXPECT_EQ(transfer.messages, messages) << cell;
    EXPECT_EQ(transfer.LostLines(), lostLines) << cell;
    std::pair<int, int> bar = cell.step == Clone::EndStep ? FullBar(cell.mode) : BarAfterRepetition(cell);
    if (cell.Reading() && cell.step == Clone::StepIdentify)
        bar = {Clone::ReadMaximum, Clone::ReadMaximum};
    EXPECT_EQ(transfer.Bar(), bar) << cell;
    EXPECT_EQ(transfer.Label(), PercentLabel(bar)) << cell;
}

class PassingTrouble : public testing::TestWithParam<Trouble> {};

TEST_P(PassingTrouble, EndsWithoutAQuestion) {
    std::vector<Cell> cells;
    for (const CloneMode mode : {CloneMode::Read, CloneMode::Write})
        for (const int step : Steps)
            // A hang-up passes where the port search opens the port anew and where nothing is left to come.
            if (GetParam() != Trouble::HangUp || step == Clone::StepHandshake || step == Clone::EndStep)
                cells.push_back({GetParam(), step, mode});
    for (const auto &transfer : RunTogether(cells)) {
        if (MayShiftReplies(transfer->cell))
            ExpectEveryLostLineNamed(*transfer);
        else
            ExpectRepeatedAndCompleted(*transfer);
    }
}

INSTANTIATE_TEST_SUITE_P(FaultMatrix, PassingTrouble,
                         testing::Values(Trouble::HangUp, Trouble::Silence, Trouble::Garbage,
                                         Trouble::LateReply));

#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t Slack = 10'000; ///< a hundred bytes a session

std::size_t HeldBytes() {
    return __sanitizer_get_current_allocated_bytes();
}
#else
/// The allocator counts what it keeps for the thread as held: 7 pieces of each of 64 sizes up to 1 KB, which
/// is at most this much. A hundred lost windows are far more.
constexpr std::size_t Slack = 256 * 1024;

std::size_t HeldBytes() {
    const struct mallinfo2 heap = ::mallinfo2();
    return heap.uordblks + heap.hblkhd;
}
#endif

std::ptrdiff_t OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST(FaultMatrix, AHundredSessionsLeaveNoDescriptorAndNoMemory) {
    const std::vector<Cell> mix{
        {Trouble::Silence, 0, CloneMode::Read, 0},
        {Trouble::Silence, 0, CloneMode::Write, 0},
        {Trouble::Garbage, 7, CloneMode::Read, 9, User::Retries},
        {Trouble::Garbage, 7, CloneMode::Write, 8, User::Retries, Language::Chinese},
        {Trouble::Garbage, 1, CloneMode::Read, 9, User::Cancels, Language::Chinese},
        {Trouble::Garbage, 2, CloneMode::Write, 8, User::Cancels},
        {Trouble::HangUp, 2, CloneMode::Read, 1, User::ClosesTheWindow},
        {Trouble::HangUp, 109, CloneMode::Write, 1, User::ClosesTheWindow},
        {Trouble::Silence, 7, CloneMode::Write, 8, User::ClosesTheWindow},
        {Trouble::LateReply, 7, CloneMode::Read, 8, User::ClosesTheWindow},
    };
    // Qt 6.8 caches the icon of each message anew, up to 10 MB in all.
    QPixmapCache::setCacheLimit(0);
    const auto runTenSessions = [&mix] {
        for (const auto &transfer : RunTogether(mix, Stage::Watch::Nothing)) {
            const bool closed = transfer->cell.user == User::ClosesTheWindow;
            EXPECT_TRUE(closed || !transfer->messages.empty()) << transfer->cell;
        }
    };
    runTenSessions(); // fonts, styles and translations are loaded once
    runTenSessions();
    const std::ptrdiff_t descriptors = OpenDescriptors();
    const std::size_t held = HeldBytes();
    for (int round = 0; round < 10; ++round)
        runTenSessions();
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_LT(HeldBytes(), held + Slack);
}

} // namespace
} // namespace k470
