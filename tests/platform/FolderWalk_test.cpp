// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderWalk.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/UniqueFd.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::ScratchFolder;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

std::vector<std::string> walked(const std::string& folder) {
    std::vector<std::string> seen;
    const auto error = walkTree(FileUrl::fromPath(folder), [&](const WalkedEntry& entry) {
        seen.push_back(std::string(entry.name) + ":" + std::to_string(entry.size));
        return true;
    });
    EXPECT_FALSE(error.has_value());
    return seen;
}

/// A chain of folders, each beside a folder that holds a file. Made without paths: it is longer
/// than they can be.
void makeDeepTree(const std::string& folder, int depth) {
    const std::string name(40, 'd');
    UniqueFd current(open(folder.c_str(), O_RDONLY | O_DIRECTORY));
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(mkdirat(current.get(), "beside", 0755), 0);
        const UniqueFd file(openat(current.get(), "beside/file", O_CREAT | O_WRONLY, 0644));
        ASSERT_TRUE(file);
        ASSERT_EQ(mkdirat(current.get(), name.c_str(), 0755), 0);
        current.reset(openat(current.get(), name.c_str(), O_RDONLY | O_DIRECTORY));
    }
}

class DescriptorLimit {
 public:
    explicit DescriptorLimit(rlim_t limit) {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit lower{limit, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &lower);
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &m_before); }

 private:
    rlimit m_before{};
};

TEST(FolderWalk, MeetsEveryEntryOnceAndFollowsNoLink) {
    const ScratchFolder scratch;
    test::writeFile(scratch / "walked/a", "12345");
    test::writeFile(scratch / "walked/folder/.hidden", "1");
    test::writeFile(scratch / "walked/folder/below/caf\xE9\n", "12");
    test::writeFile(scratch / "outside/secret", "123");
    ASSERT_EQ(symlink((scratch / "outside").c_str(), (scratch / "walked/link").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "walked/fifo").c_str(), 0644), 0);

    const std::string linkSize = std::to_string((scratch / "outside").size());
    EXPECT_THAT(walked(scratch / "walked"),
                UnorderedElementsAre("a:5", "folder:0", ".hidden:1", "below:0", "caf\xE9\n:2",
                                     "link:" + linkSize, "fifo:0"));
    // Neither is a link to a folder walked when it is what the walk begins with.
    EXPECT_TRUE(walkTree(FileUrl::fromPath(scratch / "walked/link"), [](const WalkedEntry&) {
                    ADD_FAILURE() << "a link was followed";
                    return true;
                }).has_value());
}

TEST(FolderWalk, StopsAtTheEntryThatIsRefused) {
    const ScratchFolder scratch;
    for (const char* name : {"a/b/c", "d/e/f", "g"})
        test::writeFile(scratch / name);
    int met = 0;
    const auto stopAtThird = [&](const WalkedEntry&) { return ++met < 3; };
    EXPECT_FALSE(walkTree(FileUrl::fromPath(scratch.path()), stopAtThird).has_value());
    EXPECT_EQ(met, 3);

    met = 0;
    const auto stopAtFirst = [&](std::string_view, EntryType) { return ++met < 1; };
    EXPECT_FALSE(visitFolder(FileUrl::fromPath(scratch.path()), stopAtFirst).has_value());
    EXPECT_EQ(met, 1);
}

TEST(FolderWalk, PassesOverWhatCannotBeOpenedBelowButReportsItAtTheTop) {
    if (geteuid() == 0) GTEST_SKIP() << "root reads everything";
    const ScratchFolder scratch;
    test::writeFile(scratch / "closed/inside");
    test::writeFile(scratch / "open");
    ASSERT_EQ(chmod((scratch / "closed").c_str(), 0), 0);
    EXPECT_THAT(walked(scratch.path()), UnorderedElementsAre("closed:0", "open:1"));

    const auto error =
        walkTree(FileUrl::fromPath(scratch / "closed"), [](const WalkedEntry&) { return true; });
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code, kFileReadNoPermission);
}

TEST(FolderWalk, GoesDeeperThanPathsAndDescriptorsReachAndComesBack) {
    constexpr int kDepth = 150;
    const ScratchFolder scratch;
    makeDeepTree(scratch.path(), kDepth);
    const DescriptorLimit limit(48);
    EXPECT_EQ(walked(scratch.path()).size(), 3U * kDepth);
}

TEST(FolderWalk, DoesNotEnterMounts) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const test::TestVolume volume(test::TestVolume::Kind::Tmpfs, scratch / "disk");
    ASSERT_TRUE(volume.isMounted());
    test::writeFile(scratch / "disk/inside");
    test::makeFolder(scratch / "elsewhere/inside");
    test::makeFolder(scratch / "bind");
    ASSERT_EQ(test::runAsRoot("mount --bind " + (scratch / "elsewhere") + " " + (scratch / "bind")),
              0);
    EXPECT_THAT(walked(scratch.path()),
                UnorderedElementsAre("disk:0", "elsewhere:0", "inside:0", "bind:0"));
    // What is asked for is walked, mount or not.
    EXPECT_THAT(walked(scratch / "disk"), UnorderedElementsAre("inside:1"));
}

}  // namespace
}  // namespace kestrin
