// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QImage>
#include <QPainter>
#include <algorithm>

#include "widgets/Colors.h"
#include "widgets/Layer.h"

namespace kestrin {
namespace {

TEST(Colors, ChangeTheBrightnessAlone) {
    const QColor color = QColor::fromHsvF(0.3F, 0.6F, 0.4F, 0.5F), lighter = lighterColor(color);
    EXPECT_NEAR(lighter.valueF(), 0.52F, 0.01F);
    EXPECT_NEAR(lighter.saturationF(), 0.6F, 0.01F);
    EXPECT_NEAR(darkerColor(color).valueF(), 0.3F, 0.01F);
}

TEST(Colors, ACheckBoxStandsOutInTheDark) {
    QWidget ground;
    ground.setPalette(QPalette(QColor(0x2b, 0x2d, 0x30)));
    ground.resize(30, 30);
    QCheckBox box(&ground);
    box.setPalette(checkBoxPalette(ground.palette()));
    const QImage picture = ground.grab().toImage();
    int brightest = 0;
    for (int x = 0; x < picture.width(); ++x)
        brightest = std::max(brightest, picture.pixelColor(x, box.height() / 2).lightness());
    EXPECT_GE(brightest, 2.5 * ground.palette().color(QPalette::Window).lightness());
}

TEST(Layer, DrawsFromTheLowestUpWithTheOpacitiesMultiplied) {
    QImage image(2, 2, QImage::Format_RGB32);
    image.fill(Qt::black);
    const auto fill = [](Qt::GlobalColor color) {
        return [color](QPainter& painter) {
            painter.fillRect(0, 0, 2, 2, color);
            painter.setOpacity(0);  // no concern of the next layer
        };
    };
    Layer lowest(QStringLiteral("lowest"), fill(Qt::blue));
    const auto upper = std::make_shared<Layer>(QStringLiteral("upper"), fill(Qt::red));
    lowest.addSublayer(upper);
    EXPECT_EQ(lowest.sublayerWithName(QStringLiteral("upper")), upper);
    EXPECT_EQ(lowest.layerWithName(QStringLiteral("upper")), nullptr) << "of the container's";
    upper->setOpacity(0.5);
    QPainter painter(&image);
    lowest.draw(painter);
    EXPECT_NEAR(image.pixelColor(0, 0).red(), 128, 2);
    EXPECT_NEAR(image.pixelColor(0, 0).blue(), 128, 2);
    EXPECT_EQ(painter.opacity(), 1);
    image.fill(Qt::black);
    lowest.setOpacity(0.5);
    lowest.draw(painter);
    EXPECT_NEAR(image.pixelColor(0, 0).red(), 64, 2);
}

}  // namespace
}  // namespace kestrin
