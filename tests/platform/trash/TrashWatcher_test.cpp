// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/trash/TrashWatcher.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;

constexpr std::chrono::milliseconds kInterval(200);

class TrashWatcherTest : public ::testing::Test {
 protected:
    static void pass(int milliseconds) {
        waitFor([] { return false; }, milliseconds);
    }
    /// As the program does: a change leads to another look at the same folders.
    void watch(const std::vector<std::string>& paths) {
        m_folders.clear();
        for (const std::string& path : paths)
            m_folders.push_back(FileUrl::fromPath(path));
        m_watcher.watch(m_folders);
    }
    /// Whether a change is told that `call` makes; waits until all has come to rest.
    bool isTold(const std::function<void()>& call) {
        m_told = 0;
        call();
        const bool told = waitFor([this] { return m_told > 0; }, 3000);
        pass(260);
        return told;
    }
    /// The same for a change that nobody wants to know of.
    bool isToldInVain(const std::string& newFile) {
        m_told = 0;
        writeFile(newFile);
        pass(150);
        return m_told > 0;
    }

    /// How many folders this process has the kernel watch.
    static int kernelWatches() {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
            std::ifstream lines(entry.path());
            for (std::string line; std::getline(lines, line);)
                count += line.starts_with("inotify wd:");
        }
        return count;
    }

    ScratchFolder m_scratch;
    const std::string m_trash = m_scratch / "share/Trash/files";
    int m_told = 0;
    std::vector<FileUrl> m_folders;
    TrashWatcher m_watcher{
        [this] {
            ++m_told;
            m_watcher.watch(m_folders);
        },
        [](std::function<void()> call) { std::thread(std::move(call)).detach(); }, kInterval};
};

TEST_F(TrashWatcherTest, ManyChangesAreToldOnceAnIntervalAndNothingIsToldOfNone) {
    makeFolder(m_trash);
    EXPECT_TRUE(isTold([this] { watch({m_trash}); })) << "something may have come before";
    EXPECT_EQ(m_told, 1);
    EXPECT_TRUE(isTold([this] {
        for (int i = 0; i < 500; ++i)
            writeFile(m_trash + "/" + std::to_string(i));
    }));
    EXPECT_LE(m_told, 2);
    EXPECT_TRUE(isTold([this] { std::filesystem::remove(m_trash + "/7"); }));
    EXPECT_FALSE(isToldInVain(m_scratch / "share/Trash/info/0.trashinfo"));
}

TEST_F(TrashWatcherTest, ATrashMayComeGoAndComeAgain) {
    makeFolder(m_scratch / "share");
    EXPECT_TRUE(isTold([this] { watch({m_trash}); }));
    EXPECT_FALSE(isToldInVain(m_scratch / "share/other")) << "not on the way to the trash";
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(isTold([this] { makeFolder(m_trash); }));
        EXPECT_EQ(kernelWatches(), 1) << "the way to it is watched no more";
        EXPECT_TRUE(isTold([this] { writeFile(m_trash + "/entry"); }));
        EXPECT_TRUE(isTold([this] { std::filesystem::remove_all(m_scratch / "share/Trash"); }));
    }
    makeFolder(m_trash);
    pass(300);
    EXPECT_TRUE(isTold([this] { std::filesystem::rename(m_trash, m_trash + "2"); }));
    EXPECT_EQ(kernelWatches(), 1) << "the folder above awaits it, and nobody follows the other";
    EXPECT_TRUE(isTold([this] { makeFolder(m_trash); }));
}

TEST_F(TrashWatcherTest, OnlyWhatWasAskedForLastIsWatched) {
    const std::string other = m_scratch / "other";
    makeFolder(m_trash);
    makeFolder(other);
    EXPECT_TRUE(isTold([&] { watch({m_trash, other}); }));
    EXPECT_EQ(kernelWatches(), 2);
    watch({other});
    EXPECT_EQ(kernelWatches(), 1) << "the kernel has few of them to give";
    EXPECT_FALSE(isToldInVain(m_trash + "/entry"));
    EXPECT_TRUE(isTold([&] { writeFile(other + "/entry"); }));

    // Two ways to one folder share a watch, which stays with the one that is left.
    std::filesystem::create_symlink(".", m_scratch / "again");
    const std::string again = m_scratch / "again/other";
    EXPECT_TRUE(isTold([&] { watch({other, again}); }));
    watch({again});
    EXPECT_EQ(kernelWatches(), 1);
    EXPECT_TRUE(isTold([&] { writeFile(other + "/entry2"); }));
}

TEST_F(TrashWatcherTest, AVolumeThatHangsHoldsUpNobody) {
    std::vector<std::function<void()>> hanging;
    const std::vector folders{FileUrl::fromPath(m_scratch.path())};
    int told = 0;
    {
        TrashWatcher watcher([&] { ++told; },
                             [&](auto call) { hanging.push_back(std::move(call)); }, kInterval);
        for (int again = 0; again < 3; ++again)
            watcher.watch(folders);
        ASSERT_EQ(hanging.size(), 1u) << "asked once, however often it is wanted";
        watcher.watch({});
        hanging[0]();
        pass(200);
        EXPECT_EQ(told, 0) << "answered when nobody wants to know";
        EXPECT_EQ(kernelWatches(), 0);
        watcher.watch(folders);
    }
    ASSERT_EQ(hanging.size(), 2u);
    hanging[1]();
    pass(200);
    EXPECT_EQ(told, 0);
}

}  // namespace
}  // namespace kestrin
