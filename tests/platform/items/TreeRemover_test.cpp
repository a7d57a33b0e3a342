// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/TreeRemover.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <functional>
#include <mutex>
#include <set>

#include "base/SanitizedBuild.h"
#include "platform/items/HostErrors.h"
#include "platform/items/LockAttributes.h"
#include "platform/items/UniqueFd.h"
#include "platform/items/linux/DescriptorCache.h"
#include "support/DeepChain.h"
#include "support/FewDescriptors.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::ElementsAre;
using Outcomes = std::map<std::string, RemovalOutcome>;

class RecordingPolicy : public RemovalPolicy {
 public:
    void willLook() override {
        if (onLook) onLook();
    }
    Verdict willEnter(const RemovalEntry& folder) override {
        if (onEnter) onEnter(folder);
        return Verdict::Proceed;
    }
    Verdict willRemove(const RemovalEntry& entry) override {
        if (onQuestion) onQuestion();
        if (!leave.contains(std::string(entry.name()))) return Verdict::Proceed;
        if (onLeave) onLeave();
        return Verdict::Leave;
    }
    void didRemove(const RemovalEntry& entry) override {
        const std::lock_guard lock(mutex);
        removed.push_back(entry.path());
        if (onRemove) onRemove(entry);
    }
    void didFail(const RemovalEntry& entry, const HostError& error) override {
        const std::lock_guard lock(mutex);
        failed.emplace_back(entry.path(), error.code);
    }
    bool shouldStop() const override { return stop; }

    std::set<std::string> leave;
    std::function<void(const RemovalEntry&)> onEnter, onRemove;
    std::function<void()> onLeave, onLook, onQuestion;
    bool stop = false;  ///< with one worker
    std::mutex mutex;
    std::vector<std::string> removed;
    std::vector<std::pair<std::string, int>> failed;
};

class Items : public RemovalItems {
 public:
    Items(const std::string& folder, std::vector<std::string> names)
        : m_fd(open(folder.c_str(), O_PATH)), m_folder(folder), m_names(std::move(names)) {
        for (const std::string& name : m_names)
            m_identities.push_back(identityAt(m_fd.get(), name.c_str()));
    }
    bool next(RemovalItem& item) override {
        if (m_next == m_names.size()) return false;
        item = {m_next, m_fd.get(), m_folder, m_names[m_next], m_identities[m_next]};
        ++m_next;
        return true;
    }
    void finished(const RemovalItem& item, RemovalOutcome outcome) override {
        const std::lock_guard lock(m_lock);
        outcomes[item.name] = outcome;
    }
    Outcomes outcomes;

 private:
    UniqueFd m_fd;
    std::string m_folder;
    std::vector<std::string> m_names;
    std::vector<ItemIdentity> m_identities;  ///< as they are when this is made
    std::size_t m_next = 0;
    std::mutex m_lock;
};

class TreeRemoverTest : public ::testing::Test {
 protected:
    /// Removes the entries `names` of the folder "trash".
    Outcomes remove(std::vector<std::string> names, unsigned workers = 4) {
        Items items(trash, std::move(names));
        TreeRemover(policy, workers).remove(items);
        return items.outcomes;
    }

    static ino_t inodeOf(const std::string& path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
    }
    static std::string manyFolders() {
        std::string path;
        for (int depth = 0; depth < 40; ++depth)
            path += "/d";
        return path;
    }

    const std::string deep = manyFolders();  ///< more than few descriptors keep open
    ScratchFolder scratch;
    const std::string trash = scratch / "trash", outside = scratch / "outside";
    RecordingPolicy policy;
};

