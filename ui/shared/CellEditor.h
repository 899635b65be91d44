#pragma once

#include <QLineEdit>

#include <optional>
#include <string_view>

class QFocusEvent;

namespace k470 {

class FlexGrid;

/// Whether the focus goes to another control of the window for good, not to another window, a menu or a list.
bool LeavesForGood(const QFocusEvent &event);

/// The text box that is laid over a cell of a grid. It is hidden, or open over exactly one cell. Keys and the
/// loss of the focus are reported for the window to end the edit.
class CellEditor : public QLineEdit {
    Q_OBJECT

public:
    /// Decides about a character: the one to enter, or nothing when it is refused.
    using KeyFilter = std::optional<char> (*)(std::string_view text, bool anySelected, char key);

    /// @param grid the editor becomes its sibling
    /// @param filter applied to whatever is entered, typed or pasted
    CellEditor(FlexGrid *grid, KeyFilter filter);

    /// Opens over the grid's current cell with the cell's text selected.
    /// @param place in the coordinates of the grid's parent
    void Open(const QRect &place);
    bool IsOpen() const;
    /// The cell that is covered, or was last.
    int Row() const;
    int Col() const;

    /// Hides the editor. @return its text
    QString EndEdit();
    /// Hides the editor, leaves the cell with the text that it had and gives the focus to the grid. Nothing
    /// is done unless the editor is open.
    void Abandon();

signals:
    /// A key, before the editor takes it. Who sets `swallow` keeps it from the editor.
    void KeyPressed(int key, bool &swallow);
    /// The open editor lost the focus to another control of the window.
    void FocusLeft();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    FlexGrid *grid_;
    QString savedCellText_;
    int row_ = 0;
    int col_ = 0;
    bool isOpen_ = false;
};

} // namespace k470
