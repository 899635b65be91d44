#pragma once

#include "core/AppState.h"
#include "link/ComPorts.h"

#include <QDialog>

class QComboBox;

namespace k470 {

/// The port dialog: OK makes the chosen port the current one; nothing is opened.
class frmComPort : public QDialog {
    Q_OBJECT

public:
    frmComPort(AppState &state, const ComPortTable &table, QWidget *owner);

private:
    void FillPorts(const ComPortTable &table);
    void cmdOK_Click();

    AppState &state_;
    QComboBox *combo1_;
};

} // namespace k470
