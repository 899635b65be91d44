#include "core/Bands.h"
#include "tests/Widgets.h"
#include "ui/service/frmAdv.h"
#include "ui/service/frmMemoryMap.h"
#include "ui/service/frmSetFreqRange.h"

#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

#include <memory>
#include <numeric>

namespace k470 {
namespace {

using Place = std::pair<int, int>;

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
        editor = window->findChild<QLineEdit *>();
    }
    void ShowAdv(double low = 400, double high = 480) {
        state.bandLow = low;
        state.bandHigh = high;
        Show(std::make_unique<frmAdv>(state, nullptr));
    }
    void ShowMap() { Show(std::make_unique<frmMemoryMap>(state, nullptr)); }
    void ShowRange(double low = 400, double high = 480) {
        state.bandLow = low;
        state.bandHigh = high;
        auto dialog = std::make_unique<frmSetFreqRange>(state, nullptr);
        QObject::connect(dialog.get(), &frmSetFreqRange::BandChanged, [this] {
            EXPECT_EQ(state.image[0], 0xFF) << "not yet erased";
            ++changes;
        });
        Show(std::move(dialog));
        highBox = window->findChild<QLineEdit *>("TxtFreq(1)");
    }

    QPushButton *Button(const char *name) const { return window->findChild<QPushButton *>(name); }
    /// Presses a button by mouse and answers the message that may follow.
    void Click(const char *name, QMessageBox::StandardButton answer = QMessageBox::Ok) {
        message.clear();
        const ModalWatch watch([&](QWidget &modal) {
            auto &box = dynamic_cast<QMessageBox &>(modal);
            message = FromQt(box.windowTitle() + "|" + box.text());
            const QPushButton *byDefault = box.defaultButton();
            message += byDefault != nullptr && byDefault == box.button(QMessageBox::Cancel) ? "|Cancel" : "";
            (box.button(answer) != nullptr ? box.button(answer) : box.buttons().front())->click();
        });
        QTest::mouseClick(Button(name), Qt::LeftButton);
    }
    Place Current() const { return {grid->Row(), grid->Col()}; }
    std::string Cell(int row, int col) const { return FromQt(grid->CellText(row, col)); }
    std::string Limits() const { return FromQt(editor->text() + " " + highBox->text()); }
    std::string Status() const {
        std::string texts;
        for (const char *name : {"lblAddr", "Label1", "LblValue"})
            texts += FromQt(window->findChild<QLabel *>(name)->text());
        return texts;
    }
    /// The window has closed and the image is as it was with some bytes changed.
    void ExpectClosed(QDialog::DialogCode code,
                      std::initializer_list<std::pair<std::size_t, std::uint8_t>> stored = {}) const {
        EXPECT_FALSE(window->isVisible());
        EXPECT_EQ(window->result(), code);
        MemoryImage expected = state.snapshot;
        for (const auto &[address, value] : stored)
            expected[address] = value;
        EXPECT_EQ(state.image, expected);
    }

    AppState state;
    std::unique_ptr<QDialog> window;
    FlexGrid *grid = nullptr;
    QLineEdit *editor = nullptr; ///< of the grid; the lower limit
    QLineEdit *highBox = nullptr;
    std::string message; ///< title and text, and "|Cancel" when that is the default
    int changes = 0;     ///< of the band
};

struct Edit {
    const char *typed, *shown, *cell;
};

using AdvancedSettings = ServiceTest;

TEST_F(AdvancedSettings, ShowTheLevelsOfTheBandInAllOfTheGrid) {
    ShowAdv();
    EXPECT_EQ(Cell(0, 1) + Cell(0, 9) + Cell(1, 0) + Cell(2, 0), "405M485MSQNoise");
    EXPECT_EQ(Cell(1, 1) + Cell(1, 9) + Cell(2, 1) + Cell(2, 9), "140148177185"); // 0x68C, 0x6B1
    EXPECT_EQ(Place(grid->ColWidth(9) > 0, grid->ColWidth(10)), Place(1, 0));
    for (int count = 1; count <= 16; ++count) {
        ShowAdv(130, 130 + 10 * (count - 1));
        EXPECT_EQ(grid->horizontalScrollBar()->maximum() + grid->verticalScrollBar()->maximum(), 0) << count;
        const QRect room = grid->geometry().adjusted(1, 1, -1, -1), last = grid->CellRect(2, count);
        EXPECT_TRUE(room.contains(last)) << count;
        EXPECT_LE(room.right() - last.right(), 1) << count;
    }
}

