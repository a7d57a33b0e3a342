// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/Colors.h"

#include <QGuiApplication>
#include <algorithm>
#include <cmath>

#include "platform/desktop/ui/Appearance.h"

namespace kestrin {
namespace {

constexpr float kLighter = 1.3F;
constexpr float kDarker = 0.75F;
// The frame has a contrast of three to one with its ground, as guidelines ask of a control.
constexpr float kFrame = 0.45F;
constexpr float kInside = 0.1F;
constexpr float kFaint = 0.6F;
constexpr double kMiddleLuminance = 0.179;  // black and white have the same contrast with it
constexpr int kDarkerFrame = 140;  // percent: how much darker than the window styles draw a frame

QColor withBrightness(const QColor& color, float factor) {
    float hue = 0;
    float saturation = 0;
    float brightness = 0;
    float alpha = 0;
    color.getHsvF(&hue, &saturation, &brightness, &alpha);
    return QColor::fromHsvF(hue, saturation, std::min(brightness * factor, 1.0F), alpha);
}

/// 0 (black) to 1 (white), as the Web Content Accessibility Guidelines define it.
double luminance(const QColor& color) {
    const auto linear = [](double share) {
        return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
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

QColor blendedColor(const QColor& from, const QColor& to, float share) {
    const auto mix = [share](float first, float second) {
        return first + (second - first) * share;
    };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()));
}

QColor faintTextColor(const QPalette& palette) {
    return blendedColor(palette.color(QPalette::Base), palette.color(QPalette::Text), kFaint);
}

QColor checkedInfoBackground(const QPalette& palette) {
    const QColor accent = palette.color(QPalette::Active, QPalette::Highlight);
    return isDarkAppearance(palette) ? lighterColor(accent) : darkerColor(accent);
}

QColor checkedInfoText(const QPalette& palette) {
    return luminance(checkedInfoBackground(palette)) > kMiddleLuminance ? Qt::black : Qt::white;
}

QPalette checkBoxPalette(const QPalette& ground) {
    if (!isDarkAppearance(ground)) return ground;
    QPalette palette = ground;
    const QColor window = ground.color(QPalette::Window);
    const QColor text = ground.color(QPalette::WindowText);
    palette.setColor(QPalette::Window, blendedColor(window, text, kFrame).lighter(kDarkerFrame));
    palette.setColor(QPalette::Base, blendedColor(window, text, kInside));
    return palette;
}

}  // namespace kestrin
