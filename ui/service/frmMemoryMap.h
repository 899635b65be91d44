#pragma once

#include "core/AppState.h"
#include "ui/service/ServiceDialog.h"

class QKeyEvent;
class QLabel;
class QLineEdit;

namespace k470 {

class CellEditor;
class FlexGrid;

/// The memory map: every byte of the image as a hexadecimal cell. Edits live in the cells until OK stores
/// them.
class frmMemoryMap : public ServiceDialog {
    Q_OBJECT

public:
    frmMemoryMap(AppState &state, QWidget *owner);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void Form_Load();
    void cmdOK_Click();
    void cmdCancel_Click();
    void msgMemory_EnterCell();
    void msgMemory_KeyDown(const QString &text);
    void msgMemory_MouseUp(Qt::MouseButton button);
    void msgMemory_Scroll();
    /// Enter ends the edit; the text box itself filters what other keys enter.
    void txtMemory_KeyPress(const QKeyEvent &key, bool &swallow);
    void txtMemory_Validate();
    void txtMemory_LostFocus();

    void MakeGrid();
    void MakeFrame();
    void MakeLabels();
    void ConnectEvents();
    void FillGrid();
    void BeginMemEdit(int row, int col);
    void EndMemEdit();
    void MoveOn();

    AppState &state_;
    FlexGrid *msgMemory_;
    QLineEdit *txtMemory_;
    CellEditor *editor_; ///< of txtMemory_
    QLabel *lblAddr_;
    QLabel *lblValue_;
};

} // namespace k470
