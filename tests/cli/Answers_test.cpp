// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Answers.h"

#include <gtest/gtest.h>

namespace kestrin {

TEST(Answers, OnlyYesConfirms) {
    for (const char* line : {"y", "Y", " YES ", "y\r"})
        EXPECT_TRUE(isYes(line)) << line;
    for (const char* line : {"", "n", "yy", "yesterday", "\xff"})
        EXPECT_FALSE(isYes(line)) << line;
}

TEST(Answers, RefusedEntriesAreSkippedOrErasedOnceOrForAllAndAnythingElseIsNoAnswer) {
    for (const char* line : {"s", " Skip "})
        EXPECT_EQ(refusedAnswer(line), (RefusedAnswer{false, false}));
    for (const char* line : {"s all", "SKIPALL"})
        EXPECT_EQ(refusedAnswer(line), (RefusedAnswer{false, true}));
    EXPECT_EQ(refusedAnswer("E"), (RefusedAnswer{true, false}));
    EXPECT_EQ(refusedAnswer("erase\tall"), (RefusedAnswer{true, true}));
    for (const char* line : {"", "all", "y", "se", "eraser", "all e", "e all all", "sal"})
        EXPECT_FALSE(refusedAnswer(line)) << line;
}

}  // namespace kestrin
