#pragma once

#include "core/AppState.h"

#include <QDialog>

class QLabel;
class QPushButton;

namespace k470 {

/// The about box: the program, its version and whose it is.
class frmAbout : public QDialog {
    Q_OBJECT

public:
    frmAbout(const AppState &state, QWidget *owner);

private:
    void Form_Load(Language language);
    void Command1_Click();

    void LayOut();

    QLabel *image1_;
    QLabel *image2_;
    QLabel *label1_;
    QLabel *label2_;
    QPushButton *command1_;
};

} // namespace k470