TEST_F(AdvancedSettings, TakeTypedLevelsAndWalkOnWithEnter) {
    const Edit edits[] = {{"300", "300", "255"}, {"1a2-.34", "123", "123"}, {"0", "0", "0"}};
    ShowAdv(100, 520);
    for (int col = 4; col <= 6; ++col) {
        const auto &[typed, shown, cell] = edits[col - 4];
        EXPECT_EQ(Current(), Place(1, col));
        Type(typed);
        EXPECT_EQ(FromQt(editor->text()), shown);
        EXPECT_TRUE(grid->CellRect(1, col).contains(editor->geometry()));
        Press({Qt::Key_Return});
        EXPECT_EQ(Cell(1, col), cell);
        const auto red = std::optional(QColor(255, 0, 0));
        EXPECT_EQ(grid->CellBackColor(1, col), std::string(cell) == "0" ? red : std::nullopt);
        EXPECT_FALSE(editor->isVisible());
    }
    for (const auto &[row, col, next] : {std::tuple{1, 16, Place(2, 4)}, {2, 16, {2, 16}}}) {
        grid->SetCurrent(row, col);
        Press({Qt::Key_Return, Qt::Key_Return});
        EXPECT_EQ(Current(), next);
    }
    for (const auto &[row, col] : {Place(1, 1), {0, 5}, {1, 0}}) {
        ClickCell(*grid, row, col);
        EXPECT_FALSE(editor->isVisible()) << "no level at " << row << ", " << col;
    }
    Click("cmdOK");
    ExpectClosed(QDialog::Accepted, {{0x671, 255}, {0x672, 123}, {0x673, 0}});
    ShowAdv(480, 400);
    Press({Qt::Key_Return, Qt::Key_5});
    EXPECT_FALSE(editor->isVisible()) << "no level at all";
}

TEST_F(AdvancedSettings, EndAnOpenEditWhenTheFocusLeavesOrTheBackgroundIsClicked) {
    ShowAdv();
    Press({Qt::Key_Enter}, Qt::KeypadModifier);
    Type("x");
    EXPECT_EQ(editor->selectedText(), "140") << "a refused key keeps the selection";
    Type("9");
    ClickCell(*grid, 1, 2);
    EXPECT_EQ(Cell(1, 1) + FromQt(editor->selectedText()), "9141");
    Type("8");
    Press({Qt::Key_Tab});
    EXPECT_EQ(Cell(1, 2), "8");
    EXPECT_TRUE(Button("cmdOK")->hasFocus());
    ClickCell(*grid, 1, 3);
    Type("7");
    QTest::mouseClick(window.get(), Qt::LeftButton, {}, QPoint(2, 2));
    EXPECT_EQ(Cell(1, 3), "7");
    for (const char *pasted : {"12", "x1", "１２", "1\b"}) {
        QApplication::clipboard()->setText(pasted);
        ClickCell(*grid, 2, 2);
        QTest::keySequence(editor, QKeySequence::Paste);
        Press({Qt::Key_Return});
        EXPECT_EQ(Cell(2, 2), "12") << pasted;
    }
    ClickCell(*grid, 1, 4);
    Type("6");
    Button("cmdOK")->click(); // as by an access key: the focus stays in the editor
    ExpectClosed(QDialog::Accepted, {{0x68C, 9}, {0x68D, 8}, {0x68E, 7}, {0x68F, 6}, {0x6B2, 12}});
}

