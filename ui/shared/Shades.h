#pragma once

#include <QColor>

namespace k470 {

/// The shade of a colour that can be read on a ground: the colour itself when its contrast ratio suffices,
/// otherwise the nearest lighter or darker shade of the same hue that reaches it.
/// @param ratio 1 to 21; above 4.58 there are grounds on which no shade reaches it, black or white is
/// returned then
QColor ReadableShade(const QColor &colour, const QColor &ground, double ratio = 4.5);

/// A mixture of two colours. @param part share of the tint: 0 is the ground, 1 the tint
QColor Mix(const QColor &ground, const QColor &tint, float part);

} // namespace k470
