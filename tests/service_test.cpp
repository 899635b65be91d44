#include "core/Bands.h"
#include "core/HexCells.h"
#include "core/Tuning.h"
#include "ui/service/frmAdv.h"
#include "ui/service/frmMemoryMap.h"
#include "ui/service/frmSetFreqRange.h"
#include "ui/shared/FlexGrid.h"
#include "ui/shared/Texts.h"
#include "ui/shared/Twips.h"

#include <QApplication>
#include <QClipboard>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>
#include <numeric>

namespace k470 {
namespace {

constexpr std::array<Language, 2> Languages{Language::English, Language::Chinese};

/// A shown service window over a state whose image bytes all count up.
class ServiceTest : public ::testing::Test {
protected:
    ServiceTest() {
        state.language = Language::English;
        std::iota(state.image.begin(), state.image.end(), std::uint8_t{0});
        TakeSnapshot(state);
    }

    void Show(std::unique_ptr<QDialog> made) {
        window = std::move(made);
        window->show();
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
        grid = window->findChild<FlexGrid *>();
    }
    void ShowAdv(double low = 400, double high = 480) {
        state.bandLow = low;
        state.bandHigh = high;
        Show(std::make_unique<frmAdv>(state, nullptr));
        editor = Box("TxtTun");
    }
    void ShowMap() {
        Show(std::make_unique<frmMemoryMap>(state, nullptr));
        editor = Box("txtMemory");
    }

