#pragma once

#include <QColor>

namespace k470 {

/// The shade of a colour that can be read on a ground: the colour itself when its contrast ratio suffices,
/// otherwise the nearest lighter or darker shade of the same hue that reaches it.
/// @param ratio 1 to 21; above 4.58 there are grounds on which no shade reaches it, black or white is
/// returned then
QColor ReadableShade(const QColor &colour, const QColor &ground, double ratio = 4.5);

/// A ground with a part of a tint in it. @param part 0 for the ground alone, 1 for the tint alone
QColor Mix(const QColor &ground, const QColor &tint, float part);

} // namespace k470
