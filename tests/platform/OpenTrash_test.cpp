// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "platform/TrashFolders.h"
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
        auto trash = OpenTrash::open(FileUrl::fromPath(m_trash + "/files"));
        if (!trash) throw std::runtime_error(trash.error().localizedDescription());
        return std::move(*trash);
    }
    std::string record(const std::string& name) const {
        return m_trash + "/info/" + name + ".trashinfo";
    }
    void age(const std::string& path, int seconds) const {
        const timespec then{time(nullptr) - seconds, 0};
        const timespec times[] = {then, then};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }

    ScratchFolder m_scratch;
    std::string m_trash = m_scratch / "share/Trash";
};

TEST(OpenTrash, RefusesALinkFromTheTrashFolderDown) {
    const ScratchFolder scratch;
    makeFolder(scratch / "real/Trash/files");
    makeFolder(scratch / "real/12/files");
    makeFolder(scratch / "top/Trash");
    const auto link = [&](const char* target, const char* name) {
        return symlink(target, (scratch / name).c_str());
    };
    ASSERT_EQ(link("real", "way"), 0);
    ASSERT_EQ(link("real/Trash", "Trash"), 0);
    ASSERT_EQ(link("../../real/Trash/files", "top/Trash/files"), 0);
    ASSERT_EQ(link("real", ".Trash"), 0);
    const auto open = [&](const char* path) {
        return OpenTrash::open(FileUrl::fromPath(scratch / path));
    };
    EXPECT_TRUE(open("real/Trash/files"));
    EXPECT_TRUE(open("way/Trash/files")) << "links above are the user's business";
    for (const char* bad : {"Trash/files", "top/Trash/files", ".Trash/12/files"}) {
        EXPECT_THAT(open(bad).error().systemError, ::testing::AnyOf(ELOOP, ENOTDIR)) << bad;
    }
    EXPECT_EQ(open("none/files").error().systemError, ENOENT);
    EXPECT_FALSE(OpenTrash::open(FileUrl::fromPath("files")));
}

TEST_F(AnOpenTrash, StaysTheSameFolderWhateverHappensToItsPath) {
    writeFile(record("a"), "[Trash Info]\nPath=/old/a\n");
    OpenTrash trash = opened();
    ASSERT_EQ(rename(m_trash.c_str(), (m_scratch / "moved").c_str()), 0);
    writeFile(record("a"), "[Trash Info]\nPath=/foreign\n");
    EXPECT_EQ(trash.recordOf("a", {})->originalPath, "/old/a");
    EXPECT_FALSE(trash.removeRecord("a"));
    EXPECT_TRUE(exists(record("a")));
    EXPECT_FALSE(exists(m_scratch / "moved/info/a.trashinfo"));
}

TEST_F(AnOpenTrash, ReadsOnlyPlainSmallRecords) {
    const std::string text = "[Trash Info]\nPath=/p\n";
    writeFile(m_scratch / "record", text);
    ASSERT_EQ(symlink((m_scratch / "record").c_str(), record("link").c_str()), 0);
    ASSERT_EQ(mkfifo(record("fifo").c_str(), 0600), 0);
    makeFolder(record("folder"));
    writeFile(record("big"), text + std::string(65536, '#'));
    writeFile(record("plain"), text);
    const OpenTrash trash = opened();
    EXPECT_TRUE(trash.recordOf("plain", {}));
    for (const std::string& bad : {std::string("link"), std::string("fifo"), std::string("folder"),
                                   std::string("big"), std::string("none"), std::string(),
                                   std::string("../info/plain"), std::string(255, 'n')}) {
        EXPECT_FALSE(trash.recordOf(bad, {})) << bad;
    }
}

TEST_F(AnOpenTrash, RemovesARecordAndNothingElse) {
    writeFile(record("a"));
    writeFile(record("b"));
    writeFile(m_trash + "/x.trashinfo");
    writeFile(m_scratch / "kept");
    ASSERT_EQ(symlink((m_scratch / "kept").c_str(), record("link").c_str()), 0);
    OpenTrash trash = opened();
    for (const std::string& name : {std::string("a"), std::string("a"), std::string("link"),
                                    std::string("../x"), std::string(), std::string(255, 'n')}) {
        EXPECT_FALSE(trash.removeRecord(name)) << name;
    }
    EXPECT_FALSE(exists(record("a")));
    EXPECT_FALSE(exists(record("link")));
    for (const std::string& kept : {record("b"), m_trash + "/x.trashinfo", m_scratch / "kept"}) {
        EXPECT_TRUE(exists(kept)) << kept;
    }
    ASSERT_EQ(chmod((m_trash + "/info").c_str(), 0500), 0);
    EXPECT_EQ(trash.removeRecord("b")->code, kFileWriteNoPermission);
}

