#include "core/Bands.h"
#include "link/CloneFrames.h"
#include "sim/PtyServer.h"
#include "sim/SampleMemory.h"
#include "sim/SimulatedRadio.h"
#include "tests/Widgets.h"
#include "ui/main/IniPreferences.h"
#include "ui/main/frmMain.h"

#include <QAbstractItemView>
#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTime>
#include <QToolTip>
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

/// The main window, shown. Message boxes are kept and answered with `answer`, other dialogs are kept by name
/// and given to `inDialog` while they are open.
class MainWindow : public testing::Test {
protected:
    void Open(const Values &preferences = {{"Language", "0"}}) {
        for (const auto &[name, text] : preferences)
            store.UpdateKey(name, text);
        window = std::make_unique<frmMain>(state, store);
        window->show();
        Activate();
        grid = window->findChild<FlexGrid *>("ChannelGrid");
    }
    void Activate() {
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
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
            imageAtMessage = state.image;
            cancelText =
                FromQt(box->button(QMessageBox::Cancel) ? box->button(QMessageBox::Cancel)->text() : "");
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            QAbstractButton *wanted = box->button(answer);
            (wanted != nullptr ? wanted : box->buttons().front())->click();
        } else {
            if (dialogs.empty() || &modal != dialog)
                dialogs.push_back(FromQt(modal.objectName()));
            dialog = &modal;
            inDialog(modal);
        }
    }

    QComboBox *Combo(const char *name) { return window->findChild<QComboBox *>(name); }
    QWidget *EditorOf(int col) {
        return window->findChild<QWidget *>(col < 3   ? "TxtChannel"
                                            : col < 5 ? "CboChannel(0)"
                                                      : "CboChannel(1)");
    }
    /// The text or the title of whatever has the name.
    std::string TextOf(const char *name) {
        const auto *object = window->findChild<QObject *>(name);
        const QVariant text = object->property("text");
        return FromQt((text.isValid() ? text : object->property("title")).toString());
    }
    std::string Cell(int row, int col) { return FromQt(grid->CellText(row, col)); }
    std::string Cells(int row, int first, int last) {
        std::string texts;
        for (int col = first; col <= last; ++col)
            texts += Cell(row, col) + (col < last ? "|" : "");
        return texts;
    }
    Place Current() { return {grid->Row(), grid->Col()}; }
    void Trigger(const char *action) { window->findChild<QAction *>(action)->trigger(); }
    void Choose(const char *combo, int position) {
        Combo(combo)->setCurrentIndex(position);
        emit Combo(combo)->activated(position);
    }
    /// Opens the editor of a cell with Enter, types into it and ends it with Enter.
    void Enter(int row, int col, const char *text) {
        grid->SetCurrent(row, col);
        QTest::keyClick(grid, Qt::Key_Return);
        Type(text);
        Press({Qt::Key_Return});
    }
    void TurnWheel(QWidget *over) {
        QWheelEvent turn(over->rect().center(), over->mapToGlobal(over->rect().center()), {}, {0, -120}, {},
                         {}, Qt::NoScrollPhase, false);
        QSpontaneKeyEvent::setSpontaneous(&turn); // as from the mouse: goes on to the parents
        QCoreApplication::instance()->notify(over, &turn);
    }

    QTemporaryDir folder;
    IniPreferences store{folder.filePath("k470.ini")};
    AppState state;
    std::unique_ptr<frmMain> window;
    FlexGrid *grid = nullptr;
    QMessageBox::StandardButton answer = QMessageBox::Cancel;
    std::function<void(QWidget &)> inDialog = [](QWidget &modal) { modal.close(); };
    Strings messages, dialogs;
    QWidget *dialog = nullptr;  ///< the latest one
    MemoryImage imageAtMessage; ///< while the latest message was open
    std::string cancelText;     ///< of its button
    ModalWatch watch{[this](QWidget &modal) { Meet(modal); }};
};

TEST_F(MainWindow, StartsInChineseWithSixteenEmptyChannelsAndTheTime) {
    Open({});
    EXPECT_EQ(FromQt(window->windowTitle()), "K470 编程软件 [400 - 480 MHz]  [文件名: Untitled]");
    EXPECT_EQ(Cells(16, 0, 1) + Cell(0, 3), "16|CTCSS/DCS 解码");
    EXPECT_EQ(TextOf("MSBar(1)") + TextOf("MSBar(2)"), " [400 - 480 MHz]通信端口1");
    EXPECT_EQ(Combo("CobFreq")->currentText(), "400 - 480 MHz");
    EXPECT_FALSE(ImageModified(state));
    const auto isNow = [this] {
        return ToQt(TextOf("MSBar(4)")) == QTime::currentTime().toString("hh:mm:ss");
    };
    EXPECT_TRUE(QTest::qWaitFor(isNow, 10000));
}

