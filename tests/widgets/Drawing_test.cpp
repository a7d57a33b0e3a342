// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QFontDatabase>
#include <QImage>
#include <QPainter>
#include <algorithm>

#include "format/QVInterfaceUtilities.h"
#include "support/Palettes.h"
#include "widgets/AttributedString.h"
#include "widgets/Colors.h"
#include "widgets/Layer.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

/// The columns of a picture 200 wide that `text` leaves its colour in: the first and the last.
std::pair<int, int> inkOf(const AttributedString& text) {
    QImage image(200, 30, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    text.draw(painter, image.rect());
    painter.end();
    std::pair<int, int> ink{200, -1};
    for (int x = 0; x < 200; ++x)
        for (int y = 0; y < 30; ++y)
            if (image.pixelColor(x, y).blue() < 128) ink = {std::min(ink.first, x), x};
    return ink;
}

TEST(AttributedString, StandsWhereItsParagraphStyleSaysAndIsCutToItsPlace) {
    AttributedString text{QStringLiteral("mm"), Qt::red, {Qt::AlignLeft, Qt::ElideRight}, QFont()};
    EXPECT_LT(inkOf(text).first, 10);
    text.paragraphStyle.alignment = Qt::AlignRight;
    EXPECT_GT(inkOf(text).second, 190);
    text.string = QString(100, u'm');
    EXPECT_GT(inkOf(text).second, 100);
    text.string = QStringLiteral("m") + QString(500, u' ');
    text.paragraphStyle = {Qt::AlignLeft, Qt::ElideMiddle};
    EXPECT_GE(inkOf(text).second, 0);
}

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
        const auto& [red, green, blue, alpha] = components;
        EXPECT_EQ(QColor::fromRgbF(float(red), float(green), float(blue), float(alpha)).rgba(),
                  color.rgba())
            << option;
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

TEST(QVInterfaceUtilitiesText, StylesWithTheDesktopsFontOrANamedOne) {
    const auto fontOf = [](const char* name, bool bold) {
        return QVInterfaceUtilities::sharedControl()
            .attributedStringWithString({}, QString::fromLatin1(name), 9.5, Qt::red, bold, {})
            .font;
    };
    EXPECT_EQ(fontOf("", true).pointSizeF(), 9.5);
    EXPECT_TRUE(fontOf("", true).bold());
    EXPECT_EQ(fontOf("", true).family(),
              QFontDatabase::systemFont(QFontDatabase::GeneralFont).family());
    EXPECT_EQ(fontOf("DejaVu Serif", true).family(), QStringLiteral("DejaVu Serif"));
    EXPECT_FALSE(fontOf("DejaVu Serif", true).bold()) << "a named font is taken as it is";
}

}  // namespace
}  // namespace kestrin
