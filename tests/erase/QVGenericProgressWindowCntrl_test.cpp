// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVGenericProgressWindowCntrl.h"

#include <gtest/gtest.h>

#include "support/RecordingProgressView.h"

namespace kestrin {

TEST(QVGenericProgressWindowCntrl, StopCallsTheHandlerOnceWhicheverComesFirst) {
    for (const bool isStopFirst : {false, true}) {
        test::ProgressRecord record;
        const auto controller = QVGenericProgressWindowCntrl::create(record.factory());
        ASSERT_TRUE(controller);
        EXPECT_EQ(record.shown, 0);
        int calls = 0;
        if (isStopFirst) record.pressStop();
        controller->setStopHandler([&] { calls += controller->wasStopped() ? 1 : 100; });
        record.pressStop();
        record.pressStop();
        EXPECT_EQ(calls, 1) << isStopFirst;
    }
}

}  // namespace kestrin
