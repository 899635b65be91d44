#pragma once

#include "core/AppState.h"
#include "ui/service/ServiceDialog.h"

class QLabel;

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
    void MakeGrid();
    void MakeFrame();
    void FillGrid();
    void MakeLabels();
    void ConnectEvents();

    void ShowCurrentCell();
    void msgMemory_KeyDown(const QString &text);
    void BeginMemEdit(int row, int col);
    /// Enter and Escape end the edit; the editor itself filters what other keys enter.
    void txtMemory_KeyPress(int key, bool &swallow);
    void txtMemory_Validate();
    void MoveOn();
    void Store();

    AppState &state_;
    FlexGrid *msgMemory_;
    CellEditor *txtMemory_;
    QLabel *lblAddr_;
    QLabel *lblValue_;
};

} // namespace k470
