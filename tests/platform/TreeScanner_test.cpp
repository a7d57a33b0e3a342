// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TreeScanner.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

std::map<std::string, ScannedEntry> scanned(const std::string& folder) {
    std::map<std::string, ScannedEntry> entries;
    auto result = scanTree(FileUrl::fromPath(folder));
    EXPECT_TRUE(result);
    if (!result) return entries;
    for (ScannedEntry& entry : *result)
        entries.emplace(entry.name, entry);
    return entries;
}

TEST(TreeScanner, CountsEveryEntryAtEveryDepthWithoutFollowingLinks) {
    const ScratchFolder scratch;
    writeFile(scratch / "big", std::string(1000, 'x'));
    writeFile(scratch / "trash/file", "12345");
    writeFile(scratch / "trash/.hidden", "123");
    writeFile(scratch / "trash/folder/one", "1");
    writeFile(scratch / "trash/folder/sub/two", "22");
    makeFolder(scratch / "trash/empty");
    ASSERT_EQ(symlink("../..", (scratch / "trash/folder/up").c_str()), 0);
    ASSERT_EQ(symlink("../big", (scratch / "trash/link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "trash/fifo").c_str(), 0600), 0);

    const auto entries = scanned(scratch / "trash");
    ASSERT_EQ(entries.size(), 6u);
    EXPECT_EQ(entries.at("file").size, 5u);
    EXPECT_EQ(entries.at("file").count, 1u);
    EXPECT_EQ(entries.at(".hidden").size, 3u);
    EXPECT_TRUE(entries.at("folder").isDirectory);
    EXPECT_EQ(entries.at("folder").count, 5u);
    EXPECT_EQ(entries.at("folder").size, 1u + 2u + 5u);  // and the text of the link
    EXPECT_EQ(entries.at("empty").count, 1u);
    EXPECT_EQ(entries.at("empty").size, 0u);
    EXPECT_EQ(entries.at("link").size, 6u);
    EXPECT_EQ(entries.at("fifo").size, 0u);
}

TEST(TreeScanner, PassesOverWhatItCannotReadAndStaysOnItsMount) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    writeFile(scratch / "trash/folder/file", "12");
    const TestVolume volume(TestVolume::Kind::Tmpfs, scratch / "trash/folder/mounted");
    ASSERT_TRUE(volume.isMounted());
    writeFile(scratch / "trash/folder/mounted/elsewhere", "1234");
    ASSERT_EQ(runAsRoot("mkdir -m 700 '" + scratch / "trash/folder/secret" + "' && touch '" +
                        scratch / "trash/folder/secret/file" + "'"),
              0);
    const auto entries = scanned(scratch / "trash");
    EXPECT_EQ(entries.at("folder").count, 4u);
    EXPECT_EQ(entries.at("folder").size, 2u);
    EXPECT_EQ(scanTree(FileUrl::fromPath(scratch / "trash/folder/secret")).error().code,
              kFileReadNoPermission);
    EXPECT_FALSE(scanTree(FileUrl::fromPath(scratch / "absent")));
}

TEST(TreeScanner, ManyEntriesAreCountedOnceAndInTheirOrder) {
    const ScratchFolder scratch;
    for (int i = 0; i < 3000; ++i)
        writeFile(scratch / ("trash/f" + std::to_string(i)), "1");
    for (int i = 0; i < 300; ++i)
        writeFile(scratch / ("trash/d/s" + std::to_string(i) + "/x"), "1");
    const auto first = scanTree(FileUrl::fromPath(scratch / "trash"));
    const auto second = scanTree(FileUrl::fromPath(scratch / "trash"));
    ASSERT_TRUE(first && second);
    ASSERT_EQ(first->size(), 3001u);
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < first->size(); ++i) {
        EXPECT_EQ((*first)[i].name, (*second)[i].name);
        count += (*first)[i].count;
    }
    EXPECT_EQ(count, 3000u + 1u + 600u);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(scanTree(FileUrl::fromPath(scratch / "trash"), stop.get_token()));
}

}  // namespace
}  // namespace kestrin
