// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>

#include "platform/items/FolderWalk.h"
#include "platform/items/TreeScanner.h"
#include "platform/items/UniqueFd.h"
#include "platform/items/linux/DescriptorCache.h"
#include "support/FewDescriptors.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::UnorderedElementsAre;

/// `exchanged`: the folder whose name another one takes.
void expectToKnowFolders(const std::string& exchanged) {
    const ScratchFolder scratch;
    makeFolder(scratch / "top/inner");
    makeFolder(scratch / "other/inner");
    const UniqueFd root(open(scratch.path().c_str(), O_PATH | O_CLOEXEC));
    const auto move = [&](const std::string& from, const std::string& to) {
        return rename((scratch / from).c_str(), (scratch / to).c_str()) == 0;
    };
    DescriptorCache cache;
    FolderNode top, inner;
    top.rootParent = root.get();
    top.name = "top";
    inner.parent = &top;
    inner.name = "inner";
    ASSERT_TRUE(cache.adopt(top, UniqueFd(openFolderAt(root.get(), "top"))));
    ASSERT_TRUE(cache.adopt(inner, UniqueFd(openFolderAt(root.get(), "top/inner"))));

    // Only `inner` stays open, and ".." of it leads elsewhere by now.
    cache.unpin(top);
    cache.closeIdle();
    ASSERT_TRUE(move("top/inner", "moved"));
    const int found = cache.pin(top);
    struct stat opened {
    }, expected{};
    ASSERT_EQ(fstat(found, &opened), 0);
    ASSERT_EQ(stat((scratch / "top").c_str(), &expected), 0);
    EXPECT_EQ(opened.st_ino, expected.st_ino);
    ASSERT_TRUE(move("moved", "top/inner"));

    // Nothing is open, and another folder has the name of the folder, or of the one above.
    const auto isFound = [&] {
        cache.closeIdle();
        if (cache.pin(inner) < 0) return errno != ESTALE;
        cache.unpin(inner);
        return true;
    };
    cache.unpin(top);
    cache.unpin(inner);
    EXPECT_TRUE(isFound());
    const std::string other = "other" + exchanged.substr(3);
    ASSERT_TRUE(move(exchanged, "first") && move(other, exchanged));
    EXPECT_FALSE(isFound());
    ASSERT_TRUE(move(exchanged, other) && move("first", exchanged));
    EXPECT_FALSE(isFound()) << "what was lost is looked for once";
    cache.close(inner);
    cache.close(top);
}

TEST(DescriptorCache, OpensAFolderAgainOnlyWhileItIsTheSame) {
    expectToKnowFolders("top");
    expectToKnowFolders("top/inner");
}

std::vector<std::string> walked(const std::string& folder) {
    std::vector<std::string> seen;
    const auto error = walkTree(FileUrl::fromPath(folder), [&](const WalkedEntry& entry) {
        seen.push_back(std::string(entry.name) + ":" + std::to_string(entry.size));
        return true;
    });
    if (error) seen.push_back("error " + std::to_string(error->code));
    return seen;
}

