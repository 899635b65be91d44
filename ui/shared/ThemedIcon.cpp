#include "ui/shared/ThemedIcon.h"

#include <QColor>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

#include <utility>

/// Stands outside the namespace, as the macro asks. The call keeps the pictures in a program that links them
/// from a library.
static void InitIcons() {
    Q_INIT_RESOURCE(icons);
}

namespace k470 {

namespace {

constexpr float DimmedOpacity = 0.4F;

class SvgIconEngine : public QIconEngine {
public:
    explicit SvgIconEngine(QByteArray svg) : svg_(std::move(svg)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override {
        if (mode != QIcon::Disabled) {
            Draw(*painter, rect);
            return;
        }
        // Dimmed as a whole: strokes that were dimmed one by one would shine through where they cross.
        const double scale = painter->device()->devicePixelRatio();
        painter->drawPixmap(rect, pixmap((QSizeF(rect.size()) * scale).toSize(), mode, state));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        Draw(painter, picture.rect());
        if (mode == QIcon::Disabled) {
            painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
            painter.fillRect(picture.rect(), QColor::fromRgbF(0, 0, 0, DimmedOpacity));
        }
        return picture;
    }

    QIconEngine *clone() const override { return new SvgIconEngine(*this); }

private:
    void Draw(QPainter &painter, const QRect &rect) const {
        QSvgRenderer renderer(svg_);
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, rect);
        painter.restore();
    }

    QByteArray svg_;
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
