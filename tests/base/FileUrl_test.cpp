// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/FileUrl.h"

#include <gtest/gtest.h>

#include <array>

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
    for (const auto& [path, normal, parent, extension] :
         {std::array{"/a.d/b.tar.gz///", "/a.d/b.tar.gz", "/a.d", "gz"},
          {"/a.d/b", "/a.d/b", "/a.d", ""},
          {"/.hidden", "/.hidden", "/", ""},
          {"///", "/", "/", ""},
          {"", "", "", ""}}) {
        EXPECT_EQ(at(path).path(), normal);
        EXPECT_EQ(at(path).parent(), at(parent));
        EXPECT_EQ(at(path).pathExtension(), extension);
    }
    EXPECT_EQ(at("/").appending("a/b"), at("/a/b"));
}

TEST(FileUrl, BelowGoesByComponents) {
    EXPECT_TRUE(at("/a/b/c").isBelow(at("/a/b")));
    EXPECT_TRUE(at("/a/b").isBelow(at("/")));
    for (const char* path : {"/a/bc", "/a/b", "/a", "/", ""})
        EXPECT_FALSE(at(path).isBelow(at("/a/b"))) << path;
    EXPECT_FALSE(at("/").isBelow(at("/")));
    EXPECT_FALSE(at("/a/b").isBelow(FileUrl()));
}

}  // namespace
}  // namespace kestrin
