// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QStringList>
#include <algorithm>
#include <chrono>

#include "base/SystemLog.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/Places.h"
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
        m_before = qInstallMessageHandler(keep);
    }
    ~LogCapture() { qInstallMessageHandler(m_before); }
    static QStringList lines() { return s_lines; }

 private:
    static void keep(QtMsgType, const QMessageLogContext&, const QString& line) {
        s_lines.append(line);
    }
    static inline QStringList s_lines;
    QtMessageHandler m_before;
};

std::vector<TrashLocation> locationsOn(QVFilesUtilities& files, const std::string& volume) {
    auto locations = files.trashesAndVolumesLocations();
    std::erase_if(locations, [&](const auto& location) { return location.volumePath != volume; });
    return locations;
}

std::string trashOf(const std::string& volume) {
    return volume + "/.Trash-" + std::to_string(geteuid());
}

TEST(VolumeRecord, OfAFolderHasNoVolumeValues) {
    const ScratchFolder scratch;
    test::makeFolder(scratch / "caf\xE9");
    const auto record = QVFilesUtilities().directoryInfoForURL(urlOf(scratch / "caf\xE9"));
    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(record->name, QStringLiteral("caf\uFFFD"));
    EXPECT_EQ(record->path, scratch / "caf\xE9");
    EXPECT_EQ(record->url, urlOf(scratch / "caf\xE9"));
    EXPECT_EQ(record->isPhotosLib, std::optional<bool>(false));
    EXPECT_FALSE(record->isDisk || record->isLocked || record->totSize || record->freeSize);
}

TEST(VolumeRecord, FollowsLinksAndRefusesPackagesAndNothing) {
    const ScratchFolder scratch;
    const QVFilesUtilities files;
    test::makeFolder(scratch / "target");
    test::makeFolder(scratch / "Pictures.photoslibrary");
    test::makeFolder(scratch / "Program.app");
    ASSERT_EQ(symlink((scratch / "target").c_str(), (scratch / "absolute").c_str()), 0);
    ASSERT_EQ(symlink("target", (scratch / "relative").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (scratch / "dangling").c_str()), 0);

    for (const char* link : {"absolute", "relative"}) {
        const auto record = files.directoryInfoForURL(urlOf(scratch / link));
        ASSERT_TRUE(record.has_value()) << link;
        EXPECT_EQ(record->path, scratch / link);
        EXPECT_EQ(record->url, urlOf(scratch / "target"));
    }
    EXPECT_TRUE(files.directoryInfoForURL(urlOf(scratch / "Pictures.photoslibrary")));
    EXPECT_FALSE(files.directoryInfoForURL(urlOf(scratch / "Program.app")));
    EXPECT_FALSE(files.directoryInfoForURL(urlOf(scratch / "dangling")));
    EXPECT_FALSE(files.directoryInfoForURL(FileUrl()));
    EXPECT_FALSE(files.directoryInfoForURL(FileUrl::withoutScheme(scratch / "target")));
}

TEST(VolumeRecord, OfAVolumeHasItsValues) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Ext4, scratch / "point", "My Disk");
    ASSERT_TRUE(volume.isMounted());
    const QVFilesUtilities files;
    const auto record = files.directoryInfoForURL(urlOf(volume.mountPoint()));
    ASSERT_TRUE(record.has_value());
    EXPECT_TRUE(record->isDisk);
    EXPECT_EQ(record->name, QStringLiteral("My Disk"));
    EXPECT_EQ(record->isLocked, std::optional<bool>(false));
    EXPECT_GT(record->totSize.value_or(0), 1000000U);
    EXPECT_LT(record->freeSize.value_or(0), record->totSize.value_or(0));
    EXPECT_FALSE(record->isPhotosLib.has_value());

    // In the order asked for, without what is no place.
    const auto records = files.volumesLocationArray(
        {{urlOf(scratch.path()), urlOf("/nonexistent"), urlOf(volume.mountPoint()), urlOf("/")}});
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].path, scratch.path());
    EXPECT_EQ(records[1].path, volume.mountPoint());
    EXPECT_EQ(records[2].name, DefaultVolumeName());
}

