// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/HelperBatches.h"

#include <gtest/gtest.h>

namespace kestrin {
namespace {

std::vector<FileUrl> paths(char name, int count) {
    std::vector<FileUrl> list;
    for (int i = 0; i < count; ++i)
        list.push_back(FileUrl::fromPath("/\xff" + std::string(20, name) + std::to_string(i)));
    return list;
}

TEST(HelperBatches, HandOutEveryPathOnceInItsOrderAndWithinTheLimit) {
    auto request = std::make_shared<HelperRequest>();
    request->unlockItems = paths('u', 50);
    request->permissionsItems = paths('p', 70);
    request->notTrashedBecauseFolderNotEmpty = paths('f', 30);
    for (const std::size_t limit : {1U, 2000U, 4000U, 1'000'000U}) {
        HelperBatches batches(request, limit);
        EraseItems all;
        all.notTrashedBecauseFolderNotEmpty.emplace();
        int count = 0;
        while (const auto items = batches.next(7, 9)) {
            ++count;
            EXPECT_EQ(items->erasedCount, 7u);
            EXPECT_EQ(items->erasedSize, 9u);
            if (limit > 1) {
                EXPECT_LE(items->toXml().size(), limit);
            }
            const auto add = [](auto& into, const auto& from) {
                into.insert(into.end(), from.begin(), from.end());
            };
            add(all.unlockItems, items->unlockItems);
            add(all.permissionsItems, items->permissionsItems);
            if (items->notTrashedBecauseFolderNotEmpty)
                add(*all.notTrashedBecauseFolderNotEmpty, *items->notTrashedBecauseFolderNotEmpty);
        }
        EXPECT_TRUE(batches.isAtEnd());
        EXPECT_EQ(count == 1, limit == 1'000'000U) << limit;
        EXPECT_EQ(count == 150, limit == 1) << "one path a command when there is no room";
        const auto equal = [](const auto& bytes, const auto& urls) {
            std::vector<std::string> expected;
            for (const FileUrl& url : urls)
                expected.push_back(url.path());
            EXPECT_EQ(bytes, expected);
        };
        equal(all.unlockItems, request->unlockItems);
        equal(all.permissionsItems, request->permissionsItems);
        equal(*all.notTrashedBecauseFolderNotEmpty, *request->notTrashedBecauseFolderNotEmpty);
    }
}

TEST(HelperBatches, FoldersAreThereOnlyWhenThereAreSome) {
    HelperBatches batches(std::make_shared<HelperRequest>());
    EXPECT_FALSE(batches.isAtEnd());
    const auto items = batches.next(0, 0);
    ASSERT_TRUE(items);
    EXPECT_FALSE(items->notTrashedBecauseFolderNotEmpty);
    EXPECT_FALSE(batches.next(0, 0));
}

}  // namespace
}  // namespace kestrin
