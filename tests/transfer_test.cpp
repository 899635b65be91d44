#include "link/QtSerialPort.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/Lines.h"
#include "tests/Scenarios.h"
#include "tests/Widgets.h"
#include "ui/main/frmMain.h"
#include "ui/main/frmclone.h"

#include <QAction>
#include <QEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPixmapCache>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

#include <malloc.h>

#ifdef __SANITIZE_ADDRESS__
/// Of the sanitizer, whose own allocator mallinfo2 does not know.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace k470 {
namespace {

constexpr std::uint8_t Untouched = 0x77;
constexpr int Hastened = 2; // ms

/// The transfer window over a real pseudo-terminal, with the simulated radio at its other end.
class TransferWindow : public QObject, public testing::Test {
protected:
    TransferWindow() {
        state.language = Language::English;
        state.image.fill(Untouched);
        table = {{3, folder.In("radio"), ""}, {1, folder.In("radio"), ""}, {9, folder.In("radio"), ""}};
    }

    void Serve(const MemoryImage &memory, std::vector<Fault> faults = {}) {
        server.reset();
        radio = std::make_unique<SimulatedRadio>(memory, FaultInjector(std::move(faults)));
        server = std::make_unique<PtyServer>(*radio, PtyServerOptions{.link = folder.In("radio")});
        ASSERT_EQ(server->Start(), std::nullopt);
        // Who had a terminal of this name before us may be about to remove its lock file.
        QtSerialPort probe([this] { return table; });
        probe.SetCommPort(1);
        ASSERT_TRUE(Await([&probe] { return !probe.Open(); }));
    }

    /// Shows the window until it closes. Each message is kept; questions are answered with Retry as often as
    /// said, then with Cancel. `look` sees the window again and again while no message stands over it.
    void Run(CloneMode mode, int retries = 0, const std::function<void(frmclone &)> &look = {}) {
        state.cloneMode = mode;
        messages.clear();
        shownPorts.clear();
        refreshes = 0;
        silencesTimed = 0;
        const auto ports = [this] { return table; };
        frmclone window(state, ports, nullptr);
        connect(&window, &frmclone::PortChanged, [this] { shownPorts.push_back(state.portNumber); });
        connect(&window, &frmclone::ImageRead, [this] { ++refreshes; });
        const QSize size = window.sizeHint();
        overtime = window.findChild<QTimer *>("tmrOvertime");
        port = window.findChild<QtSerialPort *>("MSComm1");
        overtime->installEventFilter(this);
        QTimer watch;
        QObject::connect(&watch, &QTimer::timeout, [&] {
            EXPECT_EQ(window.size(), size) << "the window changed its size";
            if (auto *box = window.findChild<QMessageBox *>("MessageBox"); box != nullptr && box->isVisible())
                return Answer(*box, window, retries);
            if (IsOwed() && overtime->isActive() && overtime->interval() > Hastened)
                overtime->start(
                    Hastened); // nobody waits for the silence of a radio that has been seen to be silent
            if (look)
                look(window);
        });
        watch.start(1);
        QTimer deadline; // a single shot of the class would live on until its time
        deadline.setSingleShot(true);
        QObject::connect(&deadline, &QTimer::timeout, [&] {
            ADD_FAILURE() << "the window did not close";
            std::ranges::for_each(window.findChildren<QMessageBox *>(), &QMessageBox::reject);
            window.close();
        });
        deadline.start(30000);
        caption = FromQt(window.windowTitle());
        window.exec();
        EXPECT_FALSE(IsBusy(window));
        EXPECT_FALSE(port->IsOpen());
        progress = {Bar(window).value(), Bar(window).maximum()};
        const long percent = std::lround(100.0 * progress.first / progress.second);
        EXPECT_EQ(FromQt(window.findChild<QLabel *>("lblPercent")->text()),
                  std::string(Pick(state.language, {"Completion percentage", "完成进度"})) +
                      (progress.first == 0 ? ":  0%" : ": " + std::to_string(percent) + "%"));
    }

    void Answer(QMessageBox &box, frmclone &window, int &retries) {
        messages.push_back(FromQt(box.windowTitle()) + " | " + FromQt(box.text()));
        EXPECT_FALSE(IsBusy(window)) << "something ticks under a message";
        window.close();
        EXPECT_TRUE(window.isVisible()) << "closed under an open message";
        const bool asks = box.standardButtons() == (QMessageBox::Retry | QMessageBox::Cancel);
        EXPECT_EQ(asks, box.icon() == QMessageBox::Critical);
        if (asks) {
            EXPECT_TRUE(window.findChild<QLabel *>("lblPercent")->isVisible());
            EXPECT_EQ(Bar(window).value(), 0);
            EXPECT_TRUE(port->IsOpen()) << "the question stands over a closed port";
            if (underQuestion)
                underQuestion();
        }
        if (asks && retries-- > 0)
            box.button(QMessageBox::Retry)->click();
        else
            QTest::keyClick(&box, Qt::Key_Escape);
    }

