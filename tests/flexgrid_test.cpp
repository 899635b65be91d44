#include "tests/Widgets.h"
#include "ui/shared/Shades.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QLineEdit>
#include <QSignalSpy>

#include <algorithm>
#include <cstdlib>

namespace k470 {
namespace {

using Cell = std::pair<int, int>;

QPalette DarkPalette() {
    QPalette palette(QColor(53, 53, 53));
    palette.setColor(QPalette::Text, Qt::white);
    palette.setColor(QPalette::Base, QColor(35, 35, 35));
    return palette;
}

constexpr int Readable = 60;

/// How far two colours are apart in their grey.
int Contrast(const QColor &a, const QColor &b) {
    return std::abs(qGray(a.rgb()) - qGray(b.rgb()));
}

/// A shown window with a grid of 20 rows and 6 columns that has the focus, and an entry after it in the tab
/// order. Column 3 is hidden, cells (2, 2) and (19, 4) are out of use, (1, 1) is current.
class FlexGridTest : public ::testing::Test {
protected:
    void SetUp() override { Show(1, 0); }

    void Show(int fixedRows, int fixedCols) {
        delete grid;
        grid = new FlexGrid(fixedRows, fixedCols, &window);
        grid->SetRows(20);
        grid->SetCols(6);
        for (int col = 0; col < 6; ++col)
            grid->SetColWidth(col, col == 3 ? 0 : 900);
        for (int row = 0; row < 20; ++row)
            grid->SetRowHeight(row, 300);
        for (int row = 0; row < 20; ++row)
            for (int col = 0; col < 6; ++col)
                grid->SetCellText(row, col, QStringLiteral("%1.%2").arg(row).arg(col));
        grid->SetCellEnabled(2, 2, false);
        grid->SetCellEnabled(19, 4, false);
        const int row =
            grid->CellRect(1, 1).height() + 1; // room for the captions, six rows and most of another
        grid->setGeometry(30, 40, 400, 2 * grid->frameWidth() + 7 * row + row * 2 / 3);
        entry.setGeometry(30, 260, 100, 30);
        QWidget::setTabOrder(grid, &entry);
        window.resize(500, 300);
        window.show();
        grid->show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        grid->SetCurrent(1, 1);
        grid->setFocus();
        ASSERT_TRUE(grid->hasFocus());
    }

    Cell Current() const { return {grid->Row(), grid->Col()}; }
    QPoint At(int row, int col) const { return CentreOf(*grid, row, col); }
    void Drag(QPoint from, QPoint to, Qt::MouseButton button = Qt::LeftButton,
              Qt::KeyboardModifiers modifiers = {}) {
        QTest::mousePress(grid->viewport(), button, modifiers, from);
        QTest::mouseMove(grid->viewport(), to);
        QTest::mouseRelease(grid->viewport(), button, modifiers, to);
    }
    QImage Picture(int row, int col) { return window.grab(grid->CellRect(row, col)).toImage(); }
    /// The colour of a cell beside its text.
    QColor Ground(int row, int col) {
        const QImage picture = Picture(row, col);
        return picture.pixelColor(QPoint(6, 6) * picture.devicePixelRatio());
    }
    /// The greatest contrast of any pixel of the cell with its ground: that of the text or of the frame.
    int PaintedContrast(int row, int col) {
        const QImage picture = Picture(row, col);
        const QColor ground = Ground(row, col);
        int contrast = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                contrast = std::max(contrast, Contrast(picture.pixelColor(x, y), ground));
        return contrast;
    }

