#include "core/Bands.h"
#include "core/ChannelRows.h"
#include "core/Channels.h"
#include "sim/SampleMemory.h"
#include "tests/Widgets.h"
#include "ui/main/IniPreferences.h"
#include "ui/main/frmMain.h"

#include <QAbstractItemView>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QWheelEvent>
#include <QWindow>

#include <algorithm>
#include <map>
#include <memory>

#include <sys/stat.h>

namespace k470 {
namespace {

using Values = std::map<std::string, std::string>;
using Place = std::pair<int, int>;

constexpr auto MapKeys = Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier;

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
    Values values;
};

/// The main window, shown, in English unless a test says otherwise. Message boxes are kept and answered with
/// `answer`, other dialogs are kept by name and given to `inDialog`.
class MainWindow : public testing::Test {
protected:
    void Open(Values preferences = {{"Language", "0"}}) {
        store.values = std::move(preferences);
        window = std::make_unique<frmMain>(state, store);
        window->show();
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
        grid = window->findChild<FlexGrid *>("ChannelGrid");
    }

    /// Shows another image, of as many channels as it says.
    void Show(const MemoryImage &image) {
        state.image = image;
        FollowImage(state);
        window->RefreshAll();
    }

    void Meet(QWidget &modal) {
        if (auto *box = qobject_cast<QMessageBox *>(&modal)) {
            messages.push_back(FromQt(box->text()));
            QAbstractButton *wanted = box->button(answer);
            (wanted != nullptr ? wanted : box->buttons().front())->click();
        } else {
            dialogs.push_back(FromQt(modal.objectName()));
            inDialog(modal);
        }
    }

    QComboBox *Combo(const char *name) { return window->findChild<QComboBox *>(name); }
    QLineEdit *Text() { return window->findChild<QLineEdit *>("TxtChannel"); }
    QComboBox *Tone() { return Combo("CboChannel(0)"); }
    QWidget *EditorOf(int col) {
        return window->findChild<QWidget *>(col < 3   ? "TxtChannel"
                                            : col < 5 ? "CboChannel(0)"
                                                      : "CboChannel(1)");
    }
    std::string LabelText(const char *name) { return FromQt(window->findChild<QLabel *>(name)->text()); }
    std::string Cell(int row, int col) { return FromQt(grid->CellText(row, col)); }
    Place Current() { return {grid->Row(), grid->Col()}; }
    void Trigger(const char *action) { window->findChild<QAction *>(action)->trigger(); }
    void Choose(const char *combo, int position) {
        Combo(combo)->setCurrentIndex(position);
        emit Combo(combo)->activated(position);
    }
    /// Opens the editor of a cell with Enter.
    void Edit(int row, int col) {
        grid->SetCurrent(row, col);
        QTest::keyClick(grid, Qt::Key_Return);
    }
    /// Gives a frequency cell another text, or none.
    void EnterFrequency(int row, int col, const char *text) {
        Edit(row, col);
        QTest::keyClick(Text(), Qt::Key_Delete);
        QTest::keyClicks(Text(), text);
        QTest::keyClick(Text(), Qt::Key_Return);
    }

