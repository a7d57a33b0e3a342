// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "platform/disks/MountTable.h"
#include "platform/disks/Volumes.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::Contains;
using ::testing::ElementsAre;
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
    const std::uint64_t mountId = mountIdAt(root);
    EXPECT_TRUE(isVolumeMounted(root, mountId));
    EXPECT_FALSE(isVolumeMounted(file.parent(), mountIdAt(file.parent())));
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

TEST(MountWatcher, TellsOfVolumesThatComeAndGoAndOfNoOtherMounts) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const std::string disk = scratch / "My Disk";
    std::vector<std::string> changes;
    const MountWatcher watcher([&](const MountWatcher::Change& change) {
        changes.push_back((change.wasAdded ? "+" : "-") + change.mountPoint);
    });
    const auto run = [&](const std::string& command) {
        ASSERT_EQ(runAsRoot("cd '" + scratch.path() + "' && " + command), 0);
    };
    /// What is told of an action once the table has come to rest.
    const auto toldOf = [&](const std::string& command) {
        run(command);
        waitFor([] { return false; }, 200);
        return std::exchange(changes, {});
    };
    const std::string mount = "mount -t tmpfs none ", mountDisk = mount + "'My Disk'";
    EXPECT_THAT(toldOf("mkdir 'My Disk' .other && " + mountDisk), ElementsAre("+" + disk));
    EXPECT_THAT(toldOf("mount -o remount,ro 'My Disk'"), ElementsAre());
    EXPECT_THAT(toldOf(mount + ".other"), ElementsAre()) << "users do not see it";
    // The kernel would give a lone new mount the numbers of the old one.
    EXPECT_THAT(toldOf("umount 'My Disk' && " + mount + ".other && " + mountDisk),
                ElementsAre("-" + disk, "+" + disk));
    EXPECT_THAT(toldOf("umount 'My Disk'"), ElementsAre("-" + disk));
    EXPECT_THAT(toldOf(mountDisk + " && umount 'My Disk'"), ElementsAre()) << "too short";
    EXPECT_THAT(toldOf(mount + "/proc"), ElementsAre()) << "a table that cannot be read";
    EXPECT_THAT(toldOf("umount /proc"), ElementsAre());

    // The rest begins with the last change, not with the first.
    run(mountDisk);
    waitFor([] { return false; }, 25);
    run("mkdir Other && umount 'My Disk' && " + mount + "Other");
    const auto atRest = std::chrono::steady_clock::now();
    EXPECT_TRUE(waitFor([&] { return !changes.empty() && changes.back().ends_with("Other"); }));
    // The toolkit's timers may be a twentieth early.
    EXPECT_GE(std::chrono::steady_clock::now() - atRest, std::chrono::milliseconds(45));
}

}  // namespace
}  // namespace kestrin
