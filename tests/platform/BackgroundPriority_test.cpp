// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/BackgroundPriority.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <stdexcept>
#include <thread>

namespace kestrin {
namespace {

TEST(BackgroundPriority, IsThatOfTheWorkAndOfWhatItStartsAlone) {
    int ofWork = -1;
    int ofItsThread = -1;
    runAtBackgroundPriority([&] {
        ofWork = sched_getscheduler(0);
        std::thread([&] { ofItsThread = sched_getscheduler(0); }).join();
    });
    EXPECT_EQ(ofWork, SCHED_IDLE);
    EXPECT_EQ(ofItsThread, SCHED_IDLE);
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
}

TEST(BackgroundPriority, HandsOnWhatTheWorkThrows) {
    const auto fail = [] { throw std::runtime_error("out of order"); };
    EXPECT_THROW(runAtBackgroundPriority(fail), std::runtime_error);
}

}  // namespace
}  // namespace kestrin
