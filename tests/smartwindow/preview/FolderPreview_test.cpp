// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/FolderPreview.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::ScratchFolder;

Preview previewOf(const std::string& path) {
    return previewOfFolder(FileUrl::fromPath(path), {});
}

TEST(FolderPreview, showsTheFirstEntriesByNameAndCountsAll) {
    const ScratchFolder scratch;
    const std::string folder = scratch / "folder";
    for (int number = 0; number < 1500; ++number)
        test::writeFile(folder + "/n" + std::to_string(10'000 + number), "12345");
    test::makeFolder(folder + "/B folder");
    test::writeFile(folder + "/a\xFF\n", "12");
    ASSERT_EQ(::symlink("/etc", (folder + "/c").c_str()), 0);
    ASSERT_EQ(::mkfifo((folder + "/d").c_str(), 0600), 0);
    const timespec times[2] = {{1000, 0}, {2000, 0}};
    ::utimensat(AT_FDCWD, folder.c_str(), times, 0);

    const Preview preview = previewOf(folder);
    EXPECT_EQ(preview.kind, PreviewKind::Entries);
    EXPECT_EQ(preview.facts.entryCount, 1504U);
    EXPECT_FALSE(preview.facts.isPartial);
    ASSERT_EQ(preview.entries.size(), 200U);
    const PreviewEntry kFirst[] = {{"a\xFF\n", 2, false},
                                   {"B folder", 0, true},
                                   {"c", 4, false},
                                   {"d", 0, false},
                                   {"n10000", 5, false}};
    for (std::size_t at = 0; at < std::size(kFirst); ++at) {
        EXPECT_EQ(preview.entries[at].name, kFirst[at].name);
        EXPECT_EQ(preview.entries[at].size, kFirst[at].size);
        EXPECT_EQ(preview.entries[at].isFolder, kFirst[at].isFolder);
    }
    struct stat status {};
    ::stat(folder.c_str(), &status);
    EXPECT_EQ(status.st_atim.tv_sec, 1000);
}

TEST(FolderPreview, saysWhyThereIsNothingToShow) {
    const ScratchFolder scratch;
    test::makeFolder(scratch / "empty");
    test::writeFile(scratch / "closed/in it");
    test::writeFile(scratch / "file");
    ASSERT_EQ(::symlink("closed", (scratch / "link").c_str()), 0);
    std::filesystem::permissions(scratch / "closed", std::filesystem::perms::none);
    EXPECT_EQ(previewOf(scratch / "empty").fault, PreviewFault::Empty);
    EXPECT_EQ(previewOf(scratch / "closed").fault, PreviewFault::Unreadable);
    EXPECT_EQ(previewOf(scratch / "file").fault, PreviewFault::NotAFile);
    EXPECT_EQ(previewOf(scratch / "link").fault, PreviewFault::NotAFile);
    EXPECT_EQ(previewOf(scratch / "absent").fault, PreviewFault::Gone);
    const ItemIdentity another{.deviceId = 1, .inode = 1};
    EXPECT_EQ(previewOfFolder(FileUrl::fromPath(scratch / "empty"), another).fault,
              PreviewFault::Gone);
}

}  // namespace
}  // namespace kestrin
