// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

#include "base/PropertyList.h"
#include "fsutil/support/FilesTest.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

class BookmarksTest : public FilesTest {
 protected:
    std::string bookmark(const FileUrl& url) {
        return utilities.bookmarkWithURL(url).value_or(std::string());
    }
    void move(const FileUrl& from, const std::string& to) {
        ASSERT_EQ(rename(from.path().c_str(), (scratch / to).c_str()), 0);
    }

    bool stale = true;
};

TEST_F(BookmarksTest, ItemIsFoundInItsPlaceAndByWhatItIs) {
    const FileUrl item = file("a/b/odd\xff\n<&>");
    const std::string data = bookmark(item);
    EXPECT_EQ(utilities.urlWithDataAlias(data, stale), item);
    EXPECT_FALSE(stale);
    EXPECT_EQ(utilities.secureScopedForURL(item), item);
    for (const auto& [from, to] :
         {std::pair("a/b/odd\xff\n<&>", "a/b/new"), {"a/b/new", "above"}}) {
        move(at(from), to);
        file("a/b/odd\xff\n<&>");  // another item under the old name does not deceive
        stale = false;
        EXPECT_EQ(utilities.urlWithDataAlias(data, stale), at(to));
        EXPECT_TRUE(stale);
    }
    std::vector<std::string> list = {"damaged", data};
    EXPECT_EQ(utilities.urlsWithAliases(list, stale), std::vector{at("above")});
}

TEST_F(BookmarksTest, AVolumeIsKnownAgainWhenItIsMountedAsAnotherDevice) {
    KESTRIN_REQUIRE_MOUNTS();
    const auto mount = [this](const char* command) {
        return runAsRoot("cd '" + scratch.path() + "' && " + command);
    };
    if (mount("mkdir disk other && truncate -s 8M image image2 && mkfs.ext4 -q image && "
              "mkfs.ext4 -q image2 && mount -o loop image disk && touch disk/item") != 0 ||
        !utilities.volumeUUIDWithItemURL(at("disk/item"))) {
        GTEST_SKIP() << "needs ext4 on loop devices, and a kernel that tells UUIDs";
    }
    const std::string data = bookmark(at("disk/item"));
    ASSERT_EQ(mount("umount disk && mount -o loop image2 other && mount -o loop image disk"), 0);
    EXPECT_EQ(utilities.urlWithDataAlias(data, stale), at("disk/item"));
    EXPECT_FALSE(stale);
}

TEST_F(BookmarksTest, LostItemGivesWhatHasItsPathOrNothing) {
    const FileUrl item = file("dir/item");
    const std::string data = bookmark(item);
    usleep(20000);  // whoever gets the inode number now is born at another time
    ASSERT_EQ(unlink(item.path().c_str()), 0);
    EXPECT_FALSE(utilities.urlWithDataAlias(data, stale));
    EXPECT_TRUE(stale) << "left alone";
    EXPECT_FALSE(utilities.bookmarkWithURL(item));
    EXPECT_FALSE(utilities.bookmarkWithURL(FileUrl()));
    EXPECT_EQ(utilities.secureScopedForURL(item), item);
    file("dir/item");
    stale = false;
    EXPECT_EQ(utilities.urlWithDataAlias(data, stale), item);
    EXPECT_TRUE(stale);
}

TEST_F(BookmarksTest, HostileBookmarksLeadNowhere) {
    const std::string whole = bookmark(file("item"));
    for (const std::string& data :
         {whole.substr(0, whole.size() / 2), std::string(), std::string("\xff")}) {
        EXPECT_FALSE(utilities.urlWithDataAlias(data)) << data;
    }
    for (const char* path : {".", "/a%00b", "%2", ""}) {
        const std::string data = toXml(PropertyList::Dictionary{{"path", std::string(path)}});
        EXPECT_FALSE(utilities.urlWithDataAlias(data)) << path;
    }
    const std::string pathOnly =
        toXml(PropertyList::Dictionary{{"path", scratch.path()}, {"inode", std::string("text")}});
    stale = false;
    EXPECT_EQ(utilities.urlWithDataAlias(pathOnly, stale), FileUrl::fromPath(scratch.path()));
    EXPECT_TRUE(stale);
}

}  // namespace
}  // namespace kestrin
