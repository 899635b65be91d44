#include "core/AppState.h"
#include "link/ComPorts.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "ui/main/LanguageForm.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmComPort.h"
#include "ui/main/frmclone.h"
#include "ui/shared/Texts.h"
#include "ui/shared/ThemedIcon.h"

#include <QApplication>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace k470 {

namespace {

const ComPortTable TwoPorts{{1, "/dev/ttyS0", ""}, {10, "/dev/ttyUSB5", "Serial cable"}};

/// A text of a dialog; without a widget it is the caption.
struct TextCase {
    const char *widget;
    TextPair text;
};

void ExpectTexts(const QDialog &dialog, const std::vector<TextCase> &cases, Language language) {
    for (const auto &[name, pair] : cases) {
        const auto *widget = *name == '\0' ? &dialog : dialog.findChild<QWidget *>(name);
        ASSERT_NE(widget, nullptr) << name;
        const auto *property = widget == &dialog ? "windowTitle" : "text";
        EXPECT_EQ(FromQt(widget->property(property).toString()), Pick(language, pair)) << name;
    }
}

TEST(SmallWindows, BearTheTextsOfTheLanguage) {
    AppState state;
    for (const Language language : {Language::English, Language::Chinese}) {
        state.language = language;
        ExpectTexts(frmComPort(state, TwoPorts, nullptr),
                    {{"", {"Set COM", "串口设置"}},
                     {"Label1", {"Comm Port", "串口"}},
                     {"cmdOK", {"OK", "确定"}},
                     {"cmdCancel", {"Cancel", "取消"}}},
                    language);
        const LanguageForm languages(state, nullptr);
        ExpectTexts(languages,
                    {{"", {"Language File Setup", "语言设置"}},
                     {"lblLang", {"Language Mode", "语言模式"}},
                     {"cmdOK", {"OK", "确定"}},
                     {"cmdCancel", {"Cancel", "取消"}}},
                    language);
        const auto *list = languages.findChild<QComboBox *>("cboLang");
        EXPECT_EQ(FromQt(list->itemText(0)), Pick(language, {"English", "英文"}));
        EXPECT_EQ(FromQt(list->itemText(1)), Pick(language, {"Chinese", "中文"}));
        EXPECT_EQ(list->currentIndex(), static_cast<int>(language));
        ExpectTexts(frmAbout(state, nullptr),
                    {{"", {"About  K470", "关于  K470"}},
                     {"Label1",
                      {"K470 Programming Software\r\n\r\n\r\nVersion  1.01\r\n\r\n"
                       "K470 Programming Software used for K470",
                       "K470 编程软件\r\n\r\n\r\n版本  1.01\r\n\r\nK470编程软件用于  K470机型"}},
                     {"Command1", {"OK", "确定"}}},
                    language);
    }
}

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
    for (const auto &[before, shown, after] :
         std::vector<std::tuple<int, std::string, int>>{{10, "COM10", 10}, {1, "COM1", 1}, {7, "COM1", 1}}) {
        AppState state;
        state.portNumber = static_cast<std::uint8_t>(before);
        frmComPort dialog(state, TwoPorts, nullptr);
        EXPECT_EQ(state.comPortList, (std::vector<std::string>{"COM1", "COM10"}));
        EXPECT_EQ(FromQt(dialog.findChild<QComboBox *>("Combo1")->currentText()), shown);
        EXPECT_EQ(state.portNumber, before);
        dialog.show();
        QTest::keyClick(&dialog, Qt::Key_Return);
        EXPECT_FALSE(dialog.isVisible());
        EXPECT_EQ(state.portNumber, after);
    }
}

TEST(PortDialog, TellsTheDeviceOfEachPortAndOfTheOneChosen) {
    AppState state;
    frmComPort dialog(state, TwoPorts, nullptr);
    auto *list = dialog.findChild<QComboBox *>("Combo1");
    EXPECT_EQ(FromQt(list->itemData(0, Qt::ToolTipRole).toString()), "/dev/ttyS0");
    EXPECT_EQ(FromQt(list->itemData(1, Qt::ToolTipRole).toString()), "/dev/ttyUSB5\nSerial cable");
    EXPECT_EQ(FromQt(list->toolTip()), "/dev/ttyS0");
    QTest::keyClick(list, Qt::Key_Down);
    EXPECT_EQ(FromQt(list->toolTip()), "/dev/ttyUSB5\nSerial cable");
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_EQ(state.portNumber, DefaultPortNumber);
}

TEST(PortDialog, IgnoresOkWithoutAPort) {
    AppState state;
    state.portNumber = 7;
    frmComPort dialog(state, {}, nullptr);
    dialog.show();
    EXPECT_EQ(state.comPortList, std::vector<std::string>{""});
    EXPECT_EQ(FromQt(dialog.findChild<QComboBox *>("Combo1")->currentText()), "");
    QTest::keyClick(&dialog, Qt::Key_Return);
    EXPECT_TRUE(dialog.isVisible());
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(state.portNumber, 7);
}

