#pragma once

#include "core/AppState.h"

#include <QDialog>

class QComboBox;
class QLabel;

namespace k470 {

/// The language dialog: OK makes the chosen language that of the state.
class LanguageForm : public QDialog {
    Q_OBJECT

public:
    LanguageForm(AppState &state, QWidget *owner);

private:
    void Form_Load();
    void cmdOK_Click();
    void cmdCancel_Click();

    void LayOut();

    AppState &state_;
    QLabel *lblLang_;
    QComboBox *cboLang_;
};

} // namespace k470
