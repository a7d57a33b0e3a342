// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

#include "platform/disks/Volumes.h"
#include "platform/trash/TrashFolders.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::ElementsAre;
using ::testing::StartsWith;

FileUrl url(const std::string& path) {
    return FileUrl::fromPath(path);
}

/// The trash folders of a volume, the present ones with a "+"; or the error's text.
std::vector<std::string> foldersOf(const std::string& volume) {
    const auto folders = trashFoldersOfVolume(url(volume));
    if (!folders) return {folders.error().localizedDescription()};
    std::vector<std::string> texts;
    for (const TrashFolder& folder : *folders)
        texts.push_back((folder.exists ? "+" : "") + folder.files.path());
    return texts;
}

/// The data home in a folder of the test's own, on the volume of the scratch folders.
class HomeTrash : public ::testing::Test {
 protected:
    std::vector<std::string> folders() const {
        return foldersOf(volumeOfItem(url(m_scratch.path()))->path());
    }

    ScratchFolder m_scratch;
    const std::string m_data = m_scratch / "data", m_trash = m_data + "/Trash";
    const std::string m_files = m_trash + "/files";
    const ScopedVariable m_variable{"XDG_DATA_HOME", m_data};
};

TEST_F(HomeTrash, IsFoundBehindLinksAboveItAndNeverMade) {
    EXPECT_THAT(folders(), ElementsAre(m_files));
    EXPECT_FALSE(exists(m_data));
    makeFolder(m_scratch / "elsewhere/Trash");
    ASSERT_EQ(symlink("elsewhere", m_data.c_str()), 0);
    EXPECT_THAT(folders(), ElementsAre(m_files));
    makeFolder(m_files);
    EXPECT_THAT(folders(), ElementsAre("+" + m_files));
    makeFolder(m_scratch / "closed");
    ASSERT_EQ(chmod((m_scratch / "closed").c_str(), 0500), 0);
    const ScopedVariable closed("XDG_DATA_HOME", m_scratch / "closed/data/share");
    EXPECT_THAT(folders(), ElementsAre((m_scratch / "closed") + ": Permission denied"));
}

TEST_F(HomeTrash, IsNoTrashWithALinkOrAStrangersFolderFromTheTrashFolderDown) {
    KESTRIN_REQUIRE_ROOT();
    writeFile(m_scratch / "elsewhere/files/entry");
    makeFolder(m_data);
    ASSERT_EQ(symlink("../elsewhere", m_trash.c_str()), 0);
    const std::string isLink = ": the trash folder is a link";
    EXPECT_THAT(folders(), ElementsAre(m_trash + isLink));
    unlink(m_trash.c_str());
    makeFolder(m_trash);
    ASSERT_EQ(symlink("../../elsewhere/files", m_files.c_str()), 0);
    EXPECT_THAT(folders(), ElementsAre(m_files + isLink));
    EXPECT_FALSE(trashFolderOfEntry(url(m_files + "/entry")));
    unlink(m_files.c_str());
    makeFolder(m_files);
    for (const std::string& folder : {m_files, m_trash}) {
        runAsRoot("chown 0:0 " + folder);
        EXPECT_THAT(folders(), ElementsAre(StartsWith(folder + ": ")));
    }
}

TEST_F(HomeTrash, OwnsItsDirectEntriesOnly) {
    writeFile(m_files + "/\xff\n%41");
    writeFile(m_files + "/folder/inside");
    writeFile(m_trash + "/info/a.trashinfo");
    ASSERT_EQ(symlink("nowhere", (m_files + "/dangling").c_str()), 0);
    ASSERT_EQ(symlink(m_trash.c_str(), (m_data + "/way").c_str()), 0);
    for (const char* good :
         {"/Trash/files/\xff\n%41", "/Trash/files/folder", "/Trash/files/dangling",
          "/Trash/files/folder/../folder", "/Trash//files//folder/", "/way/files/folder"}) {
        const auto folder = trashFolderOfEntry(url(m_data + good));
        ASSERT_TRUE(folder) << good;
        EXPECT_EQ(folder->files, url(m_files));
    }
    for (const char* bad :
         {"", "/files", "/files/none", "/files/.", "/files/..", "/files/folder/inside",
          "/info/a.trashinfo", "/files/folder/..", "/files/folder/../../info"}) {
        const auto folder = trashFolderOfEntry(url(m_trash + bad));
        ASSERT_FALSE(folder) << bad;
        EXPECT_THAT(folder.error().localizedDescription(), StartsWith(m_trash + bad + ": "));
    }
    for (const FileUrl& bad : {url("/"), url("relative"), FileUrl(), url(std::string("/n\0x", 4))})
        EXPECT_FALSE(trashFolderOfEntry(bad)) << bad.path();
}

