// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/QVWorkingProgressView.h"

#include <gtest/gtest.h>

#include <QImage>
#include <memory>

#include "erase/ui/BusySpinner.h"
#include "support/WidgetPictures.h"

namespace kestrin {
namespace {

TEST(QVWorkingProgressView, IsAnOpaqueGreyOfTheAppearance) {
    QVWorkingProgressView view;
    view.resize(8, 8);
    view.setPalette(test::lightPalette());
    EXPECT_EQ(view.grab().toImage().pixelColor(4, 4), QColor(252, 252, 252));
    view.setPalette(test::darkPalette());
    EXPECT_EQ(view.grab().toImage().pixelColor(4, 4), QColor(20, 20, 20));
}

TEST(QVWorkingProgressView, ItsSpinnerTurnsWhileItShows) {
    QVWorkingProgressView view;
    auto spinner = std::make_unique<BusySpinner>();
    view.setSpinner(spinner.get());
    EXPECT_FALSE(spinner->isAnimating());
    view.show();
    EXPECT_TRUE(spinner->isAnimating());
    view.hide();
    EXPECT_FALSE(spinner->isAnimating());
    spinner.reset();
    view.show();  // a spinner that went is no concern
}

}  // namespace
}  // namespace kestrin
