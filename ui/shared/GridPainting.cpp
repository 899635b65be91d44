#include "ui/shared/GridPainting.h"

#include "ui/shared/FlexGrid.h"
#include "ui/shared/Shades.h"

#include <QMouseEvent>
#include <QPainter>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>

namespace k470 {

namespace {

constexpr double FrameContrast = 3.0;
constexpr float LineTint = 0.2F;     // how much of the text colour is in the edges of cells
constexpr float OutOfUseTint = 0.1F; // and in the ground of a cell out of use
constexpr int TextMargin = 2;        // pixels left and right of a text, each
constexpr int FocusFrame = 2;        // pixels round the current cell of the grid that has the focus
constexpr int PlainFrame = 1;        // and of any other grid

/// Fills a cell and draws its right and lower edge.
/// @return what is left of the cell
QRect PaintGround(QPainter &painter, const QRect &cell, const QColor &ground, const QColor &line) {
    painter.fillRect(cell, line);
    const QRect inner = cell.adjusted(0, 0, -GridLine, -GridLine);
    painter.fillRect(inner, ground);
    return inner;
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

QColor Ground(const QStyleOptionViewItem &cell, const QModelIndex &index, const QColor &base,
              const QColor &plain) {
    if (!(index.flags() & Qt::ItemIsEnabled))
        return Mix(base, plain, OutOfUseTint);
    return cell.backgroundBrush.style() == Qt::NoBrush ? base : cell.backgroundBrush.color();
}

void PaintFrame(QPainter &painter, const QRect &rect, int width, const QColor &colour, const QColor &ground) {
    const QRegion frame = QRegion(rect) - QRegion(rect.adjusted(width, width, -width, -width));
    for (const QRect &edge : frame)
        painter.fillRect(edge, ReadableShade(colour, ground, FrameContrast));
}

} // namespace

QRect PaintCaptionGround(QPainter &painter, const QRect &cell, const QPalette &palette) {
    const QColor ground = palette.color(QPalette::Button);
    return PaintGround(painter, cell, ground, Mix(ground, palette.color(QPalette::ButtonText), LineTint));
}

CaptionHeader::CaptionHeader(Qt::Orientation orientation, FlexGrid *grid)
    : QHeaderView(orientation, grid), grid_(grid) {
}

void CaptionHeader::mouseReleaseEvent(QMouseEvent *event) {
    QHeaderView::mouseReleaseEvent(event);
    if (event->button() != Qt::LeftButton && viewport()->rect().contains(event->position().toPoint()))
        emit grid_->CellMouseUp(event->button(), event->modifiers());
}

void CaptionHeader::paintSection(QPainter *painter, const QRect &rect, int section) const {
    const auto role = [&](int which) { return model()->headerData(section, orientation(), which); };
    const QRect inner = PaintCaptionGround(*painter, rect, palette());
    const QVariant stated = role(Qt::ForegroundRole);
    const QColor colour =
        stated.isValid() ? stated.value<QBrush>().color() : palette().color(QPalette::ButtonText);
    painter->setPen(isEnabled() ? ReadableShade(colour, palette().color(QPalette::Button))
                                : palette().color(QPalette::ButtonText));
    painter->setFont(role(Qt::FontRole).value<QFont>().resolve(font()));
    PaintWrapped(*painter, inner.adjusted(TextMargin, 0, -TextMargin, 0), role(Qt::DisplayRole).toString());
}

CellDelegate::CellDelegate(FlexGrid *grid) : QStyledItemDelegate(grid), grid_(grid) {
}

void CellDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const {
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

} // namespace k470
