// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/TrashPath.h"

#include <gtest/gtest.h>

#include <string>

namespace kestrin {
namespace {

using namespace std::string_literals;

TEST(PlainPath, leavesNothingToInterpret) {
    const std::string longest(255, 'n');
    for (const std::string& path :
         {"/a"s, "/a/b"s, "/..."s, "/.a/..b"s, "/\xff\n%2f"s, "/" + longest, "/a b/~"s}) {
        EXPECT_TRUE(isPlainPath(path)) << path;
    }
    for (const std::string& path :
         {""s, "/"s, "a"s, "a/b"s, "./a"s, "//a"s, "/a//b"s, "/a/"s, "/."s, "/.."s, "/a/."s,
          "/a/.."s, "/a/../b"s, "/a/./b"s, "/a\0"s, "/a/\0/b"s, "/" + longest + "n", "\0/a"s}) {
        EXPECT_FALSE(isPlainPath(path)) << path;
    }
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += "/d";
    EXPECT_TRUE(isPlainPath(deep));
    EXPECT_FALSE(isPlainPath(deep + "/.."));
    EXPECT_EQ(depthOf(deep), 100'000u);
}

TEST(PlainPath, isBelowAFolderByComponents) {
    EXPECT_EQ(partBelow("/t/files/a", "/t/files"), "a");
    EXPECT_EQ(partBelow("/t/files/a/b", "/t/files"), "a/b");
    for (const char* other : {"/t/files", "/t/filesa/b", "/t/file", "/t", "/t/Files/a", ""}) {
        EXPECT_EQ(partBelow(other, "/t/files"), "") << other;
    }
}

TEST(PlainPath, comesApartInItsComponents) {
    std::string_view part = "a/bc/d";
    EXPECT_EQ(takeComponent(part), "a");
    EXPECT_EQ(takeComponent(part), "bc");
    EXPECT_EQ(takeComponent(part), "d");
    EXPECT_TRUE(part.empty());
    const SplitPath split = splitPath("/a/b/c");
    EXPECT_EQ(split.folder, "/a/b");
    EXPECT_EQ(split.name, "c");
    EXPECT_EQ(splitPath("c").folder, "");
    EXPECT_EQ(splitPath("c").name, "c");
}

}  // namespace
}  // namespace kestrin
