// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/AnimatedProgressBar.h"

#include <gtest/gtest.h>

#include <QTest>
#include <cmath>

namespace kestrin {

TEST(AnimatedProgressBar, StandsAtItsFirstFigureThenGlidesWithItsTextAndNeverGoesBack) {
    AnimatedProgressBar bar;
    bar.setLocale(QLocale(QLocale::German));
    const auto isAt = [&bar](double percent) {
        return bar.value() == bar.maximum() * percent / 100;
    };
    bar.show();
    bar.setPercent({});
    EXPECT_EQ(bar.minimum(), bar.maximum());
    bar.setPercent(30);
    EXPECT_TRUE(isAt(30));
    for (const double percent : {60.7, 40.0, 0.0, -5.0, std::nan("")})
        bar.setPercent(percent);
    EXPECT_TRUE(isAt(30));
    EXPECT_EQ(bar.text(), QStringLiteral("30\u00a0%"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return isAt(60.7); }, 200));
    EXPECT_EQ(bar.text(), QStringLiteral("60\u00a0%"));
    bar.setPercent({});
    bar.setPercent(250);
    EXPECT_TRUE(isAt(100));
}

}  // namespace kestrin
