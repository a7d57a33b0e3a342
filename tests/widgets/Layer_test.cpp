// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/Layer.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

namespace kestrin {
namespace {

using namespace std::chrono_literals;

Layer::Pointer named(const char* name) {
    return std::make_shared<Layer>(QLatin1String(name));
}

TEST(Layer, LookUpOfItsOwnIsLenientAndThatInTheContainerStrict) {
    const QString r = QStringLiteral("r");
    Layer layer;
    EXPECT_TRUE(layer.sublayerWithName(r)->name().isEmpty());
    EXPECT_EQ(layer.layerWithName(r), nullptr);
    EXPECT_TRUE(layer.superLayer()->sublayers().empty());
    const Layer::Pointer p = named("p"), container = named("superLayer");
    for (const Layer::Pointer& sublayer : {p, container, named("p"), container})
        layer.addSublayer(sublayer);
    EXPECT_EQ(layer.sublayerWithName(QStringLiteral("p")), p);
    EXPECT_EQ(layer.sublayerWithName(r), container);
    EXPECT_FALSE(layer.sublayerWithNameExists(r));
    EXPECT_EQ(Layer::indexOfItemInArray(layer.sublayers(), container), 1u);
    EXPECT_EQ(Layer::indexOfItemInArray(layer.sublayers(), named("p")), std::nullopt);
    container->addSublayer(named("badge"));
    EXPECT_EQ(layer.superLayer(), container);
    EXPECT_TRUE(layer.layerWithNameExists(QStringLiteral("badge")));
    EXPECT_EQ(layer.layerWithName(QStringLiteral("p")), nullptr);
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

TEST(LayerAnimation, FadesForHalfASecondAndLeavesTheLayersOwnValue) {
    const LayerAnimation out = fadeOutAnimation();
    EXPECT_EQ(out.duration, 500ms);
    EXPECT_DOUBLE_EQ(out.valueAt(0ms, 0.7), 1);
    EXPECT_DOUBLE_EQ(out.valueAt(125ms, 0.7), 0.75);
    EXPECT_DOUBLE_EQ(out.valueAt(500ms, 0.7), 0.7);
    EXPECT_DOUBLE_EQ(fadeInAnimation().valueAt(125ms, 0.7), 0.25);
}

}  // namespace
}  // namespace kestrin