TEST(LanguageDialog, ChangesTheLanguageWithOkOnly) {
    for (const auto &[key, after] :
         {std::pair(Qt::Key_Return, Language::Chinese), std::pair(Qt::Key_Escape, Language::English)}) {
        AppState state;
        state.language = Language::English;
        LanguageForm dialog(state, nullptr);
        dialog.show();
        QTest::keyClick(dialog.findChild<QComboBox *>("cboLang"), Qt::Key_Down);
        EXPECT_EQ(state.language, Language::English);
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
    for (const char *name : {"new", "open", "save", "print", "read", "com", "write", "about"})
        for (const QColor &text : {QColor(0x11, 0x22, 0x33), QColor(0xEE, 0xDD, 0xCC)})
            for (const double scale : {1.0, 1.25, 2.0}) {
                palette.setColor(QPalette::WindowText, text);
                const QIcon icon = ThemedIcon(QString(":/icons/%1.svg").arg(name), palette);
                EXPECT_EQ(Strongest(icon, scale, QIcon::Normal).name(), text.name()) << name << scale;
                EXPECT_NEAR(Strongest(icon, scale, QIcon::Disabled).alphaF(), 0.4, 0.02) << name << scale;
            }
    EXPECT_FALSE(ThemedIcon(":/icons/k470.svg", palette).isNull());
    EXPECT_TRUE(ThemedIcon(":/icons/nothing.svg", palette).isNull());
}

struct Message {
    std::string title;
    std::string text;
    QMessageBox::Icon icon;
    QMessageBox::StandardButtons buttons;

    bool operator==(const Message &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Message &message) {
    return out << message.title << " | " << message.text << " | icon " << message.icon;
}

const Message ReadDone{"K470", "Reading completed!", QMessageBox::Information, QMessageBox::Ok};
const Message RetryOrCancel{"Error", "Check Connection. Retry or Cancel?", QMessageBox::Critical,
                            QMessageBox::Retry | QMessageBox::Cancel};

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
        sizes = {window.sizeHint()};
        const auto *percent = window.findChild<QLabel *>("lblPercent");
        EXPECT_TRUE(percent->isHidden());
        EXPECT_EQ(FromQt(percent->text()),
                  Pick(state.language, {"Completion percentage:  0%", "完成进度:  0%"}));
        QTimer watch;
        QObject::connect(&watch, &QTimer::timeout, [&] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                Answer(*box, window, keys);
            } else if (window.isVisible()) {
                sizes.push_back(window.size());
                if (look)
                    look(window);
            }
        });
        watch.start(1);
        QTimer::singleShot(30000, &window, [&] {
            ADD_FAILURE() << "the window did not close";
            window.close();
        });
        window.exec();
        EXPECT_EQ(std::adjacent_find(sizes.begin(), sizes.end(), std::not_equal_to<>()), sizes.end())
            << "the window changed its size";
        EXPECT_FALSE(IsBusy(window));
        bar = window.findChild<QProgressBar *>("prgPercent")->value();
        maximum = window.findChild<QProgressBar *>("prgPercent")->maximum();
        label = FromQt(percent->text());
    }

    void Answer(QMessageBox &box, frmclone &window, std::vector<Qt::Key> &keys) {
        messages.push_back(
            {FromQt(box.windowTitle()), FromQt(box.text()), box.icon(), box.standardButtons()});
        EXPECT_TRUE(window.isVisible());
        EXPECT_FALSE(IsBusy(window)) << "something ticks under a message";
        window.close();
        EXPECT_TRUE(window.isVisible()) << "closed under an open message";
        const Qt::Key key = keys.empty() ? Qt::Key_Escape : keys.front();
        if (!keys.empty())
            keys.erase(keys.begin());
        QTest::keyClick(&box, key);
    }

    static bool IsBusy(const frmclone &window) {
        return window.findChild<QTimer *>("tmrSend")->isActive() ||
               window.findChild<QTimer *>("tmrOvertime")->isActive();
    }

    static int Progress(const frmclone &window) {
        return window.findChild<QProgressBar *>("prgPercent")->value();
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
    std::vector<QSize> sizes;
    std::vector<int> shownPorts;
    int refreshes = 0;
    int bar = 0;
    int maximum = 0;
    std::string label;
};