    QWidget window;
    QLineEdit entry{&window};
    FlexGrid *grid = nullptr;
};

TEST_F(FlexGridTest, KeepsCellsWhenRowsAndColumnsComeAndGo) {
    for (const auto &[fixedRows, fixedCols] : {Cell{1, 0}, Cell{1, 1}}) {
        Show(fixedRows, fixedCols);
        grid->SetRows(100);
        grid->SetCols(11);
        for (const auto &[row, col] : {Cell{1, 0}, Cell{1, 1}, Cell{19, 5}})
            EXPECT_EQ(grid->CellText(row, col), QStringLiteral("%1.%2").arg(row).arg(col));
        for (const auto &[row, col] : {Cell{99, 10}, Cell{0, 10}, Cell{100, 0}, Cell{0, 11}, Cell{-1, 0}})
            EXPECT_EQ(grid->CellText(row, col), "") << row << ',' << col;
        EXPECT_EQ(Cell(grid->ColWidth(1), grid->ColWidth(3)), Cell(900, 0));
        grid->SetCurrent(99, 10);
        grid->SetRows(3);
        grid->SetCols(2);
        EXPECT_EQ(Current(), Cell(2, 1));
        grid->SetRows(0);
        EXPECT_EQ(Current(), Cell(0, 0));
    }
}

TEST_F(FlexGridTest, KeysWalkOverHiddenAndUnusedCellsAndStopAtTheCaptions) {
    const auto plain = Qt::NoModifier;
    const struct {
        int row, col;
        Qt::Key key;
        Qt::KeyboardModifier modifier;
        int toRow, toCol;
    } cases[] = {{1, 1, Qt::Key_Left, plain, 1, 0},       {1, 0, Qt::Key_Left, plain, 1, 0},
                 {1, 2, Qt::Key_Right, plain, 1, 4},      {1, 4, Qt::Key_Left, Qt::KeypadModifier, 1, 2},
                 {2, 1, Qt::Key_Right, plain, 2, 4},      {1, 5, Qt::Key_Right, plain, 1, 5},
                 {1, 1, Qt::Key_Up, plain, 1, 1},         {1, 2, Qt::Key_Down, plain, 3, 2},
                 {19, 1, Qt::Key_Down, plain, 19, 1},     {3, 2, Qt::Key_Up, Qt::ShiftModifier, 1, 2},
                 {4, 4, Qt::Key_Home, plain, 4, 0},       {4, 0, Qt::Key_End, plain, 4, 5},
                 {1, 1, Qt::Key_PageDown, plain, 7, 1},   {9, 4, Qt::Key_Home, Qt::ControlModifier, 1, 0},
                 {8, 4, Qt::Key_PageUp, plain, 2, 4},     {9, 4, Qt::Key_End, Qt::ControlModifier, 19, 5},
                 {8, 2, Qt::Key_PageUp, plain, 1, 2},     {17, 4, Qt::Key_PageDown, plain, 18, 4},
                 {17, 1, Qt::Key_PageDown, plain, 19, 1}, {4, 4, Qt::Key_Left, Qt::AltModifier, 4, 4}};
    for (const auto &[row, col, key, modifier, toRow, toCol] : cases) {
        grid->SetCurrent(row, col);
        if (modifier == plain) // a key brings the current cell into view, at the edge too
            grid->verticalScrollBar()->setValue(10);
        QSignalSpy entered(grid, &FlexGrid::CellEntered);
        QTest::keyClick(grid, key, modifier);
        EXPECT_EQ(Current(), Cell(toRow, toCol)) << key << " from " << row << ',' << col;
        EXPECT_EQ(entered.count(), Cell(row, col) == Cell(toRow, toCol) ? 0 : 1) << key;
        EXPECT_TRUE(grid->geometry().contains(grid->CellRect(toRow, toCol))) << key;
    }
}

TEST_F(FlexGridTest, RaisesEnterAndPrintableKeysAndLeavesTheOthersToTheWindow) {
    struct Window : QObject {
        int key = 0, keys = 0;
        bool eventFilter(QObject *, QEvent *event) override {
            keys += event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == key;
            return false;
        }
    } parent;
    window.installEventFilter(&parent);
    EXPECT_FALSE(grid->testAttribute(Qt::WA_InputMethodEnabled)) << "an input method would take the keys";
    const struct {
        Qt::Key key;
        Qt::KeyboardModifier modifiers;
        const char *text, *raised;
    } cases[] = {
        {Qt::Key_Return, Qt::NoModifier, "\r", "\r"}, {Qt::Key_Enter, Qt::KeypadModifier, "\r", "\r"},
        {Qt::Key_Period, Qt::NoModifier, ".", "."},   {Qt::Key_4, Qt::KeypadModifier, "4", "4"},
        {Qt::Key_Space, Qt::NoModifier, " ", " "},    {Qt::Key_A, Qt::ShiftModifier, "A", "A"},
        {Qt::Key_4, Qt::AltModifier, "4", ""},        {Qt::Key_4, Qt::MetaModifier, "4", ""},
        {Qt::Key_A, Qt::ControlModifier, "\x01", ""}, {Qt::Key_Return, Qt::ControlModifier, "\r", ""},
        {Qt::Key_Escape, Qt::NoModifier, "\x1b", ""}, {Qt::Key_Backspace, Qt::NoModifier, "\b", ""},
        {Qt::Key_F2, Qt::NoModifier, "", ""}};
    for (const auto &[key, modifiers, text, raised] : cases) {
        parent.key = key;
        parent.keys = 0;
        QSignalSpy keys(grid, &FlexGrid::CellKeyPressed);
        QTest::sendKeyEvent(QTest::Click, grid, key, text, modifiers);
        const int raises = *raised == '\0' ? 0 : 1;
        EXPECT_EQ(keys.count(), raises) << key;
        EXPECT_EQ(keys.value(0).value(0).toString(), raised) << key;
        EXPECT_EQ(parent.keys, 1 - raises) << key;
        EXPECT_EQ(Current(), Cell(1, 1)) << "a typed text searches no cell: " << key;
    }
    QTest::keyClick(grid, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), "1.1");
}

TEST_F(FlexGridTest, MakesTheCellOfALeftPressCurrentAndReportsTheReleaseOverACell) {
    const QPoint cell = At(3, 4), below = At(3, 5) + QPoint(0, 4000), beside = At(3, 5) + QPoint(80, 0),
                 above(At(1, 1).x(), -15), under(At(1, 1).x(), grid->viewport()->height() + 10);
    const auto left = Qt::LeftButton, right = Qt::RightButton;
    const Cell before(1, 1), pressed(3, 4);
    const struct {
        const char *what;
        QPoint press, release;
        Qt::MouseButton button;
        Cell current;
        bool raised;
    } cases[] = {{"click", cell, cell, left, pressed, true},
                 {"released on another cell", cell, At(4, 1), left, pressed, true},
                 {"released below", cell, below, left, pressed, false},
                 {"released beside the cells", cell, beside, left, pressed, false},
                 {"released on the captions", cell, above, left, pressed, false},
                 {"released under the view", cell, under, left, pressed, false},
                 {"pressed beside the cells", beside, cell, left, before, false},
                 {"cell out of use", At(2, 2), At(2, 2), left, before, false},
                 {"right button", cell, cell, right, before, true},
                 {"right beside the cells", beside, beside, right, before, true},
                 {"right released on the captions", cell, above, right, before, false}};
    const Qt::KeyboardModifiers modifiers = Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier;
    for (const auto &[what, press, release, button, current, raised] : cases) {
        grid->SetCurrent(1, 1);
        QSignalSpy ups(grid, &FlexGrid::CellMouseUp);
        Drag(press, release, button, modifiers);
        EXPECT_EQ(Current(), current) << what;
        ASSERT_EQ(ups.count(), raised ? 1 : 0) << what;
        EXPECT_TRUE(!raised || ups[0][0].value<Qt::MouseButton>() == button) << what;
        EXPECT_TRUE(!raised || ups[0][1].value<Qt::KeyboardModifiers>() == modifiers) << what;
    }
}

TEST_F(FlexGridTest, ReportsBothClicksOfADoubleClickAndTheOneOnACellThatScrollsIntoView) {
    QSignalSpy ups(grid, &FlexGrid::CellMouseUp);
    ClickCell(*grid, 3, 4);
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, At(3, 4));
    QTest::mouseRelease(grid->viewport(), Qt::LeftButton, {}, At(3, 4));
    EXPECT_EQ(ups.count(), 2);
    grid->verticalScrollBar()->setValue(grid->verticalScrollBar()->maximum() - 1);
    const QPoint cut(At(1, 1).x(), grid->viewport()->height() - 2);
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, cut);
    EXPECT_EQ(Current(), Cell(19, 1));
    EXPECT_TRUE(grid->geometry().contains(grid->CellRect(19, 1)));
    EXPECT_EQ(ups.count(), 3);
}

