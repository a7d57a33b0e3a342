// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVKestrinFileUtilities.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <map>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::ScratchFolder;

TEST(TrashScan, NamesTheTopAndCountsEveryDepth) {
    const ScratchFolder scratch;
    test::writeFile(scratch / "file", "1234");
    test::writeFile(scratch / "folder/a", "12");
    test::writeFile(scratch / "folder/.b", "1");
    test::writeFile(scratch / ".hidden", "");
    test::writeFile(scratch / "caf\xE9%0A\n", "123");
    const auto scan =
        QVKestrinFileUtilities().binItemsAndInfoWithURL(FileUrl::fromPath(scratch.path()));
    ASSERT_TRUE(scan.has_value());
    EXPECT_EQ(scan->size, 10u);
    EXPECT_EQ(scan->count, 6u);
    std::map<std::string, std::pair<std::uint64_t, std::uint64_t>> found;
    for (const QVItemToErase& item : *scan->itemsToErase) {
        EXPECT_TRUE(item.url().hasScheme());
        EXPECT_EQ(presenceOf(item.url(), item.identity), ItemPresence::There);
        EXPECT_TRUE(item.identity.isKnown());
        EXPECT_FALSE(item.isDirectory);
        found[item.path()] = {item.size, item.count};
    }
    const decltype(found) expected{{scratch / "file", {4, 1}},
                                   {scratch / "folder", {3, 3}},
                                   {scratch / ".hidden", {0, 1}},
                                   {scratch / "caf\xE9%0A\n", {3, 1}}};
    EXPECT_EQ(found, expected);
}

TEST(TrashScan, GivesNoneForNoneAndNothingForWhatCannotBeListed) {
    const ScratchFolder scratch;
    ASSERT_EQ(symlink("/usr", (scratch / "link").c_str()), 0);
    const QVKestrinFileUtilities utilities;
    EXPECT_FALSE(utilities.binItemsAndInfoWithURL(FileUrl()).has_value());
    for (const std::string& path : {scratch / "absent", scratch / "link"}) {
        const auto scan = utilities.binItemsAndInfoWithURL(FileUrl::fromPath(path));
        ASSERT_TRUE(scan && scan->itemsToErase) << path;
        EXPECT_TRUE(scan->itemsToErase->empty() && scan->size == 0 && scan->count == 0);
    }
}

TEST(DeleteItem, RemovesTheItemAndNotWhatItPointsTo) {
    const ScratchFolder scratch;
    test::writeFile(scratch / "kept/file");
    test::writeFile(scratch / "gone/below/file");
    ASSERT_EQ(symlink((scratch / "kept").c_str(), (scratch / "gone/link").c_str()), 0);
    const QVKestrinFileUtilities utilities;
    EXPECT_TRUE(utilities.deleteItemWithURL(FileUrl::fromPath(scratch / "kept/..")).has_value());
    EXPECT_FALSE(utilities.deleteItemWithURL(FileUrl::fromPath(scratch / "gone")).has_value());
    EXPECT_EQ(utilities.deleteItemWithURL(FileUrl::fromPath(scratch / "gone"))->code, ENOENT);
    EXPECT_FALSE(test::exists(scratch / "gone"));
    EXPECT_TRUE(test::exists(scratch / "kept/file"));
}

}  // namespace
}  // namespace kestrin
