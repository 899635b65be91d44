#include "core/AppState.h"
#include "link/CloneWarnings.h"
#include "link/ComPorts.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/Widgets.h"
#include "ui/main/LanguageForm.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmComPort.h"
#include "ui/main/frmclone.h"
#include "ui/shared/ThemedIcon.h"

#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>
#include <tuple>

namespace k470 {
namespace {

const ComPortTable TwoPorts{{1, "/dev/ttyS0", ""}, {10, "/dev/ttyUSB5", "Serial cable"}};

TEST(AboutBox, ShowsItsPicturesAndClosesWithOk) {
    frmAbout about({}, nullptr);
    for (const char *name : {"Image1", "Image2"})
        EXPECT_FALSE(about.findChild<QLabel *>(name)->pixmap().isNull()) << name;
    about.show();
    QTest::keyClick(&about, Qt::Key_Return);
    EXPECT_EQ(about.result(), QDialog::Accepted);
    EXPECT_FALSE(about.isVisible());
}

TEST(PortDialog, OpensOnThePortInUseElseOnTheFirst) {
    for (const auto &[before, shown, after] : {std::tuple(10, "COM10", 10), {1, "COM1", 1}, {7, "COM1", 1}}) {
        AppState state;
        state.portNumber = static_cast<std::uint8_t>(before);
        frmComPort dialog(state, TwoPorts, nullptr);
        EXPECT_EQ(state.comPortList, (Strings{"COM1", "COM10"}));
        EXPECT_EQ(FromQt(dialog.findChild<QComboBox *>("Combo1")->currentText()), shown);
        EXPECT_EQ(state.portNumber, before);
        dialog.show();
        QTest::keyClick(&dialog, Qt::Key_Return);
        EXPECT_FALSE(dialog.isVisible());
        EXPECT_EQ(state.portNumber, after);
    }
}

TEST(PortDialog, TellsTheDeviceOfThePortChosenAndKeepsTheOldOneOnEscape) {
    AppState state;
    frmComPort dialog(state, TwoPorts, nullptr);
    auto *list = dialog.findChild<QComboBox *>("Combo1");
    EXPECT_EQ(FromQt(list->toolTip()), "/dev/ttyS0");
    QTest::keyClick(list, Qt::Key_Down);
    EXPECT_EQ(FromQt(list->toolTip()), "/dev/ttyUSB5\nSerial cable");
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_EQ(state.portNumber, DefaultPortNumber);
}

TEST(PortDialog, IgnoresOkWithoutAPort) {
    AppState state;
    frmComPort dialog(state, {}, nullptr);
    dialog.show();
    EXPECT_EQ(state.comPortList, Strings{""});
    QTest::keyClick(&dialog, Qt::Key_Return);
    EXPECT_TRUE(dialog.isVisible());
}

TEST(LanguageDialog, ChangesTheLanguageWithOkOnly) {
    for (const auto &[key, after] :
         {std::pair(Qt::Key_Return, Language::English), std::pair(Qt::Key_Escape, Language::Chinese)}) {
        AppState state;
        state.language = Language::Chinese;
        LanguageForm dialog(state, nullptr);
        auto *list = dialog.findChild<QComboBox *>("cboLang");
        EXPECT_EQ(FromQt(list->currentText()), "中文");
        dialog.show();
        QTest::keyClick(list, Qt::Key_Up);
        EXPECT_EQ(state.language, Language::Chinese);
        QTest::keyClick(&dialog, key);
        EXPECT_FALSE(dialog.isVisible());
        EXPECT_EQ(state.language, after);
    }
}

/// The most opaque pixel of an icon.
QColor Strongest(const QIcon &icon, double scale, QIcon::Mode mode) {
    const QImage image = icon.pixmap(QSize(24, 24), scale, mode).toImage();
    EXPECT_EQ(image.width(), qRound(24 * scale)) << "drawn for another scale";
    QColor strongest(Qt::transparent);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y).alpha() > strongest.alpha())
                strongest = image.pixelColor(x, y);
    return strongest;
}

TEST(ThemedIcons, AreDrawnInTheTextColourAtEveryScaleAndDimmedOutOfUse) {
    QPalette palette;
    palette.setColor(QPalette::WindowText, QColor(0x11, 0x22, 0x33));
    for (const char *name : {"new", "open", "save", "print", "read", "com", "write", "about"})
        for (const double scale : {1.0, 1.25}) {
            const QIcon icon = ThemedIcon(QString(":/icons/%1.svg").arg(name), palette);
            EXPECT_EQ(FromQt(Strongest(icon, scale, QIcon::Normal).name()), "#112233") << name << scale;
            EXPECT_NEAR(Strongest(icon, scale, QIcon::Disabled).alphaF(), 0.4, 0.02) << name << scale;
        }
    EXPECT_FALSE(ThemedIcon(":/icons/k470.svg", palette).isNull());
    EXPECT_TRUE(ThemedIcon(":/icons/nothing.svg", palette).isNull());
}

