#include "ui/shared/Shades.h"

#include <algorithm>
#include <cmath>

namespace k470 {

namespace {

double Luminance(const QColor &colour) {
    const auto linear = [](double channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double ContrastRatio(const QColor &one, const QColor &other) {
    const auto [darker, lighter] = std::minmax({Luminance(one), Luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace

QColor Mix(const QColor &ground, const QColor &tint, float part) {
    const auto mix = [part](float from, float to) { return from + (to - from) * part; };
    return QColor::fromRgbF(mix(ground.redF(), tint.redF()), mix(ground.greenF(), tint.greenF()),
                            mix(ground.blueF(), tint.blueF()));
}

QColor ReadableShade(const QColor &colour, const QColor &ground, double ratio) {
    if (ContrastRatio(colour, ground) >= ratio)
        return colour;
    constexpr int Steps = 50;
    for (int step = 1; step <= Steps; ++step) {
        for (const int direction : {1, -1}) {
            const float lightness =
                colour.lightnessF() + static_cast<float>(direction * step) / static_cast<float>(Steps);
            const QColor shade = QColor::fromHslF(colour.hslHueF(), colour.hslSaturationF(),
                                                  std::clamp(lightness, 0.0F, 1.0F));
            if (ContrastRatio(shade, ground) >= ratio)
                return shade;
        }
    }
    return ContrastRatio(Qt::white, ground) > ContrastRatio(Qt::black, ground) ? Qt::white : Qt::black;
}

} // namespace k470
