// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/FileUrl.h"

#include <gtest/gtest.h>

namespace kestrin {
namespace {

TEST(FileUrl, EveryNameSurvivesTheTextForm) {
    for (const std::string name :
         {"plain", "a b", "100%", "%41", "line\nfeed", "\xff\xfe", "ä", "semi;#?&"}) {
        const auto url = FileUrl::fromPath("/tmp/" + name);
        EXPECT_EQ(FileUrl::fromString(url.toString()), url) << name;
    }
    EXPECT_EQ(FileUrl::fromPath("/a b/\xff").toString(), "file:///a%20b/%FF");
}

TEST(FileUrl, RefusesWhatIsNoFileLocation) {
    EXPECT_EQ(FileUrl::fromString("file://localhost/x"), FileUrl::fromPath("/x"));
    for (const auto* text : {"", "/x", "http://x/", "file://host/x", "file://x", "file:///%4",
                             "file:///%zz", "file:///a%00b"}) {
        EXPECT_EQ(FileUrl::fromString(text), std::nullopt) << text;
    }
}

TEST(FileUrl, TakesPathsApart) {
    EXPECT_EQ(FileUrl::fromPath("/a/b///").path(), "/a/b");
    EXPECT_EQ(FileUrl::fromPath("///").path(), "/");
    EXPECT_EQ(FileUrl::fromPath("/a/b").parent(), FileUrl::fromPath("/a"));
    EXPECT_EQ(FileUrl::fromPath("/a").parent(), FileUrl::fromPath("/"));
    EXPECT_EQ(FileUrl::fromPath("/").parent(), FileUrl::fromPath("/"));
    EXPECT_EQ(FileUrl().parent(), FileUrl());
    EXPECT_EQ(FileUrl::fromPath("/").appending("a/b"), FileUrl::fromPath("/a/b"));
    EXPECT_EQ(FileUrl::fromPath("/a/.hidden").pathExtension(), "");
    EXPECT_EQ(FileUrl::fromPath("/a.d/x.tar.gz").pathExtension(), "gz");
    EXPECT_EQ(FileUrl::fromPath("/a.d/x").pathExtension(), "");
}

TEST(FileUrl, BelowGoesByComponents) {
    const auto folder = FileUrl::fromPath("/a/b");
    EXPECT_TRUE(FileUrl::fromPath("/a/b/c").isBelow(folder));
    EXPECT_FALSE(folder.isBelow(folder));
    EXPECT_FALSE(FileUrl::fromPath("/a/bc").isBelow(folder));
    EXPECT_TRUE(folder.isBelow(FileUrl::fromPath("/")));
    EXPECT_FALSE(FileUrl::fromPath("/").isBelow(FileUrl::fromPath("/")));
    EXPECT_FALSE(folder.isBelow(FileUrl()));
}

TEST(FileUrl, ALocationWithoutSchemeIsAnother) {
    const auto bare = FileUrl::withoutScheme("/a");
    EXPECT_NE(bare, FileUrl::fromPath("/a"));
    EXPECT_EQ(bare.toString(), "/a");
    EXPECT_TRUE(FileUrl::fromPath("").isEmpty());
    EXPECT_FALSE(bare.isEmpty());
}

}  // namespace
}  // namespace kestrin
