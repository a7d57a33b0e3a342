// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QFontInfo>

#include "format/QVInterfaceUtilities.h"
#include "widgets/AttributedString.h"

namespace kestrin {
namespace {

const QVInterfaceUtilities& utilities() {
    return QVInterfaceUtilities::sharedControl();
}

TEST(QVInterfaceUtilitiesText, StylesWithTheDesktopsFontOrANamedOne) {
    const auto fontOf = [](const char* name, bool bold) {
        return utilities()
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
