// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/UserLocale.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>

#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

TEST(UserLocale, FollowsThePrecedenceOfTheEnvironment) {
    // The values of LC_ALL, LC_NUMERIC and LANG.
    for (const auto& [values, expected] :
         {std::pair(std::array{"de_DE.UTF-8", "fr_FR.UTF-8", "hi_IN"}, "de_DE"),
          {std::array{"", "fr_FR.UTF-8", "hi_IN"}, "fr_FR"},
          {std::array{"", "", "hi_IN"}, "hi_IN"},
          {std::array{"C.UTF-8", "de_DE.UTF-8", "de_DE.UTF-8"}, "en_US"},
          {std::array{"", "POSIX", "de_DE.UTF-8"}, "en_US"},
          {std::array{"", "", ""}, "en_US"}}) {
        const test::ScopedVariable all("LC_ALL", values[0]), category("LC_NUMERIC", values[1]),
            language("LANG", values[2]);
        EXPECT_EQ(userLocaleName("LC_NUMERIC"), expected);
    }
    for (const char* name : {"LC_ALL", "LC_NUMERIC", "LANG"})
        unsetenv(name);
    EXPECT_EQ(userLocaleName("LC_NUMERIC"), "en_US");
}

}  // namespace
}  // namespace kestrin