TEST_F(FlexGridTest, CaptionsTakeNoClickAndNothingAsksForAContextMenu) {
    QWidget *captions = grid->horizontalHeader()->viewport();
    QSignalSpy ups(grid, &FlexGrid::CellMouseUp), menus(&window, &QWidget::customContextMenuRequested);
    window.setContextMenuPolicy(Qt::CustomContextMenu);
    QTest::mouseClick(captions, Qt::LeftButton, {}, QPoint(grid->columnWidth(0) - 1, 5));
    EXPECT_EQ(Current(), Cell(1, 1));
    for (QWidget *part : {grid->viewport(), captions}) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), part->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(part, &event);
    }
    EXPECT_EQ(ups.count() + menus.count(), 0);
}

TEST_F(FlexGridTest, SetCurrentRaisesEveryTimeScrollsIntoViewAndRefusesCellsThatAreNone) {
    QSignalSpy entered(grid, &FlexGrid::CellEntered);
    for (int times = 1; times <= 2; ++times) {
        grid->verticalScrollBar()->setValue(0);
        EXPECT_TRUE(grid->SetCurrent(15, 2));
        ASSERT_EQ(entered.count(), times);
        EXPECT_TRUE(grid->geometry().contains(grid->CellRect(15, 2)));
    }
    EXPECT_EQ(entered[1], (QList<QVariant>{15, 2}));
    for (const auto &[row, col] :
         {Cell{0, 1}, Cell{1, 3}, Cell{2, 2}, Cell{20, 1}, Cell{1, 6}, Cell{-1, 1}, Cell{1, -1}}) {
        EXPECT_FALSE(grid->SetCurrent(row, col)) << row << ',' << col;
        EXPECT_FALSE(grid->IsCellSelectable(row, col)) << row << ',' << col;
    }
    EXPECT_EQ(Current(), Cell(15, 2));
    EXPECT_EQ(entered.count(), 2);
}

