#pragma once

#include <QColor>
#include <QTableWidget>

#include <optional>
#include <vector>

namespace k470 {

/// A table of texts with a caption row and a caption column, a current cell and cell geometry, for editors
/// that are laid over a cell. Rows and columns count from 0 and include the fixed ones: with one fixed row,
/// row 0 is the caption row. Widths and heights are given in twips; width 0 hides a column. All texts are
/// centred, captions wrap. Every member ignores, or answers with nothing for, a cell outside the grid; where
/// a caption row and a caption column meet there is a cell without a text.
///
/// The keyboard moves the current cell over the cells that are neither fixed, hidden nor out of use: arrows,
/// Home, End, Page Up, Page Down, and Ctrl with Home or End for the first and the last cell of all. The grid
/// edits nothing itself. An editor is made a sibling of the grid and placed by CellRect.
class FlexGrid : public QTableWidget {
    Q_OBJECT

public:
    /// @param fixedRows 0 or 1, @param fixedCols 0 or 1
    FlexGrid(int fixedRows, int fixedCols, QWidget *parent = nullptr);

    /// All rows, the fixed one included. Cells that stay keep everything, new ones are empty and plain. When
    /// the row of the current cell goes, the nearest cell that stays becomes current and CellEntered is
    /// raised.
    void SetRows(int rows);
    void SetCols(int cols); ///< all columns, the fixed one included; as SetRows
    int Rows() const;
    int Cols() const;

    QString CellText(int row, int col) const; ///< "" outside the grid
    /// The same text again costs nothing. A cell that is out of use takes no text.
    void SetCellText(int row, int col, const QString &text);

    void SetColWidth(int col, int twips); ///< 0 hides the column; a new column has 960
    int ColWidth(int col) const;          ///< twips as set; 0 for a hidden column
    /// @param twips 0, as at first: as high as the largest font of the cells asks, the same for all such rows
    void SetRowHeight(int row, int twips);

    void SetCellFontSize(int row, int col, int points);
    /// @param colour stated for a light window; on a dark one the same role is shown in a readable shade
    void SetCellColor(int row, int col, const QColor &colour);
    /// The text on it is shown in a shade that can be read. A caption keeps the ground that all have.
    /// @param colour nothing: the window background of the system
    void SetCellBackColor(int row, int col, std::optional<QColor> colour);
    std::optional<QColor> CellBackColor(int row, int col) const; ///< as set
    /// Shows the cell as out of use: its text goes, it is dimmed and never current. In use again, it is
    /// empty.
    void SetCellEnabled(int row, int col, bool enabled);

    int Row() const; ///< row of the current cell, 0 when there is none
    int Col() const; ///< column of the current cell, 0 when there is none
    /// Makes a cell current, scrolls it into view and raises CellEntered, also when it is current already.
    /// @return false, and nothing is done, when the cell is not selectable
    bool SetCurrent(int row, int col);
    bool IsCellSelectable(int row, int col) const; ///< neither fixed, hidden nor out of use

    /// The cell's rectangle without its grid lines in the coordinates of the grid's parent (of the grid, when
    /// it has none), also where it is scrolled out of view; empty for a hidden cell and outside the grid.
    QRect CellRect(int row, int col) const;

signals:
    /// A cell became current, by mouse, keyboard or program; it is in view.
    void CellEntered(int row, int col);
    /// The cells moved under the view, whoever moved them.
    void Scrolled();
    /// The left button, pressed on a cell, was released on a cell, none of them fixed: the same or another.
    /// The press made its cell current. Another button was pressed and released anywhere below the captions,
    /// or released on them.
    void CellMouseUp(Qt::MouseButton button, Qt::KeyboardModifiers modifiers);
    /// A key that the grid does not use itself: Enter (as "\r") or a printable text.
    void CellKeyPressed(const QString &text);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void updateGeometries() override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

private:
    void SetUpHeaders();
    void CreateCells(int firstRow, int firstCol);
    bool Contains(int row, int col) const;
    QTableWidgetItem *ItemAt(int row, int col) const;
    QModelIndex Walk(QModelIndex from, int rowStep, int colStep) const;
    QModelIndex FirstCell() const;
    QModelIndex LastCell() const;
    QModelIndex PageFrom(const QModelIndex &from, int direction) const;
    bool IsSelectable(const QModelIndex &index) const;
    void MakeCurrent(const QModelIndex &index);
    void LayOutRows();
    void AlignTopRow();

    int fixedRows_;
    int fixedCols_;
    std::vector<int> colTwips_; // by column, the fixed one included
    std::vector<int> rowTwips_; // by row; 0 follows the font
    int largestPoints_ = 0;     // of the cells' own font sizes; 0 while none is set
    Qt::MouseButtons pressed_;  // went down on a cell and are not yet up
    QPoint pressPos_;           // of the last press, in the viewport
};

} // namespace k470
