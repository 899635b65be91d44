#pragma once

#include <QHeaderView>
#include <QStyledItemDelegate>

namespace k470 {

class FlexGrid;

inline constexpr int GridLine = 1; // pixels at the right and the lower edge of a cell

/// Fills a caption and draws its right and lower edge.
/// @return what is left of the cell
QRect PaintCaptionGround(QPainter &painter, const QRect &cell, const QPalette &palette);

/// Paints captions itself, because the ground that a style paints is not known and the text must stand out
/// from it.
class CaptionHeader : public QHeaderView {
public:
    CaptionHeader(Qt::Orientation orientation, FlexGrid *grid);

protected:
    /// The grid states every size. To measure the captions would load the bold font too, which for Chinese is
    /// several megabytes at every start.
    QSize sectionSizeFromContents(int) const override { return {}; }
    void mouseReleaseEvent(QMouseEvent *event) override;
    void paintSection(QPainter *painter, const QRect &rect, int section) const override;

private:
    FlexGrid *grid_;
};

/// Paints the cells in use and out of use, and a frame round the current one.
class CellDelegate : public QStyledItemDelegate {
public:
    explicit CellDelegate(FlexGrid *grid);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

private:
    const FlexGrid *grid_;
};

} // namespace k470
