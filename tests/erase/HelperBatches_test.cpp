// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/HelperBatches.h"

#include <gtest/gtest.h>

namespace kestrin {
namespace {

/// With the longest identities.
std::vector<HelperItem> paths(char name, int count) {
    std::vector<HelperItem> list;
    const std::uint64_t most = ~std::uint64_t{0};
    for (int i = 0; i < count; ++i)
        list.push_back({FileUrl::fromPath("/\xff" + std::string(20, name) + std::to_string(i)),
                        {most - static_cast<unsigned>(i), most, INT64_MIN}});
    return list;
}

TEST(HelperBatches, HandOutEveryPathOnceInItsOrderAndWithinTheLimit) {
    auto request = std::make_shared<HelperRequest>();
    request->unlockItems = paths('u', 50);
    request->permissionsItems = paths('p', 70);
    request->notTrashedBecauseFolderNotEmpty = paths('f', 30);
    const EraseItems whole = *HelperBatches(request).next(7, 9);
    EXPECT_EQ(whole.permissionsItems.at(69), request->permissionsItems[69].url.path());
    for (const std::size_t limit : {1U, 2000U, 4000U}) {
        HelperBatches batches(request, limit);
        EraseItems all{.erasedSize = 9, .erasedCount = 7};
        all.notTrashedBecauseFolderNotEmpty.emplace();
        int count = 0;
        for (auto items = batches.next(7, 9); items; items = batches.next(7, 9), ++count) {
            EXPECT_TRUE(limit == 1 || items->toXml().size() <= limit);
            const auto add = [](auto& to, const auto& from) {
                to.insert(to.end(), from.begin(), from.end());
            };
            add(all.unlockItems, items->unlockItems);
            add(all.permissionsItems, items->permissionsItems);
            add(all.identities, items->identities);
            add(*all.notTrashedBecauseFolderNotEmpty,
                items->notTrashedBecauseFolderNotEmpty.value_or(std::vector<std::string>()));
        }
        EXPECT_TRUE(batches.isAtEnd());
        EXPECT_EQ(count == 150, limit == 1) << "one path a command when there is no room";
        EXPECT_EQ(all, whole);
    }
}

}  // namespace
}  // namespace kestrin
