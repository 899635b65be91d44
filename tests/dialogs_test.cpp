#include "core/Title.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "ui/main/LanguageForm.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmComPort.h"
#include "ui/main/frmclone.h"
#include "ui/shared/Texts.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace k470 {

namespace {

std::string Shown(QWidget &window, const char *label) {
    return FromQt(window.findChild<QLabel *>(label)->text());
}

std::string Button(QWidget &window, const char *name) {
    return FromQt(window.findChild<QPushButton *>(name)->text());
}

void Press(QWidget &window, const char *button) {
    QTest::mouseClick(window.findChild<QPushButton *>(button), Qt::LeftButton);
}

AppState InLanguage(Language language) {
    AppState state;
    state.language = language;
    return state;
}

TEST(PortDialog, HasItsTextsInBothLanguages) {
    AppState english = InLanguage(Language::English);
    frmComPort dialog(english, {}, nullptr);
    EXPECT_EQ(FromQt(dialog.windowTitle()), "Set COM");
    EXPECT_EQ(Shown(dialog, "Label1"), "Comm Port");
    EXPECT_EQ(Button(dialog, "cmdOK") + Button(dialog, "cmdCancel"), "OKCancel");
    AppState chinese = InLanguage(Language::Chinese);
    frmComPort other(chinese, {}, nullptr);
    EXPECT_EQ(FromQt(other.windowTitle()), "串口设置");
    EXPECT_EQ(Shown(other, "Label1"), "串口");
    EXPECT_EQ(Button(other, "cmdOK") + Button(other, "cmdCancel"), "确定取消");
}

TEST(PortDialog, PreselectsThePortInForceAndTakesTheChosenOne) {
    const ComPortTable table{{1, "/dev/ttyS0", ""}, {10, "/dev/ttyUSB5", "A cable"}};
    struct Case {
        std::uint8_t port;
        const char *shown;
        const char *chosen;
        int result;
    };
    for (const Case &c :
         {Case{10, "COM10", "COM1", 1}, Case{7, "COM1", "COM10", 10}, Case{7, "COM1", nullptr, 1}}) {
        AppState state;
        state.portNumber = c.port;
        frmComPort dialog(state, table, nullptr);
        auto *combo = dialog.findChild<QComboBox *>("Combo1");
        EXPECT_EQ(FromQt(combo->currentText()), c.shown);
        EXPECT_EQ(combo->itemData(1, Qt::ToolTipRole).toString(), "/dev/ttyUSB5\nA cable");
        if (c.chosen != nullptr)
            combo->setCurrentText(c.chosen);
        EXPECT_TRUE(combo->toolTip().startsWith("/dev/tty"));
        Press(dialog, "cmdOK");
        EXPECT_EQ(state.portNumber, c.result);
        EXPECT_EQ(dialog.result(), QDialog::Accepted);
    }
}

TEST(PortDialog, WithoutAPortOkIsIgnoredAndCancelCloses) {
    AppState state;
    state.portNumber = 7;
    frmComPort dialog(state, {}, nullptr);
    dialog.show();
    Press(dialog, "cmdOK");
    EXPECT_TRUE(dialog.isVisible());
    Press(dialog, "cmdCancel");
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(state.portNumber, 7);
    EXPECT_EQ(state.comPortList, std::vector<std::string>{""});
}

TEST(LanguageDialog, OkTakesTheChosenLanguageAndCancelNone) {
    AppState state = InLanguage(Language::English);
    LanguageForm dialog(state, nullptr);
    EXPECT_EQ(FromQt(dialog.windowTitle()), "Language File Setup");
    EXPECT_EQ(Shown(dialog, "lblLang"), "Language Mode");
    auto *list = dialog.findChild<QComboBox *>("cboLang");
    EXPECT_EQ(list->currentText(), "English");
    list->setCurrentIndex(1);
    Press(dialog, "cmdCancel");
    EXPECT_EQ(state.language, Language::English);
    Press(dialog, "cmdOK");
    EXPECT_EQ(state.language, Language::Chinese);

    LanguageForm chinese(state, nullptr);
    EXPECT_EQ(FromQt(chinese.windowTitle()), "语言设置");
    EXPECT_EQ(Shown(chinese, "lblLang"), "语言模式");
    EXPECT_EQ(chinese.findChild<QComboBox *>("cboLang")->itemText(0), "英文");
    EXPECT_EQ(chinese.findChild<QComboBox *>("cboLang")->currentText(), "中文");
}

TEST(AboutBox, HasItsSixLinesInBothLanguages) {
    AppState english = InLanguage(Language::English);
    frmAbout box(english, nullptr);
    EXPECT_EQ(FromQt(box.windowTitle()), "About  K470");
    EXPECT_EQ(Shown(box, "Label1"), "K470 Programming Software\r\n\r\n\r\nVersion  1.01\r\n\r\n"
                                    "K470 Programming Software used for K470");
    AppState chinese = InLanguage(Language::Chinese);
    frmAbout other(chinese, nullptr);
    EXPECT_EQ(FromQt(other.windowTitle()), "关于  K470");
    EXPECT_EQ(Shown(other, "Label1"),
              "K470 编程软件\r\n\r\n\r\n版本  1.01\r\n\r\nK470编程软件用于  K470机型");
    EXPECT_FALSE(other.findChild<QLabel *>("Image1")->pixmap().isNull());
    EXPECT_EQ(Button(other, "Command1"), "确定");
}

/// The transfer window over a real pseudo-terminal.
class TransferWindow : public testing::Test, public CloneHost {
protected:
    struct Message {
        std::string title, text;
        QMessageBox::Icon icon;
        QMessageBox::StandardButtons buttons;
    };

