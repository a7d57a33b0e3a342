// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/SizeLineView.h"

#include <gtest/gtest.h>

#include "widgets/BusySpinner.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {

TEST(SizeLineView, FitsItsFontAndCutsAtTheHeadAndItsSpinnerGoesWhenTheFiguresCome) {
    SizeLineView view;
    const auto& text = *view.findChild<ElidedLabel*>();
    const auto& spinner = *view.findChild<BusySpinner*>();
    QFont font = view.font();
    font.setPixelSize(40);
    view.setFont(font);
    view.resize(view.sizeHint());
    view.setLine(QStringLiteral("counting"), true);
    view.show();
    EXPECT_TRUE(spinner.isTurning());
    EXPECT_GE(text.height(), text.fontMetrics().height());
    view.setLine(QString(200, u'x') + QStringLiteral(" 3.40 GB"), false);
    EXPECT_FALSE(spinner.isTurning());
    EXPECT_FALSE(spinner.isVisible());
    EXPECT_TRUE(text.text().endsWith(QLatin1String("3.40 GB")));
    EXPECT_TRUE(text.textInteractionFlags() & Qt::TextSelectableByMouse);
    for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        view.setLayoutDirection(direction);
        EXPECT_TRUE(view.rect().contains(text.geometry()));
        EXPECT_EQ(spinner.x() < text.x(), direction == Qt::LeftToRight);
    }
}

}  // namespace kestrin
