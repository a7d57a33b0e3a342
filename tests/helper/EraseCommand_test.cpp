// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/EraseCommand.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "base/SanitizedBuild.h"
#include "platform/items/LockAttributes.h"
#include "platform/items/UniqueFd.h"
#include "support/FewDescriptors.h"
#include "support/SilentVolume.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::UnorderedElementsAre;

class RecordingProgress : public EraseProgress {
 public:
    void itemErased(std::string path, std::uint64_t size) override {
        const std::lock_guard lock(mutex);
        paths.push_back(std::move(path));
        total += size;
        if (onItem) onItem();
    }
    bool isHeard() const override { return true; }

    std::mutex mutex;
    std::vector<std::string> paths;
    std::uint64_t total = 0;
    std::function<void()> onItem;
};

/// A trash of the test user, and a command that runs as root.
class AnEraseCommand : public ::testing::Test {
 protected:
    void SetUp() override {
        KESTRIN_REQUIRE_ROOT();
        makeFolder(m_files);
        makeFolder(m_trash + "/info");
        writeFile(m_scratch / "outside/folder/file", "precious");
    }
    std::string trashed(const std::string& path, const std::string& content = "12345") {
        writeFile(m_files + "/" + path, content);
        writeFile(m_trash + "/info/" + path.substr(0, path.find('/')) + ".trashinfo");
        return m_files + "/" + path;
    }
    /// Runs it, and answers what is left.
    std::uint64_t run(const EraseItems& items, unsigned workers = 0) {
        std::optional<AsRoot> root;
        if (geteuid() != 0) root.emplace();
        UserTrashes trashes(kTestUser, m_scratch / "home", currentMounts());
        return runEraseCommand(trashes, items, m_progress, m_stop, workers).nonErasedCount;
    }
    static bool isLocked(const std::string& path) {
        return lockStateAt(AT_FDCWD, path.c_str()) == LockState::Locked;
    }
    static bool lock(const std::string& path, const char* attribute = "+i") {
        return runAsRoot("chattr " + std::string(attribute) + " '" + path + "'") == 0;
    }

    ScratchFolder m_scratch;
    std::string m_trash = m_scratch / "home/.local/share/Trash";
    std::string m_files = m_trash + "/files";
    RecordingProgress m_progress;
    std::atomic<bool> m_stop = false;
};

