#include "core/Bands.h"
#include "core/ChannelRows.h"
#include "core/Channels.h"
#include "sim/SampleMemory.h"
#include "ui/main/IniPreferences.h"
#include "ui/main/MenuTable.h"
#include "ui/main/frmMain.h"
#include "ui/shared/FlexGrid.h"
#include "ui/shared/Texts.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <map>

namespace k470 {

namespace {

/// Preferences in memory.
class MemoryStore : public PreferenceStore {
public:
    std::string GetKeyValue(std::string_view name) const override {
        const auto found = values.find(std::string(name));
        return found == values.end() ? std::string() : found->second;
    }
    bool UpdateKey(std::string_view name, std::string_view text) override {
        values[std::string(name)] = text;
        return true;
    }
    std::map<std::string, std::string> values;
};

/// The main window, shown, in English unless a test says otherwise.
class MainWindow : public testing::Test {
protected:
    void Open(std::map<std::string, std::string> preferences = {{"Language", "0"}}) {
        store.values = std::move(preferences);
        window = std::make_unique<frmMain>(state, store);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        window->activateWindow();
        grid = window->findChild<FlexGrid *>("ChannelGrid");
    }

    /// Loads sample channels as a read of the radio leaves them.
    void ShowSample(int channels) {
        state.image = MakeSampleMemory(channels);
        LoadBandLimits(state);
        state.gridRows = static_cast<std::uint8_t>(channels + 1);
        window->RefreshAll();
    }

    QComboBox *Combo(const char *name) { return window->findChild<QComboBox *>(name); }
    QLineEdit *Text() { return window->findChild<QLineEdit *>("TxtChannel"); }
    QComboBox *Tone() { return Combo("CboChannel(0)"); }
    QComboBox *Choice() { return Combo("CboChannel(1)"); }
    std::string Cell(int row, int col) { return FromQt(grid->CellText(row, col)); }
    void Click(int row, int col) {
        const QRect place = grid->CellRect(row, col);
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {},
                          grid->viewport()->mapFrom(grid->parentWidget(), place.center()));
    }
    void TypeFrequency(int row, int col, const QString &text) {
        grid->SetCurrent(row, col);
        QTest::keyClick(grid, Qt::Key_Return);
        QTest::keyClicks(Text(), text);
        QTest::keyClick(Text(), Qt::Key_Return);
    }
    void Trigger(const char *action) { window->findChild<QAction *>(action)->trigger(); }

    /// Answers the next message boxes, in order, and keeps what they said.
    void Answer(std::vector<QMessageBox::StandardButton> answers) {
        auto *timer = new QTimer(window.get());
        QObject::connect(timer, &QTimer::timeout, window.get(), [this, timer, answers]() mutable {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (box == nullptr || !box->isVisible())
                return;
            messages.push_back(FromQt(box->text()));
            const auto answer = answers.front();
            answers.erase(answers.begin());
            if (answers.empty()) {
                timer->stop();
                timer->deleteLater();
            }
            box->button(answer)->click();
        });
        timer->start(1);
    }

    /// Runs `command` and rejects the dialog of that name, which it must open; tells whether it did.
    bool OpensDialog(const char *name, const std::function<void()> &command) {
        bool seen = false;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
            if (dialog == nullptr)
                return;
            seen = dialog->objectName() == name;
            dialog->reject();
        });
        timer.start(1);
        command();
        return seen;
    }

    MemoryStore store;
    AppState state;
    std::unique_ptr<frmMain> window;
    FlexGrid *grid = nullptr;
    std::vector<std::string> messages;
};

using Row = std::vector<std::string>;

