#include "ui/shared/FlexGrid.h"
#include "ui/shared/Twips.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QLineEdit>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace k470 {
namespace {

using Cell = std::pair<int, int>;

QPalette DarkPalette() {
    QPalette palette;
    for (const auto role : {QPalette::Window, QPalette::Button})
        palette.setColor(role, QColor(53, 53, 53));
    for (const auto role : {QPalette::WindowText, QPalette::ButtonText, QPalette::Text})
        palette.setColor(role, Qt::white);
    palette.setColor(QPalette::Base, QColor(35, 35, 35));
    return palette;
}

double Brightness(const QColor &colour) {
    const auto linear = [](double c) {
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double Contrast(const QColor &a, const QColor &b) {
    const double x = Brightness(a) + 0.05, y = Brightness(b) + 0.05;
    return std::max(x, y) / std::min(x, y);
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
    QPoint At(int row, int col) const {
        return grid->viewport()->mapFrom(&window, grid->CellRect(row, col).center());
    }
    void Press(QPoint at, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mousePress(grid->viewport(), button, modifiers, at);
    }
    void Release(QPoint at, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseRelease(grid->viewport(), button, modifiers, at);
    }
    QImage Picture(int row, int col) { return window.grab(grid->CellRect(row, col)).toImage(); }
    /// The colour of a cell beside its text.
    static QColor Ground(const QImage &picture) {
        const QPoint inside = QPoint(6, 6) * picture.devicePixelRatio();
        return picture.pixelColor(inside);
    }
    QColor Ground(int row, int col) { return Ground(Picture(row, col)); }
    /// The greatest contrast of any pixel of the cell with its ground: that of the text or of the frame.
    double PaintedContrast(int row, int col) {
        const QImage picture = Picture(row, col);
        double contrast = 1;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                contrast = std::max(contrast, Contrast(picture.pixelColor(x, y), Ground(picture)));
        return contrast;
    }

    QWidget window;
    QLineEdit entry{&window};
    FlexGrid *grid = nullptr;
};

TEST(ReadableShade, KeepsAReadableColourAndShiftsOthersWithinTheirHue) {
    const QColor caption(0x13, 0x3A, 0x95), number(0, 0, 0xFF), red(0xFF, 0, 0);
    const struct {
        QColor colour, ground;
        bool kept;
    } cases[] = {{caption, QColor(239, 239, 239), true},
                 {number, Qt::white, true},
                 {Qt::black, red, true},
                 {caption, QColor(53, 53, 53), false},
                 {number, QColor(35, 35, 35), false},
                 {number, Qt::black, false},
                 {Qt::white, red, false},
                 {Qt::yellow, Qt::white, false},
                 {Qt::gray, Qt::darkGray, false}};
    for (const auto &[colour, ground, kept] : cases) {
        const QColor shade = ReadableShade(colour, ground);
        EXPECT_EQ(shade == colour, kept) << colour.name().toStdString();
        EXPECT_GE(Contrast(shade, ground), 4.5) << colour.name().toStdString();
        EXPECT_NEAR(shade.hslHueF(), colour.hslHueF(), 0.01) << colour.name().toStdString();
    }
}

TEST(Twips, AreRoundedToWholePixelsAtTheLogicalResolution) {
    const QWidget widget;
    for (const int twips : {0, 7, 8, 15, 500, 650, 1265, 1300, 9250})
        EXPECT_EQ(TwipsToPixels(twips, &widget), std::lround(twips * widget.logicalDpiX() / 1440.0)) << twips;
}

TEST_F(FlexGridTest, KeepsCellsWhenRowsAndColumnsComeAndGo) {
    for (const auto &[fixedRows, fixedCols] : {Cell{1, 0}, Cell{1, 1}, Cell{0, 0}}) {
        Show(fixedRows, fixedCols);
        grid->SetRows(100);
        grid->SetCols(11);
        EXPECT_EQ(Cell(grid->Rows(), grid->Cols()), Cell(100, 11));
        for (const auto &[row, col] : {Cell{0, 1}, Cell{1, 0}, Cell{1, 1}, Cell{19, 5}})
            EXPECT_EQ(grid->CellText(row, col), QStringLiteral("%1.%2").arg(row).arg(col));
        for (const auto &[row, col] :
             {Cell{20, 0}, Cell{99, 10}, Cell{0, 10}, Cell{100, 0}, Cell{0, 11}, Cell{-1, 0}})
            EXPECT_EQ(grid->CellText(row, col), "") << row << ',' << col;
        EXPECT_EQ(grid->ColWidth(1), 900);
        EXPECT_EQ(grid->ColWidth(3), 0);
        grid->SetCurrent(99, 10);
        grid->SetRows(3);
        grid->SetCols(2);
        EXPECT_EQ(Current(), Cell(2, 1));
        grid->SetRows(0);
        EXPECT_EQ(Current(), Cell(0, 0));
        EXPECT_EQ(grid->Rows(), fixedRows);
    }
}

TEST_F(FlexGridTest, TheSameTextAgainChangesAndPaintsNothing) {
    struct PaintCounter : QObject {
        int paints = 0;
        bool eventFilter(QObject *, QEvent *event) override {
            paints += event->type() == QEvent::Paint;
            return false;
        }
    } counter;
    window.repaint();
    QApplication::processEvents();
    grid->viewport()->installEventFilter(&counter);
    QSignalSpy changes(grid, &QTableWidget::itemChanged);
    grid->SetCellText(1, 1, "1.1");
    QApplication::processEvents();
    EXPECT_EQ(changes.count() + counter.paints, 0);
    grid->SetCellText(1, 1, "other");
    EXPECT_TRUE(QTest::qWaitFor([&] { return counter.paints > 0; }));
    EXPECT_EQ(changes.count(), 1);
    grid->SetCols(7);
    changes.clear();
    grid->SetCellText(1, 6, "");
    EXPECT_EQ(changes.count(), 0) << "a new cell is empty already";
}

TEST_F(FlexGridTest, KeysWalkOverHiddenAndUnusedCellsAndStopAtTheCaptions) {
    const struct {
        Cell from;
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        Cell to;
    } cases[] = {{{1, 1}, Qt::Key_Left, {}, {1, 0}},
                 {{1, 0}, Qt::Key_Left, {}, {1, 0}},
                 {{1, 2}, Qt::Key_Right, {}, {1, 4}},
                 {{1, 4}, Qt::Key_Left, Qt::KeypadModifier, {1, 2}},
                 {{2, 1}, Qt::Key_Right, {}, {2, 4}},
                 {{1, 5}, Qt::Key_Right, {}, {1, 5}},
                 {{1, 1}, Qt::Key_Up, {}, {1, 1}},
                 {{1, 2}, Qt::Key_Down, {}, {3, 2}},
                 {{3, 2}, Qt::Key_Up, Qt::ShiftModifier, {1, 2}},
                 {{19, 1}, Qt::Key_Down, {}, {19, 1}},
                 {{4, 4}, Qt::Key_Home, {}, {4, 0}},
                 {{4, 0}, Qt::Key_End, {}, {4, 5}},
                 {{9, 4}, Qt::Key_Home, Qt::ControlModifier, {1, 0}},
                 {{9, 4}, Qt::Key_End, Qt::ControlModifier, {19, 5}},
                 {{1, 1}, Qt::Key_PageDown, {}, {7, 1}},
                 {{8, 4}, Qt::Key_PageUp, {}, {2, 4}},
                 {{11, 4}, Qt::Key_PageUp, {}, {5, 4}},
                 {{17, 4}, Qt::Key_PageDown, {}, {18, 4}},
                 {{8, 2}, Qt::Key_PageUp, {}, {1, 2}},
                 {{17, 1}, Qt::Key_PageDown, {}, {19, 1}},
                 {{4, 4}, Qt::Key_Left, Qt::AltModifier, {4, 4}}};
    for (const auto &[from, key, modifiers, to] : cases) {
        grid->SetCurrent(from.first, from.second);
        QSignalSpy entered(grid, &FlexGrid::CellEntered);
        QTest::keyClick(grid, key, modifiers);
        EXPECT_EQ(Current(), to) << key << " from " << from.first << ',' << from.second;
        EXPECT_EQ(entered.count(), from == to ? 0 : 1) << key;
        EXPECT_TRUE(grid->geometry().contains(grid->CellRect(to.first, to.second))) << key;
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
        Qt::KeyboardModifiers modifiers;
        QString text, raised;
    } cases[] = {{Qt::Key_Return, {}, "\r", "\r"},
                 {Qt::Key_Enter, Qt::KeypadModifier, "\r", "\r"},
                 {Qt::Key_4, Qt::KeypadModifier, "4", "4"},
                 {Qt::Key_Period, {}, ".", "."},
                 {Qt::Key_A, Qt::ShiftModifier, "A", "A"},
                 {Qt::Key_Space, {}, " ", " "},
                 {Qt::Key_4, Qt::AltModifier, "4", ""},
                 {Qt::Key_4, Qt::MetaModifier, "4", ""},
                 {Qt::Key_A, Qt::ControlModifier, "\x01", ""},
                 {Qt::Key_Return, Qt::ControlModifier, "\r", ""},
                 {Qt::Key_Escape, {}, "\x1b", ""},
                 {Qt::Key_Backspace, {}, "\b", ""},
                 {Qt::Key_F2, {}, "", ""}};
    for (const auto &[key, modifiers, text, raised] : cases) {
        parent.key = key;
        parent.keys = 0;
        QSignalSpy keys(grid, &FlexGrid::CellKeyPressed);
        QTest::sendKeyEvent(QTest::Click, grid, key, text, modifiers);
        EXPECT_EQ(keys.count(), raised.isEmpty() ? 0 : 1) << key;
        EXPECT_EQ(keys.value(0).value(0).toString(), raised) << key;
        EXPECT_EQ(parent.keys, raised.isEmpty() ? 1 : 0) << key;
        EXPECT_EQ(Current(), Cell(1, 1)) << "a typed text searches no cell: " << key;
    }
    QTest::keyClick(grid, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), "1.1");
}

TEST_F(FlexGridTest, TabLeavesTheGrid) {
    QTest::keyClick(grid, Qt::Key_Tab);
    EXPECT_TRUE(entry.hasFocus());
    QTest::keyClick(&entry, Qt::Key_Backtab);
    EXPECT_TRUE(grid->hasFocus());
    EXPECT_EQ(Current(), Cell(1, 1));
}

TEST_F(FlexGridTest, MakesTheCellOfALeftPressCurrentAndReportsTheReleaseOverACell) {
    const QPoint below = At(3, 5) + QPoint(0, 4000), right = At(3, 5) + QPoint(80, 0),
                 above(At(1, 1).x(), -15), under(At(1, 1).x(), grid->viewport()->height() + 10);
    const Qt::KeyboardModifiers all = Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier;
    const struct {
        const char *what;
        QPoint press, release;
        Qt::MouseButton button;
        Qt::KeyboardModifiers modifiers;
        Cell current;
        bool raised;
    } cases[] = {{"click", At(3, 4), At(3, 4), Qt::LeftButton, {}, {3, 4}, true},
                 {"column 0", At(3, 0), At(3, 0), Qt::LeftButton, {}, {3, 0}, true},
                 {"released on another cell", At(3, 4), At(4, 1), Qt::LeftButton, {}, {3, 4}, true},
                 {"released below", At(3, 4), below, Qt::LeftButton, {}, {3, 4}, false},
                 {"released right", At(3, 4), right, Qt::LeftButton, {}, {3, 4}, false},
                 {"released on the captions", At(3, 4), above, Qt::LeftButton, {}, {3, 4}, false},
                 {"released under the view", At(3, 4), under, Qt::LeftButton, {}, {3, 4}, false},
                 {"pressed right of the cells", right, At(3, 4), Qt::LeftButton, {}, {1, 1}, false},
                 {"cell out of use", At(2, 2), At(2, 2), Qt::LeftButton, {}, {1, 1}, false},
                 {"right button", At(3, 4), At(3, 4), Qt::RightButton, {}, {1, 1}, true},
                 {"right with modifiers", At(3, 4), At(3, 4), Qt::RightButton, all, {1, 1}, true},
                 {"right beside the cells", right, right, Qt::RightButton, all, {1, 1}, true},
                 {"right released on the captions", At(3, 4), above, Qt::RightButton, all, {1, 1}, false}};
    for (const auto &[what, press, release, button, modifiers, current, raised] : cases) {
        grid->SetCurrent(1, 1);
        QSignalSpy ups(grid, &FlexGrid::CellMouseUp);
        Press(press, button, modifiers);
        EXPECT_EQ(Current(), current) << what;
        QTest::mouseMove(grid->viewport(), release);
        Release(release, button, modifiers);
        EXPECT_EQ(Current(), current) << what;
        ASSERT_EQ(ups.count(), raised ? 1 : 0) << what;
        if (raised) {
            EXPECT_EQ(ups[0][0].value<Qt::MouseButton>(), button) << what;
            EXPECT_EQ(ups[0][1].value<Qt::KeyboardModifiers>(), modifiers) << what;
        }
    }
}

TEST_F(FlexGridTest, ReportsBothClicksOfADoubleClick) {
    QSignalSpy ups(grid, &FlexGrid::CellMouseUp);
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, At(3, 4));
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, At(3, 4));
    Release(At(3, 4));
    EXPECT_EQ(ups.count(), 2);
}

