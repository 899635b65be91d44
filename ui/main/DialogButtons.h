#pragma once

#include "resources/StringTable.h"

#include <functional>

class QDialog;
class QHBoxLayout;

namespace k470 {

/// The row of a dialog's cmdOK, which is its default button, and cmdCancel.
/// @param onOk, onCancel called when the button is clicked
QHBoxLayout *MakeDialogButtons(QDialog *dialog, Language language, const std::function<void()> &onOk,
                               const std::function<void()> &onCancel);

} // namespace k470