    QLineEdit *Box(const char *name) const { return window->findChild<QLineEdit *>(name); }
    QPushButton *Button(const char *name) const { return window->findChild<QPushButton *>(name); }
    void Click(const char *name) { QTest::mouseClick(Button(name), Qt::LeftButton); }
    void ClickCell(int row, int col) {
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {},
                          grid->viewport()->mapFrom(window.get(), grid->CellRect(row, col).center()));
    }
    /// Sends keys to whatever has the focus.
    static void Press(std::initializer_list<Qt::Key> keys, Qt::KeyboardModifiers modifiers = {}) {
        for (const Qt::Key key : keys)
            QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    static void Type(const char *text) {
        for (const char *c = text; *c != '\0'; ++c)
            QTest::keyClick(QApplication::focusWidget(), *c);
    }
    TuneCell Current() const { return {grid->Row(), grid->Col()}; }
    std::string Cell(int row, int col) const { return FromQt(grid->CellText(row, col)); }
    QRect InPixels(int left, int top, int width, int height) const {
        const auto pixels = [this](int twips) { return TwipsToPixels(twips, window.get()); };
        return {pixels(left), pixels(top), pixels(width), pixels(height)};
    }
    void ExpectPlace(const char *name, QRect place) const {
        EXPECT_EQ(window->findChild<QWidget *>(name)->geometry(), place) << name;
    }
    /// The image as it was with some bytes changed.
    void ExpectImage(std::initializer_list<std::pair<std::size_t, std::uint8_t>> changes) const {
        MemoryImage expected = state.snapshot;
        for (const auto &[address, value] : changes)
            expected[address] = value;
        EXPECT_EQ(state.image, expected);
        EXPECT_EQ(ImageModified(state), expected != state.snapshot);
    }

    AppState state;
    std::unique_ptr<QDialog> window;
    FlexGrid *grid = nullptr;
    QLineEdit *editor = nullptr;
};

// --- the tuning table ---

using AdvancedSettings = ServiceTest;

TEST_F(AdvancedSettings, AreLaidOutAsStatedInBothLanguages) {
    for (const Language language : Languages) {
        state.language = language;
        ShowAdv();
        const bool isEnglish = language == Language::English;
        EXPECT_EQ(window->windowTitle(), isEnglish ? "K470 Tune" : "K470 电调");
        EXPECT_EQ(window->size(), InPixels(0, 0, 12210, 2055).size());
        ExpectPlace("TunGrid", InPixels(120, 120, 12000, 1200));
        ExpectPlace("cmdOK", InPixels(4838, 1560, 1095, 375));
        ExpectPlace("Command2", InPixels(6278, 1560, 1095, 375));
        EXPECT_EQ(Button("cmdOK")->text(), isEnglish ? "OK" : "确定");
        EXPECT_EQ(Button("Command2")->text(), isEnglish ? "Cancel" : "取消");
        EXPECT_EQ(Cell(1, 0), "SQ");
        EXPECT_EQ(Cell(2, 0), "Noise");
        EXPECT_FALSE(editor->isVisible());
        EXPECT_EQ(Current(), (TuneCell{1, 1}));
        EXPECT_TRUE(grid->hasFocus());
    }
}

TEST_F(AdvancedSettings, ShowTheLevelsOfTheBand) {
    ShowAdv();
    EXPECT_EQ(Cell(0, 1), "405M");
    EXPECT_EQ(Cell(0, 9), "485M");
    for (int col = 1; col <= TuneColumns; ++col) {
        const auto index = static_cast<std::size_t>(col - 1);
        EXPECT_EQ(grid->ColWidth(col), col <= 9 ? 1222 : 0);
        EXPECT_EQ(Cell(1, col), col <= 9 ? std::to_string(state.image[0x68C + index]) : "");
        EXPECT_EQ(Cell(2, col), col <= 9 ? std::to_string(state.image[0x6B1 + index]) : "");
    }
}

TEST_F(AdvancedSettings, FitIntoTheGridWithAnyNumberOfColumns) {
    for (int count = 1; count <= TuneColumns; ++count) {
        ShowAdv(130, 130 + 10 * (count - 1));
        EXPECT_EQ(grid->horizontalScrollBar()->maximum(), 0) << count;
        EXPECT_EQ(grid->verticalScrollBar()->maximum(), 0) << count;
        const QRect room = grid->geometry().adjusted(1, 1, -1, -1);
        EXPECT_TRUE(room.contains(grid->CellRect(2, count))) << count;
        EXPECT_LE(room.right() - grid->CellRect(2, count).right(), 1) << count;
    }
}

TEST_F(AdvancedSettings, OpenTheEditorAsStatedOverTheCurrentCell) {
    ShowAdv();
    ClickCell(2, 3);
    EXPECT_TRUE(editor->hasFocus());
    EXPECT_EQ(editor->selectedText(), QString::number(state.image[0x6B3]));
    const QRect cell = grid->CellRect(2, 3);
    const int inset = TwipsToPixels(80, editor);
    EXPECT_EQ(editor->geometry(), QRect(cell.left(), cell.top() + TwipsToPixels(30, editor),
                                        cell.width() - inset, cell.height() - inset));
    QTest::mouseClick(grid->viewport(), Qt::RightButton);
    EXPECT_FALSE(editor->isVisible()) << "the grid took the focus";
}

TEST_F(AdvancedSettings, TakeTypedLevels) {
    const struct {
        const char *keys, *shown, *cell;
    } cases[] = {{"7", "7", "7"}, {"300", "300", "255"},    {"007", "007", "7"},  {"1234", "123", "123"},
                 {"0", "0", "0"}, {"1a2-.3", "123", "123"}, {"255", "255", "255"}};
    ShowAdv();
    for (const auto &[keys, shown, cell] : cases) {
        grid->SetCurrent(1, 2);
        Type(keys);
        EXPECT_EQ(FromQt(editor->text()), shown) << keys;
        Press({Qt::Key_Return});
        EXPECT_EQ(Cell(1, 2), cell) << keys;
        const auto red = std::optional(QColor(255, 0, 0));
        EXPECT_EQ(grid->CellBackColor(1, 2), std::string(cell) == "0" ? red : std::nullopt) << keys;
        EXPECT_EQ(Current(), (TuneCell{1, 3}));
        EXPECT_TRUE(grid->hasFocus());
        EXPECT_FALSE(editor->isVisible());
    }
    ExpectImage({});
    Click("cmdOK");
    EXPECT_FALSE(window->isVisible());
    ExpectImage({{0x68D, 255}});
}

TEST_F(AdvancedSettings, ReplaceTheSelectionAndKeepItWhenAKeyIsRefused) {
    ShowAdv();
    Press({Qt::Key_Enter}, Qt::KeypadModifier);
    Type("x");
    EXPECT_EQ(editor->selectedText(), "140"); // 0x68C
    QTest::keyClick(editor, Qt::Key_2, Qt::KeypadModifier);
    EXPECT_EQ(editor->text(), "2");
    Press({Qt::Key_Backspace, Qt::Key_Return});
    EXPECT_EQ(Cell(1, 1), "0");
    EXPECT_EQ(grid->CellBackColor(1, 1), QColor(255, 0, 0));
    for (const char *pasted : {"12", "x1", "１２", "1\b"}) {
        QApplication::clipboard()->setText(pasted);
        ClickCell(1, 2);
        QTest::keySequence(editor, QKeySequence::Paste);
        Press({Qt::Key_Return});
        EXPECT_EQ(Cell(1, 2), "12") << pasted;
    }
    ClickCell(1, 3);
    QInputMethodEvent committed;
    committed.setCommitString("９");
    QApplication::sendEvent(editor, &committed);
    EXPECT_EQ(editor->text(), "142");
}

TEST_F(AdvancedSettings, WalkWithEnterOverTheCellsThatCanBeEdited) {
    const struct {
        double low, high;
        int first, last;
    } bands[] = {
        {400, 480, 1, 9}, {136, 179.6, 1, 5}, {100, 520, 4, 16}, {400, 490, 1, 10}, {480, 520, 1, 2}};
    for (const auto &[low, high, first, last] : bands) {
        SCOPED_TRACE(high);
        ShowAdv(low, high);
        for (int row = 1; row <= 2; ++row)
            for (int col = first; col <= last; ++col) {
                EXPECT_EQ(Current(), (TuneCell{row, col}));
                Press({Qt::Key_Return});
                EXPECT_TRUE(editor->isVisible());
                Press({Qt::Key_Return});
            }
        EXPECT_EQ(Current(), (TuneCell{2, last}));
        Click("cmdOK");
        ExpectImage({});
    }
}

TEST_F(AdvancedSettings, DoNotOpenAnEditorWhereThereIsNoLevel) {
    ShowAdv(100, 520);
    EXPECT_EQ(Cell(1, 3), "");
    for (const auto &[row, col] : {std::pair{1, 1}, {2, 3}, {0, 5}, {1, 0}}) {
        ClickCell(row, col);
        EXPECT_FALSE(editor->isVisible()) << row << ", " << col;
    }
    for (const auto &[low, high] : {std::pair{480.0, 400.0}, {0.0, 0.0}, {999.9, 999.9}, {136.4, 136.0}}) {
        ShowAdv(low, high);
        Press({Qt::Key_Return, Qt::Key_5});
        ClickCell(1, 1);
        EXPECT_FALSE(editor->isVisible()) << low;
        Click("cmdOK");
        ExpectImage({});
    }
}

TEST_F(AdvancedSettings, GiveACellItsTextBackOnEscapeAndStayOpen) {
    ShowAdv();
    Type("0");
    Press({Qt::Key_Escape});
    EXPECT_EQ(Cell(1, 1), "140");
    EXPECT_EQ(grid->CellBackColor(1, 1), std::nullopt);
    EXPECT_FALSE(editor->isVisible());
    EXPECT_TRUE(grid->hasFocus());
    EXPECT_TRUE(window->isVisible());
}

TEST_F(AdvancedSettings, EndAnOpenEditWhenTheFocusLeavesOrTheBackgroundIsClicked) {
    ShowAdv();
    Type("9");
    ClickCell(1, 2);
    EXPECT_EQ(Cell(1, 1), "9");
    EXPECT_EQ(editor->text(), "141");
    Type("8");
    Press({Qt::Key_Tab});
    EXPECT_EQ(Cell(1, 2), "8");
    EXPECT_TRUE(Button("cmdOK")->hasFocus());
    ClickCell(1, 3);
    Type("7");
    QTest::mouseClick(window.get(), Qt::LeftButton, {}, QPoint(2, 2));
    EXPECT_EQ(Cell(1, 3), "7");
    EXPECT_FALSE(editor->isVisible());
    ClickCell(1, 4);
    Type("6");
    Button("cmdOK")->click(); // as by an access key: the focus stays in the editor
    ExpectImage({{0x68C, 9}, {0x68D, 8}, {0x68E, 7}, {0x68F, 6}});
}

TEST_F(AdvancedSettings, StoreNothingWhenCancelled) {
    for (const char *how : {"Command2", "close box"}) {
        ShowAdv();
        Type("9");
        Press({Qt::Key_Escape, Qt::Key_Escape});
        EXPECT_TRUE(window->isVisible()) << "a stray key closed it";
        if (std::string(how) == "close box")
            window->close();
        else
            Click(how);
        EXPECT_FALSE(window->isVisible()) << how;
        ExpectImage({});
    }
}

TEST_F(AdvancedSettings, PressAButtonWithEnterOnlyWhenItHasTheFocus) {
    ShowAdv();
    Press({Qt::Key_Return, Qt::Key_Return, Qt::Key_Tab});
    EXPECT_TRUE(window->isVisible());
    Press({Qt::Key_Return});
    EXPECT_EQ(window->result(), QDialog::Accepted);
    EXPECT_FALSE(Button("cmdOK")->isDefault() || Button("Command2")->isDefault());
}

// --- the memory map ---

using MemoryMap = ServiceTest;

TEST_F(MemoryMap, IsLaidOutAsStated) {
    for (const Language language : Languages) {
        state.language = language;
        ShowMap();
        EXPECT_EQ(window->windowTitle(), "Memory Map");
        EXPECT_EQ(window->size(), InPixels(0, 0, 8370, 5115).size());
        EXPECT_EQ(Button("cmdOK")->text(), "&OK");
        EXPECT_EQ(Button("cmdCancel")->text(), "&Cancel");
    }
    ExpectPlace("cmdOK", InPixels(6000, 4560, 1100, 350));
    ExpectPlace("cmdCancel", InPixels(7173, 4560, 1100, 350));
    ExpectPlace("lblAddr", InPixels(105, 4590, 1095, 300));
    ExpectPlace("LblValue", InPixels(1560, 4560, 1095, 300));
    const int rowHeight = grid->CellRect(0, 1).height() + 1;
    const QRect place = InPixels(105, 120, 8175, 0);
    ExpectPlace("msgMemory", {place.topLeft(), QSize(place.width() - 2, 17 * rowHeight + 7)});
    EXPECT_EQ(grid->Rows(), 113);
    EXPECT_EQ(grid->Cols(), 17);
    EXPECT_EQ(grid->ColWidth(0), 861); // 2 x 8175 / 19
    EXPECT_EQ(grid->ColWidth(16), 430);
    const QRect inside = grid->geometry().adjusted(0, 0, -grid->verticalScrollBar()->width(), 0);
    EXPECT_TRUE(inside.contains(grid->CellRect(16, 16)));
    EXPECT_FALSE(inside.contains(grid->CellRect(17, 16)));
}

TEST_F(MemoryMap, ShowsEveryByteAndStoresItBack) {
    ShowMap();
    for (int line = 0; line < 112; ++line) {
        EXPECT_EQ(grid->CellText(line + 1, 0), QString::number(line, 16).toUpper());
        for (int col = 0; col < 16; ++col)
            EXPECT_EQ(Cell(line + 1, col + 1),
                      HexCellText(state.image[static_cast<std::size_t>(line * 16 + col)]));
    }
    EXPECT_EQ(Cell(0, 1) + Cell(0, 10) + Cell(0, 11) + Cell(0, 16), "09AF");
    Click("cmdOK");
    EXPECT_EQ(window->result(), QDialog::Accepted);
    ExpectImage({});
}

TEST_F(MemoryMap, TellsAddressAndValueOfTheCurrentCell) {
    state.image[0x6FA] = 60;
    state.image[0x005] = 255;
    ShowMap();
    const auto label = [this](const char *name) { return FromQt(window->findChild<QLabel *>(name)->text()); };
    EXPECT_EQ(label("lblAddr") + label("Label1") + label("LblValue"), "00=0");
    grid->SetCurrent(0x6F + 1, 0xA + 1);
    EXPECT_EQ(label("lblAddr") + label("Label1") + label("LblValue"), "6FA=60");
    grid->SetCurrent(1, 6);
    EXPECT_EQ(label("lblAddr") + label("Label1") + label("LblValue"), "05=255");
    Type("1");
    Press({Qt::Key_Tab});
    EXPECT_EQ(label("LblValue"), "1");
}

TEST_F(MemoryMap, TakesTypedBytes) {
    const struct {
        const char *keys, *shown, *cell;
    } cases[] = {{"ab", "AB", "AB"},  {"7", "7", "07"},       {"F0", "F0", "F0"},
                 {"123", "12", "12"}, {"gzc-D.", "CD", "CD"}, {"00", "00", "00"}};
    ShowMap();
    for (const auto &[keys, shown, cell] : cases) {
        grid->SetCurrent(3, 4);
        Type(keys);
        EXPECT_EQ(FromQt(editor->text()), shown) << keys;
        EXPECT_TRUE(QRect(grid->CellRect(3, 4)) == editor->geometry());
        Press({Qt::Key_Return});
        EXPECT_EQ(Cell(3, 4), cell) << keys;
        EXPECT_EQ(Current(), (TuneCell{3, 5}));
        EXPECT_FALSE(editor->isVisible());
    }
    ClickCell(3, 5);
    Press({Qt::Key_Delete, Qt::Key_Return});
    EXPECT_EQ(Cell(3, 5), "FF");
    QTest::keyClick(grid, Qt::Key_9, Qt::KeypadModifier);
    EXPECT_EQ(editor->text(), "9");
    QTest::keyClick(editor, Qt::Key_8, Qt::KeypadModifier);
    Press({Qt::Key_Enter}, Qt::KeypadModifier);
    QTest::keyClick(grid, Qt::Key_Comma, Qt::KeypadModifier);
    EXPECT_EQ(editor->selectedText(), "26");
    Type("e");
    EXPECT_EQ(editor->text(), "E");
    Click("cmdOK");
    ExpectImage({{0x023, 0x00}, {0x024, 0xFF}, {0x025, 0x98}, {0x026, 0x0E}});
}

TEST_F(MemoryMap, WalksWithEnterToTheNextLineAndEndsAtTheLastByte) {
    ShowMap();
    grid->SetCurrent(3, 16);
    Press({Qt::Key_Return, Qt::Key_Return});
    EXPECT_EQ(Current(), (TuneCell{4, 1}));
    grid->SetCurrent(16, 16);
    const int top = grid->verticalScrollBar()->value();
    Press({Qt::Key_Return, Qt::Key_Return});
    EXPECT_GT(grid->verticalScrollBar()->value(), top) << "the next line comes into view";
    grid->SetCurrent(112, 16);
    Press({Qt::Key_Return, Qt::Key_Return});
    EXPECT_EQ(Current(), (TuneCell{112, 16}));
    EXPECT_EQ(Cell(112, 16), "FF");
}

TEST_F(MemoryMap, AbandonsOnlyTheEditOnEscapeAndOnAScroll) {
    ShowMap();
    Type("9");
    Press({Qt::Key_Escape});
    EXPECT_EQ(Cell(1, 1), "00");
    EXPECT_TRUE(grid->hasFocus());
    Type("9");
    grid->verticalScrollBar()->setValue(40);
    EXPECT_FALSE(editor->isVisible());
    EXPECT_EQ(Cell(1, 1), "00");
    EXPECT_TRUE(window->isVisible());
    ClickCell(41, 1);
    Type("7");
    Press({Qt::Key_Return});
    grid->verticalScrollBar()->setValue(60);
    EXPECT_EQ(Cell(41, 1), "07") << "an edit that has ended is not abandoned";
    grid->SetCurrent(1, 1);
    grid->verticalScrollBar()->setValue(40);
    Type("9"); // scrolls back to the current cell before it opens
    EXPECT_TRUE(editor->isVisible());
    EXPECT_EQ(editor->geometry(), grid->CellRect(1, 1));
    Press({Qt::Key_Escape, Qt::Key_Escape});
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(window->result(), QDialog::Rejected);
    ExpectImage({});
}

TEST_F(MemoryMap, StoresWhatIsBeingTypedWhenOkIsPressedByItsAccessKey) {
    ShowMap();
    grid->SetCurrent(0x6C + 1, 5 + 1);
    Type("5a");
    QTest::keyClick(editor, Qt::Key_O, Qt::AltModifier);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !window->isVisible(); }));
    EXPECT_EQ(window->result(), QDialog::Accepted);
    ExpectImage({{0x6C5, 0x5A}});
}

