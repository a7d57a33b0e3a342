// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVKestrinFileUtilities.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <map>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::ScratchFolder;

struct SizeAndCount {
    std::uint64_t size;
    std::uint64_t count;
    friend bool operator==(const SizeAndCount&, const SizeAndCount&) = default;
};

std::map<std::string, SizeAndCount> byPath(const TrashScan& scan) {
    std::map<std::string, SizeAndCount> items;
    for (const QVItemToErase& item : *scan.itemsToErase) {
        EXPECT_TRUE(item.url.hasScheme());
        EXPECT_FALSE(item.isDirectory);
        items[item.path()] = {item.size, item.count};
    }
    return items;
}

TEST(TrashScan, NamesTheTopAndCountsEveryDepth) {
    const ScratchFolder scratch;
    test::writeFile(scratch / "file", "1234");
    test::writeFile(scratch / "folder/a", "12");
    test::writeFile(scratch / "folder/.b", "1");
    test::makeFolder(scratch / "empty");
    test::writeFile(scratch / ".hidden", "");
    test::writeFile(scratch / "caf\xE9%0A\n", "123");

    const auto scan =
        QVKestrinFileUtilities().binItemsAndInfoWithURL(FileUrl::fromPath(scratch.path()));
    ASSERT_TRUE(scan.has_value());
    const std::map<std::string, SizeAndCount> expected{{scratch / "file", {4, 1}},
                                                       {scratch / "folder", {3, 3}},
                                                       {scratch / "empty", {0, 1}},
                                                       {scratch / ".hidden", {0, 1}},
                                                       {scratch / "caf\xE9%0A\n", {3, 1}}};
    EXPECT_EQ(byPath(*scan), expected);
    EXPECT_EQ(scan->size, 10U);
    EXPECT_EQ(scan->count, 7U);
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
    EXPECT_FALSE(utilities.deleteItemWithURL(FileUrl::fromPath(scratch / "gone")).has_value());
    EXPECT_FALSE(test::exists(scratch / "gone"));
    EXPECT_TRUE(test::exists(scratch / "kept/file"));
}

}  // namespace
}  // namespace kestrin
