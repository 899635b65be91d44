#pragma once

#include "core/AppState.h"

#include <QDialog>

namespace k470 {

/// The language dialog: OK makes the chosen language that of the state.
class LanguageForm : public QDialog {
    Q_OBJECT

public:
    LanguageForm(AppState &state, QWidget *owner);
};

} // namespace k470