    MemoryStore store;
    AppState state;
    std::unique_ptr<frmMain> window;
    FlexGrid *grid = nullptr;
    QMessageBox::StandardButton answer = QMessageBox::Cancel;
    std::function<void(QWidget &)> inDialog = [](QWidget &dialog) { dialog.close(); };
    Strings messages, dialogs;
    ModalWatch watch{[this](QWidget &modal) { Meet(modal); }};
};

TEST_F(MainWindow, StartsInChineseWithSixteenEmptyChannels) {
    Open({});
    EXPECT_EQ(FromQt(window->windowTitle()), "K470 编程软件 [400 - 480 MHz]  [文件名: Untitled]");
    EXPECT_EQ(grid->Rows(), 17);
    EXPECT_EQ(Cell(0, 3) + Cell(16, 0) + Cell(1, 1), "CTCSS/DCS 解码16");
    EXPECT_EQ(LabelText("MSBar(1)") + LabelText("MSBar(2)"), " [400 - 480 MHz]通信端口1");
    EXPECT_EQ(LabelText("Label1(0)") + LabelText("Label1(3)"), "超时定时器[秒]信道数：");
    EXPECT_EQ(FromQt(window->findChild<QAction *>("mnuRead")->text()), "从对讲机读取数据(&R)");
    EXPECT_EQ(Combo("CobFreq")->currentText(), "400 - 480 MHz");
    EXPECT_FALSE(ImageModified(state));
    const QRegularExpression time("^\\d\\d:\\d\\d:\\d\\d$");
    EXPECT_TRUE(time.match(ToQt(LabelText("MSBar(4)"))).hasMatch());
    EXPECT_TRUE(window->findChild<QTimer *>("Time")->isActive());
}

TEST_F(MainWindow, ATypedFrequencyMakesAChannelAndAnEmptiedOneDeletesIt) {
    Open();
    grid->SetCurrent(2, 1);
    Type("4");
    EXPECT_EQ(Text()->text(), "4");
    Type("4x6.a525");
    Press({Qt::Key_Return});
    EXPECT_FALSE(Text()->isVisible());
    const Strings expected{"2",    "446.52500", "446.52500", "None", "None", "High",
                           "Wide", "Off",       "No",        "Off",  "1"};
    for (int col = 0; col < GridCols; ++col)
        EXPECT_EQ(Cell(2, col), expected[static_cast<std::size_t>(col)]) << col;
    EXPECT_EQ(Place(state.currentRow, state.currentCol), Place(2, 2));
    EXPECT_TRUE(IsEmptyChannel(state.image, 1)) << "nothing reaches the image before a commit";
    Trigger("tlbActions_Print");
    EXPECT_EQ(GetFreqString(state.image, Field::Rx, 1), "446.52500");
    EXPECT_EQ(state.image[Address::WorkingChannel], 1);
    EXPECT_FALSE(ImageModified(state));

    EnterFrequency(2, 1, "");
    for (int col = 1; col < GridCols; ++col)
        EXPECT_EQ(Cell(2, col), "") << col;
    Trigger("tlbActions_Print");
    EXPECT_TRUE(IsMarkedEmpty(state.image, 1));
}

TEST_F(MainWindow, ARowIsEnteredByTheFrequencyThatItLacks) {
    Open();
    for (const int col : {6, 4, 2}) {
        ClickCell(*grid, 3, col);
        EXPECT_TRUE(Text()->isVisible()) << col;
        EXPECT_EQ(grid->Col(), 1) << col;
        Press({Qt::Key_Escape});
    }
    Edit(3, 7);
    EXPECT_EQ(grid->Col(), 1);
    Type("446.525");
    Press({Qt::Key_Return});
    EnterFrequency(3, 2, "");
    EXPECT_EQ(Cell(3, 1) + Cell(3, 2) + Cell(3, 3) + Cell(3, 4), "446.52500None");
    ClickCell(*grid, 3, 4);
    EXPECT_EQ(grid->Col(), 2);
    Type("451");
    Press({Qt::Key_Return});
    EXPECT_EQ(Cell(3, 1) + Cell(3, 2) + Cell(3, 4), "446.52500451.00000None");
}

TEST_F(MainWindow, EditorsCoverTheirCellAndEscapeAbandonsTheEdit) {
    Open();
    EnterFrequency(1, 1, "446.525");
    for (const int col : {1, 3, 7}) {
        const std::string before = Cell(1, col);
        Edit(1, col);
        QWidget *editor = EditorOf(col);
        ASSERT_TRUE(editor->hasFocus()) << col;
        EXPECT_TRUE(editor->geometry().contains(grid->CellRect(1, col).center())) << col;
        EXPECT_LE((editor->pos() - grid->CellRect(1, col).topLeft()).manhattanLength(), 6) << col;
        if (const auto *combo = qobject_cast<QComboBox *>(editor)) {
            Press({Qt::Key_F4});
            EXPECT_TRUE(combo->view()->isVisible()) << "the first opening of the list of column " << col;
            EXPECT_TRUE(editor->isVisible()) << col;
            Press({Qt::Key_Escape});
            ASSERT_TRUE(editor->hasFocus()) << col;
        }
        QTest::keyClicks(editor, "455");
        Press({Qt::Key_Escape});
        EXPECT_FALSE(editor->isVisible());
        EXPECT_EQ(Cell(1, col), before);
        EXPECT_TRUE(grid->hasFocus());
    }
}

TEST_F(MainWindow, EnterWalksOverVisibleColumnsAndRows) {
    const struct {
        int row, col, nextRow, nextCol;
    } walks[] = {{1, 1, 1, 2}, {1, 2, 1, 3}, {1, 3, 1, 4}, {1, 4, 1, 6}, {1, 6, 1, 7},
                 {1, 7, 1, 8}, {1, 8, 2, 1}, {2, 3, 2, 6}, {16, 8, 1, 1}};
    Open();
    for (const int row : {1, 2, 16})
        EnterFrequency(row, 1, "446.525");
    EnterFrequency(2, 2, ""); // its tone is passed over
    for (const auto &[row, col, nextRow, nextCol] : walks) {
        Edit(row, col);
        ASSERT_TRUE(EditorOf(col)->hasFocus());
        Press({Qt::Key_Return});
        EXPECT_EQ(Current(), Place(nextRow, nextCol)) << row << ',' << col;
        EXPECT_FALSE(EditorOf(col)->isVisible());
    }
}

TEST_F(MainWindow, TypedTonesAreFilteredAndMadeValid) {
    const std::pair<const char *, const char *> tones[] = {
        {"300", "260.0"}, {"d8", "D007N"}, {"d023i", "D023I"}, {"xyz", "D023I"}, {"5", "60.0"}};
    Open();
    EnterFrequency(1, 1, "446.525");
    for (const auto &[typed, shown] : tones) {
        Edit(1, 3);
        QTest::keyClicks(Tone(), typed);
        QTest::keyClick(Tone(), Qt::Key_Return);
        EXPECT_EQ(Cell(1, 3), shown) << typed;
    }
    EXPECT_EQ(Tone()->count(), 261);
}

TEST_F(MainWindow, AnOpenEditIsTakenOverWhenTheGridScrollsTheFocusLeavesOrACommitComes) {
    Open({{"Language", "0"}, {"gbRows", "100"}});
    const std::function<void()> endings[] = {[this] { grid->verticalScrollBar()->setValue(3); },
                                             [this] { Combo("Combo1(0)")->setFocus(); },
                                             [this] { window->StoreChannels(); }};
    for (const auto &end : endings) {
        window->setChannelRx(1, "");
        grid->SetCurrent(1, 1);
        window->OpenCellEditor();
        Type("460");
        end();
        EXPECT_FALSE(Text()->isVisible());
        EXPECT_EQ(Cell(1, 1), "460.00000");
    }
    EXPECT_EQ(GetFreqString(state.image, Field::Rx, 0), "460.00000");
}

TEST_F(MainWindow, TheWheelScrollsTheGridUnderAnOpenEditorAndChangesNoSetting) {
    Open({{"Language", "0"}, {"gbRows", "100"}});
    const auto turnWheel = [](QWidget *over) {
        QWheelEvent turn(over->rect().center(), over->mapToGlobal(over->rect().center()), {}, {0, -120}, {},
                         {}, Qt::NoScrollPhase, false);
        QSpontaneKeyEvent::setSpontaneous(&turn); // as from the mouse: goes on to the parents
        QCoreApplication::instance()->notify(over, &turn);
    };
    EnterFrequency(1, 1, "446.525");
    for (auto *combo : window->findChild<QWidget *>("Frame4")->findChildren<QComboBox *>()) {
        const int before = combo->currentIndex();
        combo->setFocus();
        turnWheel(combo);
        EXPECT_EQ(combo->currentIndex(), before) << FromQt(combo->objectName());
    }
    EXPECT_EQ(grid->verticalScrollBar()->value(), 0);
    for (const int col : {1, 3, 7}) {
        Edit(1, col);
        turnWheel(EditorOf(col));
        EXPECT_GT(grid->verticalScrollBar()->value(), 0) << col;
        EXPECT_FALSE(EditorOf(col)->isVisible()) << col;
        EXPECT_EQ(Cell(1, 1) + Cell(1, 3) + Cell(1, 7), "446.52500NoneOff");
        grid->verticalScrollBar()->setValue(0);
    }
    EXPECT_EQ(messages, Strings{});
}

TEST_F(MainWindow, AFrequencyOutsideTheBandWarnsAndIsKept) {
    Open();
    EnterFrequency(1, 1, "140");
    EXPECT_EQ(messages, Strings{"Frequency is out of range"});
    EXPECT_EQ(Cell(1, 1), "140.00000");
}

TEST_F(MainWindow, ABandChangeErasesTheChannelsOnlyWhenConfirmed) {
    Open();
    EnterFrequency(1, 1, "446.525");
    const MemoryImage before = state.image;
    auto *band = Combo("CobFreq");
    QTest::keyClick(band, Qt::Key_Up);
    EXPECT_EQ(band->currentIndex(), 3);
    EXPECT_EQ(Cell(1, 1), "446.52500");
    EXPECT_EQ(state.image, before);

    answer = QMessageBox::Ok;
    QTest::keyClick(band, Qt::Key_Up);
    EXPECT_EQ(messages, Strings(2, "Change frequency channel list will remove,sure?"));
    EXPECT_EQ(band->currentIndex(), 2);
    EXPECT_EQ(Cell(1, 1), "");
    EXPECT_EQ(std::pair(state.bandLow, state.previousBand), std::pair(350.0, std::uint8_t{2}));
    EXPECT_EQ(LabelText("MSBar(1)"), " [350 - 390 MHz]");
    emit band->activated(2);
    EXPECT_EQ(messages.size(), 2U) << "the band in force asks nothing";
}

TEST_F(MainWindow, CustomOpensItsDialogOnlyWhenChosen) {
    Open({{"Language", "0"}, {"Model-FreqL", "136.5"}, {"Model-FreqH", "174"}});
    EXPECT_EQ(Combo("CobFreq")->currentText(), "Custom");
    window->RefreshAll();
    EXPECT_EQ(dialogs, Strings{});
    Choose("CobFreq", 4);
    EXPECT_EQ(dialogs, Strings{"frmSetFreqRange"});
    EXPECT_EQ(state.bandLow, 136.5);
}

TEST_F(MainWindow, AChannelCountActsAtOnceAndKeepsTheContentsAndTheFocus) {
    Open();
    Show(MakeSampleMemory(16));
    EnterFrequency(16, 1, "446.525");
    Choose("Combo1(3)", 3);
    EXPECT_EQ(grid->Rows(), 5);
    EXPECT_EQ(Combo("Combo1(4)")->count(), 4);
    EXPECT_EQ(state.image[Address::ChannelCount], 16) << "the byte waits for the commit";
    Choose("Combo1(3)", 39);
    EXPECT_EQ(Cell(16, 1) + " " + Cell(40, 0), "446.52500 40");
    Combo("Combo1(4)")->setCurrentIndex(7);
    Choose("Combo1(3)", 39);
    EXPECT_EQ(Combo("Combo1(4)")->currentIndex(), 0) << "every click selects the first working channel";
    grid->verticalScrollBar()->setValue(30);
    Combo("Combo1(3)")->setFocus();
    QTest::keyClick(Combo("Combo1(3)"), Qt::Key_Up);
    EXPECT_EQ(grid->Rows(), 40);
    EXPECT_TRUE(Combo("Combo1(3)")->hasFocus());
    Trigger("tlbActions_Print");
    EXPECT_EQ(state.image[Address::ChannelCount], 39);
    EXPECT_EQ(state.gridRows, 40);
}

TEST_F(MainWindow, OddChannelCountBytesWork) {
    Open();
    for (const auto &[byte, shown, channels] : {std::tuple{0, -1, 0}, {200, 15, 16}}) {
        MemoryImage odd = state.image;
        odd[Address::ChannelCount] = static_cast<std::uint8_t>(byte);
        Show(odd);
        EXPECT_EQ(Combo("Combo1(3)")->currentIndex(), shown);
        EXPECT_EQ(Combo("Combo1(4)")->count(), channels);
        ClickCell(*grid, 1, 1, Qt::RightButton, MapKeys);
        EXPECT_EQ(dialogs.size(), byte == 0 ? 1U : 2U) << "the memory map opens over any grid";
        Trigger("tlbActions_Print");
        EXPECT_EQ(state.image[Address::ChannelCount], channels);
        EXPECT_EQ(state.gridRows, channels + 1);
    }
}

TEST_F(MainWindow, SettingsAreShownAndCollected) {
    const struct {
        std::size_t address;
        std::uint8_t byte;
        const char *control;
        int entry;
        std::uint8_t collected;
    } lists[] = {
        {Address::TimeOutTimer, 40, "Combo1(0)", 40, 40}, {Address::Squelch, 10, "Combo1(1)", 0, 0},
        {Address::Voice, 1, "Combo1(2)", 2, 1},           {Address::Voice, 255, "Combo1(2)", 0, 0},
        {Address::WorkingChannel, 5, "Combo1(4)", 5, 5},  {Address::Volume, 15, "Combo1(5)", 15, 15},
        {Address::WorkingChannel, 16, "Combo1(4)", 0, 0}, {Address::BatterySave, 1, "Combo1(6)", 11, 1}};
    Open();
    Show(MakeSampleMemory(16));
    for (const auto &[address, byte, control, entry, collected] : lists) {
        state.image[address] = byte;
        window->RefreshAll();
        EXPECT_EQ(Combo(control)->currentIndex(), entry) << control << " " << +byte;
        Trigger("tlbActions_Print");
        EXPECT_EQ(state.image[address], collected) << control << " " << +byte;
    }
    for (const auto &[address, name] : {std::pair(Address::Beep, "Check1(0)"),
                                        {Address::Scrambler, "Check1(2)"},
                                        {Address::Compander, "Check1(3)"}}) {
        state.image[address] = 7;
        window->RefreshAll();
        auto *check = window->findChild<QCheckBox *>(name);
        EXPECT_TRUE(check->isChecked()) << name;
        check->setChecked(false);
        EXPECT_EQ(state.image[address], 7) << "pending until the commit";
        Trigger("tlbActions_Print");
        EXPECT_EQ(state.image[address], 0) << name;
    }
}

TEST_F(MainWindow, OnlyAWriteCommitsAndMarksTheImageBeforeItAsks) {
    Open();
    EnterFrequency(1, 1, "446.525");
    QTest::keyClick(window.get(), 'R', Qt::ControlModifier);
    EXPECT_TRUE(IsEmptyChannel(state.image, 0));
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), 'W', Qt::ControlModifier);
    EXPECT_EQ(messages, (Strings{"Read data from radio.\nDo you wish to continue?",
                                 "Write data to radio.\nDo you wish to continue?"}));
    EXPECT_EQ(dialogs, Strings{}) << "cancelled, and yet it goes on";
    EXPECT_EQ(GetFreqString(state.image, Field::Rx, 0), "446.52500");
    EXPECT_EQ(Place(state.image[0x66F], state.image[0x670]), Place(16, 0x55));
}