/// What a message box shows: its title, its text, and whether it offers a retry.
using Message = std::tuple<std::string, std::string, bool>;

const Message ReadDone{"K470", "Reading completed!", false};
const Message RetryOrCancel{"Error", "Check Connection. Retry or Cancel?", true};

/// The transfer window over a real pseudo-terminal, with the simulated radio at its other end.
class TransferWindow : public testing::Test, private CloneHost {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        state.language = Language::English;
        state.image.fill(0xAA);
    }

    /// Makes a radio COM1, also after a hang-up.
    void Serve(const MemoryImage &memory, std::vector<Fault> faults = {}) {
        server.reset();
        radio = std::make_unique<SimulatedRadio>(memory, FaultInjector(std::move(faults)));
        const std::string link = FromQt(folder.filePath("radio"));
        server = std::make_unique<PtyServer>(*radio, PtyServerOptions{.link = link});
        const auto failure = server->Start();
        ASSERT_FALSE(failure.has_value()) << *failure;
        table = {{1, link, ""}};
    }

    /// Shows the window until it closes. Each message is kept, then answered with the next of `keys`;
    /// `look` sees the window again and again while no message stands over it.
    void Run(CloneMode mode, std::vector<Qt::Key> keys, const std::function<void(frmclone &)> &look = {}) {
        state.cloneMode = mode;
        messages.clear();
        frmclone window(state, *this, nullptr);
        caption = FromQt(window.windowTitle());
        sizes = {window.sizeHint()};
        const ModalWatch watch([&](QWidget &modal) {
            if (auto *box = qobject_cast<QMessageBox *>(&modal)) {
                Answer(*box, window, keys);
            } else {
                sizes.push_back(window.size());
                if (look)
                    look(window);
            }
        });
        QTimer::singleShot(30000, &window, [&] {
            ADD_FAILURE() << "the window did not close";
            window.close();
        });
        window.exec();
        EXPECT_EQ(std::adjacent_find(sizes.begin(), sizes.end(), std::not_equal_to<>()), sizes.end())
            << "the window changed its size";
        EXPECT_FALSE(IsBusy(window));
        EXPECT_FALSE(window.findChild<QtSerialPort *>("MSComm1")->IsOpen());
        progress = {Bar(window).value(), Bar(window).maximum()};
        label = FromQt(window.findChild<QLabel *>("lblPercent")->text());
    }

    void Answer(QMessageBox &box, frmclone &window, std::vector<Qt::Key> &keys) {
        if (box.text().contains("not received") || box.text() == PickText(state.language, DisturbedWriteText))
            warning = FromQt(box.text());
        else
            messages.emplace_back(FromQt(box.windowTitle()), FromQt(box.text()),
                                  box.standardButtons() == (QMessageBox::Retry | QMessageBox::Cancel));
        EXPECT_FALSE(IsBusy(window)) << "something ticks under a message";
        window.close();
        EXPECT_TRUE(window.isVisible()) << "closed under an open message";
        const Qt::Key key = keys.empty() ? Qt::Key_Escape : keys.front();
        if (!keys.empty())
            keys.erase(keys.begin());
        QTest::keyClick(&box, key);
    }

    /// The bar is not always full: a reply that a busy machine makes late has its step repeated, which begins
    /// the bar anew.
    void ExpectBar(int maximum) {
        EXPECT_EQ(progress.second, maximum);
        EXPECT_EQ(label, progress.first == 0 ? InitialProgressText(state.language)
                                             : ProgressText(progress.first, maximum, state.language));
    }

    static bool IsBusy(const frmclone &window) {
        return window.findChild<QTimer *>("tmrSend")->isActive() ||
               window.findChild<QTimer *>("tmrOvertime")->isActive();
    }
    static const QProgressBar &Bar(const frmclone &window) {
        return *window.findChild<QProgressBar *>("prgPercent");
    }

    void ShowPort() override { shownPorts.push_back(state.portNumber); }
    void RefreshAfterRead() override { ++refreshes; }
    ComPortTable ComPorts() override { return table; }

    QTemporaryDir folder;
    AppState state;
    ComPortTable table;
    std::unique_ptr<SimulatedRadio> radio;
    std::unique_ptr<PtyServer> server;
    std::vector<Message> messages;
    std::string warning; ///< of lost lines or a disturbed write; a busy machine's late replies bring it too
    std::vector<QSize> sizes;
    std::vector<int> shownPorts;
    int refreshes = 0;
    std::pair<int, int> progress; ///< value and maximum at the end
    std::string caption, label;
};

