// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Columns.h"

#include <gtest/gtest.h>

namespace kestrin {
TEST(Columns, WidthIsInCellsAndFittingTearsNoCharacterApart) {
    const QString cells = QStringLiteral("\u65e5e\u0301\U0001F600");
    EXPECT_EQ(displayWidth(cells), 5);
    const qsizetype lengths[] = {0, 0, 1, 3, 3, 5, 5};
    for (int width = 0; width < 7; ++width)
        EXPECT_EQ(fittedToWidth(cells, width), cells.left(lengths[width])) << width;
}

TEST(Columns, RowsAreAlignedByTheirWidestCellAndALongTextPushesTheRestAside) {
    const std::vector<QStringList> rows{
        {QStringLiteral("Name"), QStringLiteral("Size")},
        {QStringLiteral("\u65e5\u672c\u8a9e"), QStringLiteral("12")},
        {QStringLiteral("x"), QString()}};
    EXPECT_EQ(alignedRows(rows, {{}, {.alignsRight = true}}),
              (QStringList{QStringLiteral("Name    Size"),
                           QStringLiteral("\u65e5\u672c\u8a9e    12"), QStringLiteral("x")}));
    EXPECT_EQ(rowText(rows[0], {{.width = 3}, {.width = 5, .alignsRight = true}}),
              QStringLiteral("Name   Size"));
}

}  // namespace kestrin
