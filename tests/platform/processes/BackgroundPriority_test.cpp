// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/BackgroundPriority.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <stdexcept>
#include <thread>

namespace kestrin {
namespace {

TEST(BackgroundPriority, IsThatOfTheWorkAndOfWhatItStartsAlone) {
    int ofItsThread = -1;
    const auto work = [&] {
        std::thread([&] { ofItsThread = sched_getscheduler(0); }).join();
        throw std::runtime_error("handed on");
    };
    EXPECT_THROW(runAtBackgroundPriority(work), std::runtime_error);
    EXPECT_EQ(ofItsThread, SCHED_IDLE);
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
}

}  // namespace
}  // namespace kestrin