TEST_F(MemoryMap, StoresNothingWhenCancelled) {
    for (const char *how : {"cmdCancel", "close box"}) {
        ShowMap();
        Type("9");
        if (std::string(how) == "close box")
            window->close();
        else
            Click(how);
        EXPECT_FALSE(window->isVisible()) << how;
        ExpectImage({});
    }
}

// --- the custom range ---

class CustomRange : public ServiceTest, public RangeHost {
protected:
    CustomRange() {
        state.previousBand = 3;
        StoreBandLimits(state);
        TakeSnapshot(state);
    }
    ~CustomRange() override { window.reset(); }

    void ShowRange(double low = 400, double high = 480) {
        state.bandLow = low;
        state.bandHigh = high;
        Show(std::make_unique<frmSetFreqRange>(state, *this, nullptr));
        lowBox = Box("TxtFreq(0)");
        highBox = Box("TxtFreq(1)");
    }
    void Enter(const char *low, const char *high) {
        lowBox->setText(low);
        highBox->setText(high);
    }
    /// Presses OK and answers the message that must follow.
    void ClickOkAndAnswer(QMessageBox::StandardButton answer) {
        message.clear();
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (box == nullptr || !box->isVisible())
                return;
            timer.stop();
            message = FromQt(box->windowTitle() + "|" + box->text());
            isCancelDefault = box->defaultButton() == box->button(QMessageBox::Cancel);
            box->button(answer)->click();
        });
        timer.start(1);
        Click("cmdOK");
    }
    void ExpectUnchanged() {
        ExpectImage({});
        EXPECT_EQ(state.previousBand, 3);
        EXPECT_TRUE(calls.empty());
    }

    void RefreshChData() override { calls += state.image[0] == 0xFF ? "erased," : "not yet erased,"; }
    void ShowTitle() override { calls += "title"; }

    QLineEdit *lowBox = nullptr;
    QLineEdit *highBox = nullptr;
    std::string message;
    bool isCancelDefault = false;
    std::string calls;
};