TEST_F(MainWindow, TheLanguageCommandRepaintsKeepsPendingEditsAndIsRemembered) {
    Open();
    EXPECT_EQ(LabelText("Label1(0)"), "Time Out Timer[s]");
    EnterFrequency(1, 1, "446.525");
    Trigger("mnuLanguage");
    EXPECT_EQ(Cell(1, 6), "Wide");
    inDialog = [](QWidget &dialog) {
        dialog.findChild<QComboBox *>("cboLang")->setCurrentIndex(1);
        QTest::keyClick(&dialog, Qt::Key_Return);
    };
    Trigger("mnuLanguage");
    EXPECT_EQ(dialogs, Strings(2, "LanguageForm"));
    EXPECT_EQ(Cell(1, 1) + Cell(1, 6), "446.52500宽带");
    EXPECT_EQ(FromQt(Combo("CobFreq")->itemText(4) + Combo("Combo1(6)")->itemText(11)), "自定义自动");
    EXPECT_TRUE(window->windowTitle().contains("文件名: "));
    state.portNumber = 9;
    Trigger("mnuFile_Exit");
    for (const auto &[name, value] : Values{{"language", "1"}, {"Model-FreqL", "400"}, {"gbPort", "9"}})
        EXPECT_EQ(store.values[name], value) << name;
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

    const std::string pipe = FromQt(folder.filePath("pipe"));
    ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(IniPreferences(ToQt(pipe)).GetKeyValue("Language"), "");
    EXPECT_FALSE(IniPreferences(ToQt(pipe)).UpdateKey("Language", "1"));
}

