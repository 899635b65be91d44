#pragma once

#include "core/AppState.h"
#include "link/ComPorts.h"

#include <QDialog>

class QComboBox;

namespace k470 {

/// The port dialog: OK makes the chosen port the current one; nothing is opened or tested. With no port
/// chosen OK does nothing and the dialog stays.
class frmComPort : public QDialog {
    Q_OBJECT

public:
    /// Leaves the names of the table's ports in state.comPortList.
    frmComPort(AppState &state, const ComPortTable &table, QWidget *owner);

private:
    void MakeList(const QString &accessibleName);
    void FillPorts(const ComPortTable &table);
    void LayOut(QWidget *label);
    void cmdOK_Click();

    AppState &state_;
    QComboBox *combo1_;
};

} // namespace k470