TEST_F(CustomRange, IsLaidOutAsStatedInBothLanguages) {
    for (const Language language : Languages) {
        state.language = language;
        ShowRange(136.5, 174);
        const bool isEnglish = language == Language::English;
        const auto label = [this](const char *name) { return window->findChild<QLabel *>(name)->text(); };
        EXPECT_EQ(window->windowTitle(), isEnglish ? "Custom" : "自定义");
        EXPECT_EQ(label("LblFreq(0)"), isEnglish ? "Min (MHz)" : "下限 (MHz)");
        EXPECT_EQ(label("LblFreq(1)"), isEnglish ? "Max (MHz)" : "上限 (MHz)");
        EXPECT_EQ(Button("cmdOK")->text(), isEnglish ? "OK" : "确定");
        EXPECT_EQ(Button("cmdCancel")->text(), isEnglish ? "Cancel" : "取消");
        EXPECT_EQ(lowBox->text() + " " + highBox->text(), "136.5 174");
        EXPECT_EQ(window->size(), InPixels(0, 0, 4200, 2115).size());
        ExpectPlace("Frame1", InPixels(240, 120, 3735, 1215));
        ExpectPlace("TxtFreq(0)", InPixels(360, 600, 975, 270));
        ExpectPlace("TxtFreq(1)", InPixels(2280, 600, 975, 270));
        ExpectPlace("cmdOK", InPixels(833, 1560, 1095, 375));
        ExpectPlace("cmdCancel", InPixels(2273, 1560, 1095, 375));
        EXPECT_TRUE(lowBox->hasFocus());
        EXPECT_EQ(lowBox->selectedText(), "136");
    }
}

