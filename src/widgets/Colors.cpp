// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/Colors.h"

#include <QGuiApplication>
#include <QPalette>
#include <algorithm>

namespace kestrin {
namespace {

constexpr float kLighter = 1.3F;
constexpr float kDarker = 0.75F;

QColor withBrightness(const QColor& color, float factor) {
    float hue = 0;
    float saturation = 0;
    float brightness = 0;
    float alpha = 0;
    color.getHsvF(&hue, &saturation, &brightness, &alpha);
    return QColor::fromHsvF(hue, saturation, std::min(brightness * factor, 1.0F), alpha);
}

QColor accentColor(std::int16_t options) {
    const QColor color = QGuiApplication::palette().color(QPalette::Highlight);
    if (options == -1) return darkerColor(color);
    if (options == 1) return lighterColor(color);
    return color;
}

}  // namespace

QColor lighterColor(const QColor& color) {
    return withBrightness(color, kLighter);
}

QColor darkerColor(const QColor& color) {
    return withBrightness(color, kDarker);
}

void accentColorComponents(std::array<double, 4>& components, std::int16_t options) {
    const QColor color = accentColor(options).toRgb();
    components = {color.redF(), color.greenF(), color.blueF(), color.alphaF()};
}

}  // namespace kestrin
