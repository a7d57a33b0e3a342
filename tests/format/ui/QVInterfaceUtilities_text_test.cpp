// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QFontInfo>

#include "format/QVInterfaceUtilities.h"
#include "format/ui/AttributedString.h"

namespace kestrin {
namespace {

const QVInterfaceUtilities& utilities() {
    return QVInterfaceUtilities::sharedControl();
}

TEST(QVInterfaceUtilitiesText, MeasuresOneLine) {
    QFont font;
    font.setPointSizeF(10);
    const QSizeF one = utilities().sizeOfString(QStringLiteral("m"), font);
    const QSizeF two = utilities().sizeOfString(QStringLiteral("mm"), font);
    EXPECT_NEAR(two.width(), 2 * one.width(), 1);
    EXPECT_EQ(two.height(), one.height());
    font.setPointSizeF(20);
    EXPECT_GT(utilities().sizeOfString(QStringLiteral("m"), font).width(), one.width());
    EXPECT_EQ(utilities().sizeOfString({}, font).width(), 0);
}

TEST(QVInterfaceUtilitiesText, StylesWithTheDesktopsFontOrANamedOne) {
    const ParagraphStyle style{Qt::AlignRight, Qt::ElideMiddle};
    const AttributedString plain = utilities().attributedStringWithString(
        QStringLiteral("text"), {}, 17, Qt::red, false, style);
    EXPECT_EQ(plain.string, QStringLiteral("text"));
    EXPECT_EQ(plain.foregroundColor, QColor(Qt::red));
    EXPECT_EQ(plain.paragraphStyle, style);
    EXPECT_EQ(plain.font.pointSizeF(), 17);
    EXPECT_FALSE(plain.font.bold());
    EXPECT_EQ(plain.font.family(), QFontDatabase::systemFont(QFontDatabase::GeneralFont).family());

    const AttributedString bold =
        utilities().attributedStringWithString({}, {}, 9.5, Qt::red, true, style);
    EXPECT_TRUE(bold.string.isEmpty());
    EXPECT_TRUE(bold.font.bold());
    EXPECT_EQ(bold.font.pointSizeF(), 9.5);

    const AttributedString named = utilities().attributedStringWithString(
        {}, QStringLiteral("DejaVu Serif"), 12, Qt::red, true, style);
    EXPECT_EQ(named.font.family(), QStringLiteral("DejaVu Serif"));
    EXPECT_FALSE(named.font.bold()) << "a named font is taken as it is";
}

}  // namespace
}  // namespace kestrin