TEST_F(TransferWindow, RunsToItsEndInBothDirectionsAndLanguages) {
    struct Case {
        CloneMode mode;
        TextPair caption;
        TextPair completed;
        int refreshes;
        int bar; ///< value and maximum at the end, for three channels
    };
    for (const Case &c : {Case{CloneMode::Read,
                               {"Read data from radio", "从对讲机读取数据"},
                               {"Reading completed!", "成功读完！"},
                               1,
                               12},
                          Case{CloneMode::Write,
                               {"Write data to radio", "向对讲机写入数据"},
                               {"Writing completed!", "成功写完！"},
                               0,
                               9}})
        for (const Language language : {Language::English, Language::Chinese}) {
            const bool reading = c.mode == CloneMode::Read;
            Serve(reading ? MakeSampleMemory(3) : MemoryImage{});
            state.language = language;
            state.image = reading ? MemoryImage{} : MakeSampleMemory(3);
            state.gridRows = reading ? 17 : 4;
            refreshes = 0;
            std::string caption;
            Run(c.mode, {Qt::Key_Return},
                [&](const frmclone &window) { caption = FromQt(window.windowTitle()); });
            server->Stop();
            EXPECT_EQ(caption, Pick(language, c.caption));
            const Message done{"K470", std::string(Pick(language, c.completed)), QMessageBox::Information,
                               QMessageBox::Ok};
            EXPECT_EQ(messages, std::vector{done});
            EXPECT_EQ(refreshes, c.refreshes);
            EXPECT_EQ(state.gridRows, 4);
            EXPECT_EQ(std::pair(bar, maximum), std::pair(c.bar, c.bar));
            EXPECT_EQ(label, Pick(language, {"Completion percentage: 100%", "完成进度: 100%"}));
            for (const int line : {0, 2, 99, 107})
                EXPECT_TRUE(std::ranges::equal(Line(state.image, line), Line(radio->Memory(), line))) << line;
        }
}

TEST_F(TransferWindow, NamesTheLinesThatACompletedReadLacks) {
    Serve(MakeSampleMemory(16), {{FaultKind::NoReply, 5}});
    Run(CloneMode::Read, {Qt::Key_Return, Qt::Key_Return});
    const Message missing{"K470", "Lines 3 were not received. Read the radio again.", QMessageBox::Warning,
                          QMessageBox::Ok};
    EXPECT_EQ(messages, (std::vector{ReadDone, missing}));
}

TEST_F(TransferWindow, StaysOpenAndIdleAfterAPortThatCannotBeOpened) {
    for (const Language language : {Language::English, Language::Chinese}) {
        state.language = language;
        table = {{1, FromQt(folder.filePath("nothing")), ""}};
        bool idle = false;
        Run(CloneMode::Read, {Qt::Key_Return}, [&](frmclone &window) {
            if (messages.empty())
                return;
            idle = !IsBusy(window);
            QTest::keyClick(&window, Qt::Key_Escape);
        });
        const PortFailure failure{PortFailure::Kind::NoSuchDevice, "COM1", table[0].device, ""};
        const Message refusal{"Error", PortFailureText(failure, language), QMessageBox::Warning,
                              QMessageBox::Ok};
        EXPECT_EQ(messages, std::vector{refusal});
        EXPECT_TRUE(idle);
        EXPECT_EQ(refreshes, 0);
    }
}

TEST_F(TransferWindow, ClosedInTheMiddleKeepsWhatCameAndFreesThePort) {
    for (const CloneMode mode : {CloneMode::Read, CloneMode::Write})
        for (const bool byKey : {true, false}) {
            Serve(MakeSampleMemory(99));
            state.gridRows = 100;
            state.image = {};
            Run(mode, {}, [&](frmclone &window) {
                if (Progress(window) < 3)
                    return;
                if (byKey)
                    QTest::keyClick(&window, Qt::Key_Escape);
                else
                    window.close();
            });
            EXPECT_EQ(messages, std::vector<Message>{});
            EXPECT_EQ(refreshes, 0);
            EXPECT_LT(bar, 90) << "the session ran on";
            if (mode == CloneMode::Read) {
                EXPECT_TRUE(std::ranges::equal(Line(state.image, 2), Line(radio->Memory(), 2)));
            }
        }
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

TEST_F(TransferWindow, RetryAfterAHangUpStartsAnew) {
    Serve(MakeSampleMemory(3), {{FaultKind::HangUp, 4}});
    Run(CloneMode::Read, {Qt::Key_Return, Qt::Key_Return});
    EXPECT_EQ(messages, (std::vector{RetryOrCancel, ReadDone}));
    EXPECT_EQ(std::pair(bar, maximum), std::pair(12, 12));
    EXPECT_EQ(refreshes, 1);
}

TEST_F(TransferWindow, CancelAfterTheSearchOfAllPortsRestoresThePort) {
    Serve(MakeSampleMemory(3), {{FaultKind::NoReply, 0, MaxFaultCount}});
    table = {{3, table[0].device, ""}, {1, table[0].device, ""}, {9, table[0].device, ""}};
    state.language = Language::Chinese;
    const MemoryImage before = state.image;
    Run(CloneMode::Read, {Qt::Key_Escape});
    const Message question{"错误", "检测连接。重试或取消？", QMessageBox::Critical,
                           QMessageBox::Retry | QMessageBox::Cancel};
    EXPECT_EQ(messages, std::vector{question});
    EXPECT_EQ(shownPorts, (std::vector{3, 1, 9, 1}));
    EXPECT_EQ(state.portNumber, 1);
    EXPECT_EQ(state.image, before);
    EXPECT_EQ(refreshes, 0);
}

} // namespace

} // namespace k470
