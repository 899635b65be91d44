#include "core/Bands.h"
#include "core/HexCells.h"
#include "core/Tuning.h"
#include "tests/Widgets.h"
#include "ui/service/frmAdv.h"
#include "ui/service/frmMemoryMap.h"
#include "ui/service/frmSetFreqRange.h"

#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>
#include <memory>
#include <numeric>

namespace k470 {
namespace {

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
    TuneCell Current() const { return {grid->Row(), grid->Col()}; }
    std::string Cell(int row, int col) const { return FromQt(grid->CellText(row, col)); }
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

struct TypedCase {
    const char *keys, *shown, *cell;
};

// --- the tuning table ---

using AdvancedSettings = ServiceTest;

TEST_F(AdvancedSettings, ShowTheLevelsOfTheBand) {
    ShowAdv();
    EXPECT_EQ(Cell(0, 1) + Cell(0, 9) + Cell(1, 0) + Cell(2, 0), "405M485MSQNoise");
    for (int col = 1; col <= TuneColumns; ++col) {
        const auto index = static_cast<std::size_t>(col - 1);
        EXPECT_EQ(grid->ColWidth(col) > 0, col <= 9) << col;
        EXPECT_EQ(Cell(1, col), col <= 9 ? std::to_string(state.image[0x68C + index]) : "");
        EXPECT_EQ(Cell(2, col), col <= 9 ? std::to_string(state.image[0x6B1 + index]) : "");
    }
}

TEST_F(AdvancedSettings, FitIntoTheGridWithAnyNumberOfColumns) {
    for (int count = 1; count <= TuneColumns; ++count) {
        ShowAdv(130, 130 + 10 * (count - 1));
        EXPECT_EQ(grid->horizontalScrollBar()->maximum() + grid->verticalScrollBar()->maximum(), 0) << count;
        const QRect room = grid->geometry().adjusted(1, 1, -1, -1), last = grid->CellRect(2, count);
        EXPECT_TRUE(room.contains(last)) << count;
        EXPECT_LE(room.right() - last.right(), 1) << count;
    }
}

TEST_F(AdvancedSettings, OpenTheEditorInTheClickedCell) {
    ShowAdv();
    ClickCell(*grid, 2, 3);
    EXPECT_TRUE(editor->hasFocus());
    EXPECT_EQ(editor->selectedText(), QString::number(state.image[0x6B3]));
    EXPECT_TRUE(grid->CellRect(2, 3).contains(editor->geometry()));
    ClickCell(*grid, 2, 3, Qt::RightButton);
    EXPECT_FALSE(editor->isVisible()) << "the grid took the focus";
}

TEST_F(AdvancedSettings, TakeTypedLevels) {
    const TypedCase cases[] = {{"300", "300", "255"}, {"007", "007", "7"},      {"1234", "123", "123"},
                               {"0", "0", "0"},       {"1a2-.3", "123", "123"}, {"255", "255", "255"}};
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
        EXPECT_FALSE(editor->isVisible());
    }
    Click("cmdOK");
    EXPECT_FALSE(window->isVisible());
    ExpectImage({{0x68D, 255}});
}

TEST_F(AdvancedSettings, ReplaceTheSelectionAndKeepItWhenAKeyIsRefused) {
    ShowAdv();
    Press({Qt::Key_Enter}, Qt::KeypadModifier);
    Type("x");
    EXPECT_EQ(editor->selectedText(), "140"); // 0x68C
    Press({Qt::Key_2}, Qt::KeypadModifier);
    EXPECT_EQ(editor->text(), "2");
    Press({Qt::Key_Backspace, Qt::Key_Return});
    EXPECT_EQ(Cell(1, 1), "0");
    for (const char *pasted : {"12", "x1", "１２", "1\b"}) {
        QApplication::clipboard()->setText(pasted);
        ClickCell(*grid, 1, 2);
        QTest::keySequence(editor, QKeySequence::Paste);
        Press({Qt::Key_Return});
        EXPECT_EQ(Cell(1, 2), "12") << pasted;
    }
}

TEST_F(AdvancedSettings, WalkWithEnterOverTheCellsThatCanBeEdited) {
    const struct {
        double low, high;
        int first, last;
    } bands[] = {{400, 480, 1, 9}, {100, 520, 4, 16}, {480, 520, 1, 2}};
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
    for (const auto &[row, col] : {std::pair{1, 1}, {2, 3}, {0, 5}, {1, 0}}) {
        ClickCell(*grid, row, col);
        EXPECT_FALSE(editor->isVisible()) << row << ", " << col;
    }
    for (const auto &[low, high] : {std::pair{480.0, 400.0}, {0.0, 0.0}, {136.4, 136.0}}) {
        ShowAdv(low, high);
        Press({Qt::Key_Return, Qt::Key_5});
        ClickCell(*grid, 1, 1);
        EXPECT_FALSE(editor->isVisible()) << low;
        Click("cmdOK");
        ExpectImage({});
    }
}

TEST_F(AdvancedSettings, EndAnOpenEditWhenTheFocusLeavesOrTheBackgroundIsClicked) {
    ShowAdv();
    Type("9");
    ClickCell(*grid, 1, 2);
    EXPECT_EQ(Cell(1, 1) + " " + FromQt(editor->text()), "9 141");
    Type("8");
    Press({Qt::Key_Tab});
    EXPECT_EQ(Cell(1, 2), "8");
    EXPECT_TRUE(Button("cmdOK")->hasFocus());
    ClickCell(*grid, 1, 3);
    Type("7");
    QTest::mouseClick(window.get(), Qt::LeftButton, {}, QPoint(2, 2));
    EXPECT_EQ(Cell(1, 3), "7");
    EXPECT_FALSE(editor->isVisible());
    ClickCell(*grid, 1, 4);
    Type("6");
    Button("cmdOK")->click(); // as by an access key: the focus stays in the editor
    ExpectImage({{0x68C, 9}, {0x68D, 8}, {0x68E, 7}, {0x68F, 6}});
}

TEST_F(AdvancedSettings, StoreNothingWhenCancelledWhichEscapeDoesNot) {
    ShowAdv();
    Type("0");
    Press({Qt::Key_Escape});
    EXPECT_EQ(Cell(1, 1), "140");
    EXPECT_EQ(grid->CellBackColor(1, 1), std::nullopt);
    EXPECT_TRUE(grid->hasFocus());
    Press({Qt::Key_Escape});
    EXPECT_TRUE(window->isVisible()) << "a stray key closed it";
    Type("9");
    Click("Command2");
    EXPECT_FALSE(window->isVisible());
    ExpectImage({});
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

TEST_F(MemoryMap, ShowsEveryByteOnSixteenWholeLinesAndStoresItBack) {
    ShowMap();
    EXPECT_EQ(Cell(0, 1) + Cell(0, 10) + Cell(0, 11) + Cell(0, 16), "09AF");
    for (int line = 0; line < 112; ++line) {
        EXPECT_EQ(grid->CellText(line + 1, 0), QString::number(line, 16).toUpper());
        for (int col = 0; col < 16; ++col)
            EXPECT_EQ(Cell(line + 1, col + 1),
                      HexCellText(state.image[static_cast<std::size_t>(line * 16 + col)]));
    }
    const QRect inside = grid->geometry().adjusted(0, 0, -grid->verticalScrollBar()->width(), 0);
    EXPECT_TRUE(inside.contains(grid->CellRect(16, 16)));
    EXPECT_FALSE(inside.contains(grid->CellRect(17, 16)));
    Click("cmdOK");
    ExpectImage({});
}

TEST_F(MemoryMap, TellsAddressAndValueOfTheCurrentCell) {
    ShowMap();
    const auto status = [this] {
        const auto text = [this](const char *name) { return window->findChild<QLabel *>(name)->text(); };
        return FromQt(text("lblAddr") + text("Label1") + text("LblValue"));
    };
    EXPECT_EQ(status(), "00=0");
    grid->SetCurrent(0x6F + 1, 0xA + 1);
    EXPECT_EQ(status(), "6FA=250");
    Type("1");
    Press({Qt::Key_Tab});
    EXPECT_EQ(status(), "6FA=1");
}

TEST_F(MemoryMap, TakesTypedBytes) {
    const TypedCase cases[] = {{"ab", "AB", "AB"},
                               {"7", "7", "07"},
                               {"123", "12", "12"},
                               {"gzc-D.", "CD", "CD"},
                               {"00", "00", "00"}};
    ShowMap();
    for (const auto &[keys, shown, cell] : cases) {
        grid->SetCurrent(3, 4);
        Type(keys);
        EXPECT_EQ(FromQt(editor->text()), shown) << keys;
        EXPECT_TRUE(grid->CellRect(3, 4) == editor->geometry());
        Press({Qt::Key_Return});
        EXPECT_EQ(Cell(3, 4), cell) << keys;
        EXPECT_EQ(Current(), (TuneCell{3, 5}));
        EXPECT_FALSE(editor->isVisible());
    }
    ClickCell(*grid, 3, 5);
    Press({Qt::Key_Delete, Qt::Key_Return});
    EXPECT_EQ(Cell(3, 5), "FF");
    Press({Qt::Key_9, Qt::Key_8, Qt::Key_Enter, Qt::Key_Comma}, Qt::KeypadModifier);
    EXPECT_EQ(editor->selectedText(), "26");
    Type("e");
    EXPECT_EQ(editor->text(), "E");
    Click("cmdOK");
    ExpectImage({{0x023, 0x00}, {0x024, 0xFF}, {0x025, 0x98}, {0x026, 0x0E}});
}

TEST_F(MemoryMap, WalksWithEnterToTheNextLineAndEndsAtTheLastByte) {
    const std::pair<TuneCell, TuneCell> steps[] = {
        {{3, 16}, {4, 1}}, {{16, 16}, {17, 1}}, {{111, 16}, {112, 1}}, {{112, 16}, {112, 16}}};
    ShowMap();
    for (const auto &[from, to] : steps) {
        grid->SetCurrent(from.row, from.col);
        Press({Qt::Key_Return, Qt::Key_Return});
        EXPECT_EQ(Current(), to) << from.row;
        EXPECT_TRUE(grid->geometry().contains(grid->CellRect(to.row, to.col))) << from.row;
    }
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
    ClickCell(*grid, 41, 1);
    Type("7");
    Press({Qt::Key_Return});
    grid->verticalScrollBar()->setValue(60);
    EXPECT_EQ(Cell(41, 1), "07") << "an edit that has ended is not abandoned";
    Type("9"); // scrolls back to the current cell before it opens
    EXPECT_TRUE(editor->isVisible());
    EXPECT_EQ(editor->geometry(), grid->CellRect(41, 2));
    Press({Qt::Key_Escape, Qt::Key_Escape});
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(window->result(), QDialog::Rejected);
    ExpectImage({});
}

TEST_F(MemoryMap, StoresWhatIsBeingTypedWhenOkIsPressedByItsAccessKey) {
    ShowMap();
    grid->SetCurrent(0x6C + 1, 5 + 1);
    Type("5a");
    Press({Qt::Key_O}, Qt::AltModifier);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !window->isVisible(); }));
    EXPECT_EQ(window->result(), QDialog::Accepted);
    ExpectImage({{0x6C5, 0x5A}});
}

