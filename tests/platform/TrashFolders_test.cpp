// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TrashFolders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/Places.h"
#include "platform/Volumes.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::HasSubstr;

FileUrl url(const std::string& path) {
    return FileUrl::fromPath(path);
}

const std::string kUser = std::to_string(kTestUser);

/// The data home in a folder of the test's own, on the volume of the scratch folders.
class HomeTrash : public ::testing::Test {
 protected:
    HomeTrash() { setenv("XDG_DATA_HOME", m_data.c_str(), 1); }
    ~HomeTrash() override { unsetenv("XDG_DATA_HOME"); }

    Result<std::vector<TrashFolder>> folders() const {
        return trashFoldersOfVolume(*volumeOfItem(url(m_scratch.path())));
    }
    std::string refusalText() const { return folders().error().localizedDescription(); }

    ScratchFolder m_scratch;
    std::string m_data = m_scratch / "data";
    std::string m_trash = m_data + "/Trash";
};

TEST_F(HomeTrash, IsNotThereYetAndNothingIsCreated) {
    const std::string before = listing(m_scratch.path());
    const auto absent = folders();
    ASSERT_TRUE(absent) << absent.error().localizedDescription();
    ASSERT_EQ(absent->size(), 1u);
    EXPECT_EQ(absent->front().files, url(m_trash + "/files"));
    EXPECT_FALSE(absent->front().exists);
    makeFolder(m_trash);
    EXPECT_FALSE(folders()->front().exists) << "without its files";
    rmdir(m_trash.c_str());
    rmdir(m_data.c_str());
    EXPECT_EQ(listing(m_scratch.path()).size(), before.size());
}

TEST_F(HomeTrash, IsFoundBehindLinksAboveIt) {
    makeFolder(m_scratch / "elsewhere/Trash/files");
    ASSERT_EQ(symlink("elsewhere", m_data.c_str()), 0);
    ASSERT_TRUE(folders());
    EXPECT_TRUE(folders()->front().exists);
    EXPECT_EQ(folders()->front().files, url(m_trash + "/files"));
}

TEST_F(HomeTrash, IsNoTrashWithALinkFromTheTrashFolderDown) {
    makeFolder(m_scratch / "elsewhere/files");
    makeFolder(m_data);
    ASSERT_EQ(symlink("../elsewhere", m_trash.c_str()), 0);
    EXPECT_FALSE(folders());
    EXPECT_EQ(folders().error().systemError, ELOOP);
    EXPECT_THAT(refusalText(), HasSubstr(m_trash + ": "));

    unlink(m_trash.c_str());
    makeFolder(m_trash);
    ASSERT_EQ(symlink("../../elsewhere/files", (m_trash + "/files").c_str()), 0);
    EXPECT_THAT(refusalText(), HasSubstr(m_trash + "/files: "));
    writeFile(m_scratch / "elsewhere/files/entry");
    EXPECT_FALSE(trashFolderOfEntry(url(m_trash + "/files/entry")));
}

TEST_F(HomeTrash, IsNoTrashWhenItIsNotTheUsersOwn) {
    KESTRIN_REQUIRE_ROOT();
    makeFolder(m_trash + "/files");
    runAsRoot("chown 0:0 " + m_trash + "/files");
    EXPECT_EQ(folders().error().systemError, EPERM);
    runAsRoot("chown 0:0 " + m_trash);
    EXPECT_THAT(refusalText(), HasSubstr(m_trash + ": "));
}

TEST_F(HomeTrash, ThatCannotBeMadeIsAnError) {
    makeFolder(m_scratch / "closed");
    ASSERT_EQ(chmod((m_scratch / "closed").c_str(), 0500), 0);
    setenv("XDG_DATA_HOME", (m_scratch / "closed/data/share").c_str(), 1);
    EXPECT_EQ(folders().error().code, kFileWriteNoPermission);
    EXPECT_THAT(refusalText(), HasSubstr(m_scratch / "closed: "));
}

