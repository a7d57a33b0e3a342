// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/disks/MountTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using ::testing::ElementsAre;

/// A desktop, with "/" after what is mounted on it.
constexpr std::string_view kDesktop =
    R"(22 29 0:21 / /proc rw,relatime shared:5 - proc proc rw
29 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw
31 30 0:50 / /run/user/1000/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse rw
33 29 8:1 / /boot/efi rw - vfat /dev/sda1 rw
34 29 8:3 / /home rw - ext4 /dev/sda3 rw
35 29 7:0 / /snap/core/1 ro - squashfs /dev/loop0 ro
36 29 0:60 / /tmp rw - tmpfs tmpfs rw
37 36 0:61 / /tmp/ramdisk rw - tmpfs tmpfs rw
38 36 0:62 / /tmp/.mount_App rw - fuse.App App rw
39 29 8:17 / /media/ann/My\040Disk\134\011\012 rw - vfat /dev/sdb1 rw
40 26 8:33 / /run/media/ann/Stick rw - exfat /dev/sdc1 rw
41 29 0:70 / /mnt/share rw - nfs4 server:/a rw
42 29 0:70 / /mnt/other rw - nfs4 server:/b rw
44 29 8:17 / /mnt/again rw - vfat /dev/sdb1 rw
45 29 8:17 /sub /mnt/sub rw - vfat /dev/sdb1 rw
46 29 0:80 /@data /data rw - btrfs /dev/sdd1 rw
47 29 0:80 /@vault /vault rw - btrfs /dev/sdd1 rw
48 29 0:80 /@data /data2 rw - btrfs /dev/sdd1 rw
51 29 0:83 / /opt/merged rw - overlay overlay rw
53 34 0:85 / /home/ann/.cache rw - tmpfs tmpfs rw
54 29 8:49 / /mnt/secret rw - ext4 /dev/sdf1 rw
55 29 8:50 / /usr/local rw - ext4 /dev/sdg1 rw
56 34 8:51 / /home/ann/data/Trash/files/inside rw - ext4 /dev/sdh1 rw
57 29 8:52 / /library rw - ext4 /dev/sdi1 rw
58 29 8:53 / /lib32/x rw - ext4 /dev/sdj1 rw
)";

std::vector<std::string> visible(std::string_view table, const VolumeVisibility& visibility) {
    std::vector<std::string> points;
    for (const MountEntry& mount : visibleVolumes(parseMountInfo(table), visibility))
        points.push_back(mount.mountPoint);
    return points;
}

/// The number of the mount that `path` lies on; 0: of none.
int mountOf(std::string_view table, std::string_view path) {
    const auto mounts = parseMountInfo(table);
    const MountEntry* mount = mountOfPath(mounts, path);
    return mount ? mount->id : 0;
}

TEST(MountTable, ReadsEveryFieldAndPassesOverLinesThatDoNotFit) {
    const auto mounts = parseMountInfo(
        "36 35 98:12 /mnt1\\040x /mnt2\\134 rw,noatime master:1 propagate_from:2 - ext3 /dev/root "
        "ro,errors=continue\n37 35 0:5 net:[1] /a\\04\\777\\ rw - tmpfs  rw\n");
    ASSERT_EQ(mounts.size(), 2u);
    const MountEntry& mount = mounts[0];
    EXPECT_EQ(std::tuple(mount.id, mount.parentId, mount.deviceMajor, mount.deviceMinor),
              std::tuple(36, 35, 98, 12));
    EXPECT_EQ(mount.root, "/mnt1 x");
    EXPECT_EQ(mount.mountPoint, "/mnt2\\");
    EXPECT_EQ(mount.fileSystemType, "ext3");
    EXPECT_EQ(mount.source, "/dev/root");
    EXPECT_THAT(mount.superOptions, ElementsAre("ro", "errors=continue"));
    EXPECT_TRUE(mount.isReadOnly()) << "by the file system";
    EXPECT_EQ(mounts[1].mountPoint, "/a\\04\\777\\") << "no escapes";
    EXPECT_EQ(mounts[1].source, "");
    EXPECT_FALSE(mounts[1].isReadOnly());
    for (const char* bad : {"\n\n", "36 35 98:0 / /m rw", "36 35 98:0 / /m rw - ext3 /dev/root",
                            "x 35 98:0 / /m rw - ext3 /d rw", "36 35 98 / /m rw - ext3 /d rw",
                            "36 35 98:0 / m rw - ext3 /d rw", "36 35 98:0 / /m rw ext3 /d rw",
                            "99999999999999999999 35 98:0 / /m rw - ext3 /d rw"}) {
        EXPECT_TRUE(parseMountInfo(bad).empty()) << bad;
    }
    EXPECT_NE(mountOfPath(currentMounts(), "/proc/self"), nullptr) << "in the kernel's own table";
}