TEST_F(MainWindow, StartsInChineseWithSixteenEmptyChannels) {
    Open({});
    EXPECT_EQ(FromQt(window->windowTitle()), "K470 编程软件 [400 - 480 MHz]  [文件名: Untitled]");
    EXPECT_EQ(grid->Rows(), 17);
    EXPECT_EQ(Cell(0, 3), "CTCSS/DCS 解码");
    EXPECT_EQ(Cell(16, 0), "16");
    EXPECT_EQ(Cell(1, 1), "");
    EXPECT_EQ(FromQt(window->findChild<QLabel *>("MSBar(2)")->text()), "通信端口1");
    EXPECT_EQ(FromQt(window->findChild<QLabel *>("MSBar(1)")->text()), " [400 - 480 MHz]");
    EXPECT_EQ(Combo("CobFreq")->currentText(), "400 - 480 MHz");
    EXPECT_FALSE(ImageModified(state));
    EXPECT_TRUE(QRegularExpression("^\\d\\d:\\d\\d:\\d\\d$")
                    .match(window->findChild<QLabel *>("MSBar(4)")->text())
                    .hasMatch());
}

TEST_F(MainWindow, EveryMenuAndToolTipFollowsTheLanguage) {
    for (const Language language : {Language::English, Language::Chinese}) {
        Open({{"Language", language == Language::English ? "0" : "1"}});
        for (const MenuItem &item : MenuTable) {
            if (item.menu == nullptr) {
                EXPECT_EQ(window->findChild<QMenu *>(item.name)->title(), PickText(language, item.caption));
            } else if (item.command != nullptr) {
                const auto *action = window->findChild<QAction *>(item.name);
                EXPECT_EQ(action->text(), PickText(language, item.caption));
                EXPECT_EQ(action->shortcut(), QKeySequence(item.shortcut)) << item.name;
            }
        }
        const auto tip = [this](const char *key) {
            return FromQt(window->findChild<QAction *>(QString("tlbActions_") + key)->toolTip());
        };
        EXPECT_EQ(tip("Read"), language == Language::English ? "Read" : "读频");
        EXPECT_EQ(tip("Print"), language == Language::English ? "Apply edits" : "应用修改");
        EXPECT_EQ(FromQt(window->findChild<QLabel *>("Label1(0)")->text()),
                  language == Language::English ? "Time Out Timer[s]" : "超时定时器[秒]");
        EXPECT_EQ(FromQt(window->findChild<QLabel *>("Label1(3)")->text()),
                  language == Language::English ? "CHT：" : "信道数：");
        EXPECT_EQ(FromQt(window->findChild<QGroupBox *>("Frame3")->title()),
                  language == Language::English ? "Model Information" : "机型信息");
    }
}

TEST_F(MainWindow, ATypedFrequencyMakesANewChannelWithTheDefaults) {
    Open();
    grid->SetCurrent(2, 1);
    QTest::keyClick(grid, '4');
    ASSERT_TRUE(Text()->isVisible());
    EXPECT_EQ(Text()->text(), "4");
    QTest::keyClicks(Text(), "4x6.a525");
    QTest::keyClick(Text(), Qt::Key_Return);
    EXPECT_FALSE(Text()->isVisible());
    const Row expected{"2",    "446.52500", "446.52500", "None", "None", "High",
                       "Wide", "Off",       "No",        "Off",  "1"};
    for (int col = 0; col < GridCols; ++col)
        EXPECT_EQ(Cell(2, col), expected[static_cast<std::size_t>(col)]) << col;
    EXPECT_EQ(state.currentCol, 2);
    EXPECT_TRUE(IsEmptyChannel(state.image, 1)) << "nothing reaches the image before a commit";

    Trigger("tlbActions_Print");
    EXPECT_EQ(GetFreqString(state.image, Field::Rx, 1), "446.52500");
    EXPECT_EQ(state.image[0x1C], 0xB0);
    EXPECT_EQ(state.image[0x1D], 0xF1);
    EXPECT_EQ(state.image[Address::WorkingChannel], 1);
    EXPECT_FALSE(ImageModified(state));
}

