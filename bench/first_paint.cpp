// Linked into a program that is measured: says on standard output when its first window is painted, and what
// memory that took. The program itself knows nothing of it.

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <cstdio>

namespace {

long long PeakMemoryKilobytes() {
    QFile status("/proc/self/status");
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').value(1).toLongLong();
    return 0;
}

class FirstPaintWatch : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override {
        const auto *widget = qobject_cast<QWidget *>(watched);
        if (event->type() == QEvent::Paint && widget != nullptr && widget->isWindow()) {
            QCoreApplication::instance()->removeEventFilter(this);
            // Its children are painted, and the picture handed over, before the event loop goes on.
            QTimer::singleShot(0, this, [] { Report(); });
        }
        return false;
    }

private:
    static void Report() {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        std::printf(
            "%lld %lld\n",
            static_cast<long long>(std::chrono::duration_cast<std::chrono::microseconds>(now).count()),
            PeakMemoryKilobytes());
        std::fflush(stdout);
    }
};

void WatchFirstPaint() {
    auto *application = QCoreApplication::instance();
    application->installEventFilter(new FirstPaintWatch(application));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(WatchFirstPaint)
