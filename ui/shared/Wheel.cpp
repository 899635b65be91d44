#include "ui/shared/Wheel.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QEvent>

namespace k470 {

namespace {

constexpr auto Name = "k470WheelFilter";

class WheelFilter : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() != QEvent::Wheel || qobject_cast<QComboBox *>(watched) == nullptr)
            return false;
        event->ignore(); // so that it goes on to the parent
        return true;
    }
};

} // namespace

void KeepWheelFromClosedLists() {
    auto *application = QCoreApplication::instance();
    if (application->findChild<QObject *>(Name, Qt::FindDirectChildrenOnly) != nullptr)
        return;
    auto *filter = new WheelFilter(application);
    filter->setObjectName(Name);
    application->installEventFilter(filter);
}

} // namespace k470