TEST_F(MainWindow, EveryControlHasItsTextsAndDoesWhatItSays) {
    struct Control {
        const char *name, *english, *chinese;
        const char *brings = nullptr; ///< dialog, message or "saved"; nullptr: not tried
    };
    const char *const read = "Read data from radio.\nDo you wish to continue?";
    const char *const write = "Write data to radio.\nDo you wish to continue?";
    const char *const clear = "All data will be cleared.";
    const Control controls[] = {{"mnuFile", "&File", "文件(&F)"},
                                {"mnuFile_New", "&New", "新建(&N)", clear},
                                {"mnuFile_Open", "&Open", "打开(&O)", "FileDialog"},
                                {"mnuFile_Save", "&Save", "保存(&S)", "saved"},
                                {"mnuFile_SaveAs", "Save &As", "另存为(&A)", "FileDialog"},
                                {"mnuFile_Exit", "&Exit", "退出(&E)"},
                                {"mnuProgram", "&Program", "编程(&P)"},
                                {"mnuRead", "&Read From Radio", "从对讲机读取数据(&R)", read},
                                {"mnuWrite", "&Write To Radio", "向对讲机写入数据(&W)", write},
                                {"mnuSet", "&Setting", "设置(&S)"},
                                {"mnuPort", "Set &Com", "串口设置(&C)", "frmComPort"},
                                {"mnuLanguage", "Set &Language", "语言设置(&L)", "LanguageForm"},
                                {"mnuAdvanded", "&Advanded", "高级(&A)", "frmAdv"},
                                {"mnuHelp", "&Help", "帮助(&H)"},
                                {"mnuHelp_About", "&About", "关于(&A)", "frmAbout"},
                                {"tlbActions_New", "New", "新建", clear},
                                {"tlbActions_Open", "Open", "打开", "FileDialog"},
                                {"tlbActions_Save", "Save", "保存", "saved"},
                                {"tlbActions_Print", "Apply edits", "应用修改", ""},
                                {"tlbActions_Read", "Read", "读频", read},
                                {"tlbActions_Com", "Com", "串口", "frmComPort"},
                                {"tlbActions_Write", "Write", "写频", write},
                                {"tlbActions_About", "About", "关于", "frmAbout"}};
    Open();
    const std::string file = FromQt(folder.filePath("mine.tw"));
    for (const auto &[name, english, chinese, brings] : controls) {
        EXPECT_EQ(TextOf(name), english);
        state.currentFileName = file;
        messages.clear();
        dialogs.clear();
        if (brings != nullptr)
            Trigger(name);
        dialogs.insert(dialogs.end(), messages.begin(), messages.end());
        if (QFile::remove(ToQt(file)))
            dialogs.push_back("saved");
        EXPECT_EQ(dialogs, brings == nullptr || *brings == '\0' ? Strings{} : Strings{brings}) << name;
    }
    const auto labels = [this] {
        std::string texts;
        for (const char *name :
             {"Frame3", "Label2", "Label1(3)", "Frame4", "Label1(0)", "Label1(1)", "Label1(2)", "Label1(4)",
              "Label1(5)", "Label1(6)", "Check1(0)", "Check1(2)", "Check1(3)", "Label3"})
            texts += TextOf(name) + "|";
        return texts;
    };
    EXPECT_EQ(labels(), "Model Information|Frequency：|CHT：|Function Setup|Time Out Timer[s]|Squelch "
                        "Level|Voice Annunciation|Working CH|Volume|Battery "
                        "Save|Beep|Scrambler|Compander|For authorised service of K470 radios.|");
    state.language = Language::Chinese;
    window->RefreshAll();
    EXPECT_EQ(labels(), "机型信息|频段：|信道数：|功能设定|超时定时器[秒]|静噪等级|操作语音提示|工作信道|"
                        "音量|电池省电|哔音|扰频|压扩|供 K470 对讲机授权维护使用。|");
    for (const Control &control : controls)
        EXPECT_EQ(TextOf(control.name), control.chinese);
}