/// A volume of its own with the test user's trash places on it.
class VolumeTrash : public ::testing::Test {
 protected:
    void SetUp() override {
        KESTRIN_REQUIRE_MOUNTS();
        m_volume.emplace(TestVolume::Kind::Tmpfs, m_scratch / "Disk");
        ASSERT_TRUE(m_volume->isMounted());
    }
    std::vector<std::string> folders() const { return foldersOf(m_disk); }
    bool isEntry(const std::string& path) const {
        return static_cast<bool>(trashFolderOfEntry(url(path)));
    }

    ScratchFolder m_scratch;
    std::optional<TestVolume> m_volume;
    const std::string m_disk = m_scratch / "Disk";
    const std::string m_own = m_disk + "/.Trash-" + std::to_string(kTestUser) + "/files";
    const std::string m_shared = m_disk + "/.Trash/" + std::to_string(kTestUser) + "/files";
};

TEST_F(VolumeTrash, IsTheSharedPlaceAndTheUsersOwn) {
    EXPECT_THAT(folders(), ElementsAre(m_own));
    EXPECT_FALSE(exists(m_own));
    makeFolder(m_disk + "/.Trash");
    ASSERT_EQ(chmod((m_disk + "/.Trash").c_str(), 01777), 0);
    EXPECT_THAT(folders(), ElementsAre(m_shared)) << "where one would be made";
    writeFile(m_own + "/entry");
    EXPECT_THAT(folders(), ElementsAre("+" + m_own));
    EXPECT_EQ(trashFolderOfEntry(url(m_own + "/entry"))->topFolder, url(m_disk));
    writeFile(m_shared + "/entry");
    EXPECT_THAT(folders(), ElementsAre("+" + m_shared, "+" + m_own));
    EXPECT_TRUE(isEntry(m_shared + "/entry"));
}

TEST_F(VolumeTrash, IsAnotherUsersOrCannotBeMadeOrWentWithItsVolume) {
    runAsRoot("mkdir -p " + m_disk + "/.Trash-7/files && touch " + m_disk + "/.Trash-7/files/a");
    EXPECT_FALSE(isEntry(m_disk + "/.Trash-7/files/a"));
    runAsRoot("chown 0:0 " + m_disk + " && chmod 755 " + m_disk);
    EXPECT_THAT(folders(), ElementsAre(m_disk + ": Permission denied"));
    runAsRoot("chmod 777 " + m_disk + " && mount -o remount,ro " + m_disk);
    EXPECT_EQ(isVolumeReadOnly(url(m_disk)), true);
    EXPECT_THAT(folders(), ElementsAre(m_disk + ": Read-only file system"));
    m_volume.reset();
    rmdir(m_disk.c_str());
    EXPECT_THAT(folders(), ElementsAre(m_disk + ": No such file or directory"));
}

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

TEST(TrashRecord, ReadsDatesAsLocalWallClockAndNothingElseAsADate) {
    {
        const test::ScopedVariable zone("TZ", "Asia/Tokyo");
        EXPECT_EQ(dateOf("2026-11-21T02:26:42"), 1795195602);
        EXPECT_EQ(dateOf("1970-01-01T08:59:59"), -1) << "a moment like any other";
        EXPECT_EQ(dateOf("2024-02-29T00:00:00.250"), 1709132400);
    }
    const test::ScopedVariable zone("TZ", "America/New_York");
    EXPECT_EQ(dateOf("2024-07-01T12:00:00"), 1719849600) << "summer time";
    EXPECT_TRUE(dateOf("2024-03-10T02:30:00")) << "an hour that the clocks left out";
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
