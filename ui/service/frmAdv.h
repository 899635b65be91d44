#pragma once

#include "core/AppState.h"
#include "core/Tuning.h"
#include "ui/service/ServiceDialog.h"

class QKeyEvent;
class QLineEdit;

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
    void Form_Load();
    void Form_Click();
    void cmdOK_Click();
    void Command2_Click();
    void TunGrid_KeyPress(const QString &text);
    void TunGrid_MouseUp(Qt::MouseButton button);
    /// Enter ends the edit; the text box itself filters what other keys enter.
    void TxtTun_KeyPress(const QKeyEvent &key, bool &swallow);
    void TxtTun_Validate();

    void RefreshTun();
    void FitCells();
    void RefreshFace();
    void RefreshTunDatas();
    void ReadTuneGrid();

    void BeginTunEdit();
    void PlaceEditor(const QRect &cell);
    void MoveOn();
    void CommitOpenEditors();

    AppState &state_;
    TuneData tuneData_{};
    TuneLayout layout_;
    FlexGrid *tunGrid_;
    QLineEdit *txtTun_;
    CellEditor *editor_; ///< of txtTun_
};

} // namespace k470