TEST_F(MainWindow, EnterOpensTheCellThatTheRowLacksAndWalksOn) {
    const struct {
        int row, col, opened;
        const char *typed, *text;
        Place next;
    } edits[] = {{2, 1, 1, "44x6.a525", "446.52500", {2, 2}},
                 {2, 2, 2, "451,5", "451.50000", {2, 3}},
                 {2, 3, 3, "d8", "D007N", {2, 4}},
                 {2, 4, 4, "300", "260.0", {2, 6}},
                 {2, 6, 6, "Narrow", "Narrow", {2, 7}},
                 {2, 7, 7, "", "Off", {2, 8}},
                 {2, 8, 8, "", "No", {3, 1}},
                 {3, 7, 1, "446.525", "446.52500", {3, 2}},
                 {3, 2, 2, "\b", "", {3, 3}},
                 {3, 3, 3, "xyz5", "60.0", {3, 6}},
                 {3, 4, 2, "451", "451.00000", {3, 3}},
                 {16, 1, 1, "000446.525", "446.52000", {16, 2}},
                 {16, 8, 8, "", "No", {1, 1}}};
    Open();
    for (const auto &[row, col, opened, typed, text, next] : edits) {
        SCOPED_TRACE(testing::Message() << row << ',' << col);
        grid->SetCurrent(row, col);
        QTest::keyClick(grid, Qt::Key_Return);
        EXPECT_EQ(Current(), Place(row, opened));
        ASSERT_TRUE(EditorOf(opened)->hasFocus());
        Type(typed);
        Press({Qt::Key_Return});
        EXPECT_FALSE(EditorOf(opened)->isVisible());
        EXPECT_EQ(Cell(row, opened), text);
        EXPECT_EQ(Current(), next);
    }
    EXPECT_EQ(Cells(3, 0, 10), "3|446.52500|451.00000|60.0|None|High|Wide|Off|No|Off|1");
    EXPECT_EQ(state.image[0x010], 0xFF) << "nothing reaches the image before a commit";
    Trigger("tlbActions_Print");
    EXPECT_TRUE(std::ranges::equal(Line(state.image, 1).first(8),
                                   std::array{0x00, 0x25, 0x65, 0x44, 0x00, 0x00, 0x15, 0x45}));
    EXPECT_EQ(state.image[Address::WorkingChannel], 1) << "the first channel that is programmed";
    EXPECT_FALSE(ImageModified(state));
    Enter(2, 1, "\b");
    EXPECT_EQ(Cells(2, 1, 10), "|||||||||");
    grid->SetCurrent(3, 2);
    Type(".");
    EXPECT_EQ(window->findChild<QLineEdit *>("TxtChannel")->text(), ".") << "a digit or point opens";
}

TEST_F(MainWindow, AClickOpensTheEditorOverItsCellAndEscapeAbandonsTheEdit) {
    Open();
    Enter(1, 1, "446.525");
    QApplication::clipboard()->setText("4x");
    for (const auto &[col, name] : {std::pair{1, "Rx Freq 1"}, {3, "CTCSS/DCS Dec 1"}, {7, "BCL 1"}}) {
        SCOPED_TRACE(name);
        const std::string before = Cell(1, col);
        ClickCell(*grid, 1, col);
        QWidget *editor = EditorOf(col);
        auto *combo = qobject_cast<QComboBox *>(editor);
        ASSERT_TRUE(editor->hasFocus());
        EXPECT_EQ(FromQt(editor->accessibleName()), name);
        EXPECT_TRUE(editor->geometry().contains(grid->CellRect(1, col).center()));
        EXPECT_LE((editor->pos() - grid->CellRect(1, col).topLeft()).manhattanLength(), 6);
        if (combo != nullptr) {
            Press({Qt::Key_F4});
            EXPECT_TRUE(combo->view()->isVisible() && editor->isVisible()) << "the first opening of the list";
            Press({Qt::Key_Escape});
            ASSERT_TRUE(editor->hasFocus());
        }
        QTest::keySequence(editor, QKeySequence::Paste);
        const QString text = editor->property(combo != nullptr ? "currentText" : "text").toString();
        EXPECT_TRUE(col == 7 || FromQt(text) == before) << "nothing gets past the filter of the keys";
        QTest::keyClicks(editor, "455");
        Press({Qt::Key_Escape});
        EXPECT_FALSE(editor->isVisible());
        EXPECT_EQ(Cell(1, col), before);
        EXPECT_TRUE(grid->hasFocus());
    }
}