TEST_F(CustomRange, TakesDigitsAndMovesOnWithEnter) {
    ShowRange();
    Type("4a-.0");
    EXPECT_EQ(lowBox->text(), "40");
    Press({Qt::Key_Escape, Qt::Key_Backspace});
    EXPECT_EQ(lowBox->text(), "4");
    Type("50");
    Press({Qt::Key_Return});
    EXPECT_EQ(lowBox->text(), "450");
    EXPECT_TRUE(highBox->hasFocus());
    EXPECT_EQ(highBox->selectedText(), "480");
    Press({Qt::Key_Enter}, Qt::KeypadModifier);
    EXPECT_TRUE(Button("cmdOK")->hasFocus());
    Press({Qt::Key_Tab});
    EXPECT_TRUE(Button("cmdCancel")->hasFocus());
    Press({Qt::Key_Tab});
    EXPECT_TRUE(lowBox->hasFocus());
    QTest::mouseClick(highBox, Qt::LeftButton);
    EXPECT_EQ(highBox->selectedText(), "480");
    EXPECT_TRUE(window->isVisible());
    ExpectUnchanged();
}

TEST_F(CustomRange, ClampsBothBoxesWhenOneLosesTheFocus) {
    const struct {
        const char *low, *high, *clampedLow, *clampedHigh;
    } cases[] = {{"100", "600", "130", "490"},     {"", "0", "130", "130"},
                 {"130", "490", "130", "490"},     {"129.9", "490.1", "130", "490"},
                 {"136.5", "174", "136.5", "174"}, {"500", "20", "490", "130"}};
    for (const auto &[low, high, clampedLow, clampedHigh] : cases) {
        ShowRange();
        Enter(low, high);
        Press({Qt::Key_Tab});
        EXPECT_EQ(lowBox->text() + " " + highBox->text(), QString("%1 %2").arg(clampedLow, clampedHigh));
    }
}

