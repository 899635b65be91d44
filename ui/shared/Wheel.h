#pragma once

namespace k470 {

/// From now on no combo box of the program takes the mouse wheel, which would change a setting in passing;
/// what the box stands on gets it instead. An open list is a window of its own and scrolls. May be called
/// again.
void KeepWheelFromClosedLists();

} // namespace k470