TEST_F(AdvancedSettings, StoreNothingWhenCancelledWhichNoStrayKeyDoes) {
    ShowAdv();
    Type("0");
    Press({Qt::Key_Escape});
    EXPECT_EQ(Cell(1, 1), "140");
    EXPECT_EQ(grid->CellBackColor(1, 1), std::nullopt);
    EXPECT_TRUE(grid->hasFocus());
    Press({Qt::Key_Escape, Qt::Key_9, Qt::Key_Return, Qt::Key_Return, Qt::Key_Tab, Qt::Key_Tab});
    EXPECT_TRUE(window->isVisible() && Button("Command2")->hasFocus());
    Press({Qt::Key_Return});
    ExpectClosed(QDialog::Rejected);
}

using MemoryMap = ServiceTest;

TEST_F(MemoryMap, ShowsEveryByteOnSixteenWholeLinesAndStoresItBack) {
    constexpr std::string_view Digits = "0123456789ABCDEF";
    ShowMap();
    for (std::size_t address = 0; address < ImageSize; ++address) {
        const int row = static_cast<int>(address / 16) + 1, col = static_cast<int>(address % 16) + 1;
        EXPECT_EQ(Cell(0, col), std::string(1, Digits[address % 16]));
        EXPECT_EQ(grid->CellText(row, 0), QString::number(row - 1, 16).toUpper());
        EXPECT_EQ(Cell(row, col), (std::string{Digits[address / 16 % 16], Digits[address % 16]}));
    }
    const QRect inside = grid->geometry().adjusted(0, 0, -grid->verticalScrollBar()->width(), 0);
    EXPECT_TRUE(inside.contains(grid->CellRect(16, 16)));
    EXPECT_FALSE(inside.contains(grid->CellRect(17, 16)));
    grid->SetCurrent(0x6F + 1, 0xA + 1);
    EXPECT_EQ(Status(), "6FA=250");
    Type("1");
    Press({Qt::Key_Tab});
    EXPECT_EQ(Status(), "6FA=1");
    Click("cmdOK");
    ExpectClosed(QDialog::Accepted, {{0x6FA, 1}});
}

TEST_F(MemoryMap, TakesTypedBytesAndWalksOnWithEnter) {
    const Edit edits[] = {{"gzc-D.", "CD", "CD"}, {"123", "12", "12"}, {"7", "7", "07"}};
    const Place steps[] = {{3, 15}, {3, 16}, {4, 1}, {4, 2}};
    ShowMap();
    grid->SetCurrent(3, 15);
    for (std::size_t i = 0; i < std::size(edits); ++i) {
        const auto [row, col] = steps[i];
        Type(edits[i].typed);
        EXPECT_EQ(FromQt(editor->text()), edits[i].shown);
        EXPECT_TRUE(grid->CellRect(row, col) == editor->geometry());
        Press({Qt::Key_Return});
        EXPECT_EQ(Cell(row, col), edits[i].cell);
        EXPECT_EQ(Current(), steps[i + 1]);
    }
    Press({Qt::Key_9, Qt::Key_8, Qt::Key_Enter, Qt::Key_Comma}, Qt::KeypadModifier);
    EXPECT_EQ(editor->selectedText(), "32");
    Type("e");
    EXPECT_EQ(editor->text(), "E");
    ClickCell(*grid, 3, 1);
    Press({Qt::Key_Delete});
    grid->setFocus();
    for (const int row : {111, 112}) {
        grid->SetCurrent(row, 16);
        Press({Qt::Key_Return, Qt::Key_Return});
        EXPECT_EQ(Current(), Place(112, row == 111 ? 1 : 16));
    }
    Type("5a");
    Press({Qt::Key_O}, Qt::AltModifier);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !window->isVisible(); }));
    ExpectClosed(QDialog::Accepted, {{0x02E, 0xCD},
                                     {0x02F, 0x12},
                                     {0x030, 7},
                                     {0x031, 0x98},
                                     {0x032, 0x0E},
                                     {0x020, 0xFF},
                                     {0x6FF, 0x5A}});
}