TEST_F(MainWindow, AnEmptyRowIsEnteredByItsReceiveFrequency) {
    Open();
    for (const int col : {6, 4, 2}) {
        Click(3, col);
        EXPECT_TRUE(Text()->isVisible()) << col;
        EXPECT_EQ(grid->Col(), 1) << col;
        QTest::keyClick(Text(), Qt::Key_Escape);
        EXPECT_FALSE(Text()->isVisible());
    }
    grid->SetCurrent(3, 7);
    QTest::keyClick(grid, Qt::Key_Return);
    EXPECT_EQ(grid->Col(), 1);
    EXPECT_TRUE(Text()->isVisible());
}

TEST_F(MainWindow, AReceiveOnlyChannelGetsItsTransmitFrequencyFirst) {
    Open();
    TypeFrequency(1, 1, "446.525");
    grid->SetCurrent(1, 2);
    QTest::keyClick(grid, Qt::Key_Return);
    QTest::keyClick(Text(), Qt::Key_Delete);
    QTest::keyClick(Text(), Qt::Key_Return);
    EXPECT_EQ(Cell(1, 2) + Cell(1, 4), "");
    EXPECT_EQ(Cell(1, 3), "None");

    Click(1, 4);
    EXPECT_TRUE(Text()->isVisible());
    EXPECT_EQ(grid->Col(), 2);
    QTest::keyClicks(Text(), "451");
    QTest::keyClick(Text(), Qt::Key_Return);
    EXPECT_EQ(Cell(1, 2), "451.00000");
    EXPECT_EQ(Cell(1, 4), "None");
    EXPECT_EQ(Cell(1, 1), "446.52500");
}

TEST_F(MainWindow, AnEmptiedReceiveFrequencyDeletesTheRow) {
    Open();
    TypeFrequency(1, 1, "446.525");
    grid->SetCurrent(1, 1);
    QTest::keyClick(grid, Qt::Key_Return);
    QTest::keyClick(Text(), Qt::Key_Delete);
    QTest::keyClick(Text(), Qt::Key_Return);
    for (int col = 1; col < GridCols; ++col)
        EXPECT_EQ(Cell(1, col), "") << col;
    Trigger("tlbActions_Print");
    EXPECT_TRUE(IsMarkedEmpty(state.image, 0));
}

TEST_F(MainWindow, EscapeAbandonsTheEditInEveryEditor) {
    Open();
    TypeFrequency(1, 1, "446.525");
    for (const int col : {1, 3, 7}) {
        const std::string before = Cell(1, col);
        grid->SetCurrent(1, col);
        QTest::keyClick(grid, Qt::Key_Return);
        QWidget *editor = col == 1 ? static_cast<QWidget *>(Text()) : col == 3 ? Tone() : Choice();
        ASSERT_TRUE(editor->isVisible()) << col;
        if (auto *combo = qobject_cast<QComboBox *>(editor))
            combo->setEditText("D023N");
        else
            Text()->setText("455");
        QTest::keyClick(editor, Qt::Key_Escape);
        EXPECT_FALSE(editor->isVisible());
        EXPECT_EQ(Cell(1, col), before);
        EXPECT_TRUE(grid->hasFocus());
    }
}

TEST_F(MainWindow, EnterWalksOverVisibleColumnsAndRows) {
    Open();
    for (int row = 1; row <= 16; ++row)
        TypeFrequency(row, 1, "446.525");
    struct Walk {
        int row, col, nextRow, nextCol;
    };
    for (const auto &[row, col, nextRow, nextCol] : std::vector<Walk>{{1, 1, 1, 2},
                                                                      {1, 2, 1, 3},
                                                                      {1, 3, 1, 4},
                                                                      {1, 4, 1, 6},
                                                                      {1, 6, 1, 7},
                                                                      {1, 7, 1, 8},
                                                                      {1, 8, 2, 1},
                                                                      {16, 8, 1, 1}}) {
        grid->SetCurrent(row, col);
        QTest::keyClick(grid, Qt::Key_Return);
        auto *editor = QApplication::focusWidget();
        ASSERT_NE(editor, grid);
        QTest::keyClick(editor, Qt::Key_Return);
        EXPECT_EQ(grid->Row(), nextRow) << col;
        EXPECT_EQ(grid->Col(), nextCol) << col;
        EXPECT_FALSE(Text()->isVisible() || Tone()->isVisible() || Choice()->isVisible());
    }
    TypeFrequency(1, 2, "");
    grid->SetCurrent(1, 2);
    QTest::keyClick(grid, Qt::Key_Return);
    QTest::keyClick(Text(), Qt::Key_Delete);
    QTest::keyClick(Text(), Qt::Key_Return);
    QTest::keyClick(grid, Qt::Key_Return);
    QTest::keyClick(Tone(), Qt::Key_Return);
    EXPECT_EQ(grid->Col(), 6) << "the tone of a missing transmit frequency is passed over";
}

