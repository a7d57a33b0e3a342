// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/Colors.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <algorithm>

#include "support/Palettes.h"

namespace kestrin {
namespace {

constexpr float kRounding = 0.01F;

TEST(Colors, ChangeTheBrightnessAlone) {
    const QColor color = QColor::fromHsvF(0.3F, 0.6F, 0.4F, 0.5F);
    for (const auto& [changed, brightness] :
         {std::pair(lighterColor(color), 0.52F), std::pair(darkerColor(color), 0.3F)}) {
        EXPECT_NEAR(changed.hsvHueF(), 0.3F, kRounding);
        EXPECT_NEAR(changed.hsvSaturationF(), 0.6F, kRounding);
        EXPECT_NEAR(changed.alphaF(), 0.5F, kRounding);
        EXPECT_NEAR(changed.valueF(), brightness, kRounding);
    }
    EXPECT_FLOAT_EQ(lighterColor(QColor::fromHsvF(0.1F, 0.5F, 0.9F)).valueF(), 1.0F);
}

TEST(Colors, AccentColourComesInThreeBrightnesses) {
    const QColor accent = QGuiApplication::palette().color(QPalette::Highlight);
    for (const auto& [option, color] : {std::pair(0, accent),
                                        {7, accent},
                                        {-1, darkerColor(accent)},
                                        {1, lighterColor(accent)}}) {
        std::array<double, 4> components{};
        accentColorComponents(components, static_cast<std::int16_t>(option));
        EXPECT_NEAR(components[0], color.redF(), kRounding) << option;
        EXPECT_NEAR(components[1], color.greenF(), kRounding) << option;
        EXPECT_NEAR(components[2], color.blueF(), kRounding) << option;
        EXPECT_EQ(components[3], 1) << option;
    }
}

TEST(Colors, ACheckBoxStandsOutInTheDark) {
    QWidget ground;
    ground.setPalette(test::darkPalette());
    ground.resize(30, 30);
    QCheckBox box(&ground);
    box.setPalette(checkBoxPalette(ground.palette()));
    const QImage picture = ground.grab().toImage();
    int brightest = 0;
    for (int x = 0; x < picture.width(); ++x)
        brightest = std::max(brightest, picture.pixelColor(x, box.height() / 2).lightness());
    EXPECT_GE(brightest, 2.5 * ground.palette().color(QPalette::Window).lightness());
}

}  // namespace
}  // namespace kestrin
