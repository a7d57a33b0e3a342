// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Answers.h"

#include <gtest/gtest.h>

namespace kestrin {

TEST(Answers, OnlyYesConfirms) {
    for (const char* line : {"y", "Y", "yes", " YES ", "y\r"})
        EXPECT_TRUE(isYes(line)) << line;
    for (const char* line : {"", "n", "no", "yy", "yesterday", "\xff"}) {
        EXPECT_FALSE(isYes(line)) << line;
    }
}

TEST(Answers, RefusedEntriesAreSkippedOrErasedOnceOrForAll) {
    const RefusedAnswer skip{false, false}, skipAll{false, true};
    const RefusedAnswer erase{true, false}, eraseAll{true, true};
    for (const char* line : {"s", "S", "skip", " Skip "})
        EXPECT_EQ(refusedAnswer(line), skip);
    for (const char* line : {"s all", "sall", "SKIP ALL"})
        EXPECT_EQ(refusedAnswer(line), skipAll);
    for (const char* line : {"e", "erase"})
        EXPECT_EQ(refusedAnswer(line), erase);
    for (const char* line : {"e all", "eall", "erase\tall"}) {
        EXPECT_EQ(refusedAnswer(line), eraseAll);
    }
}

TEST(Answers, AnythingElseIsNoAnswer) {
    for (const char* line : {"", "all", "y", "se", "eraser", "all e", "e all all", "sal"}) {
        EXPECT_FALSE(refusedAnswer(line)) << line;
    }
}

}  // namespace kestrin