TEST_F(MainWindow, TypedTonesAreFilteredAndMadeValid) {
    Open();
    TypeFrequency(1, 1, "446.525");
    for (const auto &[typed, shown] : std::vector<std::pair<QString, std::string>>{{"300", "260.0"},
                                                                                   {"d8", "D007N"},
                                                                                   {"d023i", "D023I"},
                                                                                   {"xyz", "D023I"},
                                                                                   {"100.3", "100.3"},
                                                                                   {"5", "60.0"}}) {
        grid->SetCurrent(1, 3);
        QTest::keyClick(grid, Qt::Key_Return);
        ASSERT_TRUE(Tone()->isVisible());
        EXPECT_EQ(Tone()->count(), 261);
        QTest::keyClicks(Tone(), typed);
        QTest::keyClick(Tone(), Qt::Key_Return);
        EXPECT_EQ(Cell(1, 3), shown) << FromQt(typed);
    }
}

TEST_F(MainWindow, EditorsCoverTheirCellAndEndWhenTheGridScrolls) {
    Open({{"Language", "0"}, {"gbRows", "100"}});
    TypeFrequency(1, 1, "446.525");
    for (const auto &[col, editor] :
         std::vector<std::pair<int, QWidget *>>{{1, Text()}, {3, Tone()}, {7, Choice()}}) {
        grid->SetCurrent(1, col);
        QTest::keyClick(grid, Qt::Key_Return);
        ASSERT_TRUE(editor->isVisible());
        EXPECT_TRUE(editor->geometry().contains(grid->CellRect(1, col).center())) << col;
        EXPECT_LE((editor->geometry().topLeft() - grid->CellRect(1, col).topLeft()).manhattanLength(), 6);
        QTest::keyClick(editor, Qt::Key_Escape);
    }
    grid->SetCurrent(1, 1);
    QTest::keyClick(grid, '4');
    QTest::keyClicks(Text(), "60");
    grid->verticalScrollBar()->setValue(3);
    EXPECT_FALSE(Text()->isVisible());
    EXPECT_EQ(Cell(1, 1), "460.00000");
}

TEST_F(MainWindow, AFrequencyOutsideTheBandWarnsAndIsKept) {
    Open();
    Answer({QMessageBox::Ok});
    TypeFrequency(1, 1, "140");
    EXPECT_EQ(messages, Row{"Frequency is out of range"});
    EXPECT_EQ(Cell(1, 1), "140.00000");
}

TEST_F(MainWindow, LeavingTheEditorTakesItsValueOver) {
    Open();
    grid->SetCurrent(1, 1);
    QTest::keyClick(grid, '4');
    QTest::keyClicks(Text(), "50");
    Combo("Combo1(0)")->setFocus();
    EXPECT_FALSE(Text()->isVisible());
    EXPECT_EQ(Cell(1, 1), "450.00000");
}

