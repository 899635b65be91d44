#pragma once

#include "resources/StringTable.h"

namespace k470 {

class frmMain;

using Command = void (frmMain::*)();

/// An entry of the menu bar. A menu has no command and no parent, a separator has no caption.
struct MenuItem {
    const char *name;
    const char *menu; ///< name of the menu that holds it, nullptr for a menu itself
    TextPair caption;
    const char *shortcut; ///< "" for none
    Command command;
};

/// A button of the toolbar tlbActions, known by its key.
struct ToolButton {
    const char *key;
    TextPair toolTip;
    Command command;
};

} // namespace k470