TEST_F(MemoryMap, StoresNothingWhenCancelled) {
    ShowMap();
    Type("9");
    Click("cmdCancel");
    EXPECT_FALSE(window->isVisible());
    ExpectImage({});
}

// --- the custom range ---

class CustomRange : public ServiceTest {
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
        auto dialog = std::make_unique<frmSetFreqRange>(state, nullptr);
        QObject::connect(dialog.get(), &frmSetFreqRange::BandChanged, [this] {
            EXPECT_EQ(state.image[0], 0xFF) << "not yet erased";
            ++changes;
        });
        Show(std::move(dialog));
        lowBox = Box("TxtFreq(0)");
        highBox = Box("TxtFreq(1)");
    }
    void Enter(const char *low, const char *high) {
        lowBox->setText(low);
        highBox->setText(high);
    }
    std::string Limits() const { return FromQt(lowBox->text() + " " + highBox->text()); }
    /// Presses OK and answers the message that must follow.
    void PressOkAndAnswer(QMessageBox::StandardButton answer) {
        message.clear();
        const ModalWatch watch([&](QWidget &modal) {
            auto &box = dynamic_cast<QMessageBox &>(modal);
            message = FromQt(box.windowTitle() + "|" + box.text());
            isCancelDefault = box.defaultButton() == box.button(QMessageBox::Cancel);
            box.button(answer)->click();
        });
        QTest::mouseClick(Button("cmdOK"), Qt::LeftButton);
    }
    void ExpectUnchanged() {
        ExpectImage({});
        EXPECT_EQ(state.previousBand, 3);
        EXPECT_EQ(changes, 0);
    }

    QLineEdit *lowBox = nullptr;
    QLineEdit *highBox = nullptr;
    std::string message;
    bool isCancelDefault = false;
    int changes = 0;
};