TEST_F(MainWindow, ABandChangeErasesTheChannelsOnlyWhenConfirmed) {
    Open();
    TypeFrequency(1, 1, "446.525");
    const MemoryImage before = state.image;
    auto *band = Combo("CobFreq");
    Answer({QMessageBox::Cancel});
    band->setFocus();
    QTest::keyClick(band, Qt::Key_Up);
    EXPECT_EQ(band->currentIndex(), 3);
    EXPECT_EQ(Cell(1, 1), "446.52500");
    EXPECT_EQ(state.image, before);

    Answer({QMessageBox::Ok});
    QTest::keyClick(band, Qt::Key_Up);
    EXPECT_EQ(messages.back(), "Change frequency channel list will remove,sure?");
    EXPECT_EQ(band->currentIndex(), 2);
    EXPECT_EQ(Cell(1, 1), "");
    EXPECT_EQ(state.bandLow, 350);
    EXPECT_EQ(state.previousBand, 2);
    EXPECT_EQ(
        (std::vector<int>{state.image[0x666], state.image[0x667], state.image[0x668], state.image[0x669]}),
        (std::vector<int>{0x35, 0x00, 0x39, 0x00}));
    EXPECT_TRUE(window->windowTitle().contains("[350 - 390 MHz]"));
    emit band->activated(2);
    EXPECT_EQ(messages.size(), 2U) << "the band in force asks nothing";
}

TEST_F(MainWindow, CustomOpensItsDialogOnlyWhenChosen) {
    Open({{"Language", "0"}, {"Model-FreqL", "136.5"}, {"Model-FreqH", "174"}});
    auto *band = Combo("CobFreq");
    EXPECT_EQ(band->currentText(), "Custom");
    EXPECT_FALSE(OpensDialog("frmSetFreqRange", [this] { window->RefreshAll(); }));
    EXPECT_TRUE(OpensDialog("frmSetFreqRange", [band] { emit band->activated(4); }));
    EXPECT_EQ(state.bandLow, 136.5);
    Answer({QMessageBox::Ok});
    emit band->activated(3);
    EXPECT_EQ(state.bandLow, 400);
}

TEST_F(MainWindow, AChannelCountActsAtOnceAndKeepsTheContents) {
    Open();
    ShowSample(16);
    window->CommitEdits();
    const std::string last = Cell(16, 1);
    ASSERT_NE(last, "");
    auto *count = Combo("Combo1(3)");
    const auto choose = [count](int channels) {
        count->setCurrentIndex(channels - 1);
        emit count->activated(channels - 1);
    };
    choose(4);
    EXPECT_EQ(grid->Rows(), 5);
    EXPECT_EQ(Combo("Combo1(4)")->count(), 4);
    EXPECT_EQ(state.image[Address::ChannelCount], 16) << "the byte waits for the commit";
    choose(40);
    EXPECT_EQ(grid->Rows(), 41);
    EXPECT_EQ(Cell(16, 1), last);
    EXPECT_EQ(Cell(40, 0), "40");
    Combo("Combo1(4)")->setCurrentIndex(7);
    choose(40);
    EXPECT_EQ(Combo("Combo1(4)")->currentIndex(), 0) << "every click selects the first working channel";
    window->CommitEdits();
    EXPECT_EQ(state.image[Address::ChannelCount], 40);
    EXPECT_EQ(state.gridRows, 41);
}

TEST_F(MainWindow, SteppingTheChannelCountKeepsTheFocus) {
    Open({{"Language", "0"}, {"gbRows", "100"}});
    auto *count = Combo("Combo1(3)");
    count->setFocus();
    grid->verticalScrollBar()->setValue(30);
    count->setFocus();
    QTest::keyClick(count, Qt::Key_Up);
    EXPECT_EQ(grid->Rows(), 99);
    EXPECT_TRUE(count->hasFocus());
}

