#pragma once

#include <QObject>
#include <QString>

#include <optional>
#include <string_view>

class QFocusEvent;
class QKeyEvent;
class QLineEdit;
class QRect;
class QWidget;

namespace k470 {

class FlexGrid;

/// Whether the focus goes to another control of the window for good, not to another window, a menu or a list.
bool LeavesForGood(const QFocusEvent &event);

/// Decides about a character: the one to enter, or nothing when it is refused.
using KeyFilter = std::optional<char> (*)(std::string_view text, bool anySelected, char key);

/// A plain text box for a CellEditor, a sibling of the grid.
/// @param filter applied to whatever is entered, typed or pasted
QLineEdit *NewCellTextBox(FlexGrid *grid, KeyFilter filter);

/// Lays a control over a cell of a grid. It is hidden, or open over exactly one cell. Escape ends the edit
/// and leaves the cell with the text that it had; other keys and the loss of the focus are reported for the
/// window to end it.
class CellEditor : public QObject {
    Q_OBJECT

public:
    /// @param control a sibling of the grid
    CellEditor(FlexGrid *grid, QWidget *control);

    /// Shows the control over the grid's current cell and gives it the focus.
    /// @param place in the coordinates of the grid's parent
    void Open(const QRect &place);
    /// Moves the control, after the grid has changed its size. The frame of the cell stays visible round a
    /// control that has its place inside the cell.
    void Place(const QRect &place);
    bool IsOpen() const { return isOpen_; }
    /// The cell that is covered, or was last.
    int Row() const { return row_; }
    int Col() const { return col_; }

    /// Hides the control; what it shows stays.
    void Close();
    /// Closes and gives the focus to the grid. Nothing is done unless the editor is open.
    void Abandon();

signals:
    /// A key other than Escape, before the control takes it. Who sets `swallow` keeps it from the control.
    void KeyPressed(const QKeyEvent &key, bool &swallow);
    /// The open control lost the focus to another control of the window.
    void FocusLeft();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    FlexGrid *grid_;
    QWidget *control_;
    int row_ = 0;
    int col_ = 0;
    QString savedCellText_; ///< the cell's text when the editor opened; Escape puts it back
    bool isOpen_ = false;
};

} // namespace k470
