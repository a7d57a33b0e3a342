// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/LauncherEntry.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "platform/desktop/ui/support/LauncherDock.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::LauncherDock;

TEST(LauncherEntry, TellsWholePercentsAndHidesAtTheEnd) {
    KESTRIN_REQUIRE_BUS();
    LauncherDock dock;
    auto entry = std::make_unique<LauncherEntry>();
    entry->hide();
    for (const double percent : {-1.0, 0.4, 43.0, 43.9, 100.0, 250.0})
        entry->setProgress(percent);
    entry.reset();
    EXPECT_TRUE(test::waitFor([&dock] { return dock.shown.size() >= 4; }));
    EXPECT_EQ(dock.shown, (std::vector<double>{0.0, 0.43, 1.0, -1.0}));
}

}  // namespace
}  // namespace kestrin