TEST_F(FlexGridTest, SetCurrentBeforeTheFirstShowScrollsOnlyAsFarAsNeeded) {
    for (const auto &[row, top] : {Cell{5, 0}, Cell{12, 6}}) {
        FlexGrid late(1, 0, &window);
        late.SetRows(20);
        late.SetCols(6);
        EXPECT_TRUE(late.SetCurrent(row, 1));
        EXPECT_TRUE(late.SetCurrent(row, 1));
        late.resize(600, 2 * late.frameWidth() + 7 * (late.CellRect(1, 1).height() + 1));
        late.show();
        EXPECT_EQ(late.verticalScrollBar()->value(), top) << row;
    }
}

TEST_F(FlexGridTest, RaisesScrolledForEveryMovementOfTheCellsAndOnlyThen) {
    grid->SetColWidth(5, 9000);
    QApplication::processEvents();
    const struct {
        const char *what;
        std::function<void()> act;
        bool moves;
    } cases[] = {{"bar down", [&] { grid->verticalScrollBar()->setValue(4); }, true},
                 {"bar right", [&] { grid->horizontalScrollBar()->setValue(30); }, true},
                 {"key", [&] { QTest::keyClick(grid, Qt::Key_Home, Qt::ControlModifier); }, true},
                 {"current in view", [&] { grid->SetCurrent(2, 1); }, false},
                 {"program", [&] { grid->SetCurrent(19, 1); }, true},
                 {"program up", [&] { grid->SetCurrent(1, 1); }, true},
                 {"narrower", [&] { grid->resize(300, 200); }, false},
                 {"more rows", [&] { grid->SetRows(50); }, false}};
    for (const auto &[what, act, moves] : cases) {
        QSignalSpy scrolls(grid, &FlexGrid::Scrolled);
        act();
        QApplication::processEvents();
        EXPECT_EQ(scrolls.count() > 0, moves) << what;
    }
}

