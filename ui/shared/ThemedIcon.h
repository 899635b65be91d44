#pragma once

#include <QIcon>
#include <QPalette>
#include <QString>

namespace k470 {

/// An icon drawn from an SVG picture at whatever size and scale it is shown. Where the picture says
/// currentColor it bears the palette's text colour; out of use the whole picture is dimmed. Made anew when
/// the palette changes.
/// @param resourcePath ":/icons/open.svg"; of a picture that is not there comes a null icon
QIcon ThemedIcon(const QString &resourcePath, const QPalette &palette);

} // namespace k470
