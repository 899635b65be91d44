#pragma once

#include "core/AppState.h"
#include "core/Tuning.h"
#include "ui/service/ServiceDialog.h"

namespace k470 {

class CellEditor;
class FlexGrid;

/// Advanced settings: the squelch and noise levels of the band in force. It works on a copy of the tuning
/// area, which OK stores. Levels that the tuning area has no place for are shown out of use.
class frmAdv : public ServiceDialog {
    Q_OBJECT

public:
    frmAdv(AppState &state, QWidget *owner);

protected:
    void mousePressEvent(QMouseEvent *event) override;

private:
    void RefreshTun();
    void FitCells();
    void RefreshFace();
    void RefreshTunDatas();
    void ReadTuneGrid();

    void TunGrid_KeyPress(const QString &text);
    void BeginTunEdit();
    void PlaceEditor(const QRect &cell);
    void TxtTun_Enter();
    void TxtTun_Validate();
    void CommitOpenEditors();
    void Store();

    AppState &state_;
    TuneData tuneData_;
    TuneLayout layout_;
    FlexGrid *tunGrid_;
    CellEditor *txtTun_;
};

} // namespace k470
