// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/FileUrl.h"

#include <gtest/gtest.h>

namespace kestrin {
namespace {

FileUrl at(const char* path) {
    return FileUrl::fromPath(path);
}

TEST(FileUrl, EveryNameSurvivesTheTextFormAndNothingElseIsALocation) {
    for (const char* name : {"a b", "100%", "%41", "line\nfeed", "\xff\xfe", "ä", "semi;#?&"}) {
        const FileUrl url = at("/tmp").appending(name);
        EXPECT_EQ(FileUrl::fromString(url.toString()), url) << name;
    }
    EXPECT_EQ(at("/a b/\xff").toString(), "file:///a%20b/%FF");
    EXPECT_EQ(FileUrl::fromString("file://localhost/x"), at("/x"));
    for (const char* text : {"", "/x", "http://x/", "file://host/x", "file://x", "file:///%4",
                             "file:///%zz", "file:///a%00b"}) {
        EXPECT_EQ(FileUrl::fromString(text), std::nullopt) << text;
    }
    EXPECT_NE(FileUrl::withoutScheme("/a"), at("/a"));
    EXPECT_EQ(FileUrl::withoutScheme("/a").toString(), "/a");
}

TEST(FileUrl, TakesPathsApart) {
    EXPECT_EQ(at("/a/b///").path(), "/a/b");
    EXPECT_EQ(at("///").path(), "/");
    EXPECT_EQ(at("/a/b").parent(), at("/a"));
    EXPECT_EQ(at("/a").parent(), at("/"));
    EXPECT_EQ(at("/").parent(), at("/"));
    EXPECT_EQ(FileUrl().parent(), FileUrl());
    EXPECT_EQ(at("/").appending("a/b"), at("/a/b"));
    EXPECT_EQ(at("/a/.hidden").pathExtension(), "");
    EXPECT_EQ(at("/a.d/x.tar.gz").pathExtension(), "gz");
    EXPECT_EQ(at("/a.d/x").pathExtension(), "");
}

TEST(FileUrl, BelowGoesByComponents) {
    EXPECT_TRUE(at("/a/b/c").isBelow(at("/a/b")));
    EXPECT_TRUE(at("/a/b").isBelow(at("/")));
    EXPECT_FALSE(at("/a/b").isBelow(at("/a/b")));
    EXPECT_FALSE(at("/a/bc").isBelow(at("/a/b")));
    EXPECT_FALSE(at("/").isBelow(at("/")));
    EXPECT_FALSE(at("/a/b").isBelow(FileUrl()));
}

}  // namespace
}  // namespace kestrin