TEST_F(FlexGridTest, TellsWhereItsCellsAreInTheWindowInEveryFontAndPlace) {
    for (const auto &[fixedRows, fixedCols] : {Cell{1, 0}, Cell{1, 1}}) {
        Show(fixedRows, fixedCols);
        for (int row = 0; row < 20; ++row)
            grid->SetRowHeight(row, 0);
        for (const int points : {7, 12, 24}) {
            QFont font = grid->font();
            font.setPointSize(points);
            grid->setFont(font);
            grid->verticalScrollBar()->setValue(points == 12 ? 3 : grid->verticalScrollBar()->maximum());
            const int top = grid->verticalScrollBar()->value() + fixedRows;
            const QRect rect = grid->CellRect(top, 1);
            EXPECT_EQ(grid->CellRect(0, 1).bottom() + 2, rect.top()) << "the top row is never cut";
            EXPECT_GE(rect.height(), QFontMetrics(font).height());
            for (const QPoint corner : {rect.topLeft(), rect.bottomRight()}) {
                const QModelIndex hit = grid->indexAt(grid->viewport()->mapFrom(&window, corner));
                EXPECT_EQ(Cell(hit.row() + fixedRows, hit.column() + fixedCols), Cell(top, 1)) << points;
            }
            QWidget *caption = window.childAt(grid->CellRect(0, 1).center());
            EXPECT_EQ(caption, grid->horizontalHeader()->viewport()) << points;
        }
        grid->SetCellFontSize(4, 2, 30);
        EXPECT_GE(grid->CellRect(1, 1).height(), QFontMetrics(QFont(grid->font().family(), 30)).height());
        EXPECT_TRUE(grid->CellRect(1, 3).isEmpty());
        EXPECT_TRUE(grid->CellRect(20, 1).isEmpty());
    }
    EXPECT_EQ(window.childAt(grid->CellRect(19, 0).center()), grid->verticalHeader()->viewport());
}

TEST_F(FlexGridTest, ACellOutOfUseLosesItsTextAndIsNeverCurrent) {
    EXPECT_EQ(grid->CellText(2, 2), "");
    grid->SetCellText(2, 2, "late");
    EXPECT_EQ(grid->CellText(2, 2), "");
    grid->SetCellEnabled(1, 1, false);
    EXPECT_EQ(Current(), Cell(0, 0));
    QTest::keyClick(grid, Qt::Key_Down);
    EXPECT_EQ(Current(), Cell(1, 0));
    grid->SetCellEnabled(2, 2, true);
    grid->SetCellText(2, 2, "now");
    EXPECT_EQ(grid->CellText(2, 2), "now");
    EXPECT_TRUE(grid->SetCurrent(2, 2));
}

TEST_F(FlexGridTest, StatedColoursStayReadableWhenTheWindowTurnsDark) {
    const QString block(QChar(0x2588));
    const Cell texts[] = {{0, 1}, {3, 1}, {4, 1}};
    grid->SetCellColor(0, 1, QColor(0x13, 0x3A, 0x95));
    grid->SetCellColor(3, 1, QColor(0, 0, 0xFF));
    grid->SetCellBackColor(4, 1, QColor(0xFF, 0, 0));
    for (const auto &[row, col] : texts)
        grid->SetCellText(row, col, block);
    for (const QPalette &palette : {QPalette(Qt::lightGray), DarkPalette()}) {
        window.setPalette(palette);
        EXPECT_EQ(Ground(3, 1), palette.color(QPalette::Base));
        EXPECT_EQ(Ground(4, 1), QColor(0xFF, 0, 0));
        EXPECT_NE(Ground(2, 2), Ground(3, 1)) << "out of use";
        for (const auto &[row, col] : texts)
            EXPECT_GE(PaintedContrast(row, col), Readable) << row << ',' << col;
        for (const bool focused : {true, false}) {
            focused ? grid->setFocus() : entry.setFocus();
            grid->SetCellText(1, 1, "");
            EXPECT_GE(PaintedContrast(1, 1), 40) << "the frame, focused " << focused;
        }
    }
    EXPECT_EQ(grid->CellBackColor(4, 1), QColor(0xFF, 0, 0));
    grid->SetCellBackColor(4, 1, std::nullopt);
    EXPECT_EQ(grid->CellBackColor(4, 1), std::nullopt);
    EXPECT_EQ(Ground(4, 1), Ground(3, 1));
}

} // namespace
} // namespace k470
