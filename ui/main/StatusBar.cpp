#include "ui/main/StatusBar.h"

#include "core/Title.h"
#include "link/QtComPorts.h"
#include "ui/shared/Texts.h"

#include <QHelpEvent>
#include <QLabel>
#include <QTimer>
#include <QToolTip>

namespace k470 {

StatusBar::StatusBar(const AppState &state, QWidget *parent) : QStatusBar(parent), state_(state) {
    setObjectName("MSBar");
    setSizeGripEnabled(true);
    constexpr std::array<int, 4> Stretch{2, 2, 4, 1};
    for (std::size_t i = 0; i < panels_.size(); ++i) {
        panels_[i] = new QLabel(this);
        panels_[i]->setObjectName(QString("MSBar(%1)").arg(i + 1));
        addWidget(panels_[i], Stretch[i]);
    }
    panels_[1]->installEventFilter(this);
    panels_[3]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto *time = new QTimer(parent); // the window's own, so that it is found by name there
    time->setObjectName("Time");
    connect(time, &QTimer::timeout, this, &StatusBar::Time_Timer);
    time->start(1);
    Time_Timer();
}

/// The tick comes every millisecond; all but one in a thousand end at the comparison.
void StatusBar::Time_Timer() {
    const std::time_t now = std::time(nullptr);
    if (now == shownTime_)
        return;
    shownTime_ = now;
    std::tm local{};
    localtime_r(&now, &local);
    panels_[3]->setText(QString::asprintf("%02d:%02d:%02d", local.tm_hour, local.tm_min, local.tm_sec));
}

void StatusBar::ShowBand() {
    panels_[0]->setText(ToQt(BandCaption(state_)));
}

void StatusBar::ShowPort() {
    panels_[1]->setText(ToQt(PortText(state_)));
}

QString StatusBar::PortToolTip() const {
    const ComPortTable table = SystemComPorts();
    const ComPort *port = FindComPort(table, state_.portNumber);
    if (port == nullptr)
        return {};
    return ToQt(port->description.empty() ? port->device : port->device + "\n" + port->description);
}

bool StatusBar::eventFilter(QObject *watched, QEvent *event) {
    if (watched == panels_[1] && event->type() == QEvent::ToolTip) {
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), PortToolTip(), panels_[1]);
        return true;
    }
    return QStatusBar::eventFilter(watched, event);
}

} // namespace k470
