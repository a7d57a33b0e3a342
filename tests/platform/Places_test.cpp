// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Places.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kestrin {
namespace {

class Places : public ::testing::Test {
 protected:
    void SetUp() override { setenv("HOME", "/homes/ann", 1); }
    void TearDown() override {
        setenv("HOME", m_home.c_str(), 1);
        for (const char* name : {"XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CONFIG_HOME"}) {
            unsetenv(name);
        }
    }
    const std::string m_home = std::getenv("HOME");
};

TEST_F(Places, StandBelowTheHomeFolder) {
    EXPECT_EQ(dataHomeFolder(), "/homes/ann/.local/share");
    EXPECT_EQ(location(Place::Logs).path(), "/homes/ann/.local/state/Kestrin 3");
    EXPECT_EQ(location(Place::PreferencesFile).path(),
              "/homes/ann/.config/com.quorvane.kestrin-3.conf");
    EXPECT_EQ(location(Place::HelperTool).path(), "/usr/libexec/com.quorvane.Kestrin3Helper");
}

TEST_F(Places, FollowAbsoluteVariablesOnly) {
    setenv("XDG_DATA_HOME", "/data//", 1);
    setenv("XDG_STATE_HOME", "state", 1);
    setenv("XDG_CONFIG_HOME", "", 1);
    EXPECT_EQ(dataHomeFolder(), "/data");
    EXPECT_EQ(location(Place::Logs).path(), "/homes/ann/.local/state/Kestrin 3");
    EXPECT_EQ(location(Place::PreferencesFile).path(),
              "/homes/ann/.config/com.quorvane.kestrin-3.conf");
}

TEST_F(Places, HomeHasNoTrailingSlashAndIsNeverRelative) {
    setenv("HOME", "/homes/ann/", 1);
    EXPECT_EQ(homeFolder(), "/homes/ann");
    for (const char* bad : {"", "ann"}) {
        setenv("HOME", bad, 1);
        EXPECT_TRUE(homeFolder().starts_with('/')) << bad;
    }
}

}  // namespace
}  // namespace kestrin
