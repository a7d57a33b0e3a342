// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/BusySpinner.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QTest>

namespace kestrin {
namespace {

TEST(BusySpinner, TurnsOnlyWhileItIsStartedAndCanBeSeen) {
    BusySpinner spinner;
    spinner.startAnimation();
    EXPECT_TRUE(spinner.isAnimating());
    EXPECT_FALSE(spinner.isTurning()) << "woke up without being seen";

    spinner.show();
    EXPECT_TRUE(spinner.isTurning());
    const QImage first = spinner.grab().toImage();
    QTest::qWait(150);
    EXPECT_NE(spinner.grab().toImage(), first);

    spinner.hide();
    EXPECT_FALSE(spinner.isTurning());
    spinner.show();
    EXPECT_TRUE(spinner.isTurning());
    spinner.stopAnimation();
    EXPECT_FALSE(spinner.isTurning());
}

TEST(BusySpinner, TakesTheColourOfItsForegroundRole) {
    QWidget row;
    BusySpinner spinner(&row);
    spinner.resize(64, 64);
    row.resize(64, 64);
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::black);
    palette.setColor(QPalette::HighlightedText, QColor(Qt::red));
    row.setPalette(palette);
    spinner.setForegroundRole(QPalette::HighlightedText);
    spinner.startAnimation();
    row.show();
    // The arc begins at the top and runs clockwise; its middle line lies half its thickness inside.
    const QColor drawn = row.grab().toImage().pixelColor(34, 4);
    EXPECT_GT(drawn.red(), 200);
    EXPECT_EQ(drawn.green(), 0);
}

}  // namespace
}  // namespace kestrin