TEST_F(HomeTrash, OwnsItsDirectEntriesOnly) {
    writeFile(m_trash + "/files/\xff\n%41");
    writeFile(m_trash + "/files/folder/inside");
    writeFile(m_trash + "/info/a.trashinfo");
    ASSERT_EQ(symlink("nowhere", (m_trash + "/files/dangling").c_str()), 0);
    ASSERT_EQ(symlink(m_trash.c_str(), (m_scratch / "way").c_str()), 0);
    for (const char* good : {"/files/\xff\n%41", "/files/folder", "/files/dangling",
                             "/files/folder/../folder", "//files//folder/"}) {
        const auto folder = trashFolderOfEntry(url(m_trash + good));
        ASSERT_TRUE(folder) << good;
        EXPECT_EQ(folder->files, url(m_trash + "/files"));
    }
    EXPECT_TRUE(trashFolderOfEntry(url(m_scratch / "way/files/folder"))) << "another spelling";
    for (const char* bad :
         {"", "/files", "/files/none", "/files/.", "/files/..", "/files/folder/inside", "/info",
          "/info/a.trashinfo", "/files/folder/..", "/files/folder/../../info"}) {
        const auto folder = trashFolderOfEntry(url(m_trash + bad));
        ASSERT_FALSE(folder) << bad;
        EXPECT_THAT(folder.error().localizedDescription(), HasSubstr(m_trash + bad + ": "));
    }
    for (const FileUrl& bad : {url("/"), url("relative"), FileUrl(), url("/nul\0x")}) {
        EXPECT_FALSE(trashFolderOfEntry(bad)) << bad.path();
    }
}

/// A volume of its own with the test user's trash places on it.
class VolumeTrash : public ::testing::TestWithParam<TestVolume::Kind> {
 protected:
    void SetUp() override {
        KESTRIN_REQUIRE_MOUNTS();
        m_volume = std::make_unique<TestVolume>(GetParam(), m_scratch / "Disk");
        if (!m_volume->isMounted()) GTEST_SKIP() << "cannot be mounted here";
    }
    std::string at(const std::string& path) const { return m_volume->mountPoint() + "/" + path; }
    Result<std::vector<TrashFolder>> folders() const {
        return trashFoldersOfVolume(url(m_volume->mountPoint()));
    }
    void makeShared(mode_t mode) const {
        makeFolder(at(".Trash"));
        ASSERT_EQ(chmod(at(".Trash").c_str(), mode), 0);
    }

    ScratchFolder m_scratch;
    std::unique_ptr<TestVolume> m_volume;
};

TEST_P(VolumeTrash, IsTheUsersOwnFolderAtTheTop) {
    const std::string own = ".Trash-" + kUser;
    ASSERT_EQ(folders()->size(), 1u);
    EXPECT_EQ(folders()->front().files, url(at(own + "/files")));
    EXPECT_FALSE(folders()->front().exists);
    EXPECT_FALSE(exists(at(own)));
    writeFile(at(own + "/files/entry"));
    EXPECT_TRUE(folders()->front().exists);
    EXPECT_EQ(folders()->front().topFolder, url(m_volume->mountPoint()));
    EXPECT_EQ(trashFolderOfEntry(url(at(own + "/files/entry")))->files, url(at(own + "/files")));
}

TEST_P(VolumeTrash, SharedPlaceComesFirstAndBothCount) {
    makeShared(01777);
    EXPECT_EQ(folders()->front().files, url(at(".Trash/" + kUser + "/files")));
    makeFolder(at(".Trash-" + kUser + "/files"));
    ASSERT_EQ(folders()->size(), 1u) << "one of them exists";
    EXPECT_EQ(folders()->front().files, url(at(".Trash-" + kUser + "/files")));
    writeFile(at(".Trash/" + kUser + "/files/entry"));
    ASSERT_EQ(folders()->size(), 2u);
    EXPECT_EQ(folders()->front().files, url(at(".Trash/" + kUser + "/files")));
    EXPECT_TRUE(trashFolderOfEntry(url(at(".Trash/" + kUser + "/files/entry"))));
}