TEST_F(MemoryMap, AbandonsOnlyTheEditOnEscapeAndOnAScroll) {
    ShowMap();
    const std::function<void()> endings[] = {[] { Press({Qt::Key_Escape}); },
                                             [this] { grid->verticalScrollBar()->setValue(40); }};
    for (const auto &end : endings) {
        Type("9");
        end();
        EXPECT_FALSE(editor->isVisible());
        EXPECT_EQ(Cell(1, 1), "00");
        EXPECT_TRUE(grid->hasFocus());
    }
    ClickCell(*grid, 41, 1);
    Type("7");
    Press({Qt::Key_Return});
    grid->verticalScrollBar()->setValue(60);
    EXPECT_EQ(Cell(41, 1), "07") << "an edit that has ended is not abandoned";
    Type("9"); // scrolls back to the current cell before it opens
    EXPECT_TRUE(editor->isVisible() && editor->geometry() == grid->CellRect(41, 2));
    Press({Qt::Key_Escape, Qt::Key_Escape});
    ExpectClosed(QDialog::Rejected);
    ShowMap();
    Type("9");
    Click("cmdCancel");
    ExpectClosed(QDialog::Rejected);
}

using CustomRange = ServiceTest;

TEST_F(CustomRange, TakesDigitsAndMovesOnWithEnter) {
    ShowRange(136.5, 174);
    Type("14");
    EXPECT_EQ(editor->text(), "14.5") << "a fraction stays until it is typed over";
    Press({Qt::Key_End, Qt::Key_Backspace, Qt::Key_Backspace, Qt::Key_Escape});
    Type("a-.5");
    EXPECT_EQ(editor->text(), "145");
    Press({Qt::Key_Return});
    EXPECT_EQ(highBox->selectedText(), "174");
    Press({Qt::Key_Enter}, Qt::KeypadModifier);
    EXPECT_TRUE(Button("cmdOK")->hasFocus());
    Press({Qt::Key_Tab, Qt::Key_Tab});
    EXPECT_EQ(editor->selectedText(), "145");
    QTest::mouseClick(highBox, Qt::LeftButton);
    EXPECT_EQ(highBox->selectedText(), "174");
    EXPECT_TRUE(window->isVisible());
}

TEST_F(CustomRange, IsClampedCheckedAndConfirmedBeforeItErasesTheChannels) {
    const auto ok = QMessageBox::Ok, cancel = QMessageBox::Cancel;
    const char *const refused = "K470|Frequency is out of range，Please reset.";
    const char *const erases = " |Datas will be Cleared,continue?|Cancel";
    const struct {
        const char *low, *high, *clamped;
        QMessageBox::StandardButton answer;
        const char *message;
        int changes;
        const char *button = "cmdOK";
    } cases[] = {
        {"136", "174", "136 174", ok, "", 0, "cmdCancel"}, {"400", "480", "400 480", ok, "", 0},
        {"", "490.1", "130 490", ok, refused, 0},          {"129.9", "0", "130 130", ok, refused, 0},
        {"500", "490", "490 490", ok, refused, 0},         {"300", "450", "300 450", ok, refused, 0},
        {"401", "400", "401 400", ok, refused, 0},         {"400", "470", "400 470", cancel, erases, 0},
        {"390.5", "500", "390.5 490", ok, erases, 1}};
    for (const auto &[low, high, clamped, answer, text, called, button] : cases) {
        SCOPED_TRACE(clamped);
        state.previousBand = 3;
        ShowRange();
        editor->setText(low);
        highBox->setText(high);
        Press({Qt::Key_Tab});
        EXPECT_EQ(Limits(), clamped);
        editor->setText(low); // clamped again by OK
        Click(button, answer);
        EXPECT_EQ(message, text);
        EXPECT_EQ(changes, called);
        const bool closes = *text == '\0' || called > 0;
        EXPECT_EQ(window->isVisible(), !closes);
        EXPECT_EQ(state.previousBand, called == 0 ? 3 : 4);
        EXPECT_EQ(called == 0, state.image == state.snapshot && state.bandLow == 400);
    }
    EXPECT_EQ(std::pair(state.bandLow, state.bandHigh), std::pair(390.5, 490.0));
}

} // namespace
} // namespace k470
