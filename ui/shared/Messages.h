#pragma once

#include "resources/StringTable.h"

#include <QMessageBox>

class QWidget;

namespace k470 {

/// Shows a message box over the window and waits for its answer. Its object name is "MessageBox".
/// @param title may be ""
/// @param defaultButton the button that Enter presses; NoButton leaves the choice to the toolkit
/// @return the button pressed; closing the box counts as its Cancel, else as its only button
QMessageBox::StandardButton ShowMessage(QWidget *owner, QMessageBox::Icon icon, const QString &title,
                                        const QString &text,
                                        QMessageBox::StandardButtons buttons = QMessageBox::Ok,
                                        QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

/// Makes the toolkit's own texts (standard buttons, file dialogs) follow the language.
void InstallToolkitLanguage(Language language);

} // namespace k470
