// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/StopSignals.h"

#include <gtest/gtest.h>

#include <csignal>

#include "support/TestEnvironment.h"

namespace kestrin {
TEST(StopSignals, TheFirstIsStopAndTheSecondEndsAtOnce) {
    int stops = 0;
    const StopSignals signals([&] { ++stops; });
    ::raise(SIGHUP);
    EXPECT_EQ(stops, 0) << "not in the handler";
    EXPECT_TRUE(test::waitFor([&] { return stops == 1; }));
    EXPECT_EXIT(::raise(SIGTERM), ::testing::ExitedWithCode(kStatusStopped), "");
}

}  // namespace kestrin
