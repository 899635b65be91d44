#include "ui/shared/FlexGrid.h"

#include "ui/shared/GridPainting.h"
#include "ui/shared/Twips.h"

#include <QAbstractButton>
#include <QEvent>
#include <QHeaderView>
#include <QPainter>

#include <algorithm>

namespace k470 {

namespace {

constexpr int DefaultColTwips = 960;
constexpr Qt::ItemFlags InUse = Qt::ItemIsSelectable | Qt::ItemIsEnabled;

QTableWidgetItem *NewItem() {
    auto *item = new QTableWidgetItem;
    item->setFlags(InUse);
    return item;
}

} // namespace

FlexGrid::FlexGrid(int fixedRows, int fixedCols, QWidget *parent)
    : QTableWidget(parent), fixedRows_(fixedRows), fixedCols_(fixedCols),
      colTwips_(static_cast<std::size_t>(fixedCols), DefaultColTwips),
      rowTwips_(static_cast<std::size_t>(fixedRows), 0) {
    setItemDelegate(new CellDelegate(this));
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setDragDropMode(NoDragDrop);
    setTabKeyNavigation(false);
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::PreventContextMenu);
    setWordWrap(false);
    setShowGrid(false); // the cells draw their edges, in a shade that shows on dark windows too
    setVerticalScrollMode(ScrollPerItem);
    setHorizontalScrollMode(ScrollPerPixel);
    SetUpHeaders();
}

void FlexGrid::SetUpHeaders() {
    setHorizontalHeader(new CaptionHeader(Qt::Horizontal, this));
    setVerticalHeader(new CaptionHeader(Qt::Vertical, this));
    for (QHeaderView *header : {horizontalHeader(), verticalHeader()}) {
        header->setSectionResizeMode(QHeaderView::Fixed);
        header->setMinimumSectionSize(1);
        header->setFocusPolicy(Qt::NoFocus);
        header->setContextMenuPolicy(Qt::PreventContextMenu);
    }
    horizontalHeader()->setVisible(fixedRows_ > 0);
    verticalHeader()->setVisible(fixedCols_ > 0);
    setCornerButtonEnabled(false);
    if (auto *corner = findChild<QAbstractButton *>(QString(), Qt::FindDirectChildrenOnly))
        corner->installEventFilter(this);
    if (fixedCols_ > 0)
        SetColWidth(0, DefaultColTwips);
    LayOutRows();
}

// --- rows, columns and texts ---

void FlexGrid::SetRows(int rows) {
    const int before = rowCount();
    setRowCount(std::max(0, rows - fixedRows_));
    rowTwips_.resize(static_cast<std::size_t>(Rows()), 0);
    CreateCells(before, 0);
}

void FlexGrid::SetCols(int cols) {
    const int before = columnCount();
    setColumnCount(std::max(0, cols - fixedCols_));
    colTwips_.resize(static_cast<std::size_t>(Cols()), DefaultColTwips);
    CreateCells(0, before);
    for (int col = before; col < columnCount(); ++col)
        setColumnWidth(col, TwipsToPixels(DefaultColTwips, this));
}

int FlexGrid::Rows() const {
    return rowCount() + fixedRows_;
}

int FlexGrid::Cols() const {
    return columnCount() + fixedCols_;
}

/// Fills the new part of the table, the rows from firstRow or the columns from firstCol. No cell is left
/// without an item: the table would take it for an editable one, and number a caption by itself.
void FlexGrid::CreateCells(int firstRow, int firstCol) {
    for (int row = firstRow; row < rowCount(); ++row) {
        for (int col = firstCol; col < columnCount(); ++col)
            setItem(row, col, NewItem());
        if (firstCol == 0 && !verticalHeaderItem(row))
            setVerticalHeaderItem(row, NewItem());
    }
    for (int col = firstCol; col < columnCount(); ++col)
        if (!horizontalHeaderItem(col))
            setHorizontalHeaderItem(col, NewItem());
}

bool FlexGrid::Contains(int row, int col) const {
    return row >= 0 && row < Rows() && col >= 0 && col < Cols();
}

/// @return null outside the grid and where a caption row and a caption column meet
QTableWidgetItem *FlexGrid::ItemAt(int row, int col) const {
    if (!Contains(row, col) || (row < fixedRows_ && col < fixedCols_))
        return nullptr;
    if (row < fixedRows_)
        return horizontalHeaderItem(col - fixedCols_);
    if (col < fixedCols_)
        return verticalHeaderItem(row - fixedRows_);
    return item(row - fixedRows_, col - fixedCols_);
}

QString FlexGrid::CellText(int row, int col) const {
    const QTableWidgetItem *cell = ItemAt(row, col);
    return cell ? cell->text() : QString();
}

void FlexGrid::SetCellText(int row, int col, const QString &text) {
    QTableWidgetItem *cell = ItemAt(row, col);
    if (cell && (cell->flags() & Qt::ItemIsEnabled) && cell->text() != text)
        cell->setText(text);
}

// --- looks of a cell ---

void FlexGrid::SetCellColor(int row, int col, const QColor &colour) {
    if (QTableWidgetItem *cell = ItemAt(row, col))
        cell->setForeground(colour);
}

void FlexGrid::SetCellBackColor(int row, int col, std::optional<QColor> colour) {
    if (QTableWidgetItem *cell = ItemAt(row, col))
        cell->setBackground(colour ? QBrush(*colour) : QBrush());
}

std::optional<QColor> FlexGrid::CellBackColor(int row, int col) const {
    const QTableWidgetItem *cell = ItemAt(row, col);
    if (!cell || cell->background().style() == Qt::NoBrush)
        return std::nullopt;
    return cell->background().color();
}

void FlexGrid::SetCellEnabled(int row, int col, bool enabled) {
    QTableWidgetItem *cell = ItemAt(row, col);
    const Qt::ItemFlags flags = enabled ? InUse : Qt::ItemFlags();
    if (!cell || row < fixedRows_ || col < fixedCols_ || cell->flags() == flags)
        return;
    cell->setText(QString());
    cell->setFlags(flags);
    if (!enabled && cell == currentItem())
        selectionModel()->clear();
}

/// Paints the corner between the captions like one of them, not as the button that the table has there.
bool FlexGrid::eventFilter(QObject *watched, QEvent *event) {
    auto *corner = qobject_cast<QAbstractButton *>(watched);
    if (!corner || event->type() != QEvent::Paint)
        return QTableWidget::eventFilter(watched, event);
    QPainter painter(corner);
    PaintCaptionGround(painter, corner->rect(), palette());
    return true;
}

} // namespace k470
