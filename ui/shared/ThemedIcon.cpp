#include "ui/shared/ThemedIcon.h"

#include <QColor>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

/// Stands outside the namespace, as the macro asks. The call keeps the pictures in a program that links them
/// from a library.
static void InitIcons() {
    Q_INIT_RESOURCE(icons);
}

namespace k470 {

namespace {

constexpr double DimmedOpacity = 0.4;

class SvgIconEngine : public QIconEngine {
public:
    explicit SvgIconEngine(QByteArray picture) : picture_(std::move(picture)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override {
        QSvgRenderer renderer(picture_);
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        if (mode == QIcon::Disabled)
            painter->setOpacity(painter->opacity() * DimmedOpacity);
        renderer.render(painter, rect);
        painter->restore();
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }

    QIconEngine *clone() const override { return new SvgIconEngine(*this); }

private:
    QByteArray picture_;
};

} // namespace

QIcon ThemedIcon(const QString &resourcePath, const QPalette &palette) {
    InitIcons();
    QFile file(resourcePath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
    return QIcon(new SvgIconEngine(file.readAll().replace("currentColor", text.name().toLatin1())));
}

} // namespace k470