    /// Shows the window and answers its messages, in order, until it closes.
    void Run(CloneMode mode, std::vector<QMessageBox::StandardButton> answers) {
        state.cloneMode = mode;
        frmclone window(state, *this, nullptr);
        caption = FromQt(window.windowTitle());
        initialLabel = Shown(window, "lblPercent");
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (box == nullptr || !box->isVisible() || answers.empty())
                return;
            messages.push_back(
                {FromQt(box->windowTitle()), FromQt(box->text()), box->icon(), box->standardButtons()});
            atMessage = {window.findChild<QProgressBar *>("prgPercent")->value(),
                         window.findChild<QProgressBar *>("prgPercent")->maximum()};
            const auto answer = answers.front();
            answers.erase(answers.begin());
            box->button(answer)->click();
            if (answers.empty() && closeAfterAnswers)
                QTimer::singleShot(0, &window, &QDialog::reject);
        });
        timer.start(1);
        window.exec();
        EXPECT_TRUE(answers.empty()) << "a message did not come";
    }

    void Serve(SimulatedRadio &radio) {
        server = std::make_unique<PtyServer>(radio);
        ASSERT_FALSE(server->Start().has_value());
        table = {{1, server->SlavePath(), ""}};
    }

    void ShowPort() override { portsShown.push_back(PortText(state)); }
    void RefreshAfterRead() override { ++refreshed; }
    ComPortTable ComPorts() override { return table; }

    AppState state = InLanguage(Language::English);
    ComPortTable table;
    std::unique_ptr<PtyServer> server;
    std::vector<Message> messages;
    std::vector<std::string> portsShown;
    std::pair<int, int> atMessage;
    std::string caption;
    std::string initialLabel;
    int refreshed = 0;
    bool closeAfterAnswers = false;
};

TEST_F(TransferWindow, ReadsToTheEndAndRefreshesOnce) {
    SimulatedRadio radio(MakeSampleMemory(16));
    Serve(radio);
    Run(CloneMode::Read, {QMessageBox::Ok});
    EXPECT_EQ(caption, "Read data from radio");
    EXPECT_EQ(initialLabel, "Completion percentage:  0%");
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].title + "/" + messages[0].text, "K470/Reading completed!");
    EXPECT_EQ(messages[0].icon, QMessageBox::Information);
    EXPECT_EQ(atMessage, std::pair(25, 25));
    EXPECT_EQ(refreshed, 1);
    EXPECT_EQ(state.gridRows, 17);
}

TEST_F(TransferWindow, WritesToTheEndInChinese) {
    SimulatedRadio radio(MakeSampleMemory(16));
    Serve(radio);
    state.language = Language::Chinese;
    state.image = MakeSampleMemory(3);
    state.gridRows = 4;
    Run(CloneMode::Write, {QMessageBox::Ok});
    EXPECT_EQ(caption, "向对讲机写入数据");
    EXPECT_EQ(initialLabel, "完成进度:  0%");
    EXPECT_EQ(messages.at(0).text, "成功写完！");
    EXPECT_EQ(refreshed, 0);
}

TEST_F(TransferWindow, NamesTheLinesThatAReadLacks) {
    SimulatedRadio radio(MakeSampleMemory(16), FaultInjector({{FaultKind::NoReply, 7, 1}}, 1));
    Serve(radio);
    Run(CloneMode::Read, {QMessageBox::Ok, QMessageBox::Ok});
    EXPECT_EQ(messages.at(1).text, "Lines 5 were not received. Read the radio again.");
    EXPECT_EQ(messages.at(1).icon, QMessageBox::Warning);
}

TEST_F(TransferWindow, AsksWhenTheLineStaysDeadAndCancelEnds) {
    SimulatedRadio radio(MakeSampleMemory(16), FaultInjector({{FaultKind::HangUp, 7, 1}}, 1));
    Serve(radio);
    Run(CloneMode::Read, {QMessageBox::Cancel});
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].title + "/" + messages[0].text, "Error/Check Connection. Retry or Cancel?");
    EXPECT_EQ(messages[0].icon, QMessageBox::Critical);
    EXPECT_EQ(messages[0].buttons, QMessageBox::Retry | QMessageBox::Cancel);
    EXPECT_EQ(refreshed, 0);
}

TEST_F(TransferWindow, SaysWhyThePortDoesNotOpenAndStaysIdle) {
    table = {{1, "/dev/k470-no-such-device", ""}};
    closeAfterAnswers = true;
    Run(CloneMode::Read, {QMessageBox::Ok});
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].title, "Error");
    EXPECT_NE(messages[0].text.find("/dev/k470-no-such-device"), std::string::npos);
    EXPECT_EQ(messages[0].icon, QMessageBox::Warning);
}

TEST_F(TransferWindow, ClosedInTheMiddleFreesThePortForTheNext) {
    SimulatedRadio radio(MakeSampleMemory(99));
    Serve(radio);
    state.cloneMode = CloneMode::Read;
    {
        frmclone window(state, *this, nullptr);
        window.show();
        auto *bar = window.findChild<QProgressBar *>("prgPercent");
        ASSERT_TRUE(QTest::qWaitFor([bar] { return bar->value() > 3; }));
        QTest::keyClick(&window, Qt::Key_Escape);
        EXPECT_FALSE(window.isVisible());
    }
    EXPECT_EQ(refreshed, 0);
    Run(CloneMode::Read, {QMessageBox::Ok});
    EXPECT_EQ(refreshed, 1);
}

} // namespace

} // namespace k470