TEST_F(MainWindow, OddChannelCountBytesWork) {
    Open();
    state.image[Address::ChannelCount] = 0;
    TakeGridRowsFromImage(state);
    window->RefreshAll();
    EXPECT_EQ(Combo("Combo1(3)")->currentIndex(), -1);
    EXPECT_EQ(Combo("Combo1(4)")->count(), 0);
    window->CommitEdits();
    EXPECT_EQ(state.image[Address::ChannelCount], 0);
    EXPECT_EQ(state.gridRows, 1);

    state.image[Address::ChannelCount] = 200;
    TakeGridRowsFromImage(state);
    window->RefreshAll();
    EXPECT_EQ(Combo("Combo1(3)")->currentText(), "16");
    EXPECT_EQ(grid->Rows(), 17);
    window->CommitEdits();
    EXPECT_EQ(state.image[Address::ChannelCount], 16);
}

TEST_F(MainWindow, SettingsAreShownAndCollected) {
    Open();
    ShowSample(16);
    struct Case {
        std::size_t address;
        int byte;
        const char *control;
        int entry;
        int collected;
    };
    const std::vector<Case> cases{
        {Address::TimeOutTimer, 41, "Combo1(0)", 0, 0},  {Address::TimeOutTimer, 40, "Combo1(0)", 40, 40},
        {Address::Squelch, 10, "Combo1(1)", 0, 0},       {Address::Voice, 1, "Combo1(2)", 2, 1},
        {Address::Voice, 2, "Combo1(2)", 1, 2},          {Address::Voice, 255, "Combo1(2)", 0, 0},
        {Address::WorkingChannel, 5, "Combo1(4)", 5, 5}, {Address::WorkingChannel, 16, "Combo1(4)", 0, 0},
        {Address::Volume, 16, "Combo1(5)", 0, 0},        {Address::Volume, 15, "Combo1(5)", 15, 15},
        {Address::BatterySave, 1, "Combo1(6)", 11, 1},   {Address::BatterySave, 11, "Combo1(6)", 10, 11},
        {Address::BatterySave, 12, "Combo1(6)", 0, 0},
    };
    for (const Case &c : cases) {
        state.image[c.address] = static_cast<std::uint8_t>(c.byte);
        window->RefreshAll();
        EXPECT_EQ(Combo(c.control)->currentIndex(), c.entry) << c.control << " " << c.byte;
        window->CommitEdits();
        EXPECT_EQ(state.image[c.address], c.collected) << c.control << " " << c.byte;
    }
    for (const auto &[address, name] :
         std::vector<std::pair<std::size_t, const char *>>{{Address::Beep, "Check1(0)"},
                                                           {Address::Scrambler, "Check1(2)"},
                                                           {Address::Compander, "Check1(3)"}}) {
        state.image[address] = 7;
        window->RefreshAll();
        auto *check = window->findChild<QCheckBox *>(name);
        EXPECT_TRUE(check->isChecked()) << name;
        check->setChecked(false);
        EXPECT_EQ(state.image[address], 7) << "pending until the commit";
        window->CommitEdits();
        EXPECT_EQ(state.image[address], 0) << name;
    }
}

TEST_F(MainWindow, CancelledWriteCommitsAndLeavesTheTwoMarks) {
    Open();
    TypeFrequency(1, 1, "446.525");
    Answer({QMessageBox::Cancel});
    QTest::keyClick(window.get(), 'W', Qt::ControlModifier);
    EXPECT_EQ(messages, Row{"Write data to radio.\nDo you wish to continue?"});
    EXPECT_EQ(GetFreqString(state.image, Field::Rx, 0), "446.52500");
    EXPECT_EQ(state.image[0x670], 0x55);
    EXPECT_EQ(state.image[0x66F], 16);

    Answer({QMessageBox::Cancel});
    TypeFrequency(2, 1, "447");
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), 'R', Qt::ControlModifier);
    EXPECT_EQ(messages.back(), "Read data from radio.\nDo you wish to continue?");
    EXPECT_TRUE(IsEmptyChannel(state.image, 1)) << "the read command commits nothing";
}