TEST_F(MainWindow, AnOpenEditIsTakenOverHoweverItIsLeftAndAWarningFollows) {
    Open({{"Language", "0"}, {"gbRows", "100"}});
    const std::function<void()> endings[] = {[this] { grid->verticalScrollBar()->setValue(3); },
                                             [this] { TurnWheel(EditorOf(1)); },
                                             [this] { Combo("Combo1(0)")->setFocus(); },
                                             [this] { Press({Qt::Key_Return}); },
                                             [this] { Trigger("mnuPort"); },
                                             [this] { Trigger("tlbActions_Print"); }};
    for (const auto &end : endings) {
        window->setChannelRx(1, "");
        grid->SetCurrent(1, 1);
        window->OpenCellEditor();
        messages.clear();
        Type("140");
        end();
        EXPECT_FALSE(EditorOf(1)->isVisible());
        EXPECT_EQ(Cell(1, 1), "140.00000");
        EXPECT_TRUE(QTest::qWaitFor([this] { return messages == Strings{"Frequency is out of range"}; }));
        Activate();
    }
    for (QWidget *list : {EditorOf(7), EditorOf(3), window->findChild<QWidget *>("Combo1(0)")}) {
        ClickCell(*grid, 1, list == EditorOf(7) ? 7 : 3);
        list->setFocus();
        TurnWheel(list);
        EXPECT_EQ(Cells(1, 3, 7) + FromQt(Combo("Combo1(0)")->currentText()), "None|None|High|Wide|Off60");
        EXPECT_EQ(grid->verticalScrollBar()->value() > 0, list != Combo("Combo1(0)"));
        grid->verticalScrollBar()->setValue(0);
    }
}

TEST_F(MainWindow, ABandChangeErasesTheChannelsOnlyWhenConfirmed) {
    Open();
    Enter(1, 1, "446.525");
    auto *band = Combo("CobFreq");
    for (const auto &[button, position, shown] :
         {std::tuple{QMessageBox::Cancel, 3, "446.52500 [400 - 480 MHz]"},
          {QMessageBox::Ok, 2, " [350 - 390 MHz]"}}) {
        answer = button;
        QTest::keyClick(band, Qt::Key_Up);
        EXPECT_EQ(Place(band->currentIndex(), state.previousBand), Place(position, position));
        EXPECT_EQ(Cell(1, 1) + TextOf("MSBar(1)"), shown);
    }
    emit band->activated(2); // the band in force asks nothing
    EXPECT_EQ(messages, Strings(2, "Change frequency channel list will remove,sure?"));
    bool met = false;
    inDialog = [&](QWidget &modal) {
        if (std::exchange(met, true))
            return;
        modal.findChild<QLineEdit *>("TxtFreq(1)")->setText("385.5");
        // Queued: it brings a message, which this watch has to answer.
        QMetaObject::invokeMethod(modal.findChild<QPushButton *>("cmdOK"), "click", Qt::QueuedConnection);
    };
    Activate();
    Enter(1, 1, "360");
    Choose("CobFreq", 4);
    window->RefreshAll(); // opens no dialog
    EXPECT_EQ(dialogs, Strings{"frmSetFreqRange"});
    EXPECT_EQ(Cell(1, 1) + TextOf("MSBar(1)"), " [350 - 385.5 MHz]");
}

TEST_F(MainWindow, AChannelCountActsAtOnceAndKeepsTheContentsAndTheFocus) {
    Open();
    Show(MakeSampleMemory(16));
    Enter(16, 1, "446.525");
    for (const int channels : {4, 40, 40, 16}) {
        Combo("Combo1(4)")->setCurrentIndex(3);
        grid->verticalScrollBar()->setValue(30);
        Combo("Combo1(3)")->setFocus();
        Choose("Combo1(3)", channels - 1);
        EXPECT_TRUE(Combo("Combo1(3)")->hasFocus());
        EXPECT_EQ(Place(grid->Rows(), Combo("Combo1(4)")->count()), Place(channels + 1, channels));
        EXPECT_EQ(Combo("Combo1(4)")->currentIndex(), 0) << "every click selects the first working channel";
        EXPECT_EQ(Cells(channels, 0, 0) + Cell(16, 1),
                  std::to_string(channels) + (channels > 4 ? "446.52500" : ""));
        EXPECT_EQ(state.image[Address::ChannelCount], 16) << "the byte waits for the commit";
    }
    for (const auto &[byte, shown, channels] : {std::tuple{0, -1, 0}, {200, 15, 16}}) {
        MemoryImage odd = state.image;
        odd[Address::ChannelCount] = static_cast<std::uint8_t>(byte);
        Show(odd);
        EXPECT_EQ(Place(Combo("Combo1(3)")->currentIndex(), Combo("Combo1(4)")->count()),
                  Place(shown, channels));
        ClickCell(*grid, 1, 1, Qt::RightButton, MapKeys);
        EXPECT_EQ(dialogs.back(), "frmMemoryMap") << "opens over any grid";
        Trigger("tlbActions_Print");
        EXPECT_EQ(Place(state.image[Address::ChannelCount], state.gridRows), Place(channels, channels + 1));
    }
}