    /// Whether the radio owes the session a timeout. Any other is that of a machine too busy to bring a reply
    /// in time: it is kept from the window, and the timer ticks again.
    bool IsOwed() const { return !port->IsOpen() || (timesSilence && Silences() > silencesTimed); }
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() != QEvent::Timer || overtime->interval() < Hastened)
            return false;
        const bool owed = IsOwed();
        silencesTimed = Silences();
        return !owed;
    }
    /// How often the radio has stayed silent.
    std::ptrdiff_t Silences() const {
        std::ptrdiff_t silences = 0;
        server->Inspect(
            [&] { silences = std::ranges::count(radio->Strikes(), FaultKind::NoReply, &Strike::kind); });
        return silences;
    }
    static bool IsBusy(const frmclone &window) {
        return window.findChild<QTimer *>("tmrSend")->isActive() ||
               window.findChild<QTimer *>("tmrOvertime")->isActive();
    }
    static const QProgressBar &Bar(const frmclone &window) {
        return *window.findChild<QProgressBar *>("prgPercent");
    }

    TempFolder folder;
    AppState state;
    ComPortTable table;
    std::unique_ptr<SimulatedRadio> radio;
    std::unique_ptr<PtyServer> server;
    QTimer *overtime = nullptr;
    QtSerialPort *port = nullptr;
    bool timesSilence = true; ///< whether a silence of the radio leads to a timeout
    std::ptrdiff_t silencesTimed = 0;
    std::function<void()> underQuestion;
    Strings messages; ///< title and text
    std::vector<int> shownPorts;
    int refreshes = 0;
    std::pair<int, int> progress; ///< value and maximum at the end
    std::string caption;
};

const std::map<std::string, TextPair> Words{
    {"ask", {"Error | Check Connection. Retry or Cancel?", "错误 | 检测连接。重试或取消？"}},
    {"lines",
     {"K470 | Channels 1 and 4 were not received. Read the radio again.",
      "K470 | 信道 1、4 未收到。请重新读取。"}},
    {"disturbed",
     {"K470 | The connection was disturbed during the write. The radio may lack lines. Read it again to "
      "compare, or write it again.",
      "K470 | 写入时连接受到干扰，对讲机中可能缺少部分数据。请重新读取并核对，或重新写入。"}}};

TextPair DoneText(CloneMode mode) {
    return mode == Read ? TextPair{"K470 | Reading completed!", "K470 | 成功读完！"}
                        : TextPair{"K470 | Writing completed!", "K470 | 成功写完！"};
}

/// The messages of a row of the table.
Strings Messages(const Scenario &row, Language language) {
    Strings messages;
    std::istringstream words(row.told);
    for (std::string word; words >> word;)
        messages.emplace_back(Pick(language, word == "done" ? DoneText(row.mode) : Words.at(word)));
    return messages;
}

class ScenariosInTheWindow : public TransferWindow {
protected:
    void Play(const Scenario &row, Language language) {
        SCOPED_TRACE(std::string(row.mode == Read ? "read: " : "write: ") + row.name);
        const MemoryImage image = MakeSampleMemory(row.channels);
        MemoryImage other;
        other.fill(Untouched);
        state = {};
        state.language = language;
        state.gridRows = static_cast<std::uint8_t>(row.channels + 1);
        state.image = row.mode == Read ? other : image;
        timesSilence = row.repetitions > 0;
        Serve(row.mode == Read ? image : other, row.Faults());
        Run(row.mode, row.retries);
        EXPECT_EQ(messages, Messages(row, language));
        EXPECT_EQ(refreshes, row.mode == Read && row.Completes());
        EXPECT_EQ(state.portNumber, 1);
        const bool nobody = row.faults == std::string("no-reply@0x65535");
        EXPECT_EQ(shownPorts, nobody ? (std::vector{3, 1, 9, 1}) : std::vector<int>{});
        const int used = row.channels + (row.mode == Read ? 9 : 6);
        EXPECT_EQ(progress, row.repetitions == 0 || (row.Completes() && row.retries > 0)
                                ? std::pair(used, used)
                                : std::pair(progress.first, row.Completes() ? used : progress.second));
        MemoryImage memory;
        server->Inspect([&] { memory = radio->Memory(); });
        const auto differing = ChangedLines(memory, state.image);
        const bool shifted = row.told == std::string("done disturbed") && row.repetitions == 0;
        std::vector<int> lost;
        for (const int line : TransferredLines(row.channels))
            if (std::ranges::count(differing, line) > 0)
                lost.push_back(line);
        EXPECT_TRUE(!row.Completes() || lost == (shifted ? std::vector{9} : row.missing));
    }
    void PlayAll() {
        for (const Scenario &row : Scenarios)
            if (row.where == Scenario::WindowToo)
                for (const Language language : {Language::English, Language::Chinese})
                    Play(row, language);
    }
};

TEST_F(ScenariosInTheWindow, EndAsTheTableSaysInBothLanguages) {
    PlayAll();
}

#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t Slack = 10'000;

