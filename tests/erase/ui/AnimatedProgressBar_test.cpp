// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/AnimatedProgressBar.h"

#include <gtest/gtest.h>

#include <QTest>
#include <cmath>

namespace kestrin {

TEST(AnimatedProgressBar, WandersUntilTheTotalIsKnownThenGlidesAndNeverGoesBack) {
    AnimatedProgressBar bar;
    bar.setLocale(QLocale(QLocale::German));
    const auto isAt = [&bar](double percent) {
        return QTest::qWaitFor([&] { return bar.value() == bar.maximum() * percent / 100; }, 2000);
    };
    bar.show();
    bar.startIndeterminateAnimation();
    EXPECT_EQ(bar.minimum(), bar.maximum());
    bar.updateProgress(30);
    EXPECT_TRUE(bar.isIndeterminate());
    bar.startDeterminateAnimation();
    EXPECT_FALSE(bar.isIndeterminate());
    EXPECT_TRUE(isAt(30));
    for (const double percent : {40.0, 60.7, 40.0, 0.0, -5.0, std::nan("")})
        bar.updateProgress(percent);
    bar.startDeterminateAnimation();
    EXPECT_TRUE(isAt(60.7));
    EXPECT_EQ(bar.text(), QStringLiteral("60\u00a0%"));
    bar.updateProgress(250);
    EXPECT_TRUE(isAt(100));
}

}  // namespace kestrin
