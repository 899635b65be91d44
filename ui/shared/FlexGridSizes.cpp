#include "ui/shared/FlexGrid.h"
#include "ui/shared/GridPainting.h"
#include "ui/shared/Twips.h"

#include <QEvent>
#include <QFontMetrics>
#include <QHeaderView>
#include <QScrollBar>

#include <algorithm>

namespace k470 {

namespace {

constexpr int RowPadding = 6; // pixels above and below the text, together

QFont FontOfSize(int points) {
    QFont font; // only the size is set: the rest follows the grid's font
    font.setPointSize(points);
    return font;
}

} // namespace

void FlexGrid::SetColWidth(int col, int twips) {
    if (col < 0 || col >= Cols())
        return;
    twips = std::max(0, twips);
    colTwips_[static_cast<std::size_t>(col)] = twips;
    const int pixels = TwipsToPixels(twips, this);
    if (col < fixedCols_) {
        verticalHeader()->setFixedWidth(pixels);
        verticalHeader()->setHidden(twips == 0);
        updateGeometries();
        return;
    }
    setColumnHidden(col - fixedCols_, twips == 0);
    if (twips > 0)
        setColumnWidth(col - fixedCols_, pixels);
}

int FlexGrid::ColWidth(int col) const {
    return col >= 0 && col < Cols() ? colTwips_[static_cast<std::size_t>(col)] : 0;
}

void FlexGrid::SetRowHeight(int row, int twips) {
    if (row < 0 || row >= Rows())
        return;
    rowTwips_[static_cast<std::size_t>(row)] = std::max(0, twips);
    if (row >= fixedRows_ && twips > 0)
        setRowHeight(row - fixedRows_, TwipsToPixels(twips, this));
    else
        LayOutRows();
}

/// Gives every row its height: the one that was set, or one that the largest font fits in.
void FlexGrid::LayOutRows() {
    const QFont largest = largestPoints_ > 0 ? FontOfSize(largestPoints_).resolve(font()) : font();
    const int byFont = std::max(QFontMetrics(largest).height(), QFontMetrics(font()).height()) + RowPadding;
    verticalHeader()->setDefaultSectionSize(byFont);
    for (int row = 0; row < Rows(); ++row) {
        const int twips = rowTwips_[static_cast<std::size_t>(row)];
        if (row < fixedRows_)
            horizontalHeader()->setFixedHeight(twips > 0 ? TwipsToPixels(twips, this) : byFont);
        else if (twips > 0)
            setRowHeight(row - fixedRows_, TwipsToPixels(twips, this));
    }
    updateGeometries();
}

QRect FlexGrid::CellRect(int row, int col) const {
    if (!Contains(row, col) || ColWidth(col) == 0)
        return {};
    const QHeaderView *captions = horizontalHeader();
    const QHeaderView *sides = verticalHeader();
    const QPoint cells = viewport()->pos();
    const bool isCaption = row < fixedRows_;
    const bool isSide = col < fixedCols_;
    const int top = isCaption ? captions->y() : cells.y() + rowViewportPosition(row - fixedRows_);
    const int left = isSide ? sides->x() : cells.x() + columnViewportPosition(col - fixedCols_);
    const int height = isCaption ? captions->height() : rowHeight(row - fixedRows_);
    const int width = isSide ? sides->width() : columnWidth(col - fixedCols_);
    const QRect rect(left, top, width - GridLine, height - GridLine);
    return parentWidget() ? rect.translated(pos()) : rect;
}

void FlexGrid::SetCellFontSize(int row, int col, int points) {
    QTableWidgetItem *cell = ItemAt(row, col);
    if (!cell)
        return;
    cell->setFont(FontOfSize(points));
    if (row >= fixedRows_ && points > largestPoints_) {
        largestPoints_ = points;
        LayOutRows();
    }
}

void FlexGrid::scrollContentsBy(int dx, int dy) {
    QTableWidget::scrollContentsBy(dx, dy);
    AlignTopRow();
    if (dx != 0 || dy != 0)
        emit Scrolled();
}

void FlexGrid::updateGeometries() {
    QTableWidget::updateGeometries();
    AlignTopRow();
}

/// At its end the scroll bar stands for the bottom of the last row, which would cut the row at the top.
void FlexGrid::AlignTopRow() {
    const int before = verticalHeader()->offset();
    verticalHeader()->setOffsetToSectionPosition(verticalScrollBar()->value());
    if (verticalHeader()->offset() != before)
        viewport()->update();
}

void FlexGrid::changeEvent(QEvent *event) {
    QTableWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        LayOutRows();
}

} // namespace k470
