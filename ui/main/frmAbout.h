#pragma once

#include "core/AppState.h"

#include <QDialog>

namespace k470 {

/// The about box.
class frmAbout : public QDialog {
    Q_OBJECT

public:
    frmAbout(AppState &state, QWidget *owner);
};

} // namespace k470
