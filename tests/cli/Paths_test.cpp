// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Paths.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/TestEnvironment.h"

namespace kestrin {
TEST(Paths, OperandsBecomeLocationsByteForByte) {
    const test::ScratchFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(locationOfOperand("a/b/"), FileUrl::fromPath(folder / "a/b"));
    EXPECT_EQ(locationOfOperand("-\xff%41"), FileUrl::fromPath(folder / "-\xff%41"));
    std::filesystem::current_path("/");
    EXPECT_EQ(locationOfOperand("a"), FileUrl::fromPath("/a"));
    std::filesystem::current_path(before);
    EXPECT_EQ(locationOfOperand("/x//"), FileUrl::fromPath("/x"));
    EXPECT_EQ(locationOfOperand("file:///a%0A%FF"), FileUrl::fromPath("/a\n\xff"));
    EXPECT_FALSE(locationOfOperand("file:///a%0"));
    EXPECT_FALSE(locationOfOperand("file://elsewhere/a"));
}

}  // namespace kestrin