TEST_F(AnEraseCommand, RemovesLockedTreesWithTheirRecordsAndSizes) {
    const std::string file = trashed("file");
    const std::string inner = trashed("tree/folder/file");
    trashed("kept");
    writeFile(m_trash + "/directorysizes", "5 1 tree\n5 1 kept\n");
    ASSERT_EQ(chmod((m_trash + "/directorysizes").c_str(), 0640), 0);
    if (!lock(file) || !lock(inner, "+a")) GTEST_SKIP() << "no such attributes here";
    ASSERT_TRUE(lock(m_files + "/tree/folder") && lock(m_files + "/tree", "+ia"));
    const std::string outside = listing(m_scratch / "outside");
    EXPECT_EQ(run({.unlockItems = {file}, .permissionsItems = {m_files + "/tree", file}}), 0u);
    EXPECT_THAT(m_progress.paths,
                UnorderedElementsAre(file, inner, m_files + "/tree/folder", m_files + "/tree"));
    EXPECT_EQ(m_progress.total, 10u);
    EXPECT_TRUE(exists(m_trash + "/info/kept.trashinfo"));
    EXPECT_FALSE(exists(m_trash + "/info/tree.trashinfo") ||
                 exists(m_trash + "/info/file.trashinfo"));
    EXPECT_EQ(readFile(m_trash + "/directorysizes"), "5 1 kept\n");
    struct stat status;
    ASSERT_EQ(lstat((m_trash + "/directorysizes").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kTestUser);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(listing(m_scratch / "outside"), outside);
}

TEST_F(AnEraseCommand, LocksAgainWhatStays) {
    const std::string gone = trashed("tree/folder/gone");
    const std::string stays = trashed("tree/folder/stays");
    const std::string busy = trashed("busy/mount/file");
    if (!lock(gone) || !lock(stays)) GTEST_SKIP() << "no such attributes here";
    ASSERT_TRUE(lock(m_files + "/tree/folder") && lock(m_files + "/tree", "+a"));
    const bool hasMount =
        canMount() && runAsRoot("mount -t tmpfs none '" + m_files + "/busy/mount'") == 0;
    ASSERT_TRUE(lock(m_files + "/busy"));
    EXPECT_EQ(run({.unlockItems = {gone, m_files + "/busy"}}), hasMount ? 1u : 0u);
    EXPECT_FALSE(exists(gone));
    EXPECT_TRUE(exists(stays));
    for (const char* locked : {"/tree/folder/stays", "/tree/folder", "/tree"})
        EXPECT_TRUE(isLocked(m_files + locked)) << locked;
    EXPECT_EQ(isLocked(m_files + "/busy"), hasMount);
}

TEST_F(AnEraseCommand, RemovesALockedFolderOfWhichEntriesAreListedToo) {
    const std::string folder = m_files + "/folder", listed = trashed("folder/0");
    for (const bool isFolderFirst : {true, false}) {
        for (int file = 0; file < 9; ++file)
            writeFile(folder + "/" + std::to_string(file));
        if (!lock(folder)) GTEST_SKIP() << "no such attributes here";
        EraseItems items{.unlockItems = {folder}, .permissionsItems = {listed}};
        if (!isFolderFirst) std::swap(items.unlockItems, items.permissionsItems);
        // One of the two takes its time.
        m_progress.onItem = [&, isFirst = true]() mutable {
            const auto isOtherGone = [&] {
                return !exists(folder + "/8") || !exists(folder + "/7");
            };
            if (std::exchange(isFirst, false)) waitFor(isOtherGone, 300);
        };
        EXPECT_EQ(run(items, 2), 0u);
        ASSERT_FALSE(exists(folder)) << isFolderFirst;
    }
}

bool setLocked(int fd, bool isLocked) {
    int flags = 0;
    if (ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) return false;
    flags = isLocked ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    return ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
}

/// The user's own process takes the name in the trash away as soon as it can.
TEST_F(AnEraseCommand, NeverUnlocksTheOtherNamesOfAFile) {
    const std::string outside = m_scratch / "outside/folder/file";
    const std::string name = m_files + "/name";
    const AsRoot root;
    const UniqueFd file(open(outside.c_str(), O_RDONLY | O_CLOEXEC));
    if (!setLocked(file.get(), true)) GTEST_SKIP() << "no such attributes here";
    const std::jthread remover([&](const std::stop_token& stop) {
        while (!stop.stop_requested())
            unlink(name.c_str());
    });
    int tried = 0;
    for (int round = 0; round < 3000; ++round) {
        struct stat status;
        ASSERT_TRUE(setLocked(file.get(), false));
        link(outside.c_str(), name.c_str());
        ASSERT_TRUE(setLocked(file.get(), true) && fstat(file.get(), &status) == 0);
        if (status.st_nlink == 1) continue;  // the name went before the lock came
        ++tried;
        UserTrashes trashes(kTestUser, m_scratch / "home", currentMounts());
        runUnlockCommand(trashes, {name}, m_stop);
        runEraseCommand(trashes, {.unlockItems = {name}}, m_progress, m_stop, 1);
        ASSERT_TRUE(isLocked(outside)) << "in round " << round;
    }
    EXPECT_GT(tried, 0);
}

TEST_F(AnEraseCommand, UnlocksEntriesOnDemandAndErasesNothing) {
    const std::string file = trashed("file");
    const std::string inner = trashed("tree/inner");
    const std::string plain = trashed("plain");
    ASSERT_EQ(symlink((m_scratch / "outside").c_str(), (m_files + "/link").c_str()), 0);
    if (!lock(file) || !lock(inner)) GTEST_SKIP() << "no such attributes here";
    ASSERT_TRUE(lock(m_files + "/tree") && lock(m_scratch / "outside"));
    const AsRoot root;
    UserTrashes trashes(kTestUser, m_scratch / "home", currentMounts());
    EXPECT_EQ(runUnlockCommand(trashes,
                               {file, m_files + "/absent", m_files + "/tree", plain,
                                m_scratch / "outside", m_files + "/link", ""},
                               m_stop),
              (std::vector<bool>{true, false, true, true, false, true, false}));
    EXPECT_FALSE(isLocked(file) || isLocked(m_files + "/tree"));
    EXPECT_TRUE(isLocked(inner) && isLocked(m_scratch / "outside"));
    EXPECT_TRUE(exists(file) && exists(inner));
}

TEST_F(AnEraseCommand, RemovesFoldersOnlyWhenNothingButFoldersIsLeftInThem) {
    const std::string file = trashed("emptied/folder/file");
    makeFolder(m_files + "/emptied/other/empty");
    const std::string kept = trashed("full/folder/file");
    const std::string link = m_files + "/link";
    ASSERT_EQ(symlink((m_scratch / "outside").c_str(), link.c_str()), 0);
    const std::string outside = listing(m_scratch / "outside");
    EXPECT_EQ(run({.permissionsItems = {file, kept + "/below"},  // which is certainly not there
                   .notTrashedBecauseFolderNotEmpty = {{m_files + "/emptied", m_files + "/full",
                                                        m_files + "/emptied/folder", kept, link,
                                                        m_files, m_scratch / "outside"}}}),
              0u);
    EXPECT_THAT(
        m_progress.paths,
        UnorderedElementsAre(file, m_files + "/emptied/folder", m_files + "/emptied/other/empty",
                             m_files + "/emptied/other", m_files + "/emptied"));
    EXPECT_FALSE(exists(m_trash + "/info/emptied.trashinfo"));
    EXPECT_TRUE(exists(kept) && exists(link) && exists(m_trash + "/info/full.trashinfo"));
    EXPECT_EQ(listing(m_scratch / "outside"), outside);
}

TEST_F(AnEraseCommand, LeavesWhatHasTakenTheNameOfAnItem) {
    EraseItems items{.unlockItems = {trashed("file"), trashed("same")},
                     .permissionsItems = {m_files + "/folder"},
                     .notTrashedBecauseFolderNotEmpty = {{m_files + "/left"}}};
    for (const char* made : {"/folder", "/left"})
        makeFolder(m_files + made);
    for (const char* name : {"/file", "/same", "/folder", "/left"})
        items.identities.push_back(identityAt(AT_FDCWD, (m_files + name).c_str()));
    for (const char* name : {"/file", "/folder", "/left"})
        rename((m_files + name).c_str(), (m_scratch / "old" + std::string(name + 1)).c_str());
    writeFile(m_files + "/file");
    writeFile(m_files + "/folder/precious");
    makeFolder(m_files + "/left");
    EXPECT_EQ(run(*EraseItems::fromXml(items.toXml())), 0u) << "what was meant is not there";
    EXPECT_THAT(m_progress.paths, UnorderedElementsAre(m_files + "/same"));
    EXPECT_TRUE(exists(m_files + "/file") && exists(m_files + "/folder/precious") &&
                exists(m_files + "/left") && exists(m_trash + "/info/file.trashinfo"));
    items.identities.clear();
    EXPECT_EQ(run(items), 0u) << "a caller that tells no identities";
    for (const char* name : {"/file", "/folder", "/left"})
        EXPECT_FALSE(exists(m_files + name)) << name;
}

TEST_F(AnEraseCommand, AsksNothingOfAVolumeThatTheUserServes) {
    KESTRIN_REQUIRE_MOUNTS();
    const std::string entry = m_files + "/entry";
    const EraseItems items{
        .unlockItems = {entry, m_files + "/silent", m_files + "/silent/inside"},
        .permissionsItems = {m_files + "/tree", m_files + "/tree/silent"},
        .notTrashedBecauseFolderNotEmpty = {{m_files + "/left", m_files + "/left/silent"}}};
    for (const char* place : {"/files/silent", "/files/tree/silent", "/files/left/silent",
                              "/info/entry.trashinfo", "/directorysizes"}) {
        for (const char* folder : {"/silent", "/tree/silent", "/left/silent"})
            makeFolder(m_files + folder);
        trashed("entry");
        writeFile(m_trash + "/directorysizes", "5 1 entry\n5 1 silent\n");
        SilentVolume volume(m_trash + place);
        ASSERT_TRUE(volume.isMounted()) << place;
        EXPECT_TRUE(volume.doesNotHold([&] {
            const AsRoot root;
            UserTrashes trashes(kTestUser, m_scratch / "home", currentMounts());
            runUnlockCommand(trashes, items.unlockItems, m_stop);
            runEraseCommand(trashes, items, m_progress, m_stop);
        })) << place;
        EXPECT_FALSE(exists(entry));
    }
}

TEST_F(AnEraseCommand, EndsWithinMomentsOfStopWhateverTheList) {
    constexpr std::size_t kMany = 300'000;
    EraseItems absent, folders;
    folders.notTrashedBecauseFolderNotEmpty.emplace();
    std::string sizes;
    for (std::size_t number = 0; number < kMany; ++number) {
        const std::string name = "/x" + std::to_string(number);
        absent.unlockItems.push_back(m_files + name);
        folders.notTrashedBecauseFolderNotEmpty->push_back(m_files + name);
        sizes += "5 1 " + name.substr(1) + "\n";
    }
    // The processor's time is measured, so that what else the machine does is left out.
    std::atomic<std::clock_t> stopped = 0;
    const auto stop = [&] {
        stopped = std::clock();
        m_stop = true;
    };
    const auto endsSoon = [&](const std::function<void()>& work) {
        m_stop = false;
        {
            const std::jthread stopper([&] {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                stop();
            });
            work();
        }
        EXPECT_LT(std::clock() - stopped, CLOCKS_PER_SEC / 4 * (kIsSanitizedBuild ? 8 : 1));
    };
    endsSoon([&] { EXPECT_GT(run(absent), kMany / 2) << "counted without a look"; });
    endsSoon([&] { run(folders); });
    writeFile(m_trash + "/directorysizes", sizes);
    m_progress.onItem = stop;
    endsSoon([&] { run({.permissionsItems = {trashed("entry")}}); });
}

TEST_F(AnEraseCommand, NeedsFewDescriptors) {
    KESTRIN_REQUIRE_MOUNTS();
    std::string folder = "n";
    for (int depth = 0; depth < 40; ++depth)
        folder += "/n";
    EraseItems items{.permissionsItems = {trashed(folder + "/file"), trashed(folder + "/other")}};
    if (runAsRoot("chattr -R +i '" + m_files + "/n'") != 0) GTEST_SKIP() << "no such attributes";
    std::vector<std::unique_ptr<TestVolume>> volumes;
    for (int number = 0; number < 8; ++number) {
        const auto& volume = volumes.emplace_back(std::make_unique<TestVolume>(
            TestVolume::Kind::Tmpfs, m_scratch / ("disk" + std::to_string(number))));
        const std::string trash = volume->mountPoint() + "/.Trash-" + std::to_string(kTestUser);
        writeFile(trash + "/files/entry");
        writeFile(trash + "/directorysizes", "5 1 entry\n");
        items.permissionsItems.push_back(trash + "/files/entry");
    }
    {
        const FewDescriptors few;
        EXPECT_EQ(run(items), 0u);
    }
    for (const std::string& path : items.permissionsItems)
        EXPECT_FALSE(exists(path)) << path;
    for (const auto& volume : volumes)
        EXPECT_EQ(readFile(volume->mountPoint() + "/.Trash-" + std::to_string(kTestUser) +
                           "/directorysizes"),
                  "");
    EXPECT_TRUE(isLocked(m_files + "/n") && isLocked(m_files + "/" + folder));
}

TEST_F(AnEraseCommand, IsNotLedAstrayByALinkOnTheWay) {
    const std::string outside = m_scratch / "home/outside";
    const std::string folder = m_files + "/entry/folder";
    writeFile(outside + "/folder/file");
    makeFolder(folder + "/folder");
    // An absolute link would already be taken for one into another mount.
    ASSERT_EQ(symlink("../../../../../outside", (m_files + "/entry/link").c_str()), 0);
    ASSERT_TRUE(exists(m_files + "/entry/link/folder/file"));
    const std::string before = listing(outside);
    const AsRoot root;
    constexpr int kRounds = 10'000;
    int links = 0;
    {
        const std::jthread exchanger([&](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, (m_files + "/entry/link").c_str(),
                          RENAME_EXCHANGE);
                // Without a rest nobody else gets at the folder.
                std::this_thread::sleep_for(std::chrono::microseconds(10));
            }
        });
        for (int round = 0; round < kRounds; ++round) {
            run({.permissionsItems = {folder + "/folder/file"}}, 1);
            links += std::filesystem::is_symlink(folder);
        }
    }
    EXPECT_EQ(listing(outside), before);
    EXPECT_TRUE(links > 0 && links < kRounds);
}

}  // namespace
}  // namespace kestrin
