// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <ctime>

#include "platform/trash/TrashFolders.h"
#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

std::string pathOf(std::string_view value) {
    const std::string text = "[Trash Info]\nPath=" + std::string(value) + "\n";
    return parseTrashRecord(text, FileUrl::fromPath("/media/disk"))->originalPath;
}

std::optional<std::int64_t> dateOf(std::string_view value) {
    const std::string text = "[Trash Info]\nDeletionDate=" + std::string(value) + "\n";
    return parseTrashRecord(text, {})->deletionDate;
}

TEST(TrashRecord, DecodesPathsAndKeepsOutThoseThatCannotBeOriginalOnes) {
    EXPECT_EQ(pathOf("/home/ann/%C3%BC%20b%25.txt"), "/home/ann/\xc3\xbc b%.txt");
    EXPECT_EQ(pathOf("w/f%0A1"), "/media/disk/w/f\n1");
    EXPECT_EQ(pathOf(" a..b/..c"), "/media/disk/a..b/..c");
    for (const char* bad : {"", "../x", "a/../../x", "a/%2e%2e", "bad%zz", "cut%4", "nul%00x"}) {
        EXPECT_EQ(pathOf(bad), "") << bad;
    }
}

TEST(TrashRecord, TakesTheFirstOfEachKeyFromItsOwnGroup) {
    const auto record = parseTrashRecord(
        "# made by hand\r\nPath=/before\r\n[Other]\r\nPath=/other\r\n[Trash Info]\r\n"
        "Path[de]=/german\r\n Path = /first\r\nPath=/second\r\n[More]\r\n"
        "DeletionDate=2020-01-01T00:00:00",
        {});
    ASSERT_TRUE(record);
    EXPECT_EQ(record->originalPath, "/first");
    EXPECT_FALSE(record->deletionDate);
    EXPECT_FALSE(parseTrashRecord("Path=/x\n[trash info]\nPath=/y\n", {}));
}

TEST(TrashRecord, ReadsDatesAsLocalWallClock) {
    {
        const test::ScopedVariable zone("TZ", "Asia/Tokyo");
        EXPECT_EQ(dateOf("2026-11-21T02:26:42"), 1795195602);
        EXPECT_EQ(dateOf("1970-01-01T08:59:59"), -1) << "a moment like any other";
        EXPECT_EQ(dateOf("2024-02-29T00:00:00.250"), 1709132400);
    }
    const test::ScopedVariable zone("TZ", "America/New_York");
    EXPECT_EQ(dateOf("2024-07-01T12:00:00"), 1719849600) << "summer time";
    EXPECT_TRUE(dateOf("2024-03-10T02:30:00")) << "an hour that the clocks left out";
}

TEST(TrashRecord, RefusesDatesThatAreNone) {
    for (const char* bad :
         {"", "2026-11-21", "2026-11-21 02:26:42", "2026-13-01T00:00:00", "2025-02-29T00:00:00",
          "2026-01-01T24:00:00", "2026-01-01T00:60:00", "2026-01-01T00:00:60",
          "-026-01-01T00:00:00", "2026-01-01T00:00:00Z", "2026-01-01T00:00:00+02:00",
          "2026-01-01T00:00:00.", "2026-01-01T+1:00:00"}) {
        EXPECT_FALSE(dateOf(bad)) << bad;
    }
}

}  // namespace
}  // namespace kestrin