TEST(TrashList, TellsOfATrashThatDoesNotExistYetAndMakesNone) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Ext4, scratch / "point");
    ASSERT_TRUE(volume.isMounted());
    const std::string& root = volume.mountPoint();
    QVFilesUtilities files;
    const std::string before = test::listing(root);

    auto locations = locationsOn(files, root);
    ASSERT_EQ(locations.size(), 1U);
    EXPECT_EQ(locations[0].trashURL, urlOf(trashOf(root) + "/files"));
    EXPECT_EQ(locations[0].volumeURL, urlOf(root));
    EXPECT_EQ(locations[0].volumeName, QStringLiteral("TestDisk"));
    EXPECT_TRUE(locations[0].trashIsEmpty);
    EXPECT_EQ(files.trashURLForItemURL(urlOf(root)), locations[0].trashURL);
    EXPECT_EQ(test::listing(root), before);

    test::writeFile(trashOf(root) + "/files/entry");
    EXPECT_FALSE(locationsOn(files, root).at(0).trashIsEmpty);
    EXPECT_TRUE(files.itemURLIsInTheTrash(urlOf(trashOf(root) + "/files/entry")));
    EXPECT_FALSE(files.itemURLIsInTheTrash(urlOf(trashOf(root))));
}

TEST(TrashList, GivesBothTrashesOfAVolume) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Ext4, scratch / "point");
    ASSERT_TRUE(volume.isMounted());
    const std::string& root = volume.mountPoint();
    const std::string shared = root + "/.Trash/" + std::to_string(geteuid()) + "/files";
    test::writeFile(shared + "/entry");
    test::makeFolder(trashOf(root) + "/files");
    ASSERT_EQ(chmod((root + "/.Trash").c_str(), 01777), 0);

    QVFilesUtilities files;
    const auto locations = locationsOn(files, root);
    ASSERT_EQ(locations.size(), 2U);
    EXPECT_EQ(locations[0].trashURL, urlOf(shared));
    EXPECT_FALSE(locations[0].trashIsEmpty);
    EXPECT_EQ(locations[1].trashURL, urlOf(trashOf(root) + "/files"));
    EXPECT_TRUE(locations[1].trashIsEmpty);
}

TEST(TrashList, LeavesReadOnlyVolumesOutSilentlyAndOnlyForNow) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Ext4, scratch / "point");
    ASSERT_TRUE(volume.isMounted());
    QVFilesUtilities files;
    const LogCapture log;
    ASSERT_EQ(test::runAsRoot("mount -o remount,ro " + volume.mountPoint()), 0);
    EXPECT_THAT(locationsOn(files, volume.mountPoint()), IsEmpty());
    EXPECT_FALSE(files.trashURLForItemURL(urlOf(volume.mountPoint())).has_value());
    EXPECT_TRUE(log.lines().filter(QString::fromStdString(scratch.path())).isEmpty());
    ASSERT_EQ(test::runAsRoot("mount -o remount,rw " + volume.mountPoint()), 0);
    EXPECT_EQ(locationsOn(files, volume.mountPoint()).size(), 1U);
}

TEST(TrashList, AsksAVolumeThatFailedNeverAgain) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Ext4, scratch / "point");
    ASSERT_TRUE(volume.isMounted());
    ASSERT_EQ(test::runAsRoot("chown root:root " + volume.mountPoint()), 0);
    QVFilesUtilities files;
    {
        const LogCapture log;
        EXPECT_THAT(locationsOn(files, volume.mountPoint()), IsEmpty());
        EXPECT_THAT(locationsOn(files, volume.mountPoint()), IsEmpty());
        // The volume of "/" may refuse as well; it too is told of once.
        const QStringList lines = log.lines().filter(QStringLiteral("NSTrashDirectory error: "));
        EXPECT_GE(lines.size(), 1);
        EXPECT_LE(lines.size(), 2);
        EXPECT_THAT(files.trashFailures(), IsEmpty()) << "no trash may be made there: no fault";
    }
    ASSERT_EQ(test::runAsRoot("chmod 777 " + volume.mountPoint()), 0);
    EXPECT_THAT(locationsOn(files, volume.mountPoint()), IsEmpty());
    QVFilesUtilities restarted;
    EXPECT_EQ(locationsOn(restarted, volume.mountPoint()).size(), 1U);
}