TEST_F(TreeRemoverTest, RemovesAndLeavesAndTellsExactlyThat) {
    KESTRIN_REQUIRE_MOUNTS();
    writeFile(outside + "/kept");
    for (const char* file : {"/gone/file", "/stays/sub/left", "/busy/file", "/busy/bound/none"})
        writeFile(trash + file);
    ASSERT_EQ(symlink(outside.c_str(), (trash + "/gone/link").c_str()), 0);
    ASSERT_EQ(chmod((trash + "/stays/sub").c_str(), 0111), 0);
    ASSERT_EQ(chmod((trash + "/gone").c_str(), 0), 0);
    ASSERT_EQ(runAsRoot("cd '" + scratch.path() + "' && mount --bind outside trash/busy/bound && " +
                        "mount --bind outside/kept trash/busy/file && cd trash/busy && " +
                        "mkdir -m 700 secret && touch secret/file"),
              0);
    policy.leave = {"left"};
    EXPECT_EQ(remove({"gone", "stays", "busy", "absent"}),
              (Outcomes{{"gone", RemovalOutcome::Gone},
                        {"stays", RemovalOutcome::Stayed},
                        {"busy", RemovalOutcome::Stayed},
                        {"absent", RemovalOutcome::Gone}}));
    EXPECT_THAT(policy.removed, ::testing::UnorderedElementsAre(
                                    trash + "/gone/file", trash + "/gone/link", trash + "/gone"));
    EXPECT_THAT(policy.failed, ::testing::UnorderedElementsAre(
                                   std::pair(trash + "/busy/bound", kFileBusy),
                                   std::pair(trash + "/busy/file", kFileBusy),
                                   std::pair(trash + "/busy/secret", kFileReadNoPermission)));
    EXPECT_TRUE(exists(outside + "/kept"));
    struct stat status {};
    ASSERT_EQ(stat((trash + "/stays/sub").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0111u) << "its mode is put back";
}

TEST_F(TreeRemoverTest, LeavesWhatHasTakenTheNameOfAnItem) {
    for (const char* made : {"/same", "/file", "/folder/inside", "/emptied/inside", "/late/inside"})
        writeFile(trash + made);
    Items items(trash, {"same", "file", "folder", "emptied", "late"});
    policy.onRemove = [&](const RemovalEntry& entry) {
        if (entry.path() != trash + "/late/inside") return;
        rename((trash + "/late").c_str(), (scratch / "old late").c_str());
        makeFolder(trash + "/late");
    };
    policy.onLook = [&, wasSwapped = false]() mutable {  // as the user may during a question
        if (std::exchange(wasSwapped, true)) return;
        for (const char* name : {"/file", "/folder", "/emptied"})
            rename((trash + name).c_str(), (scratch / "old" + std::string(name + 1)).c_str());
        writeFile(trash + "/file");
        writeFile(trash + "/folder/precious");
        makeFolder(trash + "/emptied");
    };
    TreeRemover(policy, 1).remove(items);
    EXPECT_EQ(items.outcomes, (Outcomes{{"same", RemovalOutcome::Gone},
                                        {"file", RemovalOutcome::Replaced},
                                        {"folder", RemovalOutcome::Replaced},
                                        {"emptied", RemovalOutcome::Replaced},
                                        {"late", RemovalOutcome::Replaced}}));
    EXPECT_THAT(policy.failed,
                ::testing::UnorderedElementsAre(
                    std::pair(trash + "/file", ESTALE), std::pair(trash + "/folder", ESTALE),
                    std::pair(trash + "/emptied", ESTALE), std::pair(trash + "/late", ESTALE)));
    EXPECT_TRUE(exists(trash + "/file") && exists(trash + "/folder/precious") &&
                exists(trash + "/emptied") && exists(trash + "/late"));

    KESTRIN_REQUIRE_ROOT();
    const std::string closed = trash + "/closed", other = trash + "/other";
    ASSERT_EQ(runAsRoot("mkdir -m 700 '" + closed + "' '" + other + "'"), 0);
    policy.onEnter = [&](const RemovalEntry&) {
        rename(closed.c_str(), (trash + "/old closed").c_str());
        rename(other.c_str(), closed.c_str());
    };
    EXPECT_EQ(remove({"closed"}).at("closed"), RemovalOutcome::Replaced);
    EXPECT_TRUE(exists(closed));

    const std::string locked = trash + "/locked", beside = scratch / "old locked";
    writeFile(locked);
    if (runAsRoot("chattr +i '" + locked + "'") != 0) GTEST_SKIP() << "no such attribute";
    policy.onQuestion = [&] {
        runAsRoot("chattr -i '" + locked + "' && mv '" + locked + "' '" + beside + "'");
        writeFile(locked);
    };
    EXPECT_EQ(remove({"locked"}).at("locked"), RemovalOutcome::Replaced);
    EXPECT_TRUE(exists(locked) && exists(beside));
}

TEST_F(TreeRemoverTest, DoesNotFollowALinkThatTakesAFoldersPlace) {
    writeFile(outside + "/kept");
    const std::string victim = trash + "/entry/victim";
    writeFile(victim + "/inner/file");
    policy.onEnter = [&](const RemovalEntry& folder) {
        if (folder.name() == "entry") return;
        ASSERT_EQ(folder.name(), "victim") << "entered through a link";
        rename(victim.c_str(), (scratch / "moved").c_str());
        ASSERT_EQ(symlink(outside.c_str(), victim.c_str()), 0);
    };
    EXPECT_EQ(remove({"entry"}, 1).at("entry"), RemovalOutcome::Gone);
    EXPECT_TRUE(exists(outside + "/kept"));
    EXPECT_TRUE(exists(scratch / "moved/inner/file"));
}

TEST_F(TreeRemoverTest, FindsItsWayBackWithFewDescriptors) {
    for (const char* name : {"/whole/one", "/whole/two"})
        writeFile(trash + name + deep + "/file");
    const FewDescriptors few;
    EXPECT_EQ(remove({"whole"}, 1).at("whole"), RemovalOutcome::Gone);
    EXPECT_THAT(policy.failed, ::testing::IsEmpty());

    // A folder that nobody may list is opened twice, and here there is no descriptor left for that.
    const std::string shut = trash + "/shut";
    writeFile(shut + "/file");
    ASSERT_EQ(chmod(shut.c_str(), 0), 0);
    Items items(trash, {"shut"});
    std::vector<UniqueFd> taken;
    while (taken.empty() || taken.back())
        taken.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    taken.resize(taken.size() - 2);
    TreeRemover(policy, 1).remove(items);
    taken.clear();
    EXPECT_EQ(items.outcomes.at("shut"), RemovalOutcome::Stayed);
    EXPECT_EQ(std::filesystem::status(shut).permissions(), std::filesystem::perms::none);
}

/// Somebody else's folder gets the name and the inode number of an ancestor that went, and what was
/// in that is moved into it.
TEST_F(TreeRemoverTest, KnowsAFolderThatGotTheInodeNumberOfAnAncestor) {
    KESTRIN_REQUIRE_MOUNTS();
    const std::string volume = scratch / "volume";  // without times of birth
    ASSERT_EQ(
        runAsRoot("cd '" + scratch.path() + "' && truncate -s 8M image && mkdir volume && " +
                  "mkfs.ext4 -q -I 128 image && mount -o loop image volume && chmod 777 volume"),
        0);
    const std::string base = volume + "/base";
    const std::string ancestor = base + "/entry/ancestor";
    for (const char* child : {"/one", "/two"})
        writeFile(ancestor + child + deep + "/file");
    policy.onRemove = [&, wasExchanged = false](const RemovalEntry& entry) mutable {
        if (std::exchange(wasExchanged, true)) return;
        const std::string first = entry.path().substr(ancestor.size(), 4);
        const ino_t inode = inodeOf(ancestor);
        for (const char* child : {"/one", "/two"})
            rename((ancestor + child).c_str(), (base + child).c_str());
        ASSERT_EQ(rmdir(ancestor.c_str()), 0);
        std::string taken;
        for (int made = 0; inodeOf(taken) != inode && made < 100; ++made)
            makeFolder(taken = base + "/made" + std::to_string(made));
        ASSERT_EQ(inodeOf(taken), inode);
        for (const char* child : {"/one", "/two"})
            if (child != first) writeFile(taken + child + "/precious");
        rename((base + first).c_str(), (taken + first).c_str());
        rename(taken.c_str(), ancestor.c_str());
    };
    Items items(base, {"entry"});
    {
        const FewDescriptors few;
        TreeRemover(policy, 1).remove(items);
    }
    EXPECT_EQ(items.outcomes.at("entry"), RemovalOutcome::Stayed);
    EXPECT_THAT(policy.failed, ::testing::Contains(std::pair(ancestor, ESTALE)));
    EXPECT_NE(exists(ancestor + "/one/precious"), exists(ancestor + "/two/precious"));
}

TEST_F(TreeRemoverTest, LeavesAFolderThatNothingTellsFromAnotherToTheRightsOfAUser) {
    KESTRIN_REQUIRE_MOUNTS();
    makeFolder(trash);  // on a file system that keeps neither handles nor times of birth
    ASSERT_EQ(runAsRoot("mount -t ramfs none '" + trash + "' && chmod 777 '" + trash + "'"), 0);
    for (const char* name : {"/user", "/root"})
        writeFile(trash + name + deep + "/file");
    const FewDescriptors few;
    EXPECT_EQ(remove({"user"}, 1).at("user"), RemovalOutcome::Gone);
    const AsRoot root;
    EXPECT_EQ(remove({"root"}, 1).at("root"), RemovalOutcome::Stayed);
    EXPECT_EQ(policy.failed.size(), 1u);
    EXPECT_EQ(policy.failed.at(0).second, kNotFoundAgain);
}

TEST_F(TreeRemoverTest, OpensAFolderAgainInTheDescriptorOfOneThatWaits) {
    const FewDescriptors few;
    const UniqueFd above(open(scratch.path().c_str(), O_PATH));
    std::array<FolderNode, 2> folders;
    DescriptorCache cache;
    for (FolderNode& folder : folders) {
        folder.rootParent = above.get();
        folder.name = &folder == &folders[0] ? "closed" : "waits";
        makeFolder(scratch / folder.name);
        ASSERT_TRUE(cache.adopt(folder, UniqueFd(openFolderAt(above.get(), folder.name.c_str()))));
        cache.unpin(folder);
    }
    cache.close(folders[0]);
    std::vector<UniqueFd> taken;
    do {
        taken.emplace_back(dup(above.get()));
    } while (taken.back());
    EXPECT_GE(cache.pin(folders[0]), 0);
}

TEST_F(TreeRemoverTest, ListsAgainWhatAppearedMeanwhile) {
    writeFile(trash + "/entry/first");
    bool wasAdded = false;
    policy.onRemove = [&](const RemovalEntry&) {
        if (!std::exchange(wasAdded, true)) writeFile(trash + "/entry/sub/late");
    };
    EXPECT_EQ(remove({"entry"}).at("entry"), RemovalOutcome::Gone);
    EXPECT_FALSE(exists(trash + "/entry"));
}

TEST_F(TreeRemoverTest, PutsBackWhatItChangedWhenItGivesUp) {
    KESTRIN_REQUIRE_ROOT();
    const std::string outer = trash + "/entry", inner = outer + "/inner";
    policy.onRemove = [](const RemovalEntry&) { throw std::bad_alloc(); };
    const auto giveUp = [&] {
        Items items(trash, {"entry"});
        TreeRemover remover(policy, 4, LockedEntries::Unlock);
        EXPECT_THROW(remover.remove(items), std::bad_alloc);
        EXPECT_FALSE(exists(inner + "/file"));
    };
    const auto modeOf = [](const std::string& path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    };
    writeFile(inner + "/file");
    for (const std::string& folder : {inner, outer})
        ASSERT_EQ(chmod(folder.c_str(), 0500), 0);
    giveUp();
    EXPECT_EQ(modeOf(outer), 0500u);
    EXPECT_EQ(modeOf(inner), 0500u);

    ASSERT_EQ(chmod(inner.c_str(), 0700), 0);
    writeFile(inner + "/file");
    if (!makeImmutable(inner)) GTEST_SKIP() << "no immutable attribute here";
    const AsRoot root;
    giveUp();
    EXPECT_EQ(lockStateAt(AT_FDCWD, inner.c_str()), LockState::Locked);
}

TEST_F(TreeRemoverTest, LeavesADeepChainSoonAndRemovesItInLittleMemory) {
    KESTRIN_REQUIRE_MOUNTS();
    const TestVolume volume(TestVolume::Kind::Tmpfs, trash);
    makeDeepChain(trash, "entry", 10'000, 0500);
    struct Policy : RecordingPolicy {
        Verdict willRemove(const RemovalEntry&) override {
            if (stopsAtBottom) stop = true;
            if (stop) stopped = std::clock();
            return Verdict::Proceed;
        }
        void didRemove(const RemovalEntry&) override {}
        bool stopsAtBottom = true;
        std::clock_t stopped = 0;
    } walker;
    const std::size_t before = peakMemory();
    for (const RemovalOutcome expected : {RemovalOutcome::Stopped, RemovalOutcome::Gone}) {
        Items items(trash, {"entry"});
        TreeRemover(walker, 1).remove(items);
        EXPECT_EQ(items.outcomes.at("entry"), expected);
        if (walker.stop) {
            EXPECT_LT(std::clock() - walker.stopped,
                      CLOCKS_PER_SEC / 2 * (kIsSanitizedBuild ? 8 : 1));
        }
        walker.stop = walker.stopsAtBottom = false;
    }
    EXPECT_TRUE(kIsSanitizedBuild || peakMemory() - before < 100'000'000u);
}

/// Two parts of a chain are moved away while all of it is unlocked.
TEST_F(TreeRemoverTest, LocksAgainSoonWhatWasCutOff) {
    KESTRIN_REQUIRE_MOUNTS();
    const TestVolume volume(TestVolume::Kind::Tmpfs, trash);
    const AsRoot root;
    makeDeepChain(trash, "entry", 2'100, 0700, FS_IMMUTABLE_FL, 1);
    struct Observer : LockObserver {
        Observer() { setLockObserver(this); }
        ~Observer() { setLockObserver(nullptr); }
        bool willClear(std::uint64_t id, const UnlockedItem& item) override {
            return !item.path.empty() && unlocked.insert(id).second;
        }
        void didSettle(std::uint64_t id) override { unlocked.erase(id); }
        std::set<std::uint64_t> unlocked;
    } observer;
    std::clock_t stopped = 0;
    policy.onEnter = [&, depth = 0](const RemovalEntry&) mutable {
        if (++depth < 2'090) return;
        std::string path = trash + "/entry";
        for (int level = 1; level <= 1'900; ++level)
            path += "/n";
        for (const std::size_t cut : {path.size(), path.size() - 2 * 900})
            ASSERT_EQ(
                rename(path.substr(0, cut).c_str(), (trash + "/" + std::to_string(cut)).c_str()),
                0);
        policy.stop = true;
        stopped = std::clock();
    };
    Items items(trash, {"entry"});
    const FewDescriptors few;
    TreeRemover(policy, 1, LockedEntries::Unlock).remove(items);
    EXPECT_LT(std::clock() - stopped, CLOCKS_PER_SEC / 2 * (kIsSanitizedBuild ? 8 : 1));
    EXPECT_NE(stopped, 0);
    EXPECT_TRUE(observer.unlocked.empty()) << observer.unlocked.size() << " are still unlocked";
}

TEST_F(TreeRemoverTest, BeginsInOrderAndStopsBeforeTheNextEntry) {
    for (const char* name : {"c", "a", "b"})
        writeFile(trash + "/" + name);
    policy.onRemove = [&](const RemovalEntry& entry) { policy.stop = entry.name() == "a"; };
    EXPECT_EQ(remove({"c", "a", "b"}, 1).size(), 2u);
    EXPECT_THAT(policy.removed, ElementsAre(trash + "/c", trash + "/a"));
    EXPECT_TRUE(exists(trash + "/b"));
}

}  // namespace
}  // namespace kestrin