TEST_F(CustomRange, ClampsTheBoxesWhenOkIsPressedWithoutTakingTheFocus) {
    ShowRange();
    Enter("20", "500");
    Button("cmdOK")->setFocusPolicy(Qt::NoFocus);
    ClickOkAndAnswer(QMessageBox::Ok);
    EXPECT_EQ(lowBox->text() + " " + highBox->text(), "130 490");
    ExpectUnchanged();
}

TEST_F(CustomRange, KeepsAFractionUntilItIsTypedOver) {
    ShowRange(136.5, 174);
    Type("14");
    EXPECT_EQ(lowBox->text(), "14.5");
    Press({Qt::Key_End, Qt::Key_Backspace});
    Type(".");
    EXPECT_EQ(lowBox->text(), "14.");
    Press({Qt::Key_Backspace});
    Type("5");
    EXPECT_EQ(lowBox->text(), "145");
}

TEST_F(CustomRange, ClosesWithoutAQuestionWhenTheLimitsAreThoseInForce) {
    ShowRange(136.5, 174);
    state.image[Address::BandLow] = 0; // not even the bytes are written again
    TakeSnapshot(state);
    Click("cmdOK");
    EXPECT_EQ(window->result(), QDialog::Accepted);
    ExpectUnchanged();
}

TEST_F(CustomRange, RefusesARangeOfLessThan1OrMoreThan100) {
    for (const Language language : Languages) {
        state.language = language;
        for (const auto &[low, high] : {std::pair{"300", "450"},
                                        {"400", "400"},
                                        {"401", "400"},
                                        {"100", "600"},
                                        {"130", "231"},
                                        {"136.5", "136"}}) {
            ShowRange();
            Enter(low, high);
            ClickOkAndAnswer(QMessageBox::Ok);
            EXPECT_EQ(message, language == Language::English ? "K470|Frequency is out of range，Please reset."
                                                             : "K470|频段超出范围，请重新设定.");
            EXPECT_TRUE(window->isVisible()) << low << " to " << high;
            ExpectUnchanged();
        }
    }
}