TEST(TrashList, NamesATrashThatIsThereAndCannotBeUsed) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Ext4, scratch / "point");
    ASSERT_TRUE(volume.isMounted());
    const std::string trash = volume.mountPoint() + "/.Trash-" + std::to_string(geteuid());
    ASSERT_EQ(symlink("/tmp", trash.c_str()), 0);
    QVFilesUtilities files;
    EXPECT_THAT(locationsOn(files, volume.mountPoint()), IsEmpty());
    ASSERT_EQ(files.trashFailures().size(), 1U);
    EXPECT_EQ(files.trashFailures()[0].volume.path(), volume.mountPoint());
}

TEST(TrashList, GoesOnWithoutAVolumeThatHangs) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume healthy(TestVolume::Kind::Ext4, scratch / "healthy");
    const std::string image = scratch / "fat";
    const std::string point = scratch / "hanging";
    test::makeFolder(point);
    const std::string pidFile = scratch / "pid";
    const int status = test::runAsRoot(
        "truncate -s 4M " + image + " && mkfs.vfat " + image + " >/dev/null && " +
        "(fusefat -f -o rw+,allow_other " + image + " " + point + " >/dev/null 2>&1 & echo $! >" +
        pidFile + "); for i in 1 2 3 4 5 6 7 8 9 10; do sleep 0.1; grep -q " + point +
        " /proc/self/mountinfo && exit 0; done; exit 1");
    if (status != 0) GTEST_SKIP() << "needs FUSE";
    // Let go on by a process of its own: with a thread that hangs, this one cannot become root.
    const std::string pid = std::to_string(std::stoi(test::readFile(pidFile)));
    ASSERT_EQ(test::runAsRoot("kill -STOP " + pid + "; (sleep 4; kill -CONT " + pid +
                              ") >/dev/null 2>&1 &"),
              0);
    QVFilesUtilities files;
    const auto start = std::chrono::steady_clock::now();
    const auto locations = files.trashesAndVolumesLocations();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(3500));
    const auto isListed = [&](const std::string& volume) {
        return std::any_of(locations.begin(), locations.end(),
                           [&](const auto& location) { return location.volumePath == volume; });
    };
    EXPECT_TRUE(isListed(healthy.mountPoint()));
    EXPECT_FALSE(isListed(point));

    // It did not fail, and so it is asked again.
    EXPECT_TRUE(test::waitFor([&] { return !locationsOn(files, point).empty(); }));
    test::runAsRoot("umount " + point);
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

struct FolderCase {
    const char* name;
    std::vector<const char*> files;
    std::vector<const char*> folders;
    bool isEmpty;
};

class EmptyFolder : public ::testing::TestWithParam<FolderCase> {};

TEST_P(EmptyFolder, FollowsTheRunningFlag) {
    const ScratchFolder scratch;
    const std::string folder = scratch / "folder";
    test::makeFolder(folder);
    for (const char* path : GetParam().folders)
        test::makeFolder(folder + "/" + path);
    for (const char* path : GetParam().files) {
        const bool isList = std::string_view(path).ends_with(".hidden");
        test::writeFile(folder + "/" + path, isList ? "MyIcon\nother\n" : "x");
    }
    EXPECT_EQ(QVFilesUtilities().isAnEmptyFolder(urlOf(folder)), GetParam().isEmpty);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, EmptyFolder,
    ::testing::Values(FolderCase{"Bare", {}, {}, true},
                      FolderCase{"DotFileOnly", {".DS_Store"}, {}, false},
                      FolderCase{"EmptySubfolder", {}, {"a/b"}, true},
                      FolderCase{"DotFileBesideSubfolder", {".DS_Store"}, {"a", "z"}, true},
                      FolderCase{"DotFileInSubfolder", {"a/.DS_Store"}, {"b"}, false},
                      FolderCase{"HiddenIcon", {".hidden", "MyIcon"}, {}, true},
                      FolderCase{"HiddenOther", {".hidden", "other"}, {"a"}, false},
                      FolderCase{"VisibleIcon", {"Icon"}, {"a"}, false},
                      FolderCase{"FileDeepDown", {"a/b/c/file"}, {"d"}, false}),
    [](const auto& parameter) { return std::string(parameter.param.name); });

