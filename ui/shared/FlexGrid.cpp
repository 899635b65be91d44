#include "ui/shared/FlexGrid.h"

#include "ui/shared/Twips.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFontMetrics>
#include <QHash>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>

namespace k470 {

namespace {

constexpr double FrameContrast = 3.0;
constexpr float LineTint = 0.2F;     // how much of the text colour is in the edges of cells
constexpr float OutOfUseTint = 0.1F; // and in the ground of a cell out of use
constexpr int DefaultColTwips = 960;
constexpr int RowPadding = 6; // pixels above and below the text, together
constexpr int TextMargin = 2; // pixels left and right of it, each
constexpr int GridLine = 1;   // pixels at the right and the lower edge of a cell
constexpr int FocusFrame = 2; // pixels round the current cell of the grid that has the focus
constexpr int PlainFrame = 1; // and of any other grid
constexpr Qt::ItemFlags InUse = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
constexpr Qt::KeyboardModifiers Chord = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;

double Luminance(const QColor &colour) {
    const auto linear = [](double channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double ContrastRatio(const QColor &one, const QColor &other) {
    const auto [darker, lighter] = std::minmax({Luminance(one), Luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor Mix(const QColor &ground, const QColor &tint, float part) {
    const auto mix = [part](float from, float to) { return from + (to - from) * part; };
    return QColor::fromRgbF(mix(ground.redF(), tint.redF()), mix(ground.greenF(), tint.greenF()),
                            mix(ground.blueF(), tint.blueF()));
}

/// Fills a cell and draws its right and lower edge.
/// @return what is left of the cell
QRect PaintGround(QPainter &painter, const QRect &cell, const QColor &ground, const QColor &line) {
    painter.fillRect(cell, line);
    const QRect inner = cell.adjusted(0, 0, -GridLine, -GridLine);
    painter.fillRect(inner, ground);
    return inner;
}

QRect PaintCaptionGround(QPainter &painter, const QRect &cell, const QPalette &palette) {
    const QColor ground = palette.color(QPalette::Button);
    return PaintGround(painter, cell, ground, Mix(ground, palette.color(QPalette::ButtonText), LineTint));
}

/// Draws a text centred on as many lines as it needs. Lines that do not fit move together: a line of
/// ideographs has room to spare.
void PaintWrapped(QPainter &painter, const QRectF &rect, const QString &text) {
    QTextOption option(Qt::AlignHCenter);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(text, painter.font());
    layout.setTextOption(option);
    double height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(rect.width());
        height += line.height();
    }
    layout.endLayout();
    const double gap = std::min(0.0, rect.height() - height) / std::max(1, layout.lineCount() - 1);
    double top = std::max(0.0, (rect.height() - height) / 2);
    for (int i = 0; i < layout.lineCount(); ++i) {
        QTextLine line = layout.lineAt(i);
        line.setPosition({0, top});
        top += line.height() + gap;
    }
    layout.draw(&painter, rect.topLeft());
}

/// Paints captions itself, because the ground that a style paints is not known and the text must stand out
/// from it.
class CaptionHeader : public QHeaderView {
public:
    CaptionHeader(Qt::Orientation orientation, FlexGrid *grid)
        : QHeaderView(orientation, grid), grid_(grid) {}

protected:
    /// The grid states every size. To measure the captions would load the bold font too, which for Chinese is
    /// several megabytes at every start.
    QSize sectionSizeFromContents(int) const override { return {}; }

    void mouseReleaseEvent(QMouseEvent *event) override {
        QHeaderView::mouseReleaseEvent(event);
        if (event->button() != Qt::LeftButton && viewport()->rect().contains(event->position().toPoint()))
            emit grid_->CellMouseUp(event->button(), event->modifiers());
    }

    void paintSection(QPainter *painter, const QRect &rect, int section) const override {
        const auto role = [&](int which) { return model()->headerData(section, orientation(), which); };
        const QRect inner = PaintCaptionGround(*painter, rect, palette());
        const QVariant stated = role(Qt::ForegroundRole);
        const QColor colour =
            stated.isValid() ? stated.value<QBrush>().color() : palette().color(QPalette::ButtonText);
        painter->setPen(isEnabled() ? ReadableShade(colour, palette().color(QPalette::Button))
                                    : palette().color(QPalette::ButtonText));
        painter->setFont(role(Qt::FontRole).value<QFont>().resolve(font()));
        PaintWrapped(*painter, inner.adjusted(TextMargin, 0, -TextMargin, 0),
                     role(Qt::DisplayRole).toString());
    }

private:
    FlexGrid *grid_;
};

class CellDelegate : public QStyledItemDelegate {
public:
    explicit CellDelegate(FlexGrid *grid) : QStyledItemDelegate(grid), grid_(grid) {}

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override {
        QStyleOptionViewItem cell = option;
        initStyleOption(&cell, index);
        const QColor plain = option.palette.color(QPalette::Text);
        const QColor base = option.palette.color(QPalette::Base);
        const QColor text = cell.palette.color(QPalette::Text);
        const QColor ground = Ground(cell, index, base, plain);
        painter->save();
        const QRect inner = PaintGround(*painter, cell.rect, ground, Mix(base, plain, LineTint));
        const QRect room = inner.adjusted(TextMargin, 0, -TextMargin, 0);
        painter->setFont(cell.font);
        painter->setPen(grid_->isEnabled() ? ReadableShade(text, ground) : text);
        painter->drawText(room, Qt::AlignCenter,
                          cell.fontMetrics.elidedText(cell.text, Qt::ElideRight, room.width()));
        const bool focused = cell.state & QStyle::State_HasFocus;
        if (focused)
            PaintFrame(*painter, inner, FocusFrame, option.palette.color(QPalette::Highlight), ground);
        else if (index == grid_->currentIndex())
            PaintFrame(*painter, inner, PlainFrame, Mix(ground, plain, 0.5F), ground);
        painter->restore();
    }

private:
    static QColor Ground(const QStyleOptionViewItem &cell, const QModelIndex &index, const QColor &base,
                         const QColor &plain) {
        if (!(index.flags() & Qt::ItemIsEnabled))
            return Mix(base, plain, OutOfUseTint);
        return cell.backgroundBrush.style() == Qt::NoBrush ? base : cell.backgroundBrush.color();
    }

    static void PaintFrame(QPainter &painter, const QRect &rect, int width, const QColor &colour,
                           const QColor &ground) {
        const QRegion frame = QRegion(rect) - QRegion(rect.adjusted(width, width, -width, -width));
        for (const QRect &edge : frame)
            painter.fillRect(edge, ReadableShade(colour, ground, FrameContrast));
    }

    const FlexGrid *grid_;
};

QTableWidgetItem *NewItem() {
    auto *item = new QTableWidgetItem;
    item->setFlags(InUse);
    return item;
}

QFont FontOfSize(int points) {
    QFont font; // only the size is set: the rest follows the grid's font
    font.setPointSize(points);
    return font;
}

} // namespace

QColor ReadableShade(const QColor &colour, const QColor &ground, double ratio) {
    if (ContrastRatio(colour, ground) >= ratio)
        return colour;
    constexpr int Steps = 50;
    for (int step = 1; step <= Steps; ++step) {
        for (const int direction : {1, -1}) {
            const float lightness =
                colour.lightnessF() + static_cast<float>(direction * step) / static_cast<float>(Steps);
            const QColor shade = QColor::fromHslF(colour.hslHueF(), colour.hslSaturationF(),
                                                  std::clamp(lightness, 0.0F, 1.0F));
            if (ContrastRatio(shade, ground) >= ratio)
                return shade;
        }
    }
    return ContrastRatio(Qt::white, ground) > ContrastRatio(Qt::black, ground) ? Qt::white : Qt::black;
}

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

// --- sizes ---

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

// --- looks of a cell ---

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
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool isText = !event->text().isEmpty() && event->text().front().isPrint();
    if (move != Moves.cend() && !(modifiers & (Qt::AltModifier | Qt::MetaModifier))) {
        const QModelIndex target = moveCursor(*move, modifiers);
        MakeCurrent(target.isValid() ? target : currentIndex()); // at the edge: back into view
    } else if ((isEnter || isText) && !(modifiers & Chord)) {
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

// --- fonts and the corner ---

void FlexGrid::changeEvent(QEvent *event) {
    QTableWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        LayOutRows();
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
