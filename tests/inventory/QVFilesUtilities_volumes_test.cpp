// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QStringList>
#include <optional>

#include "fsutil/QVFilesUtilities.h"
#include "inventory/TrashListing.h"
#include "platform/desktop/Places.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::ScratchFolder;
using test::TestVolume;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

FileUrl urlOf(const std::string& path) {
    return FileUrl::fromPath(path);
}

/// Keeps the lines of the system log while it lives.
class LogCapture {
 public:
    LogCapture() {
        s_lines.clear();
        m_before = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&,
                                             const QString& line) { s_lines.append(line); });
    }
    ~LogCapture() { qInstallMessageHandler(m_before); }
    static inline QStringList s_lines;

 private:
    QtMessageHandler m_before;
};

std::vector<TrashLocation> locationsOn(QVFilesUtilities& files, const std::string& volume) {
    auto locations = files.trashesAndVolumesLocations();
    std::erase_if(locations, [&](const auto& location) { return location.volumePath != volume; });
    return locations;
}

TEST(VolumeRecord, OfAFolderFollowsLinksAndRefusesPackagesAndNothing) {
    const ScratchFolder scratch;
    const QVFilesUtilities files;
    const std::string target = scratch / "caf\xE9";
    test::makeFolder(target);
    test::makeFolder(scratch / "Pictures.photoslibrary");
    test::makeFolder(scratch / "Program.app");
    ASSERT_EQ(symlink(target.c_str(), (scratch / "absolute").c_str()), 0);
    ASSERT_EQ(symlink("caf\xE9", (scratch / "relative").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (scratch / "dangling").c_str()), 0);
    for (const std::string& path : {target, scratch / "absolute", scratch / "relative"})
        EXPECT_EQ(files.directoryInfoForURL(urlOf(path))->url, urlOf(target)) << path;
    EXPECT_EQ(files.directoryInfoForURL(urlOf(target))->name, QStringLiteral("caf\uFFFD"));
    EXPECT_TRUE(files.directoryInfoForURL(urlOf(scratch / "Pictures.photoslibrary")));
    for (const FileUrl& none : {urlOf(scratch / "Program.app"), urlOf(scratch / "dangling"),
                                FileUrl(), FileUrl::withoutScheme(target)}) {
        EXPECT_FALSE(files.directoryInfoForURL(none)) << none.path();
    }
}

/// An ext4 volume of the test user's.
class OnAVolume : public ::testing::Test {
 protected:
    void SetUp() override {
        KESTRIN_REQUIRE_MOUNTS();
        m_volume.emplace(TestVolume::Kind::Ext4, m_root, "My Disk");
        ASSERT_TRUE(m_volume->isMounted());
    }
    using State = ListedVolume::State;
    std::vector<TrashLocation> locations() { return locationsOn(m_files, m_root); }
    ListedVolume asked() const { return askForTrashes(urlOf(m_root)); }

    ScratchFolder m_scratch;
    std::optional<TestVolume> m_volume;
    const std::string m_root = m_scratch / "point";
    const std::string m_trash = m_root + "/.Trash-" + std::to_string(geteuid());
    QVFilesUtilities m_files;
};

TEST_F(OnAVolume, RecordHasTheVolumesValues) {
    // In the order asked for, without what is no place.
    const auto records = m_files.volumesLocationArray(
        {{urlOf(m_scratch.path()), urlOf("/nonexistent"), urlOf(m_root), urlOf("/")}});
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].path, m_scratch.path());
    EXPECT_EQ(records[2].name, DefaultVolumeName());
    const auto& record = records[1];
    EXPECT_TRUE(record.isDisk);
    EXPECT_EQ(record.name, QStringLiteral("My Disk"));
    EXPECT_EQ(record.isLocked, std::optional<bool>(false));
    EXPECT_GT(record.totSize.value_or(0), 1000000u);
    EXPECT_LT(record.freeSize.value_or(0), record.totSize.value_or(0));
    EXPECT_FALSE(record.isPhotosLib.has_value());
}

TEST_F(OnAVolume, TrashThatDoesNotExistYetIsToldOfAndNotMade) {
    const std::string before = test::listing(m_root);
    ASSERT_EQ(locations().size(), 1u);
    const TrashLocation location = locations()[0];
    EXPECT_EQ(location.trashURL, urlOf(m_trash + "/files"));
    EXPECT_EQ(location.volumeURL, urlOf(m_root));
    EXPECT_EQ(location.volumeName, QStringLiteral("My Disk"));
    EXPECT_TRUE(location.trashIsEmpty);
    EXPECT_EQ(m_files.trashURLForItemURL(urlOf(m_root)), location.trashURL);
    EXPECT_EQ(test::listing(m_root), before);
    test::writeFile(m_trash + "/files/entry");
    EXPECT_FALSE(locations().at(0).trashIsEmpty);
    EXPECT_TRUE(m_files.itemURLIsInTheTrash(urlOf(m_trash + "/files/entry")));
    EXPECT_FALSE(m_files.itemURLIsInTheTrash(urlOf(m_trash)));
    EXPECT_EQ(m_files.volumeURLOfPath("/Volumes/Unmounted/a/b"), urlOf("/Volumes"));
    EXPECT_TRUE(m_files.urlIsStartupDisk(urlOf("/")));
}

TEST_F(OnAVolume, NoTrashIsListedSilentlyWhileItIsReadOnly) {
    const LogCapture log;
    ASSERT_EQ(test::runAsRoot("mount -o remount,ro " + m_root), 0);
    EXPECT_THAT(locations(), IsEmpty());
    EXPECT_FALSE(m_files.trashURLForItemURL(urlOf(m_root)).has_value());
    EXPECT_TRUE(log.s_lines.filter(QString::fromStdString(m_scratch.path())).isEmpty());
    ASSERT_EQ(test::runAsRoot("mount -o remount,rw " + m_root), 0);
    EXPECT_EQ(locations().size(), 1u);
}

