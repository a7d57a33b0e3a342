// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/UserTrashes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "support/SilentVolume.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using Locks = UserTrashes::Locks;

class TheTrashesOfAUser : public ::testing::Test {
 protected:
    TheTrashesOfAUser() {
        makeFolder(m_files + "/folder/deep");
        makeFolder(m_trash + "/info");
    }
    /// 0 when the path leads to an entry's folder, else the errno.
    int refusal(const std::string& path,
                const std::vector<MountEntry>& mounts = currentMounts()) const {
        UserTrashes trashes(kTestUser, m_scratch / "home", mounts);
        const auto folder = trashes.folderOf(path, Locks::Keep);
        return folder ? 0 : folder.error().systemError;
    }
    static MountEntry& entryOf(std::vector<MountEntry>& mounts, const std::string& mountPoint) {
        return *std::ranges::find(mounts, mountPoint, &MountEntry::mountPoint);
    }

    ScratchFolder m_scratch;
    std::string m_trash = m_scratch / "home/.local/share/Trash";
    std::string m_files = m_trash + "/files";
};

TEST_F(TheTrashesOfAUser, HoldWhatIsBelowFilesOnly) {
    UserTrashes trashes(kTestUser, m_scratch / "home/", currentMounts());
    const auto top = trashes.folderOf(m_files + "/entry", Locks::Keep);
    ASSERT_TRUE(top);
    EXPECT_TRUE((*top)->isFiles());
    const auto deep = trashes.folderOf(m_files + "/folder/deep/entry", Locks::Keep);
    ASSERT_TRUE(deep);
    EXPECT_FALSE((*deep)->isFiles());
    EXPECT_EQ((*deep)->path, m_files + "/folder/deep");
    EXPECT_EQ(*trashes.folderOf(m_files + "/folder/deep/other", Locks::Keep), *deep);
    EXPECT_FALSE(trashes.folderOf(m_files + "/folder/deep/..", Locks::Keep)) << "in a known folder";

    const std::string name = std::string(1, '\0') + "a";
    for (const std::string& path : {m_trash + "/files2/entry", m_files + "/" + name, std::string()})
        EXPECT_EQ(refusal(path), EINVAL) << path;
    EXPECT_EQ(refusal(m_files + "/absent/entry"), ENOENT);
    EXPECT_TRUE(UserTrashes(kTestUser, "/", {}).candidates().empty());
    EXPECT_TRUE(UserTrashes(kTestUser, "relative", {}).candidates().empty());
}

TEST_F(TheTrashesOfAUser, AreFoldersOfTheirOwn) {
    KESTRIN_REQUIRE_ROOT();
    ASSERT_EQ(runAsRoot("chown 0:0 '" + m_files + "'"), 0);
    EXPECT_EQ(refusal(m_files + "/entry"), EPERM);
    ASSERT_EQ(runAsRoot("chown --reference='" + m_trash + "' '" + m_files + "'"), 0);
    ASSERT_EQ(runAsRoot("mv '" + m_trash + "/info' '" + m_trash + "/other'; mkdir '" + m_trash +
                        "/info'; touch '" + m_trash + "/info/entry.trashinfo'"),
              0);
    const AsRoot root;
    UserTrashes trashes(kTestUser, m_scratch / "home", currentMounts());
    auto folder = trashes.folderOf(m_files + "/entry", Locks::Keep);
    ASSERT_TRUE(folder);
    EXPECT_FALSE((*folder)->trash->folder.removeRecord("entry"));
    EXPECT_TRUE(exists(m_trash + "/info/entry.trashinfo")) << "records in a stranger's folder";
}

TEST_F(TheTrashesOfAUser, AreOnEveryMountWhereTheyBelong) {
    KESTRIN_REQUIRE_MOUNTS();
    const auto before = currentMounts();
    const TestVolume volume(TestVolume::Kind::Tmpfs, m_scratch / "disk");
    const std::string user = std::to_string(kTestUser);
    const std::string own = volume.mountPoint() + "/.Trash-" + user + "/files";
    const std::string shared = volume.mountPoint() + "/.Trash/" + user + "/files";
    const std::string other = volume.mountPoint() + "/.Trash-0/files";
    for (const std::string& files : {own, shared, other})
        makeFolder(files + "/folder");
    EXPECT_EQ(refusal(own + "/folder/entry"), 0);
    EXPECT_EQ(refusal(own + "/folder/entry", before), EINVAL) << "not in the table";
    EXPECT_EQ(refusal(other + "/entry"), EINVAL);
    EXPECT_EQ(refusal(shared + "/entry"), EPERM) << "not sticky";
    ASSERT_EQ(chmod((volume.mountPoint() + "/.Trash").c_str(), 01777), 0);
    EXPECT_EQ(refusal(shared + "/entry"), 0);

    auto served = currentMounts();
    MountEntry& mount = entryOf(served, volume.mountPoint());
    mount.fileSystemType = "fuse.sshfs";
    mount.superOptions = {"rw", "user_id=1000"};
    EXPECT_EQ(refusal(own + "/entry", served), EINVAL);
    mount.superOptions = {"rw", "user_id=0"};
    EXPECT_EQ(refusal(own + "/entry", served), 0);
}

TEST_F(TheTrashesOfAUser, AreNotInAHomeThatTheUserServes) {
    auto mounts = currentMounts();
    EXPECT_EQ(refusal(m_files + "/entry", mounts), 0);
    EXPECT_EQ(refusal(m_files + "/entry", {}), EPERM) << "mounted after the table was read";
    for (MountEntry& mount : mounts) {
        mount.fileSystemType = "fuse.encfs";
        mount.superOptions = {"rw", "user_id=1000"};
    }
    EXPECT_EQ(refusal(m_files + "/entry", mounts), EPERM);
}

TEST_F(TheTrashesOfAUser, AreNotLookedForBehindWhatTheUserServes) {
    KESTRIN_REQUIRE_MOUNTS();
    const TestVolume disk(TestVolume::Kind::Tmpfs, m_scratch / "outer/disk");
    SilentVolume outer(m_scratch / "outer");
    ASSERT_TRUE(outer.isMounted());
    const std::string entry =
        disk.mountPoint() + "/.Trash-" + std::to_string(kTestUser) + "/files/entry";
    EXPECT_TRUE(outer.doesNotHold([&] { EXPECT_EQ(refusal(entry, currentMounts()), ESTALE); }));
}

TEST_F(TheTrashesOfAUser, EndWhereSomethingIsMounted) {
    KESTRIN_REQUIRE_MOUNTS();
    ASSERT_EQ(runAsRoot("mount --bind '" + m_files + "' '" + m_files + "'"), 0);
    EXPECT_EQ(refusal(m_files + "/folder/entry"), EXDEV);

    // A table that names a mount which something else has covered since.
    const TestVolume volume(TestVolume::Kind::Tmpfs, m_scratch / "disk");
    const auto mounts = currentMounts();
    const TestVolume cover(TestVolume::Kind::Tmpfs, m_scratch / "disk");
    const std::string files =
        volume.mountPoint() + "/.Trash-" + std::to_string(kTestUser) + "/files";
    makeFolder(files);
    EXPECT_EQ(refusal(files + "/entry", mounts), ESTALE);
}

}  // namespace
}  // namespace kestrin