TEST_F(FlexGridTest, AClickOnACellCutAtTheEdgeBringsItIntoViewAndIsReported) {
    grid->verticalScrollBar()->setValue(grid->verticalScrollBar()->maximum() - 1);
    const QPoint cut(At(1, 1).x(), grid->viewport()->height() - 2);
    QSignalSpy ups(grid, &FlexGrid::CellMouseUp);
    Press(cut);
    Release(cut);
    EXPECT_EQ(Current(), Cell(19, 1));
    EXPECT_TRUE(grid->geometry().contains(grid->CellRect(19, 1)));
    EXPECT_EQ(ups.count(), 1);
}

TEST_F(FlexGridTest, CaptionsTakeNoClickAndNoResizing) {
    QWidget *captions = grid->horizontalHeader()->viewport();
    const QPoint edge(grid->columnWidth(0) - 1, 5);
    QSignalSpy ups(grid, &FlexGrid::CellMouseUp);
    QTest::mouseClick(captions, Qt::LeftButton, {}, QPoint(20, 5));
    QTest::mousePress(captions, Qt::LeftButton, {}, edge);
    QTest::mouseMove(captions, edge + QPoint(40, 0));
    QTest::mouseRelease(captions, Qt::LeftButton, {}, edge + QPoint(40, 0));
    EXPECT_EQ(Current(), Cell(1, 1));
    EXPECT_EQ(grid->columnWidth(0), TwipsToPixels(900, grid));
    EXPECT_EQ(ups.count(), 0);
}