TEST_F(MainWindow, TheLanguageCommandRepaintsAndKeepsPendingEdits) {
    Open();
    TypeFrequency(1, 1, "446.525");
    EXPECT_TRUE(OpensDialog("LanguageForm", [this] { Trigger("mnuLanguage"); }));
    EXPECT_EQ(Cell(1, 6), "Wide");
    EXPECT_EQ(state.language, Language::English);

    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [] {
        if (auto *dialog = QApplication::activeModalWidget()) {
            dialog->findChild<QComboBox *>("cboLang")->setCurrentIndex(1);
            QTest::keyClick(dialog, Qt::Key_Return);
        }
    });
    timer.start(1);
    Trigger("mnuLanguage");
    timer.stop();
    EXPECT_EQ(state.language, Language::Chinese);
    EXPECT_EQ(Cell(1, 6), "宽带");
    EXPECT_EQ(Cell(1, 1), "446.52500");
    EXPECT_EQ(Combo("CobFreq")->itemText(4), "自定义");
    EXPECT_EQ(Combo("Combo1(6)")->itemText(11), "自动");
    EXPECT_TRUE(window->windowTitle().contains("文件名: "));
    window->close();
    EXPECT_EQ(store.values["language"], "1");
}

TEST(PreferencesFile, GivesBackWhatItTookAndWhatAPersonTyped) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("k470.ini");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[K470]\nModel-FreqL=136,5\nLANGUAGE=0\n");
    file.close();
    IniPreferences store(path);
    EXPECT_EQ(store.GetKeyValue("model-freql"), "136,5");
    EXPECT_EQ(store.GetKeyValue("gbPort"), "");
    EXPECT_TRUE(store.UpdateKey("language", "1"));
    EXPECT_EQ(IniPreferences(path).GetKeyValue("Language"), "1");
}

TEST_F(MainWindow, OnlyTheWholeGestureOpensTheMemoryMap) {
    Open();
    const auto release = [this](Qt::KeyboardModifiers modifiers, Qt::MouseButton button) {
        const QPoint place = grid->viewport()->mapFrom(grid->parentWidget(), grid->CellRect(2, 1).center());
        return OpensDialog("frmMemoryMap",
                           [&] { QTest::mouseClick(grid->viewport(), button, modifiers, place); });
    };
    const auto all = Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier;
    EXPECT_FALSE(release(Qt::ShiftModifier | Qt::ControlModifier, Qt::RightButton));
    EXPECT_FALSE(release({}, Qt::RightButton));
    EXPECT_TRUE(release(all, Qt::RightButton));
    EXPECT_TRUE(OpensDialog("frmMemoryMap", [&] {
        QTest::mouseClick(grid->horizontalHeader()->viewport(), Qt::RightButton, all);
    })) << "the captions are part of the grid";

    state.image[Address::ChannelCount] = 0;
    TakeGridRowsFromImage(state);
    window->RefreshAll();
    EXPECT_TRUE(release(all, Qt::RightButton)) << "a grid without channels is a way to it as well";
}

TEST_F(MainWindow, ACommitKeepsWhatWasTypedInTheMemoryMapWhereNoControlOwnsIt) {
    Open();
    ShowSample(16);
    window->CommitEdits();
    const MemoryImage before = state.image;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [] {
        auto *dialog = QApplication::activeModalWidget();
        if (dialog == nullptr)
            return;
        auto *map = dialog->findChild<FlexGrid *>("msgMemory");
        for (const auto &[row, col] : {std::pair(0x6C + 1, 5 + 1), std::pair(0 + 1, 2 + 1)}) {
            map->SetCurrent(row, col);
            map->setFocus();
            QTest::keyClick(map, 'a');
            auto *editor = dialog->findChild<QLineEdit *>("txtMemory");
            QTest::keyClick(editor, 'b');
            QTest::keyClick(editor, Qt::Key_Return);
        }
        QTest::mouseClick(dialog->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
    });
    timer.start(1);
    const QPoint place = grid->viewport()->mapFrom(grid->parentWidget(), grid->CellRect(2, 1).center());
    QTest::mouseClick(grid->viewport(), Qt::RightButton,
                      Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier, place);
    timer.stop();
    EXPECT_EQ(state.image[0x6C5], 0xAB);
    EXPECT_EQ(state.image[0x002], 0xAB);
    EXPECT_TRUE(ImageModified(state));
    window->CommitEdits();
    EXPECT_EQ(state.image[0x6C5], 0xAB);
    EXPECT_EQ(state.image[0x002], before[0x002]) << "the grid still shows the channel as it was";
}

