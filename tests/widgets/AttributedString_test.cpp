// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/AttributedString.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

namespace kestrin {
namespace {

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

}  // namespace
}  // namespace kestrin