TEST_F(OnAVolume, NoTrashIsAskedForAgainWhereItFailed) {
    ASSERT_EQ(test::runAsRoot("chown root:root " + m_root), 0);
    {
        const LogCapture log;
        EXPECT_THAT(locations(), IsEmpty());
        EXPECT_THAT(locations(), IsEmpty());
        // The volume of "/" may refuse as well; it too is told of once.
        const auto lines = log.s_lines.filter(QStringLiteral("NSTrashDirectory error: ")).size();
        EXPECT_TRUE(lines == 1 || lines == 2) << lines;
        EXPECT_EQ(asked().state, State::NoTrash) << "no trash may be made there: no fault";
    }
    ASSERT_EQ(test::runAsRoot("chmod 777 " + m_root), 0);
    EXPECT_THAT(locations(), IsEmpty());
    QVFilesUtilities restarted;
    EXPECT_EQ(locationsOn(restarted, m_root).size(), 1u);
}

TEST_F(OnAVolume, TrashThatIsThereAndCannotBeUsedIsNamed) {
    const auto isNamed = [this](const std::string& path) {
        const ListedVolume volume = asked();
        return volume.state == State::Unusable && volume.hasFailedForGood() &&
               volume.problem->localizedDescription().starts_with(path + ": ") &&
               locations().empty();
    };
    ASSERT_EQ(symlink("/tmp", m_trash.c_str()), 0);
    EXPECT_TRUE(isNamed(m_trash)) << "a link";
    unlink(m_trash.c_str());
    test::writeFile(m_trash + "/files/entry");
    for (const std::string& closed : {m_trash + "/files", m_trash}) {
        ASSERT_EQ(chmod(closed.c_str(), 0), 0);
        EXPECT_TRUE(isNamed(m_trash + "/files")) << "closed: " << closed;
        chmod(closed.c_str(), 0700);
    }
    // Another one may be used, and what is in this one would be forgotten.
    test::writeFile(m_root + "/.Trash/" + std::to_string(geteuid()) + "/files/entry");
    ASSERT_EQ(chmod((m_root + "/.Trash").c_str(), 0777), 0);
    const ListedVolume both = asked();
    EXPECT_EQ(both.state, State::Usable);
    EXPECT_EQ(both.trashes.size(), 1u);
    ASSERT_TRUE(both.problem);
    EXPECT_TRUE(both.problem->localizedDescription().starts_with(m_root + "/.Trash: "));
    EXPECT_FALSE(both.hasFailedForGood());
    test::runAsRoot("chmod 700 " + m_root + "; chown 0:0 " + m_root);
    EXPECT_EQ(asked().state, State::NoTrash) << "closed to the user";
}

TEST(TrashIsEmpty, UnlessANameBeginsWithoutAFullStop) {
    const ScratchFolder scratch;
    const QVFilesUtilities files;
    const FileUrl trash = urlOf(scratch / "files");
    EXPECT_TRUE(files.trashAtURLIsEmpty(trash)) << "absent";
    EXPECT_TRUE(files.trashAtURLIsEmpty(FileUrl()));
    test::writeFile(scratch / "files/.DS_Store");
    test::makeFolder(scratch / "files/.folder");
    EXPECT_TRUE(files.trashAtURLIsEmpty(trash));
    test::writeFile(scratch / "files/.hidden", "listed\n");
    test::writeFile(scratch / "files/listed");
    EXPECT_FALSE(files.trashAtURLIsEmpty(trash)) << "what is trashed hides nothing";
}

TEST(EmptyFolder, FollowsTheRunningFlag) {
    const ScratchFolder scratch;
    const QVFilesUtilities files;
    // Folders end with a slash.
    using Names = std::vector<std::string>;
    for (const auto& [names, isEmpty] :
         {std::pair(Names{"dot-file/.DS_Store"}, false),
          {Names{"subfolder/a/b/"}, true},
          {Names{"dot-file-beside-one/.DS_Store", "dot-file-beside-one/a/"}, true},
          {Names{"dot-file-inside/a/.DS_Store", "dot-file-inside/b/"}, false},
          {Names{"hidden-icon/.hidden", "hidden-icon/MyIcon"}, true},
          {Names{"hidden-other/.hidden", "hidden-other/other", "hidden-other/a/"}, false},
          {Names{"visible-icon/Icon", "visible-icon/a/"}, false},
          {Names{"deep/a/b/file", "deep/d/"}, false}}) {
        for (const std::string& name : names) {
            if (name.ends_with('/')) {
                test::makeFolder(scratch / name);
            } else {
                test::writeFile(scratch / name, "MyIcon\nother\n");
            }
        }
        const std::string folder = names[0].substr(0, names[0].find('/'));
        EXPECT_EQ(files.isAnEmptyFolder(urlOf(scratch / folder)), isEmpty) << folder;
    }
    test::makeFolder(scratch / "holder/closed");
    ASSERT_EQ(symlink("holder", (scratch / "link").c_str()), 0);
    EXPECT_FALSE(files.isAnEmptyFolder(urlOf(scratch / "link")));
    EXPECT_FALSE(files.isAnEmptyFolder(urlOf(scratch / "absent")));
    EXPECT_TRUE(files.isAnEmptyFolder(urlOf(scratch / "holder")));
    ASSERT_EQ(chmod((scratch / "holder/closed").c_str(), 0), 0);
    EXPECT_FALSE(files.isAnEmptyFolder(urlOf(scratch / "holder"))) << "nothing unreadable";
}

}  // namespace
}  // namespace kestrin