TEST_F(TransferWindow, RunsToItsEndInBothDirections) {
    Serve(MakeSampleMemory(3));
    Run(CloneMode::Read, {Qt::Key_Return});
    EXPECT_EQ(caption, "Read data from radio");
    EXPECT_EQ(messages, std::vector{ReadDone});
    ExpectBar(12);
    EXPECT_EQ(std::pair(refreshes, int{state.gridRows}), std::pair(1, 4));
    const MemoryImage read = state.image;

    state.language = Language::Chinese;
    Serve({});
    Run(CloneMode::Write, {Qt::Key_Return});
    server->Stop();
    EXPECT_EQ(caption, "向对讲机写入数据");
    EXPECT_EQ(messages, (std::vector{Message{"K470", "成功写完！", false}}));
    ExpectBar(9);
    EXPECT_EQ(refreshes, 1);
    for (const int line : {0, 2, 99, 107})
        EXPECT_TRUE(std::ranges::equal(Line(read, line), Line(radio->Memory(), line))) << line;
}

TEST_F(TransferWindow, NamesTheLinesThatACompletedReadLacks) {
    Serve(MakeSampleMemory(16), {{FaultKind::NoReply, 5}});
    Run(CloneMode::Read, {Qt::Key_Return, Qt::Key_Return});
    EXPECT_EQ(messages, std::vector{ReadDone});
    EXPECT_NE(warning.find(" 4"), std::string::npos) << warning;
}

TEST_F(TransferWindow, WarnsOfAWriteOutOfStep) {
    Serve(MakeSampleMemory(16), {{FaultKind::DoubleAck, 5}, {FaultKind::NoReply, 11}});
    Run(CloneMode::Write, {Qt::Key_Return, Qt::Key_Return});
    EXPECT_EQ(messages, (std::vector{Message{"K470", "Writing completed!", false}}));
    EXPECT_EQ(warning, Pick(Language::English, DisturbedWriteText));
}

TEST_F(TransferWindow, StaysOpenAndIdleAfterAPortThatCannotBeOpened) {
    table = {{1, FromQt(folder.filePath("nothing")), ""}};
    bool idle = false;
    Run(CloneMode::Read, {Qt::Key_Return}, [&](frmclone &window) {
        if (messages.empty())
            return;
        idle = !IsBusy(window);
        QTest::keyClick(&window, Qt::Key_Escape);
    });
    const PortFailure failure{PortFailure::Kind::NoSuchDevice, "COM1", table[0].device, ""};
    EXPECT_EQ(messages, (std::vector{Message{"Error", PortFailureText(failure, Language::English), false}}));
    EXPECT_TRUE(idle);
    EXPECT_EQ(refreshes, 0);
}

TEST_F(TransferWindow, ClosedInTheMiddleKeepsWhatCameAndFreesThePort) {
    Serve(MakeSampleMemory(99));
    state.gridRows = 100;
    const MemoryImage before = state.image;
    const std::string mixture =
        "The radio may now hold a mixture of old and new data. Write it again before you use it.";
    for (const CloneMode mode : {CloneMode::Read, CloneMode::Write}) {
        Run(mode, {Qt::Key_Return}, [&](frmclone &window) {
            if (Bar(window).value() < 3)
                return;
            if (mode == CloneMode::Read)
                QTest::keyClick(&window, Qt::Key_Escape);
            else // queued: the message that it brings would hold this look up
                QMetaObject::invokeMethod(&window, &QWidget::close, Qt::QueuedConnection);
        });
        std::vector<Message> expected;
        if (mode == CloneMode::Write)
            expected = {{"K470", mixture, false}};
        EXPECT_EQ(messages, expected);
        EXPECT_LT(progress.first, 90) << "the session ran on";
    }
    EXPECT_EQ(refreshes, 0);
    EXPECT_NE(state.image, before) << "what came is gone";
    Run(CloneMode::Read, {Qt::Key_Return});
    EXPECT_EQ(messages, std::vector{ReadDone});
}

TEST_F(TransferWindow, ClosedBeforeItBeganOpensNoPort) {
    table = {{1, FromQt(folder.filePath("nothing")), ""}};
    QMetaObject::invokeMethod(
        qApp, [] { QApplication::activeModalWidget()->close(); }, Qt::QueuedConnection);
    Run(CloneMode::Read, {Qt::Key_Return});
    EXPECT_EQ(messages, std::vector<Message>{});
}

TEST_F(TransferWindow, CancelAfterTheSearchOfAllPortsRestoresThePort) {
    Serve(MakeSampleMemory(3), {{FaultKind::NoReply, 0, MaxFaultCount}});
    table = {{3, table[0].device, ""}, {1, table[0].device, ""}, {9, table[0].device, ""}};
    const MemoryImage before = state.image;
    Run(CloneMode::Read, {Qt::Key_Escape});
    EXPECT_EQ(messages, std::vector{RetryOrCancel});
    EXPECT_EQ(shownPorts, (std::vector{3, 1, 9, 1}));
    EXPECT_EQ(state.portNumber, 1);
    EXPECT_EQ(state.image, before);
    EXPECT_EQ(refreshes, 0);
}

} // namespace
} // namespace k470