TEST_F(MainWindow, OnlyTheWholeGestureOpensTheMemoryMap) {
    Open();
    ClickCell(*grid, 2, 1, Qt::RightButton, Qt::ShiftModifier | Qt::ControlModifier);
    ClickCell(*grid, 2, 1, Qt::RightButton);
    ClickCell(*grid, 2, 1, Qt::LeftButton, MapKeys);
    EXPECT_EQ(dialogs, Strings{});
    ClickCell(*grid, 2, 1, Qt::RightButton, MapKeys);
    QTest::mouseClick(grid->horizontalHeader()->viewport(), Qt::RightButton, MapKeys);
    EXPECT_EQ(dialogs, Strings(2, "frmMemoryMap")) << "the captions are part of the grid";
}

TEST_F(MainWindow, ACommitKeepsWhatWasTypedInTheMemoryMapWhereNoControlOwnsIt) {
    Open();
    Show(MakeSampleMemory(16));
    const std::uint8_t channelByte = state.image[0x002];
    inDialog = [](QWidget &dialog) {
        auto *map = dialog.findChild<FlexGrid *>("msgMemory");
        for (const auto &[row, col] : {Place(0x6C + 1, 5 + 1), Place(0 + 1, 2 + 1)}) {
            map->SetCurrent(row, col);
            QTest::keyClick(map, 'a');
            auto *editor = dialog.findChild<QLineEdit *>("txtMemory");
            QTest::keyClick(editor, 'b');
            QTest::keyClick(editor, Qt::Key_Return);
        }
        QTest::mouseClick(dialog.findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
    };
    ClickCell(*grid, 2, 1, Qt::RightButton, MapKeys);
    EXPECT_EQ(Place(state.image[0x6C5], state.image[0x002]), Place(0xAB, 0xAB));
    EXPECT_TRUE(ImageModified(state));
    Trigger("tlbActions_Print");
    EXPECT_EQ(Place(state.image[0x6C5], state.image[0x002]), Place(0xAB, channelByte))
        << "the grid still shows the channel as it was";
}

TEST_F(MainWindow, EveryCommandOpensItsWindow) {
    const Values commands{{"mnuPort", "frmComPort"},        {"tlbActions_Com", "frmComPort"},
                          {"mnuAdvanded", "frmAdv"},        {"mnuHelp_About", "frmAbout"},
                          {"mnuFile_Open", "FileDialog"},   {"tlbActions_About", "frmAbout"},
                          {"mnuFile_SaveAs", "FileDialog"}, {"tlbActions_Save", "FileDialog"}};
    Open();
    for (const auto &[action, dialog] : commands) {
        dialogs.clear();
        Trigger(action.c_str());
        EXPECT_EQ(dialogs, Strings{dialog}) << action;
    }
}

TEST_F(MainWindow, OpenAsksWhetherToSaveAModifiedImageFirst) {
    Open();
    const QTemporaryDir folder;
    for (const auto &[button, saves, goesOn] : {std::tuple{QMessageBox::Cancel, false, false},
                                                {QMessageBox::No, false, true},
                                                {QMessageBox::Yes, true, true}}) {
        answer = button;
        state.currentFileName = FromQt(folder.filePath("mine.tw"));
        --state.image[Address::Volume];
        dialogs.clear();
        Trigger("mnuFile_Open");
        EXPECT_EQ(dialogs, goesOn ? Strings{"FileDialog"} : Strings{}) << button;
        EXPECT_EQ(QFile::exists(folder.filePath("mine.tw")), saves) << button;
    }
    EXPECT_EQ(messages, Strings(3, "File has been modified, save it now?"));
}

TEST_F(MainWindow, NewClearsTheChannelsOnlyWhenConfirmed) {
    Open();
    EnterFrequency(1, 1, "446.525");
    Trigger("mnuFile_New");
    EXPECT_EQ(Cell(1, 1), "446.52500");
    answer = QMessageBox::Ok;
    Trigger("tlbActions_New");
    EXPECT_EQ(messages, Strings(2, "All data will be cleared."));
    EXPECT_EQ(Cell(1, 1), "");
    EXPECT_EQ(grid->Rows(), 17);
    EXPECT_FALSE(ImageModified(state));
}

TEST_F(MainWindow, AnArgumentThatCannotBeReadIsToldInAMessage) {
    Open();
    window->OpenNamed("/nowhere/none.tw");
    EXPECT_EQ(messages, Strings{"Cannot open /nowhere/none.tw\nNo such file or directory"});
}

TEST_F(MainWindow, TheCaptionShowsAnyFileNameAsItIs) {
    Open();
    for (const char *name : {"a[*]b.tw", "[*][*]", "[[*]*]"}) {
        state.currentFileName = name;
        window->RefreshAll();
        EXPECT_EQ(FromQt(window->windowHandle()->title()),
                  std::string("K470 Programming Software [400 - 480 MHz]  [FileName:") + name + "]");
    }
}

TEST_F(MainWindow, TheWindowIsWideFromTwentyFourRowsOn) {
    Open();
    for (const auto &[rows, windowWidth, frameWidth] :
         {std::tuple{23, 873, 618}, {24, 887, 636}, {17, 873, 618}}) {
        Choose("Combo1(3)", rows - 2);
        EXPECT_EQ(window->width(), windowWidth) << rows;
        EXPECT_EQ(window->findChild<QWidget *>("Frame1")->width(), frameWidth) << rows;
    }
}

TEST_F(MainWindow, EveryInputIsReachedByTabAndHasAName) {
    Open();
    const Strings order{"CobFreq",   "Combo1(3)", "Combo1(0)", "Combo1(1)", "Combo1(2)", "Combo1(4)",
                        "Combo1(5)", "Combo1(6)", "Check1(0)", "Check1(2)", "Check1(3)"};
    Strings reached;
    for (int i = 0; i < 40; ++i) {
        Press({Qt::Key_Tab});
        reached.push_back(FromQt(QApplication::focusWidget()->objectName()));
    }
    EXPECT_NE(std::search(reached.begin(), reached.end(), order.begin(), order.end()), reached.end());
    EXPECT_NE(std::find(reached.begin(), reached.end(), "ChannelGrid"), reached.end());
    for (const auto *combo : window->findChildren<QComboBox *>())
        EXPECT_FALSE(combo->isVisible() && combo->accessibleName().isEmpty()) << FromQt(combo->objectName());
}

} // namespace
} // namespace k470