TEST_F(CustomRange, StaysOpenWhenTheQuestionIsDeclined) {
    for (const Language language : Languages) {
        state.language = language;
        ShowRange();
        Enter("136", "174");
        ClickOkAndAnswer(QMessageBox::Cancel);
        EXPECT_EQ(message, language == Language::English ? " |Datas will be Cleared,continue?"
                                                         : " |数据将被清除，继续？");
        EXPECT_TRUE(isCancelDefault);
        EXPECT_TRUE(window->isVisible());
        EXPECT_EQ(lowBox->text() + " " + highBox->text(), "136 174");
        ExpectUnchanged();
    }
}

TEST_F(CustomRange, BecomesTheBandInForceOnceConfirmed) {
    const struct {
        const char *low, *high;
        double bandLow, bandHigh;
        std::array<std::uint8_t, 4> bytes;
    } cases[] = {{"136", "174", 136, 174, {0x13, 0x60, 0x17, 0x40}},
                 {"400", "500", 400, 490, {0x40, 0x00, 0x49, 0x00}},
                 {"130", "230", 130, 230, {0x13, 0x00, 0x23, 0x00}},
                 {"136.5", "137", 136.5, 137, {0x13, 0x65, 0x13, 0x70}}};
    for (const auto &[low, high, bandLow, bandHigh, bytes] : cases) {
        state.previousBand = 3;
        calls.clear();
        ShowRange();
        Enter(low, high);
        ClickOkAndAnswer(QMessageBox::Ok);
        EXPECT_EQ(window->result(), QDialog::Accepted) << low;
        EXPECT_FALSE(window->isVisible());
        EXPECT_EQ(state.bandLow, bandLow);
        EXPECT_EQ(state.bandHigh, bandHigh);
        EXPECT_EQ(state.previousBand, 4);
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), state.image.begin() + Address::BandLow));
        EXPECT_EQ(std::count(state.image.begin(), state.image.begin() + ChannelAreaSize, 0xFF), 99 * 16);
        EXPECT_FALSE(ImageModified(state));
        EXPECT_EQ(calls, "erased,title");
    }
}

TEST_F(CustomRange, ChangesNothingWhenCancelled) {
    for (const char *how : {"cmdCancel", "close box"}) {
        ShowRange();
        Enter("136", "174");
        if (std::string(how) == "close box")
            window->close();
        else
            Click(how);
        EXPECT_FALSE(window->isVisible()) << how;
        EXPECT_EQ(state.bandLow, 400);
        ExpectUnchanged();
    }
}

} // namespace
} // namespace k470
