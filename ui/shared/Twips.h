#pragma once

class QWidget;

namespace k470 {

/// Twips (1/1440 inch) in device-independent pixels at the widget's logical resolution, 15 to a pixel at 96
/// dpi.
int TwipsToPixels(int twips, const QWidget *widget);

} // namespace k470