TEST_F(FlexGridTest, AsksForNoContextMenuHereOrAbove) {
    window.setContextMenuPolicy(Qt::CustomContextMenu);
    QSignalSpy menus(&window, &QWidget::customContextMenuRequested);
    for (QWidget *part : {grid->viewport(), grid->horizontalHeader()->viewport()}) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), part->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(part, &event);
        EXPECT_EQ(menus.count(), 0) << part->parent()->metaObject()->className();
    }
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
    } cases[] = {
        {"bar down", [&] { grid->verticalScrollBar()->setValue(4); }, true},
        {"bar, nowhere", [&] { grid->verticalScrollBar()->setValue(4); }, false},
        {"bar right", [&] { grid->horizontalScrollBar()->setValue(30); }, true},
        {"key", [&] { QTest::keyClick(grid, Qt::Key_Home, Qt::ControlModifier); }, true},
        {"current in view", [&] { grid->SetCurrent(2, 1); }, false},
        {"program", [&] { grid->SetCurrent(19, 1); }, true},
        {"program up", [&] { grid->SetCurrent(1, 1); }, true},
        {"taller", [&] { grid->resize(400, 200); }, false},
        {"narrower", [&] { grid->resize(300, 200); }, false},
        {"more rows", [&] { grid->SetRows(50); }, false},
    };
    for (const auto &[what, act, moves] : cases) {
        QSignalSpy scrolls(grid, &FlexGrid::Scrolled);
        act();
        QApplication::processEvents();
        EXPECT_EQ(scrolls.count() > 0, moves) << what;
    }
    QSignalSpy scrolls(grid, &FlexGrid::Scrolled);
    const QPoint at = At(2, 1);
    QWheelEvent wheel(at, grid->viewport()->mapToGlobal(at), {}, {0, -120}, Qt::NoButton, {},
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(grid->viewport(), &wheel);
    EXPECT_EQ(scrolls.count(), 1);
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
    const std::initializer_list<Cell> texts{{0, 1}, {3, 1}, {4, 1}};
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
            EXPECT_GE(PaintedContrast(row, col), 4.5) << row << ',' << col;
        for (const bool focused : {true, false}) {
            focused ? grid->setFocus() : entry.setFocus();
            grid->SetCellText(1, 1, "");
            EXPECT_GE(PaintedContrast(1, 1), 3) << "the frame, focused " << focused;
        }
    }
    EXPECT_EQ(grid->CellBackColor(4, 1), QColor(0xFF, 0, 0));
    grid->SetCellBackColor(4, 1, std::nullopt);
    EXPECT_EQ(grid->CellBackColor(4, 1), std::nullopt);
    EXPECT_EQ(Ground(4, 1), Ground(3, 1));
}

TEST_F(FlexGridTest, ShowsItsTextsToAssistiveTools) {
    Show(1, 1);
    QAccessibleInterface *table = QAccessible::queryAccessibleInterface(grid);
    ASSERT_TRUE(table);
    for (const auto &[row, col] : {Cell{0, 5}, Cell{4, 0}, Cell{4, 5}, Cell{19, 1}}) {
        const QAccessibleInterface *cell = table->child(row * grid->Cols() + col);
        ASSERT_TRUE(cell) << row << ',' << col;
        EXPECT_EQ(cell->text(QAccessible::Name), grid->CellText(row, col)) << row << ',' << col;
        EXPECT_FALSE(cell->state().editable) << row << ',' << col;
    }
}

} // namespace
} // namespace k470
