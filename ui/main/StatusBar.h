#pragma once

#include "core/AppState.h"

#include <QStatusBar>

#include <array>
#include <ctime>

class QLabel;

namespace k470 {

/// The status bar MSBar of the main window: panel 1 shows the band, panel 2 the port, with its device as tool
/// tip, panel 4 the time.
class StatusBar : public QStatusBar {
    Q_OBJECT

public:
    StatusBar(const AppState &state, QWidget *parent);

    void ShowBand();
    void ShowPort();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void Time_Timer();
    QString PortToolTip() const;

    const AppState &state_;
    std::array<QLabel *, 4> panels_{};
    std::time_t shownTime_ = 0;
};

} // namespace k470
