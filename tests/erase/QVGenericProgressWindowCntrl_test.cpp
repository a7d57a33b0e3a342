// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVGenericProgressWindowCntrl.h"

#include <gtest/gtest.h>

#include "support/RecordingProgressView.h"

namespace kestrin {
namespace {

TEST(QVGenericProgressWindowCntrl, IsMadeWithoutShowing) {
    test::ProgressRecord record;
    const auto controller = QVGenericProgressWindowCntrl::create(record.factory());
    ASSERT_TRUE(controller);
    EXPECT_EQ(record.shown, 0);
    EXPECT_EQ(controller->countStr(), QStringLiteral("%@ of %@"));
    EXPECT_FALSE(controller->wasStopped());
    controller->hideInfoSizeFields(true);
    EXPECT_EQ(record.hiddenFields, std::vector<bool>{true});
}

TEST(QVGenericProgressWindowCntrl, IsNotMadeWithoutAView) {
    test::ProgressRecord record;
    record.canBeMade = false;
    EXPECT_FALSE(QVGenericProgressWindowCntrl::create(record.factory()));
}

TEST(QVGenericProgressWindowCntrl, StopCallsTheHandlerOnce) {
    test::ProgressRecord record;
    const auto controller = QVGenericProgressWindowCntrl::create(record.factory());
    int calls = 0;
    controller->setStopHandler([&] {
        EXPECT_TRUE(controller->wasStopped());
        ++calls;
    });
    record.pressStop();
    record.pressStop();
    EXPECT_TRUE(controller->wasStopped());
    EXPECT_EQ(calls, 1);
}

TEST(QVGenericProgressWindowCntrl, AHandlerThatComesAfterStopIsCalledAtOnce) {
    test::ProgressRecord record;
    const auto controller = QVGenericProgressWindowCntrl::create(record.factory());
    controller->stopAction();
    bool wasCalled = false;
    controller->setStopHandler([&] { wasCalled = true; });
    EXPECT_TRUE(wasCalled);
}

}  // namespace
}  // namespace kestrin