TEST(EmptyFolder, IsNoLinkAndNothingUnreadable) {
    const ScratchFolder scratch;
    const QVFilesUtilities files;
    test::makeFolder(scratch / "bare");
    test::makeFolder(scratch / "holder/closed");
    ASSERT_EQ(symlink((scratch / "bare").c_str(), (scratch / "link").c_str()), 0);
    EXPECT_FALSE(files.isAnEmptyFolder(urlOf(scratch / "link")));
    EXPECT_FALSE(files.isAnEmptyFolder(urlOf(scratch / "absent")));
    EXPECT_TRUE(files.isAnEmptyFolder(urlOf(scratch / "holder")));
    ASSERT_EQ(chmod((scratch / "holder/closed").c_str(), 0), 0);
    EXPECT_EQ(files.isAnEmptyFolder(urlOf(scratch / "holder")), geteuid() == 0);
}

TEST(ItemInTheTrash, IsToldByThePathInAnyCase) {
    const ScratchFolder scratch;
    const QVFilesUtilities files;
    const std::string trash = dataHomeFolder() + "/Trash/files";
    std::string shouted = trash;
    std::ranges::transform(shouted, shouted.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    test::writeFile(scratch / (shouted.substr(1) + "/entry"));
    test::writeFile(scratch / "Trash/files/entry");
    EXPECT_EQ(files.startupTrashURL().has_value(),
              files.trashURLForItemURL(urlOf("/")).has_value());
    EXPECT_TRUE(files.itemURLIsInTheTrash(urlOf(scratch / (shouted.substr(1) + "/entry"))));
    EXPECT_FALSE(files.itemURLIsInTheTrash(urlOf(scratch / "Trash/files/entry")));
    EXPECT_FALSE(files.itemURLIsInTheTrash(FileUrl()));
}

TEST(VolumeOfPath, IsFoundByCuttingComponents) {
    const ScratchFolder scratch;
    const QVFilesUtilities files;
    const std::string startup = "/Volumes/" + DefaultVolumeName().toStdString();
    EXPECT_EQ(files.volumeURLOfPath("/etc/passwd"), urlOf(startup));
    EXPECT_EQ(files.volumeURLOfPath("/"), urlOf(startup));
    EXPECT_EQ(files.volumeURLOfPath("/Volumes/Unmounted/a/b"), urlOf("/Volumes"));
    EXPECT_TRUE(files.volumeURLOfPath("").isEmpty());
    EXPECT_TRUE(files.volumeOfPathIsMounted(startup + "/etc"));
    EXPECT_FALSE(files.volumeOfPathIsMounted("/Volumes/Unmounted/a"));
    EXPECT_FALSE(files.volumeOfPathIsMounted("/etc")) << "not in absolute form";
    EXPECT_TRUE(files.urlIsStartupDisk(urlOf("/")));
    EXPECT_TRUE(files.urlIsStartupDisk(urlOf(startup + "/etc")));
    EXPECT_FALSE(files.urlIsStartupDisk(urlOf("/etc")));
    EXPECT_FALSE(files.urlIsStartupDisk(urlOf("/mnt" + startup)));
}

TEST(NewMountedDisk, IsTheFirstOfItsPath) {
    const QVFilesUtilities files;
    const std::vector<TrashLocation> list{
        {{}, {}, {}, "/a"}, {{}, {}, {}, "/b"}, {{}, {}, {}, "/b"}};
    EXPECT_EQ(files.indexOfNewMountedDiskInArray(list, "/b"), 1U);
    EXPECT_EQ(files.indexOfNewMountedDiskInArray(list, "/c"), QVFilesUtilities::kNotFound);
}

}  // namespace
}  // namespace kestrin
