// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Volumes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "platform/TrashFolders.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::Not;

FileUrl url(const std::string& path) {
    return FileUrl::fromPath(path);
}

TEST(Volumes, DescribesAnExt4Volume) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Ext4, scratch / "My Disk", "My Label");
    ASSERT_TRUE(volume.isMounted());
    const FileUrl root = url(volume.mountPoint());
    writeFile(volume.mountPoint() + "/folder/file");
    const FileUrl file = root.appending("folder/file");

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
}

TEST(Volumes, NamesTheVolumeOfALinkAndNotOfItsTarget) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Tmpfs, scratch / "Disk");
    ASSERT_TRUE(volume.isMounted());
    ASSERT_EQ(symlink(volume.mountPoint().c_str(), (scratch / "link").c_str()), 0);
    writeFile(volume.mountPoint() + "/file");
    EXPECT_EQ(volumeOfItem(url(scratch / "link")), volumeOfItem(url(scratch.path())));
    EXPECT_EQ(volumeOfItem(url(scratch / "link/file")), url(volume.mountPoint()));
    EXPECT_FALSE(isMountPoint(url(scratch / "link")));
    EXPECT_NE(volumeCapacity(url(scratch / "link"))->totalBytes,
              volumeCapacity(url(volume.mountPoint()))->totalBytes);
    EXPECT_FALSE(volumeLabel(url(volume.mountPoint())));
}

TEST(Volumes, SaysNothingOfItemsThatAreNotThere) {
    const FileUrl none = url("/nonexistent/item");
    EXPECT_FALSE(volumeOfItem(none));
    EXPECT_FALSE(isVolumeReadOnly(none));
    EXPECT_FALSE(volumeCapacity(none));
    EXPECT_FALSE(volumeLabel(none));
    EXPECT_FALSE(volumeUUID(none));
    EXPECT_FALSE(volumeIdentifier(none));
    EXPECT_FALSE(isMountPoint(none));
}

TEST(Volumes, ListsRootAndLeavesOutCopiesFilesAndTrashes) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Tmpfs, scratch / "Disk");
    ASSERT_TRUE(volume.isMounted());
    const TestVolume hidden(TestVolume::Kind::Tmpfs, scratch / ".hidden");
    const TestVolume source(TestVolume::Kind::Tmpfs, scratch / ".source");
    writeFile(source.mountPoint() + "/file");
    const TestVolume inTrash(TestVolume::Kind::Tmpfs, volume.mountPoint() + "/.Trash-" +
                                                          std::to_string(kTestUser) + "/files/a");
    makeFolder(scratch / "copy");
    writeFile(scratch / "file");
    ASSERT_EQ(
        runAsRoot("mount --bind " + volume.mountPoint() + " " + (scratch / "copy") +
                  " && mount --bind " + (source.mountPoint() + "/file") + " " + (scratch / "file")),
        0);
    const auto volumes = mountedVolumes();
    EXPECT_EQ(std::count(volumes.begin(), volumes.end(), url("/")), 1);
    EXPECT_THAT(volumes, Contains(url(volume.mountPoint())));
    for (const std::string& left :
         {hidden.mountPoint(), scratch / "copy", scratch / "file", inTrash.mountPoint()}) {
        EXPECT_THAT(volumes, Not(Contains(url(left)))) << left;
    }
}

/// A real FAT file system in a file, whose entries all belong to the test user.
class FatVolume {
 public:
    explicit FatVolume(const std::string& folder) : m_mountPoint(folder + "/Fat") {
        makeFolder(m_mountPoint);
        const std::string image = folder + "/fat.img", user = std::to_string(kTestUser);
        runAsRoot("truncate -s 8M " + image + " && mkfs.vfat " + image + " >/dev/null && " +
                  "fusefat -o rw+ -o allow_other,uid=" + user + ",gid=" + user + " " + image + " " +
                  m_mountPoint + " >/dev/null 2>&1");
        m_isMounted = isMountPoint(url(m_mountPoint));
    }
    ~FatVolume() {
        if (m_isMounted) runAsRoot("umount -l " + m_mountPoint);
    }
    bool isMounted() const { return m_isMounted; }
    const std::string& mountPoint() const { return m_mountPoint; }

 private:
    std::string m_mountPoint;
    bool m_isMounted = false;
};

TEST(Volumes, FindsTheTrashOfAFatVolume) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const FatVolume fat(scratch.path());
    if (!fat.isMounted()) GTEST_SKIP() << "needs fusefat, mkfs.vfat and /dev/fuse";
    const FileUrl root = url(fat.mountPoint());
    EXPECT_THAT(mountedVolumes(), Contains(root));
    EXPECT_EQ(isVolumeReadOnly(root), false);
    const auto trash = trashFoldersOfVolume(root);
    ASSERT_TRUE(trash) << trash.error().localizedDescription();
    EXPECT_FALSE(trash->front().exists);
    writeFile(trash->front().files.path() + "/entry.txt");
    EXPECT_TRUE(trashFoldersOfVolume(root)->front().exists);
    EXPECT_TRUE(trashFolderOfEntry(trash->front().files.appending("entry.txt")));
}

TEST(Volumes, AnswersWithinTheLimitOrNotAtAll) {
    EXPECT_EQ(answerWithin<int>(10s, [] { return 7; }), 7);
    auto release = std::make_shared<std::promise<void>>();
    auto done = std::make_shared<std::promise<void>>();
    const auto answer = answerWithin<int>(20ms, [released = release->get_future().share(), done] {
        released.wait();
        done->set_value();
        return 7;
    });
    EXPECT_FALSE(answer);
    release->set_value();
    EXPECT_EQ(done->get_future().wait_for(10s), std::future_status::ready);
}

}  // namespace
}  // namespace kestrin
