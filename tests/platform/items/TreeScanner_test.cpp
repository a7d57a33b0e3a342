// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/TreeScanner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

/// "name COUNT SIZE" of each entry.
std::vector<std::string> scanned(const std::string& folder) {
    std::vector<std::string> entries;
    const auto result = scanTree(FileUrl::fromPath(folder), {});
    for (const ScannedEntry& entry : *result) {
        entries.push_back(entry.name + (entry.isDirectory ? "/ " : " ") +
                          std::to_string(entry.count) + " " + std::to_string(entry.size));
    }
    return entries;
}

TEST(TreeScanner, CountsEveryEntryAtEveryDepthOfItsMountWithoutFollowingLinks) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const std::string trash = scratch / "trash";
    writeFile(scratch / "big", std::string(1000, 'x'));
    writeFile(trash + "/.hidden", "123");
    writeFile(trash + "/folder/one", "1");
    writeFile(trash + "/folder/sub/two", "22");
    makeFolder(trash + "/empty");
    makeFolder(trash + "/mounts");
    ASSERT_EQ(symlink("../..", (trash + "/folder/up").c_str()), 0);
    ASSERT_EQ(symlink("../big", (trash + "/link").c_str()), 0);
    ASSERT_EQ(mkfifo((trash + "/fifo").c_str(), 0600), 0);
    const TestVolume volume(TestVolume::Kind::Tmpfs, trash + "/mounts/disk");
    ASSERT_TRUE(volume.isMounted());
    writeFile(trash + "/mounts/disk/elsewhere", "1234");
    ASSERT_EQ(runAsRoot("cd '" + trash + "' && mkdir -m 700 secret && touch secret/file"), 0);

    EXPECT_THAT(scanned(trash), ::testing::UnorderedElementsAre(
                                    ".hidden 1 3", "folder/ 5 8", "empty/ 1 0", "mounts/ 2 0",
                                    "link 1 6", "fifo 1 0", "secret/ 1 0"));
    EXPECT_EQ(scanTree(FileUrl::fromPath(trash + "/secret"), {}).error().code,
              kFileReadNoPermission);
    EXPECT_EQ(scanTree(FileUrl::fromPath(trash + "/link"), {}).error().code, ENOTDIR);
}

TEST(TreeScanner, ManyEntriesAreCountedOnceAndInTheirOrder) {
    const ScratchFolder scratch;
    for (int i = 0; i < 3000; ++i)
        writeFile(scratch / ("trash/f" + std::to_string(i)), "1");
    for (int i = 0; i < 300; ++i)
        writeFile(scratch / ("trash/d/s" + std::to_string(i) + "/x"), "1");
    const auto first = scanned(scratch / "trash");
    EXPECT_EQ(first, scanned(scratch / "trash"));
    EXPECT_EQ(first.size(), 3001u);
    EXPECT_THAT(first, ::testing::Contains("d/ 601 300"));
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(scanTree(FileUrl::fromPath(scratch / "trash"), stop.get_token()));
}

}  // namespace
}  // namespace kestrin
