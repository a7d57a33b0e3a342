// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/trash/TrashFolders.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using namespace std::chrono_literals;

class AnOpenTrash : public ::testing::Test {
 protected:
    AnOpenTrash() {
        makeFolder(m_trash + "/files");
        makeFolder(m_trash + "/info");
    }
    OpenTrash opened() const {
        return std::move(*OpenTrash::open(FileUrl::fromPath(m_trash + "/files")));
    }
    std::string record(const std::string& name) const {
        return m_trash + "/info/" + name + ".trashinfo";
    }
    void writeRecord(const std::string& name, int secondsAgo = 0) const {
        writeFile(record(name), "[Trash Info]\nPath=/old\n");
        const timespec then{time(nullptr) - secondsAgo, 0}, times[] = {then, then};
        ASSERT_EQ(utimensat(AT_FDCWD, record(name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }

    ScratchFolder m_scratch;
    const std::string m_trash = m_scratch / "share/Trash", m_sizes = m_trash + "/directorysizes";
};

TEST_F(AnOpenTrash, IsReachedThroughNoLinkFromTheTrashFolderDown) {
    makeFolder(m_scratch / "share/12/files");
    makeFolder(m_scratch / "top/Trash");
    for (const auto& [target, name] : {std::pair("share", "way"),
                                       {"share/Trash", "Trash"},
                                       {"../../share/Trash/files", "top/Trash/files"},
                                       {"share", ".Trash"}}) {
        ASSERT_EQ(symlink(target, (m_scratch / name).c_str()), 0);
    }
    const auto open = [&](const char* path) {
        return OpenTrash::open(FileUrl::fromPath(m_scratch / path));
    };
    EXPECT_TRUE(open("way/Trash/files")) << "links above are the user's business";
    for (const char* bad : {"Trash/files", "top/Trash/files", ".Trash/12/files"}) {
        EXPECT_THAT(open(bad).error().systemError, ::testing::AnyOf(ELOOP, ENOTDIR)) << bad;
    }
    EXPECT_EQ(open("none/files").error().systemError, ENOENT);
    EXPECT_FALSE(OpenTrash::open(FileUrl::fromPath("files")));
}

TEST_F(AnOpenTrash, StaysTheSameFolderWhateverHappensToItsPath) {
    writeRecord("a");
    OpenTrash trash = opened();
    ASSERT_EQ(rename(m_trash.c_str(), (m_scratch / "moved").c_str()), 0);
    writeFile(record("a"), "[Trash Info]\nPath=/foreign\n");
    EXPECT_EQ(trash.recordOf("a", {})->originalPath, "/old");
    EXPECT_FALSE(trash.removeRecord("a"));
    EXPECT_TRUE(exists(record("a")));
    EXPECT_FALSE(exists(m_scratch / "moved/info/a.trashinfo"));
}

TEST_F(AnOpenTrash, ReadsPlainSmallRecordsAndRemovesARecordAndNothingElse) {
    writeRecord("plain");
    writeRecord("big");
    writeFile(record("big"), readFile(record("big")) + std::string(65536, '#'));
    ASSERT_EQ(symlink(record("plain").c_str(), record("link").c_str()), 0);
    ASSERT_EQ(mkfifo(record("fifo").c_str(), 0600), 0);
    writeFile(m_trash + "/x.trashinfo", "[Trash Info]\n");
    OpenTrash trash = opened();
    EXPECT_TRUE(trash.recordOf("plain", {}));
    for (const std::string& bad : {std::string("link"), std::string("fifo"), std::string("big"),
                                   std::string("../x"), std::string(), std::string(255, 'n')}) {
        EXPECT_FALSE(trash.recordOf(bad, {})) << bad;
        EXPECT_FALSE(trash.removeRecord(bad)) << bad << ", an absent one is no failure";
    }
    EXPECT_EQ(exists(record("link")), false);
    EXPECT_TRUE(exists(record("plain")));
    EXPECT_TRUE(exists(m_trash + "/x.trashinfo"));
    ASSERT_EQ(chmod((m_trash + "/info").c_str(), 0500), 0);
    EXPECT_EQ(trash.removeRecord("plain")->code, kFileWriteNoPermission);
}

TEST_F(AnOpenTrash, RemovesOldRecordsWithoutData) {
    writeFile(m_trash + "/files/kept");
    ASSERT_EQ(symlink("nowhere", (m_trash + "/files/dangling").c_str()), 0);
    for (const char* name : {"kept", "dangling", "old", "\xff\n", ""})
        writeRecord(name, 1000);
    writeRecord("young", 10);
    writeRecord("future", -1000);
    ASSERT_EQ(rename(record("").c_str(), (m_trash + "/info/notes.txt").c_str()), 0);
    writeRecord("", 1000);
    EXPECT_EQ(opened().removeOrphanRecords(60s), 2u);
    EXPECT_FALSE(exists(record("old")));
    EXPECT_FALSE(exists(record("\xff\n")));
}

TEST_F(AnOpenTrash, TidiesSizesOfEntriesThatWent) {
    makeFolder(m_trash + "/files/a b");
    writeFile(
        m_sizes,
        "10 1 a%20b\n20 2 gone\nnot a line\n30 3 bad%zz\n40 4 ../gone\n50 5 gone%0A\n6 6 gone");
    opened().tidyDirectorySizes();
    EXPECT_EQ(readFile(m_sizes), "10 1 a%20b\nnot a line\n30 3 bad%zz\n40 4 ../gone\n");
    const std::string before = listing(m_trash);
    EXPECT_EQ(before.find("kestrin-"), std::string::npos) << "nothing stays beside it";
    opened().tidyDirectorySizes();
    EXPECT_EQ(listing(m_trash), before);
    writeFile(m_sizes, "20 2 gone\n");
    ASSERT_EQ(chmod(m_trash.c_str(), 0500), 0);
    opened().tidyDirectorySizes();
    EXPECT_EQ(readFile(m_sizes), "20 2 gone\n") << "it cannot be replaced";
}

TEST_F(AnOpenTrash, OfAnotherUserHasNothingOfStrangersAndKeepsItsOwner) {
    KESTRIN_REQUIRE_ROOT();
    writeFile(m_sizes, "20 2 gone\n");
    const AsRoot root;
    const auto openedByRoot = [&] {
        return OpenTrash::ofUser(UniqueFd(::open(m_trash.c_str(), O_PATH | O_DIRECTORY)),
                                 kTestUser);
    };
    // What root could read of a stranger's file must not become the user's.
    ASSERT_EQ(chown(m_sizes.c_str(), 0, 0), 0);
    const std::string before = listing(m_trash);
    openedByRoot()->tidyDirectorySizes();
    EXPECT_EQ(listing(m_trash), before);
    ASSERT_EQ(chown(m_sizes.c_str(), kTestUser, 0), 0);
    openedByRoot()->tidyDirectorySizes();
    struct stat status;
    ASSERT_EQ(lstat(m_sizes.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kTestUser);
    EXPECT_EQ(status.st_size, 0);
    for (const std::string& folder : {m_trash, m_trash + "/files"}) {
        ASSERT_EQ(chown(folder.c_str(), 0, 0), 0);
        EXPECT_EQ(openedByRoot().error().systemError, EPERM) << folder;
        ASSERT_EQ(chown(folder.c_str(), kTestUser, 0), 0);
    }
}

}  // namespace
}  // namespace kestrin