TEST_F(MainWindow, EveryCommandOpensItsWindow) {
    Open();
    for (const auto &[action, dialog] :
         std::vector<std::pair<const char *, const char *>>{{"mnuPort", "frmComPort"},
                                                            {"tlbActions_Com", "frmComPort"},
                                                            {"mnuAdvanded", "frmAdv"},
                                                            {"mnuHelp_About", "frmAbout"},
                                                            {"tlbActions_About", "frmAbout"},
                                                            {"mnuFile_Open", "FileDialog"},
                                                            {"tlbActions_Save", "FileDialog"},
                                                            {"mnuFile_SaveAs", "FileDialog"}})
        EXPECT_TRUE(OpensDialog(dialog, [this, name = action] { Trigger(name); })) << action;
}

TEST_F(MainWindow, NewAsksAndKeepsBandAndCount) {
    Open();
    TypeFrequency(1, 1, "446.525");
    Answer({QMessageBox::Cancel});
    Trigger("mnuFile_New");
    EXPECT_EQ(messages, Row{"All data will be cleared."});
    EXPECT_EQ(Cell(1, 1), "446.52500");
    Answer({QMessageBox::Ok});
    Trigger("tlbActions_New");
    EXPECT_EQ(Cell(1, 1), "");
    EXPECT_EQ(grid->Rows(), 17);
    EXPECT_FALSE(ImageModified(state));
}

TEST_F(MainWindow, TheWindowIsWideFromTwentyFourRowsOn) {
    Open();
    EXPECT_EQ(window->width(), 873);
    EXPECT_EQ(window->findChild<QWidget *>("Frame1")->width(), 618);
    Combo("Combo1(3)")->setCurrentIndex(22);
    emit Combo("Combo1(3)")->activated(22);
    EXPECT_EQ(window->findChild<QWidget *>("Frame1")->width(), 636);
    EXPECT_EQ(window->width(), 887);
}

TEST_F(MainWindow, PreferencesAreWrittenWhenTheWindowCloses) {
    Open();
    state.portNumber = 9;
    Trigger("mnuFile_Exit");
    EXPECT_EQ(store.values["Model-FreqL"], "400");
    EXPECT_EQ(store.values["gbPort"], "9");
    EXPECT_EQ(store.values["gbRows"], "17");
    EXPECT_EQ(store.values["language"], "0");
}

TEST_F(MainWindow, EveryInputIsReachedByTabAndHasAName) {
    Open();
    std::vector<std::string> reached;
    grid->setFocus();
    for (int i = 0; i < 40; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        reached.push_back(FromQt(QApplication::focusWidget()->objectName()));
    }
    const std::vector<std::string> order{"CobFreq",   "Combo1(3)", "Combo1(0)", "Combo1(1)",
                                         "Combo1(2)", "Combo1(4)", "Combo1(5)", "Combo1(6)",
                                         "Check1(0)", "Check1(2)", "Check1(3)"};
    EXPECT_NE(std::search(reached.begin(), reached.end(), order.begin(), order.end()), reached.end());
    EXPECT_NE(std::find(reached.begin(), reached.end(), "ChannelGrid"), reached.end());
    for (const auto *combo : window->findChildren<QComboBox *>()) {
        EXPECT_FALSE(combo->isVisible() && combo->accessibleName().isEmpty()) << FromQt(combo->objectName());
    }
}

} // namespace

} // namespace k470