TEST_F(MainWindow, SettingsAreShownAndWaitForTheCommit) {
    const struct {
        const char *control;
        std::size_t address;
        std::uint8_t byte;
        int shown, chosen;
        std::uint8_t collected;
    } settings[] = {{"Combo1(0)", Address::TimeOutTimer, 40, 40, 3, 3},
                    {"Combo1(1)", Address::Squelch, 10, 0, 9, 9},
                    {"Combo1(2)", Address::Voice, 1, 2, 1, 2},
                    {"Combo1(4)", Address::WorkingChannel, 5, 5, 7, 7},
                    {"Combo1(4)", Address::WorkingChannel, 16, 0, 1, 1},
                    {"Combo1(5)", Address::Volume, 15, 15, 0, 0},
                    {"Combo1(6)", Address::BatterySave, 1, 11, 2, 3},
                    {"Check1(0)", Address::Beep, 7, 1, 0, 0},
                    {"Check1(2)", Address::Scrambler, 0, 0, 1, 1},
                    {"Check1(3)", Address::Compander, 7, 1, 0, 0}};
    Open();
    Show(MakeSampleMemory(16));
    for (const auto &[control, address, byte, shown, chosen, collected] : settings) {
        state.image[address] = byte;
        window->RefreshAll();
        auto *widget = window->findChild<QWidget *>(control);
        const char *value = qobject_cast<QComboBox *>(widget) != nullptr ? "currentIndex" : "checked";
        EXPECT_EQ(widget->property(value).toInt(), shown) << control;
        widget->setProperty(value, chosen);
        EXPECT_EQ(state.image[address], byte) << control;
        Trigger("tlbActions_Print");
        EXPECT_EQ(state.image[address], collected) << control;
    }
}

TEST_F(MainWindow, OnlyAWriteCommitsAndMarksTheImageBeforeItAsks) {
    Open();
    Enter(1, 1, "446.525");
    state.image[0x66F] = state.image[0x670] = 0;
    for (const auto &[key, frequency, marks] :
         {std::tuple{'R', 0xFF, Place(0, 0)}, {'W', 0x44, Place(16, 0x55)}}) {
        Activate();
        messages.clear();
        QTest::keyClick(window.get(), key, Qt::ControlModifier);
        EXPECT_EQ(messages.size(), 1U) << key;
        EXPECT_EQ(imageAtMessage[0x003], frequency) << key;
        EXPECT_EQ(Place(imageAtMessage[0x66F], imageAtMessage[0x670]), marks) << key;
    }
    EXPECT_EQ(dialogs, Strings{}) << "cancelled, and yet it goes on";
}

TEST_F(MainWindow, AReadShowsTheChannelsOfTheRadio) {
    /// Swallows the timeouts of a machine too busy to bring a reply in time.
    struct Patience : QObject {
        bool eventFilter(QObject *timer, QEvent *event) override {
            return event->type() == QEvent::Timer &&
                   static_cast<QTimer *>(timer)->interval() >= Clone::ReplyTimeout;
        }
    } patience;
    MemoryImage memory = MakeSampleMemory(5);
    memory[Address::BandLow] = 0x35;
    memory[Address::BandHigh] = 0x39;
    SimulatedRadio radio(memory);
    PtyServer server(radio);
    ASSERT_EQ(server.Start().value_or(""), "");
    qputenv("K470_PORTS", ("COM2=" + server.SlavePath()).c_str());
    Open({{"Language", "0"}, {"gbPort", "2"}});
    auto *port = window->findChild<QLabel *>("MSBar(2)");
    QHelpEvent hover(QEvent::ToolTip, {1, 1}, port->mapToGlobal(QPoint(1, 1)));
    QApplication::sendEvent(port, &hover);
    EXPECT_EQ(FromQt(QToolTip::text()), server.SlavePath());
    inDialog = [&](QWidget &transfer) {
        transfer.findChild<QTimer *>("tmrOvertime")->installEventFilter(&patience);
    };
    answer = QMessageBox::Ok;
    Trigger("mnuRead");
    qputenv("K470_PORTS", "");
    EXPECT_EQ(messages.back(), "Reading completed!");
    EXPECT_EQ(grid->Rows(), 6);
    EXPECT_EQ(Cells(1, 0, 3) + " " + Cells(5, 0, 3),
              "1|400.50000|400.50000|None 5|403.70000|404.70000|254.1");
    EXPECT_EQ(Combo("Combo1(4)")->currentText() + Combo("CobFreq")->currentText(), "3350 - 390 MHz");
    EXPECT_TRUE(window->windowTitle().contains("[350 - 390 MHz]"));
}