TEST_F(CustomRange, TakesDigitsAndMovesOnWithEnter) {
    ShowRange();
    Type("4a-.0");
    EXPECT_EQ(lowBox->text(), "40");
    Press({Qt::Key_Escape, Qt::Key_Backspace});
    EXPECT_EQ(lowBox->text(), "4");
    Type("50");
    Press({Qt::Key_Return});
    EXPECT_EQ(highBox->selectedText(), "480");
    Press({Qt::Key_Enter}, Qt::KeypadModifier);
    EXPECT_TRUE(Button("cmdOK")->hasFocus());
    Press({Qt::Key_Tab, Qt::Key_Tab});
    EXPECT_EQ(lowBox->selectedText(), "450");
    QTest::mouseClick(highBox, Qt::LeftButton);
    EXPECT_EQ(highBox->selectedText(), "480");
    EXPECT_TRUE(window->isVisible());
    ExpectUnchanged();
}

TEST_F(CustomRange, ClampsBothBoxesWhenOneLosesTheFocusOrOkIsPressed) {
    const struct {
        const char *low, *high, *clamped;
    } cases[] = {{"", "490.1", "130 490"},
                 {"129.9", "0", "130 130"},
                 {"136.5", "174", "136.5 174"},
                 {"500", "490", "490 490"}};
    for (const auto &[low, high, clamped] : cases) {
        ShowRange();
        Enter(low, high);
        Press({Qt::Key_Tab});
        EXPECT_EQ(Limits(), clamped);
    }
    ShowRange();
    Enter("20", "500");
    Button("cmdOK")->setFocusPolicy(Qt::NoFocus);
    PressOkAndAnswer(QMessageBox::Ok);
    EXPECT_EQ(Limits(), "130 490");
    ExpectUnchanged();
}

