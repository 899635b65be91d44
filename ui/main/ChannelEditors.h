#pragma once

#include "core/AppState.h"

#include <QObject>

#include <array>

class QComboBox;
class QKeyEvent;
class QLineEdit;

namespace k470 {

class CellEditor;
class ChannelGrid;

/// The editors that are laid over a cell of the channel grid: a text box for frequencies, a combo box for
/// tones and one for every other setting. At most one is open. They change the grid's texts, never the image.
class ChannelEditors : public QObject {
    Q_OBJECT

public:
    /// How a frequency outside the band is reported: at once, or after the event that ended the edit.
    enum class Warning { AtOnce, Later };

    /// @param grid the channel grid; the editors become its siblings
    ChannelEditors(AppState &state, ChannelGrid *grid);

    /// Puts the tone list of the state into the tone editor.
    void FillToneList();

    /// Opens the editor of the grid's current cell.
    void OpenCellEditor();

    /// Ends an open edit, taking its value over, and gives the focus to the grid.
    void TransferFocus();
    /// Ends an open edit, taking its value over; the focus stays where it is.
    void EndOpenEdit();

    /// Set a row's frequency from a typed text; warn when it is outside the band.
    void setChannelRx(int row, const QString &typed, Warning warning = Warning::AtOnce);
    void setChannelTx(int row, const QString &typed, Warning warning = Warning::AtOnce);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void ConnectGrid();
    void ChannelGrid_EnterCell(int row, int col);
    void ChannelGrid_Scroll();
    void ChannelGrid_KeyPress(const QString &text);
    void ChannelGrid_MouseUp(Qt::MouseButton button);

    void MakeCombo(int index);
    void OpenTextEditor(const QString &text);
    void OpenToneEditor(const QString &text);
    void OpenChoiceEditor(const QString &text);
    void ShowEditor(CellEditor *editor, QWidget *control);
    QRect PlaceOf(const CellEditor *editor, int row, int col) const;

    void TxtChannel_Validate(Warning warning = Warning::AtOnce);
    void CboChannel_Validate(int index);
    void TxtChannel_KeyPress(const QKeyEvent &key, bool &swallow);
    void CboChannel_KeyPress(int index, const QKeyEvent &key, bool &swallow);
    void EnterToneKey(char key);
    void WarnOutOfRange(Warning warning);

    AppState &state_;
    ChannelGrid *grid_;
    QLineEdit *txtChannel_;
    CellEditor *textEditor_;
    std::array<QComboBox *, 2> cboChannel_{};
    std::array<CellEditor *, 2> comboEditors_{};
};

} // namespace k470