TEST_F(MainWindow, TheLanguageCommandRepaintsKeepsPendingEditsAndIsRemembered) {
    Open();
    Enter(1, 1, "446.525");
    Trigger("mnuLanguage");
    EXPECT_EQ(Cell(1, 6), "Wide");
    inDialog = [](QWidget &modal) {
        auto *list = modal.findChild<QComboBox *>("cboLang");
        list->setCurrentIndex(1 - list->currentIndex());
        QTest::keyClick(&modal, Qt::Key_Return);
    };
    for (const auto &[cells, list, none, cancel] : {std::tuple{"446.52500 宽带", "自定义自动", "无", "取消"},
                                                    {"446.52500 Wide", "CustomAuto", "None", "Cancel"}}) {
        Trigger("mnuLanguage");
        EXPECT_EQ(Cell(1, 1) + " " + Cell(1, 6), cells);
        EXPECT_EQ(FromQt(Combo("CobFreq")->itemText(4) + Combo("Combo1(6)")->itemText(11)), list);
        ClickCell(*grid, 1, 3);
        EXPECT_EQ(FromQt(Combo("CboChannel(0)")->itemText(0)), none);
        Trigger("mnuRead");
        EXPECT_EQ(cancelText, cancel);
    }
    Trigger("mnuLanguage");
    state.portNumber = 9;
    Trigger("mnuFile_Exit");
    for (const auto &[name, value] : Values{{"language", "1"}, {"Model-FreqL", "400"}, {"gbPort", "9"}})
        EXPECT_EQ(store.GetKeyValue(name), value) << name;
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
    ClickCell(*grid, 2, 1, Qt::LeftButton, MapKeys);
    EXPECT_EQ(dialogs, Strings{});
    ClickCell(*grid, 2, 1, Qt::RightButton, MapKeys);
    dialog = nullptr;
    QTest::mouseClick(grid->horizontalHeader()->viewport(), Qt::RightButton, MapKeys);
    EXPECT_EQ(dialogs, Strings(2, "frmMemoryMap")) << "the captions are part of the grid";
}

TEST_F(MainWindow, OpenAsksWhetherToSaveAModifiedImageFirst) {
    Open();
    const QString file = folder.filePath("mine.tw");
    for (const auto &[button, saves, goesOn] : {std::tuple{QMessageBox::Cancel, false, false},
                                                {QMessageBox::No, false, true},
                                                {QMessageBox::Yes, true, true}}) {
        answer = button;
        state.currentFileName = FromQt(file);
        --state.image[Address::Volume];
        dialogs.clear();
        Trigger("mnuFile_Open");
        EXPECT_EQ(dialogs, goesOn ? Strings{"FileDialog"} : Strings{}) << button;
        EXPECT_EQ(QFile::exists(file), saves) << button;
    }
    EXPECT_EQ(messages, Strings(3, "File has been modified, save it now?"));
}

TEST_F(MainWindow, AnArgumentThatIsNoCodeplugIsToldInAMessage) {
    Open();
    const std::string path = FromQt(folder.filePath("other.tw"));
    QFile(ToQt(path)).open(QIODevice::WriteOnly);
    for (const std::string &name : {std::string("/nowhere/none.tw"), path})
        window->OpenNamed(name);
    EXPECT_EQ(messages,
              (Strings{"Cannot open /nowhere/none.tw\nNo such file or directory", "Incorrect File Type."}));
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
    EXPECT_NE(std::ranges::find(reached, "ChannelGrid"), reached.end());
    for (const auto *combo : window->findChildren<QComboBox *>())
        EXPECT_FALSE(combo->isVisible() && combo->accessibleName().isEmpty()) << FromQt(combo->objectName());
}

} // namespace
} // namespace k470