TEST(MountTable, FindsTheDeepestMountOfAPathThatNoneHides) {
    EXPECT_EQ(mountOf(kDesktop, "/"), 29);
    EXPECT_EQ(mountOf(kDesktop, "/home/ann/file"), 34);
    EXPECT_EQ(mountOf(kDesktop, "/homes"), 29);
    EXPECT_EQ(mountOf(kDesktop, "/media/ann/My Disk\\\t\n/x"), 39);
    EXPECT_EQ(mountOf(kDesktop, ""), 0);

    constexpr std::string_view kStacked = R"(1 0 8:1 / / rw - ext4 a rw
2 1 8:2 / /mnt rw - ext4 b rw
3 2 8:3 / /mnt/x rw - ext4 c rw
4 2 8:4 / /mnt rw - ext4 d rw
5 4 8:5 / /mnt/y rw - ext4 e rw
6 1 8:6 / /a/b rw - ext4 f rw
7 6 8:7 / /a/b/c rw - ext4 g rw
8 1 8:8 / /a rw - ext4 h rw
9 1 8:9 / /ab rw - ext4 i rw
)";
    EXPECT_EQ(mountOf(kStacked, "/mnt"), 4) << "the one on top";
    EXPECT_EQ(mountOf(kStacked, "/mnt/x/file"), 4) << "covered with what it was mounted in";
    EXPECT_EQ(mountOf(kStacked, "/mnt/y"), 5);
    EXPECT_EQ(mountOf(kStacked, "/a/b/c/file"), 8);
    EXPECT_THAT(visible(kStacked, {"/", "/", {}}), ElementsAre("/", "/mnt", "/mnt/y", "/a", "/ab"));

    constexpr std::string_view kCircle =
        "1 2 8:1 / /a rw - ext4 a rw\n2 1 8:2 / /b rw - ext4 b rw\n"
        "3 3 8:3 / /c rw - ext4 c rw\n";
    EXPECT_EQ(mountOf(kCircle, "/a/x"), 1);
    EXPECT_EQ(mountOf(kCircle, "/c"), 3);
}

TEST(MountTable, ShowsTheVolumesThatUsersMean) {
    EXPECT_THAT(visible(kDesktop, {"/home/ann", "/home/ann/data", {"/mnt/secret"}}),
                ElementsAre("/", "/home", "/tmp/ramdisk", "/media/ann/My Disk\\\t\n",
                            "/run/media/ann/Stick", "/mnt/share", "/mnt/other", "/data", "/vault",
                            "/library"));
    // Always root, home and the volume of the home trash; a whole device stands for its folders.
    constexpr std::string_view kContainer = R"(10 1 0:40 / / rw - overlay overlay rw
11 10 8:1 /a /var/lib/home rw - ext4 /dev/sda1 rw
12 10 8:1 /b /mnt/part rw - ext4 /dev/sda1 rw
14 10 8:2 /c /mnt/other rw - ext4 /dev/sdb1 rw
15 10 8:2 / /mnt/whole rw - ext4 /dev/sdb1 rw
13 10 0:41 / /dev/shm/.data rw - tmpfs tmpfs rw
)";
    EXPECT_THAT(visible(kContainer, {"/var/lib/home/ann", "/dev/shm/.data/x", {"/"}}),
                ElementsAre("/", "/var/lib/home", "/mnt/whole", "/dev/shm/.data"));
}

TEST(MountTable, ReadsHiddenMarksOfFstabAndUtab) {
    KESTRIN_REQUIRE_MOUNTS();
    const test::ScratchFolder scratch;
    test::writeFile(scratch / "fstab",
                    "# /dev/x /mnt/comment ext4 x-gvfs-hide 0 0\n"
                    "  /dev/a\t/mnt/a\\040b/  ext4  noauto,x-gvfs-hide 0 0\n"
                    "/dev/c /mnt/c ext4 x-gvfs-hidden 0 0\n/dev/d /mnt/d\n");
    test::writeFile(scratch / "utab",
                    "SRC=/dev/e TARGET=/mnt/e\\040f ROOT=/ OPTS=uhelper=u,x-gvfs-hide\n"
                    "SRC=/dev/g TARGET=/mnt/g OPTS=x-other\nOPTS=x-gvfs-hide\n");
    ASSERT_EQ(test::runAsRoot("mount --bind " + (scratch / "fstab") +
                              " /etc/fstab && mount -t tmpfs none /run && mkdir /run/mount && cp " +
                              (scratch / "utab") + " /run/mount/utab"),
              0);
    EXPECT_THAT(mountPointsMarkedHidden(), ElementsAre("/mnt/a b", "/mnt/e f"));
    test::runAsRoot("umount /etc/fstab /run");
}

}  // namespace
}  // namespace kestrin
