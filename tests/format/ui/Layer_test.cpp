// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/ui/Layer.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

namespace kestrin {
namespace {

using namespace std::chrono_literals;

Layer::Pointer named(const char* name) {
    return std::make_shared<Layer>(QLatin1String(name));
}

TEST(Layer, OwnLookUpIsLenient) {
    Layer layer;
    const QString r = QStringLiteral("r");
    EXPECT_TRUE(layer.sublayerWithName(r)->name().isEmpty());
    EXPECT_TRUE(layer.sublayers().empty());

    const Layer::Pointer p = named("p");
    const Layer::Pointer q = named("q");
    layer.addSublayer(p);
    layer.addSublayer(q);
    layer.addSublayer(named("p"));
    layer.addSublayer(q);
    EXPECT_EQ(layer.sublayerWithName(QStringLiteral("p")), p);
    EXPECT_EQ(layer.sublayerWithName(r), q);
    EXPECT_FALSE(layer.sublayerWithNameExists(r));
    EXPECT_TRUE(layer.sublayerWithNameExists(QStringLiteral("q")));
    EXPECT_EQ(Layer::indexOfItemInArray(layer.sublayers(), q), 1U);
    EXPECT_EQ(Layer::indexOfItemInArray(layer.sublayers(), named("q")), std::nullopt);
}

TEST(Layer, LookUpInTheContainerIsStrict) {
    Layer view;
    EXPECT_TRUE(view.superLayer()->sublayers().empty());
    EXPECT_EQ(view.layerWithName(QStringLiteral("badge")), nullptr);

    const Layer::Pointer container = named("superLayer");
    view.addSublayer(container);
    container->addSublayer(named("badge"));
    EXPECT_EQ(view.superLayer(), container);
    EXPECT_TRUE(view.layerWithNameExists(QStringLiteral("badge")));
    EXPECT_FALSE(view.layerWithNameExists(QStringLiteral("other")));
    EXPECT_EQ(view.layerWithName(QStringLiteral("other")), nullptr);
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
    EXPECT_EQ(out.keyPath, QStringLiteral("opacity"));
    EXPECT_EQ(out.duration, 500ms);
    EXPECT_EQ(out.fillMode, LayerAnimation::FillMode::Removed);
    EXPECT_DOUBLE_EQ(out.valueAt(0ms, 0.7), 1);
    EXPECT_DOUBLE_EQ(out.valueAt(125ms, 0.7), 0.75);
    EXPECT_DOUBLE_EQ(out.valueAt(500ms, 0.7), 0.7);
    EXPECT_DOUBLE_EQ(fadeInAnimation().valueAt(125ms, 0.7), 0.25);
}

}  // namespace
}  // namespace kestrin
