// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Places.h"

#include <gtest/gtest.h>

#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

using test::ScopedVariable;

TEST(Places, StandBelowTheHomeFolderUnlessAVariableGivesAnAbsolutePath) {
    const ScopedVariable home("HOME", "/homes/ann/");
    EXPECT_EQ(dataHomeFolder(), "/homes/ann/.local/share");
    const ScopedVariable data("XDG_DATA_HOME", "/data//");
    const ScopedVariable state("XDG_STATE_HOME", "state");
    const ScopedVariable config("XDG_CONFIG_HOME", "");
    EXPECT_EQ(dataHomeFolder(), "/data");
    EXPECT_EQ(location(Place::Logs).path(), "/homes/ann/.local/state/Kestrin 3");
    EXPECT_EQ(location(Place::PreferencesFile).path(),
              "/homes/ann/.config/com.quorvane.kestrin-3.conf");
    for (const char* bad : {"", "ann"}) {
        const ScopedVariable noHome("HOME", bad);
        EXPECT_TRUE(homeFolder().starts_with('/')) << bad;
    }
}

}  // namespace
}  // namespace kestrin
