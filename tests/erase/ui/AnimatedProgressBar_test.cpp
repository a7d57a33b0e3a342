// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/AnimatedProgressBar.h"

#include <gtest/gtest.h>

#include <QTest>
#include <cmath>

namespace kestrin {
namespace {

int percentOf(const AnimatedProgressBar& bar) {
    return bar.value() * 100 / bar.maximum();
}

TEST(AnimatedProgressBar, NeverGoesBackWhileItIsDeterminate) {
    AnimatedProgressBar bar;
    for (const double percent : {10.0, 60.0, 40.0, 0.0, -5.0, std::nan("")})
        bar.updateProgress(percent);
    EXPECT_EQ(percentOf(bar), 60);
    bar.startDeterminateAnimation();
    EXPECT_EQ(percentOf(bar), 60);
    bar.updateProgress(250);
    EXPECT_EQ(percentOf(bar), 100);
}

TEST(AnimatedProgressBar, WandersUntilTheTotalIsKnown) {
    AnimatedProgressBar bar;
    bar.startIndeterminateAnimation();
    EXPECT_TRUE(bar.isIndeterminate());
    EXPECT_EQ(bar.minimum(), bar.maximum());
    bar.updateProgress(30);
    EXPECT_TRUE(bar.isIndeterminate());
    bar.startDeterminateAnimation();
    EXPECT_FALSE(bar.isIndeterminate());
    EXPECT_EQ(percentOf(bar), 30);
}

TEST(AnimatedProgressBar, GlidesToWhereItIsSent) {
    AnimatedProgressBar bar;
    bar.show();
    bar.updateProgress(50);
    bar.updateProgress(80);
    EXPECT_TRUE(QTest::qWaitFor([&] { return percentOf(bar) == 80; }, 2000));
}

TEST(AnimatedProgressBar, WritesThePercentageInTheUsersWay) {
    AnimatedProgressBar bar;
    bar.setLocale(QLocale(QLocale::German));
    bar.updateProgress(43.7);
    EXPECT_EQ(bar.text(), QStringLiteral("43\u00a0%"));
}

}  // namespace
}  // namespace kestrin
