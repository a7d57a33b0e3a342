// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EntryOrder.h"

#include <gtest/gtest.h>

#include <ctime>

#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

ShownEntry entry(std::string name, std::uint64_t size = 0,
                 std::optional<std::int64_t> date = std::nullopt) {
    return {{.name = std::move(name), .size = size}, 0, date};
}

std::vector<std::string> sortedNames(std::vector<ShownEntry> entries, SortOrder order) {
    sortEntries(entries, order);
    std::vector<std::string> names;
    for (const ShownEntry& shown : entries)
        names.push_back(shown.entry.name);
    return names;
}

using Names = std::vector<std::string>;

TEST(EntryOrder, NamesGoByBytesLargestAndNewestComeFirstAndUndatedLast) {
    EXPECT_EQ(sortedNames({entry("b"), entry("\xff"), entry("a"), entry("B"), entry("A")},
                          SortOrder::Name),
              (Names{"A", "a", "B", "b", "\xff"}));
    EXPECT_EQ(sortedNames({entry("b", 1), entry("c", 9), entry("a", 1)}, SortOrder::Size),
              (Names{"c", "a", "b"}));
    EXPECT_EQ(sortedNames({entry("none"), entry("old", 0, -5), entry("new", 0, 7), entry("also")},
                          SortOrder::Date),
              (Names{"new", "old", "also", "none"}));
}

TEST(EntryOrder, DatesAreLocalTime) {
    const test::ScopedVariable zone("TZ", "Asia/Tokyo");
    ::tzset();
    EXPECT_EQ(localTimeText(1795227762, 'T'), "2026-11-21T11:22:42");
    EXPECT_EQ(localTimeText(-62135500000, ' ').substr(0, 11), "0001-01-02 ");
    EXPECT_EQ(localTimeText(std::nullopt, 'T'), "");
}

}  // namespace
}  // namespace kestrin