TEST_F(AnOpenTrash, LeavesRecordsBehindALinkAlone) {
    ASSERT_EQ(rename((m_trash + "/info").c_str(), (m_scratch / "info").c_str()), 0);
    ASSERT_EQ(symlink("../../info", (m_trash + "/info").c_str()), 0);
    writeFile(m_scratch / "info/a.trashinfo", "[Trash Info]\nPath=/p\n");
    age(m_scratch / "info/a.trashinfo", 1000);
    OpenTrash trash = opened();
    EXPECT_FALSE(trash.recordOf("a", {}));
    EXPECT_FALSE(trash.removeRecord("a"));
    EXPECT_EQ(trash.removeOrphanRecords(60s), 0u);
    EXPECT_TRUE(exists(m_scratch / "info/a.trashinfo"));
}

TEST_F(AnOpenTrash, TidiesSizesOfEntriesThatWent) {
    const std::string sizes = m_trash + "/directorysizes";
    makeFolder(m_trash + "/files/a b");
    writeFile(
        sizes,
        "10 1 a%20b\n20 2 gone\nnot a line\n30 3 bad%zz\n40 4 ../gone\n50 5 gone%0A\n60 6 gone");
    opened().tidyDirectorySizes();
    EXPECT_EQ(readFile(sizes), "10 1 a%20b\nnot a line\n30 3 bad%zz\n40 4 ../gone\n");
    EXPECT_EQ(listing(m_trash).find("kestrin-"), std::string::npos) << "nothing stays beside it";
    const std::string before = listing(m_trash);
    opened().tidyDirectorySizes();
    EXPECT_EQ(listing(m_trash), before);
}

TEST_F(AnOpenTrash, LeavesSizesAloneThatItCannotReplace) {
    const std::string sizes = m_trash + "/directorysizes";
    writeFile(m_scratch / "sizes", "20 2 gone\n");
    ASSERT_EQ(symlink((m_scratch / "sizes").c_str(), sizes.c_str()), 0);
    opened().tidyDirectorySizes();
    EXPECT_EQ(readFile(m_scratch / "sizes"), "20 2 gone\n");
    unlink(sizes.c_str());
    writeFile(sizes, "20 2 gone\n");
    ASSERT_EQ(chmod(m_trash.c_str(), 0500), 0);
    opened().tidyDirectorySizes();
    EXPECT_EQ(readFile(sizes), "20 2 gone\n");
}

TEST_F(AnOpenTrash, KeepsTheOwnerOfSizesThatRootTidies) {
    KESTRIN_REQUIRE_ROOT();
    writeFile(m_trash + "/directorysizes", "20 2 gone\n");
    {
        const AsRoot root;
        opened().tidyDirectorySizes();
    }
    struct stat status;
    ASSERT_EQ(lstat((m_trash + "/directorysizes").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kTestUser);
    EXPECT_EQ(status.st_size, 0);
}

TEST_F(AnOpenTrash, OfAnotherUserHasNothingOfStrangers) {
    KESTRIN_REQUIRE_ROOT();
    const std::string sizes = m_trash + "/directorysizes";
    writeFile(sizes, "20 2 gone\n");
    const auto openedByRoot = [&] {
        const UniqueFd trash(::open(m_trash.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        return OpenTrash::ofUser(UniqueFd(dup(trash.get())), kTestUser);
    };
    const auto own = [&](const std::string& path, const char* owner) {
        ASSERT_EQ(runAsRoot("chown " + std::string(owner) + " '" + path + "'"), 0);
    };
    const std::string user = std::to_string(kTestUser);
    const AsRoot root;
    own(sizes, "0:0");  // what root could read of it must not become the user's
    const std::string before = listing(m_trash);
    openedByRoot()->tidyDirectorySizes();
    EXPECT_EQ(listing(m_trash), before);
    own(sizes, user.c_str());
    openedByRoot()->tidyDirectorySizes();
    EXPECT_EQ(readFile(sizes), "");
    for (const std::string& folder : {m_trash, m_trash + "/files"}) {
        own(folder, "0:0");
        EXPECT_EQ(openedByRoot().error().systemError, EPERM) << folder;
        own(folder, user.c_str());
    }
}

TEST_F(AnOpenTrash, RemovesOldRecordsWithoutData) {
    writeFile(m_trash + "/files/kept");
    ASSERT_EQ(symlink("nowhere", (m_trash + "/files/dangling").c_str()), 0);
    for (const char* name : {"kept", "dangling", "old", "\xff\n", "young", "future", ".", ""}) {
        writeFile(record(name));
        age(record(name), 1000);
    }
    writeFile(m_trash + "/info/notes.txt");
    age(m_trash + "/info/notes.txt", 1000);
    makeFolder(record("folder"));
    age(record("folder"), 1000);
    age(record("young"), 10);
    age(record("future"), -1000);
    EXPECT_EQ(opened().removeOrphanRecords(60s), 2u);
    EXPECT_FALSE(exists(record("old")));
    EXPECT_FALSE(exists(record("\xff\n")));
    for (const char* name : {"kept", "dangling", "young", "future", ".", "", "folder"}) {
        EXPECT_TRUE(exists(record(name))) << name;
    }
    EXPECT_TRUE(exists(m_trash + "/info/notes.txt"));
}

}  // namespace
}  // namespace kestrin
