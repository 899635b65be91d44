#pragma once

#include "core/AppState.h"

#include <QDialog>

namespace k470 {

/// The about box: the program, its version and whose it is.
class frmAbout : public QDialog {
    Q_OBJECT

public:
    frmAbout(const AppState &state, QWidget *owner);
};

} // namespace k470
