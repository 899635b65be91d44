#include "ui/shared/Twips.h"

#include <QWidget>

namespace k470 {

namespace {
constexpr double TwipsPerInch = 1440.0;
}

int TwipsToPixels(int twips, const QWidget *widget) {
    return qRound(static_cast<double>(twips) * widget->logicalDpiX() / TwipsPerInch);
}

} // namespace k470