TEST(FolderWalk, MeetsEveryEntryOnceAndFollowsNoLink) {
    const ScratchFolder scratch;
    writeFile(scratch / "walked/a", "12345");
    writeFile(scratch / "walked/folder/.hidden", "1");
    writeFile(scratch / "walked/folder/below/caf\xE9\n", "12");
    writeFile(scratch / "outside/secret", "123");
    ASSERT_EQ(symlink("../outside", (scratch / "walked/link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "walked/fifo").c_str(), 0644), 0);
    EXPECT_THAT(walked(scratch / "walked"),
                UnorderedElementsAre("a:5", "folder:0", ".hidden:1", "below:0", "caf\xE9\n:2",
                                     "link:10", "fifo:0"));
    EXPECT_THAT(walked(scratch / "walked/link"),
                UnorderedElementsAre("error " + std::to_string(ENOTDIR)));

    int met = 0;
    const auto stopAtThird = [&](const WalkedEntry&) { return ++met < 3; };
    EXPECT_FALSE(walkTree(FileUrl::fromPath(scratch / "walked"), stopAtThird));
    EXPECT_EQ(met, 3);
    const auto stopAtOnce = [&](std::string_view, EntryType) { return ++met < 4; };
    EXPECT_FALSE(visitFolder(FileUrl::fromPath(scratch / "walked"), stopAtOnce));
    EXPECT_EQ(met, 4);
}

TEST(FolderWalk, VisitsNamesAsBytesWithTheirTypesInFoldersOnly) {
    const ScratchFolder scratch;
    const std::string odd = "\xff\n%41 ";
    writeFile(scratch / odd);
    makeFolder(scratch / "..folder");
    ASSERT_EQ(symlink("..folder", (scratch / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / ".fifo").c_str(), 0600), 0);
    std::map<std::string, EntryType> types;
    const auto note = [&](std::string_view name, EntryType type) {
        types[std::string(name)] = type;
        return true;
    };
    EXPECT_FALSE(visitFolder(FileUrl::fromPath(scratch.path()), note));
    EXPECT_EQ(types, (std::map<std::string, EntryType>{{odd, EntryType::RegularFile},
                                                       {"..folder", EntryType::Directory},
                                                       {"link", EntryType::SymbolicLink},
                                                       {".fifo", EntryType::Other}}));

    ASSERT_EQ(chmod((scratch / "..folder").c_str(), 0300), 0);
    for (const auto& [name, code] : {std::pair("..folder", kFileReadNoPermission),
                                     {"link", ENOTDIR},
                                     {".fifo", ENOTDIR},
                                     {"none", ENOENT}}) {
        const MaybeError error = visitFolder(FileUrl::fromPath(scratch / name), note);
        EXPECT_EQ(error ? error->code : 0, code) << name;
    }
}

/// "name COUNT SIZE" of each entry, with a mark of its type behind the name.
std::vector<std::string> scanned(const std::string& folder,
                                 const std::function<bool(const ScannedEntry&)>& isWanted = {}) {
    const std::map<std::uint32_t, std::string> marks{
        {S_IFDIR, "/"}, {S_IFLNK, "@"}, {S_IFIFO, "|"}};
    std::vector<std::string> entries;
    const auto result = scanTree(FileUrl::fromPath(folder), {}, isWanted);
    for (const ScannedEntry& entry : *result) {
        const std::string mark = entry.mode == S_IFREG ? "" : marks.at(entry.mode);
        entries.push_back(entry.name + mark + " " + std::to_string(entry.count) + " " +
                          std::to_string(entry.size));
    }
    return entries;
}

TEST(FolderWalk, GoesDeeperThanPathsAndDescriptorsReachAndComesBack) {
    constexpr int kDepth = 150;
    const ScratchFolder scratch;
    const std::string name(40, 'd');
    UniqueFd current(open(scratch.path().c_str(), O_RDONLY | O_DIRECTORY));
    for (int i = 0; i < kDepth; ++i) {
        ASSERT_EQ(mkdirat(current.get(), "beside", 0755), 0);
        ASSERT_TRUE(UniqueFd(openat(current.get(), "beside/file", O_CREAT | O_WRONLY, 0644)));
        ASSERT_EQ(mkdirat(current.get(), name.c_str(), 0755), 0);
        current.reset(openat(current.get(), name.c_str(), O_RDONLY | O_DIRECTORY));
    }
    const FewDescriptors few;
    EXPECT_EQ(walked(scratch.path()).size(), 3U * kDepth);
    EXPECT_THAT(scanned(scratch.path()), UnorderedElementsAre("beside/ 2 0", name + "/ 448 0"));
}

TEST(FolderWalk, EntersNoMountsAndReportsTheTopAloneWhenItCannotBeRead) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const TestVolume volume(TestVolume::Kind::Tmpfs, scratch / "disk");
    ASSERT_TRUE(volume.isMounted());
    writeFile(scratch / "disk/inside");
    makeFolder(scratch / "elsewhere/within");
    makeFolder(scratch / "bind");
    ASSERT_EQ(runAsRoot("cd " + scratch.path() + " && mount --bind elsewhere bind && " +
                        "mkdir -m 700 closed && touch closed/file"),
              0);
    EXPECT_THAT(walked(scratch.path()),
                UnorderedElementsAre("disk:0", "elsewhere:0", "within:0", "bind:0", "closed:0"));
    EXPECT_THAT(walked(scratch / "disk"), UnorderedElementsAre("inside:1")) << "was asked for";
    EXPECT_THAT(walked(scratch / "closed"),
                UnorderedElementsAre("error " + std::to_string(kFileReadNoPermission)));
}

TEST(TreeScanner, CountsEveryEntryAtEveryDepthOfItsMountWithoutFollowingLinks) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const std::string trash = scratch / "trash";
    writeFile(scratch / "big", std::string(1000, 'x'));
    writeFile(trash + "/.hidden", "123");
    writeFile(trash + "/folder/one", "1");
    writeFile(trash + "/folder/sub/two", "22");
    makeFolder(trash + "/empty");
    makeFolder(trash + "/mounts");
    ASSERT_EQ(symlink("../..", (trash + "/folder/up").c_str()), 0);
    ASSERT_EQ(symlink("../big", (trash + "/link").c_str()), 0);
    ASSERT_EQ(mkfifo((trash + "/fifo").c_str(), 0600), 0);
    const TestVolume volume(TestVolume::Kind::Tmpfs, trash + "/mounts/disk");
    ASSERT_TRUE(volume.isMounted());
    writeFile(trash + "/mounts/disk/elsewhere", "1234");
    ASSERT_EQ(runAsRoot("cd '" + trash + "' && mkdir -m 700 secret && touch secret/file"), 0);

    EXPECT_THAT(scanned(trash), ::testing::UnorderedElementsAre(
                                    ".hidden 1 3", "folder/ 5 8", "empty/ 1 0", "mounts/ 2 0",
                                    "link@ 1 6", "fifo| 1 0", "secret/ 1 0"));
    EXPECT_THAT(scanned(trash, [](const auto& entry) { return entry.name[0] == 'f'; }),
                ::testing::UnorderedElementsAre("folder/ 5 8", "fifo| 1 0"));
    EXPECT_EQ(scanTree(FileUrl::fromPath(trash + "/secret"), {}).error().code,
              kFileReadNoPermission);
    EXPECT_EQ(scanTree(FileUrl::fromPath(trash + "/link"), {}).error().code, ENOTDIR);
}

TEST(TreeScanner, ManyEntriesAreCountedOnceAndInTheirOrder) {
    const ScratchFolder scratch;
    for (int i = 0; i < 3000; ++i)
        writeFile(scratch / ("trash/f" + std::to_string(i)), "1");
    for (int i = 0; i < 300; ++i)
        writeFile(scratch / ("trash/d/s" + std::to_string(i) + "/x"), "1");
    const auto first = scanned(scratch / "trash");
    EXPECT_EQ(first, scanned(scratch / "trash"));
    EXPECT_EQ(first.size(), 3001u);
    EXPECT_THAT(first, ::testing::Contains("d/ 601 300"));
    std::stop_source stop;
    stop.request_stop();
    const FileUrl trash = FileUrl::fromPath(scratch / "trash");
    EXPECT_TRUE(scanTree(trash, stop.get_token()));
    EXPECT_TRUE(scanTree(trash, stop.get_token(), [](const auto&) { return false; })->empty());
}

}  // namespace
}  // namespace kestrin