TEST_P(VolumeTrash, SharedPlaceWithoutStickyBitOrBehindALinkIsIgnored) {
    makeShared(0777);
    writeFile(at(".Trash/" + kUser + "/files/entry"));
    EXPECT_EQ(folders()->front().files, url(at(".Trash-" + kUser + "/files")));
    EXPECT_FALSE(trashFolderOfEntry(url(at(".Trash/" + kUser + "/files/entry"))));
    ASSERT_EQ(rename(at(".Trash").c_str(), at("real").c_str()), 0);
    ASSERT_EQ(chmod(at("real").c_str(), 01777), 0);
    ASSERT_EQ(symlink("real", at(".Trash").c_str()), 0);
    EXPECT_EQ(folders()->front().files, url(at(".Trash-" + kUser + "/files")));
    EXPECT_FALSE(trashFolderOfEntry(url(at(".Trash/" + kUser + "/files/entry"))));
}

TEST_P(VolumeTrash, LinksMakeAPlaceUnusable) {
    makeFolder(at("else/files"));
    ASSERT_EQ(symlink("else", at(".Trash-" + kUser).c_str()), 0);
    ASSERT_FALSE(folders());
    EXPECT_THAT(folders().error().localizedDescription(), HasSubstr(at(".Trash-" + kUser) + ": "));
    makeShared(01777);
    EXPECT_EQ(folders()->front().files, url(at(".Trash/" + kUser + "/files"))) << "is left";
    ASSERT_EQ(symlink("../else", at(".Trash/" + kUser).c_str()), 0);
    EXPECT_FALSE(folders());
}

TEST_P(VolumeTrash, OfAnotherUserIsNotTouched) {
    runAsRoot("mkdir -p " + at(".Trash-7/files") + " && touch " + at(".Trash-7/files/entry"));
    EXPECT_FALSE(trashFolderOfEntry(url(at(".Trash-7/files/entry"))));
    runAsRoot("chown 0:0 " + m_volume->mountPoint() + " && chmod 755 " + m_volume->mountPoint());
    ASSERT_FALSE(folders());
    EXPECT_EQ(folders().error().code, kFileWriteNoPermission);
}

TEST_P(VolumeTrash, StaysTheUsersOnAReadOnlyVolume) {
    const std::string own = ".Trash-" + kUser;
    if (GetParam() == TestVolume::Kind::Ext4) writeFile(at(own + "/files/entry"));
    ASSERT_EQ(runAsRoot("mount -o remount,ro " + m_volume->mountPoint()), 0);
    EXPECT_EQ(isVolumeReadOnly(url(m_volume->mountPoint())), true);
    if (GetParam() == TestVolume::Kind::Ext4) {
        EXPECT_TRUE(trashFolderOfEntry(url(at(own + "/files/entry"))));
        EXPECT_TRUE(folders()->front().exists);
    } else {
        EXPECT_EQ(folders().error().systemError, EROFS) << "none is there and none can be made";
    }
}

TEST_P(VolumeTrash, OfAVolumeThatWentIsAnError) {
    const FileUrl root = url(m_volume->mountPoint());
    m_volume.reset();
    rmdir(root.path().c_str());
    EXPECT_EQ(trashFoldersOfVolume(root).error().code, ENOENT);
}

TEST_P(VolumeTrash, HomeTrashOnAVolumeOfItsOwnBelongsToThatVolume) {
    setenv("XDG_DATA_HOME", at("share").c_str(), 1);
    const auto onVolume = folders();
    const auto entryFolder = [&] {
        writeFile(at("share/Trash/files/entry"));
        return trashFolderOfEntry(url(at("share/Trash/files/entry")));
    }();
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(onVolume->front().files, url(at("share/Trash/files")));
    EXPECT_EQ(entryFolder->topFolder, url(m_volume->mountPoint()));
}

INSTANTIATE_TEST_SUITE_P(Kinds, VolumeTrash,
                         ::testing::Values(TestVolume::Kind::Ext4, TestVolume::Kind::Tmpfs),
                         [](const auto& kind) {
                             return kind.param == TestVolume::Kind::Ext4 ? "Ext4" : "Tmpfs";
                         });

}  // namespace
}  // namespace kestrin
