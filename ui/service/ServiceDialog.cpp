#include "ui/service/ServiceDialog.h"

#include "ui/shared/Keys.h"
#include "ui/shared/Twips.h"

#include <QFontInfo>
#include <QFontMetrics>
#include <QPushButton>

namespace k470 {

QRect PlaceInPixels(const Place &place, const QWidget *widget) {
    return {TwipsToPixels(place.left, widget), TwipsToPixels(place.top, widget),
            TwipsToPixels(place.width, widget), TwipsToPixels(place.height, widget)};
}

QFont FittingFont(QFont font, const QString &text, QSize room) {
    const auto fits = [&] {
        const QFontMetrics metrics(font);
        return metrics.horizontalAdvance(text) <= room.width() && metrics.height() <= room.height();
    };
    for (int points = QFontInfo(font).pointSize(); points > 1 && !fits();)
        font.setPointSize(--points);
    return font;
}

ServiceDialog::ServiceDialog(const char *name, int width, int height, EscapeKey escape, QWidget *owner)
    : QDialog(owner), escape_(escape) {
    setObjectName(name);
    setFixedSize(TwipsToPixels(width, this), TwipsToPixels(height, this));
}

QPushButton *ServiceDialog::AddButton(const char *name, const QString &caption, const Place &place) {
    auto *button = new QPushButton(caption, this);
    button->setObjectName(name);
    button->setAutoDefault(false);
    button->setGeometry(PlaceInPixels(place, this));
    return button;
}

void ServiceDialog::keyPressEvent(QKeyEvent *event) {
    auto *button = qobject_cast<QPushButton *>(focusWidget());
    if (event->key() == Qt::Key_Escape && escape_ == EscapeKey::DoesNothing)
        event->accept(); // a stray key must not throw away what was typed
    else if (!IsEnter(*event) || button == nullptr)
        QDialog::keyPressEvent(event);
    else if (!event->isAutoRepeat()) // a key held down in a text box has only just come here
        button->click();
}

} // namespace k470