std::size_t HeldBytes() {
    return __sanitizer_get_current_allocated_bytes();
}
#else
/// The allocator counts what it keeps for the thread as held: 7 pieces of each of 64 sizes up to 1 KB, which
/// is at most this much. As many lost windows are far more.
constexpr std::size_t Slack = 256 * 1024;

std::size_t HeldBytes() {
    const struct mallinfo2 heap = ::mallinfo2();
    return heap.uordblks + heap.hblkhd;
}
#endif

TEST_F(ScenariosInTheWindow, LeaveNoDescriptorAndNoMemory) {
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    QPixmapCache::setCacheLimit(0); // Qt 6.8 caches the icon of each message anew, up to 10 MB in all
    PlayAll();                      // fonts, styles and translations are loaded once
    server.reset();
    const auto open = descriptors();
    const std::size_t held = HeldBytes();
    for (int round = 0; round < 3; ++round)
        PlayAll();
    server.reset();
    EXPECT_EQ(descriptors(), open);
    EXPECT_LT(HeldBytes(), held + Slack);
}

TEST_F(TransferWindow, ACablePulledUnderTheQuestionIsFoundAgain) {
    Serve(MakeSampleMemory(8), {{FaultKind::NoReply, 4, 8}});
    underQuestion = [this] {
        server->Stop();
        ASSERT_EQ(server->Start(), std::nullopt);
        EXPECT_TRUE(QTest::qWaitFor([this] { return !port->IsOpen(); }, 30000));
    };
    Run(Read, 1);
    EXPECT_EQ(messages, (Strings{"Error | Check Connection. Retry or Cancel?", "K470 | Reading completed!"}));
    EXPECT_EQ(shownPorts, std::vector{3}) << "the first port of the search leads to the radio";
    EXPECT_EQ(progress, std::pair(17, 17));
}

TEST_F(TransferWindow, StaysOpenAndIdleAfterAPortThatCannotBeOpened) {
    table = {{1, folder.In("nothing"), ""}};
    Run(Read, 0, [this](frmclone &window) {
        if (!messages.empty() && !IsBusy(window))
            QTest::keyClick(&window, Qt::Key_Escape);
    });
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].find("Error | COM1 (" + folder.In("nothing") + ") is not there. Plug in"), 0U);
    EXPECT_EQ(refreshes, 0);
    EXPECT_EQ(caption, "Read data from radio");
}

TEST_F(TransferWindow, ClosedInTheMiddleKeepsWhatCameAndTellsOfAMixture) {
    state.gridRows = 100;
    const MemoryImage before = state.image;
    for (const CloneMode mode : {Read, Write}) {
        Serve(MakeSampleMemory(99));
        Run(mode, 0, [&](frmclone &window) {
            if (Bar(window).value() < 3)
                return;
            if (mode == Read)
                QTest::keyClick(&window, Qt::Key_Escape);
            else // queued: the message that it brings would hold this look up
                QMetaObject::invokeMethod(&window, &QWidget::close, Qt::QueuedConnection);
        });
        const char *mixture =
            "K470 | The radio may now hold a mixture of old and new data. Write it again before you use it.";
        EXPECT_EQ(messages, mode == Read ? Strings{} : Strings{mixture});
        EXPECT_LT(progress.first, 90) << "the session ran on";
    }
    EXPECT_EQ(caption, "Write data to radio");
    EXPECT_EQ(refreshes, 0);
    EXPECT_NE(state.image, before) << "what came is gone";
}

TEST_F(TransferWindow, ClosedBeforeItBeganOpensNoPort) {
    table = {{1, folder.In("nothing"), ""}};
    QMetaObject::invokeMethod(
        qApp, [] { QApplication::activeModalWidget()->close(); }, Qt::QueuedConnection);
    Run(Read);
    EXPECT_EQ(messages, Strings{});
}

/// Preferences that say English and nothing else.
class EnglishOnly : public PreferenceStore {
    std::string GetKeyValue(std::string_view name) const override { return name == "Language" ? "0" : ""; }
    bool UpdateKey(std::string_view, std::string_view) override { return true; }
};

TEST_F(TransferWindow, IsFollowedByTheMainWindowsChannels) {
    Serve(MakeSampleMemory(5));
    qputenv("K470_PORTS", ("COM1=" + folder.In("radio")).c_str());
    EnglishOnly preferences;
    frmMain window(state, preferences);
    window.show();
    const ModalWatch watch([this](QWidget &modal) {
        if (auto *box = qobject_cast<QMessageBox *>(&modal))
            return box->buttons().front()->click();
        port = modal.findChild<QtSerialPort *>("MSComm1");
        overtime = modal.findChild<QTimer *>("tmrOvertime");
        overtime->installEventFilter(this);
    });
    const auto *grid = window.findChild<FlexGrid *>("ChannelGrid");
    window.findChild<QAction *>("mnuRead")->trigger();
    EXPECT_EQ(grid->Rows(), 6);
    EXPECT_NE(FromQt(grid->CellText(5, 1)), "");
    EXPECT_EQ(FromQt(grid->CellText(1, 1)), "400.50000");
    qputenv("K470_PORTS", "");
}

} // namespace
} // namespace k470
