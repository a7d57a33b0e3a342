// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/BusySpinner.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QTest>

namespace kestrin {

TEST(BusySpinner, TurnsOnlyWhileItIsStartedAndCanBeSeen) {
    BusySpinner spinner;
    spinner.startAnimation();
    EXPECT_FALSE(spinner.isTurning()) << "woke up without being seen";
    spinner.show();
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

}  // namespace kestrin
