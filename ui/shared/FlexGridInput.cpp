#include "ui/shared/FlexGrid.h"
#include "ui/shared/Keys.h"

#include <QApplication>
#include <QHash>
#include <QMouseEvent>

#include <algorithm>

namespace k470 {

// --- the current cell ---

int FlexGrid::Row() const {
    return currentIndex().isValid() ? currentRow() + fixedRows_ : 0;
}

int FlexGrid::Col() const {
    return currentIndex().isValid() ? currentColumn() + fixedCols_ : 0;
}

bool FlexGrid::SetCurrent(int row, int col) {
    if (!IsCellSelectable(row, col))
        return false;
    const bool isCurrent = Row() == row && Col() == col;
    MakeCurrent(model()->index(row - fixedRows_, col - fixedCols_));
    if (isCurrent)
        emit CellEntered(row, col);
    return true;
}

bool FlexGrid::IsCellSelectable(int row, int col) const {
    return row >= fixedRows_ && col >= fixedCols_ &&
           IsSelectable(model()->index(row - fixedRows_, col - fixedCols_));
}

bool FlexGrid::IsSelectable(const QModelIndex &index) const {
    return index.isValid() && (index.flags() & Qt::ItemIsEnabled) && !isColumnHidden(index.column());
}

void FlexGrid::MakeCurrent(const QModelIndex &index) {
    if (!IsSelectable(index))
        return;
    if (index != currentIndex())
        selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    else if (isVisible()) // otherwise there is no size yet, and showing the grid will scroll
        scrollTo(index);
}

void FlexGrid::currentChanged(const QModelIndex &current, const QModelIndex &previous) {
    QTableWidget::currentChanged(current, previous);
    if (current.isValid())
        emit CellEntered(Row(), Col());
}

// --- keyboard ---

/// @return the first selectable cell on the way from a cell, itself included, to the edge; invalid when there
/// is none
QModelIndex FlexGrid::Walk(QModelIndex from, int rowStep, int colStep) const {
    while (from.isValid() && !IsSelectable(from))
        from = model()->index(from.row() + rowStep, from.column() + colStep);
    return from;
}

QModelIndex FlexGrid::FirstCell() const {
    QModelIndex found;
    for (int row = 0; row < rowCount() && !found.isValid(); ++row)
        found = Walk(model()->index(row, 0), 0, 1);
    return found;
}

QModelIndex FlexGrid::LastCell() const {
    QModelIndex found;
    for (int row = rowCount() - 1; row >= 0 && !found.isValid(); --row)
        found = Walk(model()->index(row, columnCount() - 1), 0, -1);
    return found;
}

/// @param direction -1 or 1
QModelIndex FlexGrid::PageFrom(const QModelIndex &from, int direction) const {
    const int page = std::max(1, viewport()->height() / std::max(1, rowHeight(from.row())));
    const int row = std::clamp(from.row() + direction * page, 0, rowCount() - 1);
    const QModelIndex target = from.siblingAtRow(row);
    const QModelIndex found = Walk(target, direction, 0);
    return found.isValid() ? found : Walk(target, -direction, 0);
}

QModelIndex FlexGrid::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    const QModelIndex current = currentIndex();
    if (!current.isValid())
        return FirstCell();
    const bool whole = modifiers & Qt::ControlModifier;
    const auto walk = [&](int rowStep, int colStep) {
        return Walk(model()->index(current.row() + rowStep, current.column() + colStep), rowStep, colStep);
    };
    switch (action) {
    case MoveUp:
        return walk(-1, 0);
    case MoveDown:
        return walk(1, 0);
    case MoveLeft:
    case MovePrevious:
        return walk(0, -1);
    case MoveRight:
    case MoveNext:
        return walk(0, 1);
    case MoveHome:
        return whole ? FirstCell() : Walk(current.siblingAtColumn(0), 0, 1);
    case MoveEnd:
        return whole ? LastCell() : Walk(current.siblingAtColumn(columnCount() - 1), 0, -1);
    case MovePageUp:
        return PageFrom(current, -1);
    case MovePageDown:
        return PageFrom(current, 1);
    }
    return current;
}

void FlexGrid::keyPressEvent(QKeyEvent *event) {
    static const QHash<int, CursorAction> Moves{
        {Qt::Key_Up, MoveUp},         {Qt::Key_Down, MoveDown},         {Qt::Key_Left, MoveLeft},
        {Qt::Key_Right, MoveRight},   {Qt::Key_Home, MoveHome},         {Qt::Key_End, MoveEnd},
        {Qt::Key_PageUp, MovePageUp}, {Qt::Key_PageDown, MovePageDown},
    };
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    const auto move = Moves.constFind(event->key());
    const bool isEnter = IsEnter(*event);
    if (move != Moves.cend() && !(modifiers & (Qt::AltModifier | Qt::MetaModifier))) {
        const QModelIndex target = moveCursor(*move, modifiers);
        MakeCurrent(target.isValid() ? target : currentIndex()); // at the edge: back into view
    } else if ((isEnter || IsPrintable(*event)) && !IsChord(*event)) {
        emit CellKeyPressed(isEnter ? QStringLiteral("\r") : event->text());
    } else if (event->matches(QKeySequence::Copy)) {
        QTableWidget::keyPressEvent(event);
    } else {
        event->ignore(); // for the window: Escape, shortcuts
    }
}

// --- mouse: no selection is drawn, so that nothing but a press moves the current cell ---

void FlexGrid::mousePressEvent(QMouseEvent *event) {
    pressPos_ = event->position().toPoint();
    const QModelIndex index = indexAt(pressPos_);
    const bool isLeft = event->button() == Qt::LeftButton;
    pressed_.setFlag(event->button(), !isLeft || IsSelectable(index));
    if (isLeft)
        MakeCurrent(index);
}

void FlexGrid::mouseDoubleClickEvent(QMouseEvent *event) {
    mousePressEvent(event);
}

void FlexGrid::mouseMoveEvent(QMouseEvent *event) {
    event->accept();
}

void FlexGrid::mouseReleaseEvent(QMouseEvent *event) {
    if (!pressed_.testFlag(event->button()))
        return;
    pressed_.setFlag(event->button(), false);
    const QPoint pos = event->position().toPoint();
    // A press on a cell that is cut at the edge scrolls it into view, away from under a mouse that stays.
    const bool stayed = (pos - pressPos_).manhattanLength() < QApplication::startDragDistance();
    const bool isLeft = event->button() == Qt::LeftButton;
    if (stayed || (viewport()->rect().contains(pos) && (!isLeft || indexAt(pos).isValid())))
        emit CellMouseUp(event->button(), event->modifiers());
}

} // namespace k470
