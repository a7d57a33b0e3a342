// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/UserLocale.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kestrin {
namespace {

void setOrClear(const char* name, const char* value) {
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
}

TEST(UserLocale, FollowsThePrecedenceOfTheEnvironment) {
    struct Row {
        const char* all;
        const char* category;
        const char* lang;
        const char* expected;
    };
    for (const Row& row : {
             Row{"de_DE.UTF-8", "fr_FR.UTF-8", "hi_IN", "de_DE"},
             Row{"", "fr_FR.UTF-8", "hi_IN", "fr_FR"},
             Row{nullptr, nullptr, "hi_IN", "hi_IN"},
             Row{"C.UTF-8", "de_DE.UTF-8", "de_DE.UTF-8", "en_US"},
             Row{nullptr, "POSIX", "de_DE.UTF-8", "en_US"},
             Row{nullptr, nullptr, "C", "en_US"},
             Row{nullptr, nullptr, nullptr, "en_US"},
         }) {
        setOrClear("LC_ALL", row.all);
        setOrClear("LC_NUMERIC", row.category);
        setOrClear("LANG", row.lang);
        EXPECT_EQ(userLocaleName("LC_NUMERIC"), row.expected);
    }
}

}  // namespace
}  // namespace kestrin
