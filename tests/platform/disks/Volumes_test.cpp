// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/disks/Volumes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::Contains;
using ::testing::Not;

FileUrl url(const std::string& path) {
    return FileUrl::fromPath(path);
}

TEST(Volumes, DescribeAnExt4Volume) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Ext4, scratch / "My Disk", "My Label");
    ASSERT_TRUE(volume.isMounted());
    const FileUrl root = url(volume.mountPoint()), file = root.appending("folder/file");
    writeFile(file.path());
    EXPECT_THAT(mountedVolumes(), Contains(root));
    EXPECT_EQ(volumeOfItem(file), root);
    EXPECT_TRUE(isMountPoint(root));
    EXPECT_FALSE(isMountPoint(file.parent()));
    EXPECT_EQ(isVolumeReadOnly(file), false);
    EXPECT_EQ(volumeLabel(root), "My Label");
    EXPECT_EQ(volumeIdentifier(file), volumeIdentifier(root));
    EXPECT_NE(volumeIdentifier(file), volumeIdentifier(url("/")));
    const auto capacity = volumeCapacity(file);
    ASSERT_TRUE(capacity);
    EXPECT_GT(capacity->totalBytes, 8u << 20);
    EXPECT_LT(capacity->availableBytes, capacity->totalBytes);
    EXPECT_GE(capacity->itemCount, 2u);

    // A link is on its own volume and not on that of its target.
    ASSERT_EQ(symlink(root.path().c_str(), (scratch / "link").c_str()), 0);
    const FileUrl link = url(scratch / "link");
    EXPECT_EQ(volumeOfItem(link), volumeOfItem(url(scratch.path())));
    EXPECT_EQ(volumeOfItem(link.appending("folder")), root);
    EXPECT_FALSE(isMountPoint(link));
    EXPECT_NE(volumeCapacity(link)->totalBytes, capacity->totalBytes);
    const FileUrl none = root.appending("none");
    EXPECT_FALSE(volumeOfItem(none) || isVolumeReadOnly(none) || volumeCapacity(none) ||
                 volumeLabel(none) || volumeUUID(none) || volumeIdentifier(none) ||
                 isMountPoint(none));
}

TEST(Volumes, ListRootAndLeaveOutCopiesFilesAndTrashes) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Tmpfs, scratch / "Disk");
    ASSERT_TRUE(volume.isMounted());
    const TestVolume source(TestVolume::Kind::Tmpfs, scratch / ".source");
    const std::string inTrash = ".Trash-" + std::to_string(kTestUser) + "/files/a";
    ASSERT_EQ(runAsRoot("cd " + scratch.path() + " && mkdir -p copy Disk/" + inTrash +
                        " && touch file .source/file && mount --bind Disk copy && " +
                        "mount --bind .source/file file && mount -t tmpfs none Disk/" + inTrash),
              0);
    const auto volumes = mountedVolumes();
    EXPECT_EQ(std::count(volumes.begin(), volumes.end(), url("/")), 1);
    EXPECT_THAT(volumes, Contains(url(volume.mountPoint())));
    for (const std::string& left :
         {std::string(".source"), std::string("copy"), std::string("file"), "Disk/" + inTrash}) {
        EXPECT_THAT(volumes, Not(Contains(url(scratch / left)))) << left;
    }
}

}  // namespace
}  // namespace kestrin