TEST_F(CustomRange, KeepsAFractionUntilItIsTypedOver) {
    ShowRange(136.5, 174);
    Type("14");
    EXPECT_EQ(lowBox->text(), "14.5");
    Press({Qt::Key_End, Qt::Key_Backspace, Qt::Key_Backspace});
    Type(".5");
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

TEST_F(CustomRange, RefusesARangeOfAnotherSpanInBothLanguages) {
    const struct {
        Language language;
        const char *low, *high, *refusal;
    } cases[] = {{Language::English, "300", "450", "K470|Frequency is out of range，Please reset."},
                 {Language::Chinese, "401", "400", "K470|频段超出范围，请重新设定."}};
    for (const auto &[language, low, high, refusal] : cases) {
        state.language = language;
        ShowRange();
        Enter(low, high);
        PressOkAndAnswer(QMessageBox::Ok);
        EXPECT_EQ(message, refusal);
        EXPECT_TRUE(window->isVisible());
        ExpectUnchanged();
    }
}

TEST_F(CustomRange, StaysOpenWhenTheQuestionIsDeclined) {
    ShowRange();
    Enter("400", "470");
    PressOkAndAnswer(QMessageBox::Cancel);
    EXPECT_EQ(message, " |Datas will be Cleared,continue?");
    EXPECT_TRUE(isCancelDefault);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(Limits(), "400 470");
    ExpectUnchanged();
}

TEST_F(CustomRange, BecomesTheBandInForceOnceConfirmed) {
    ShowRange();
    Enter("390.5", "500");
    PressOkAndAnswer(QMessageBox::Ok);
    EXPECT_EQ(window->result(), QDialog::Accepted);
    EXPECT_EQ(std::pair(state.bandLow, state.bandHigh), std::pair(390.5, 490.0));
    EXPECT_EQ(state.previousBand, 4);
    EXPECT_EQ(changes, 1);
    EXPECT_FALSE(ImageModified(state));
}

TEST_F(CustomRange, ChangesNothingWhenCancelled) {
    ShowRange();
    Enter("136", "174");
    Click("cmdCancel");
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(state.bandLow, 400);
    ExpectUnchanged();
}

} // namespace
} // namespace k470
