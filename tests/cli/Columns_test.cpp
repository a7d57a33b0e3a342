// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Columns.h"

#include <gtest/gtest.h>

namespace kestrin {
namespace {

TEST(Columns, WidthIsInCells) {
    EXPECT_EQ(displayWidth(QString()), 0);
    EXPECT_EQ(displayWidth(QStringLiteral("abc")), 3);
    EXPECT_EQ(displayWidth(QStringLiteral("\u65e5\u672c")), 4);
    EXPECT_EQ(displayWidth(QStringLiteral("e\u0301")), 1);
    EXPECT_EQ(displayWidth(QString::fromUtf8("\xF0\x9F\x98\x80")), 2);
}

TEST(Columns, FittingTearsNoCharacterApart) {
    EXPECT_EQ(fittedToWidth(QStringLiteral("abc"), 3), QStringLiteral("abc"));
    EXPECT_EQ(fittedToWidth(QStringLiteral("abc"), 2), QStringLiteral("ab"));
    EXPECT_EQ(fittedToWidth(QStringLiteral("\u65e5\u672c"), 3), QStringLiteral("\u65e5"));
    EXPECT_EQ(fittedToWidth(QString::fromUtf8("\xF0\x9F\x98\x80"), 1), QString());
}

TEST(Columns, RowsAreAlignedByTheirWidestCell) {
    const std::vector<QStringList> rows{
        {QStringLiteral("Name"), QStringLiteral("Size")},
        {QStringLiteral("\u65e5\u672c\u8a9e"), QStringLiteral("12")},
        {QStringLiteral("x"), QString()}};
    EXPECT_EQ(alignedRows(rows, {{}, {.alignsRight = true}}),
              (QStringList{QStringLiteral("Name    Size"),
                           QStringLiteral("\u65e5\u672c\u8a9e    12"), QStringLiteral("x")}));
}

TEST(Columns, ALongTextPushesTheRestAside) {
    EXPECT_EQ(rowText({QStringLiteral("abcdef"), QStringLiteral("1")},
                      {{.width = 3}, {.width = 2, .alignsRight = true}}),
              QStringLiteral("abcdef   1"));
}

}  // namespace
}  // namespace kestrin
