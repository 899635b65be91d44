#pragma once

#include "core/AppState.h"
#include "link/ComPorts.h"

#include <QDialog>

class QComboBox;
class QLabel;

namespace k470 {

/// The port dialog: OK makes the chosen port the current one; nothing is opened or tested. With no port
/// chosen OK does nothing and the dialog stays.
class frmComPort : public QDialog {
    Q_OBJECT

public:
    /// Leaves the names of the table's ports in state.comPortList.
    frmComPort(AppState &state, const ComPortTable &table, QWidget *owner);

private:
    void Form_Load(const ComPortTable &table);
    void Combo1_Click(int index);
    void cmdOK_Click();
    void cmdCancel_Click();

    void FillPorts(const ComPortTable &table);
    void LayOut();

    AppState &state_;
    QLabel *label1_;
    QComboBox *combo1_;
};

} // namespace k470
