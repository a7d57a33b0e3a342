// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/StopSignals.h"

#include <gtest/gtest.h>

#include <csignal>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

TEST(StopSignals, TheFirstIsStop) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        int stops = 0;
        const StopSignals signals([&] { ++stops; });
        ::raise(signal);
        EXPECT_EQ(stops, 0) << "not in the handler";
        EXPECT_TRUE(test::waitFor([&] { return stops == 1; }));
    }
}

TEST(StopSignals, TheSecondEndsAtOnce) {
    EXPECT_EXIT(
        {
            const StopSignals signals([] {});
            ::raise(SIGINT);
            ::raise(SIGTERM);
        },
        ::testing::ExitedWithCode(kStatusStopped), "");
}

TEST(StopSignals, AnIgnoredHangUpStaysIgnored) {
    std::signal(SIGHUP, SIG_IGN);
    int stops = 0;
    {
        const StopSignals signals([&] { ++stops; });
        ::raise(SIGHUP);
        EXPECT_FALSE(test::waitFor([&] { return stops > 0; }, 50));
    }
    std::signal(SIGHUP, SIG_DFL);
}

}  // namespace
}  // namespace kestrin
