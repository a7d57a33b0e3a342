// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TreeRemover.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <set>

#include "platform/UniqueFd.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Verdict = RemovalPolicy::Verdict;

class RecordingPolicy : public RemovalPolicy {
 public:
    Verdict willEnter(const RemovalEntry& folder) override {
        if (onEnter) onEnter(folder);
        return Verdict::Proceed;
    }
    Verdict willRemove(const RemovalEntry& entry) override {
        return leave.contains(std::string(entry.name())) ? Verdict::Leave : Verdict::Proceed;
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
    std::atomic<bool> stop = false;
    std::mutex mutex;
    std::vector<std::string> removed;
    std::vector<std::pair<std::string, int>> failed;
};

class Items : public RemovalItems {
 public:
    Items(const std::string& folder, std::vector<std::string> names)
        : m_fd(open(folder.c_str(), O_PATH)), m_folder(folder), m_names(std::move(names)) {}
    bool next(RemovalItem& item) override {
        if (m_next == m_names.size()) return false;
        item = {m_next, m_fd.get(), m_folder, m_names[m_next]};
        ++m_next;
        return true;
    }
    void finished(const RemovalItem& item, RemovalOutcome outcome) override {
        const std::lock_guard lock(m_lock);
        outcomes[item.name] = outcome;
    }
    std::map<std::string, RemovalOutcome> outcomes;

 private:
    UniqueFd m_fd;
    std::string m_folder;
    std::vector<std::string> m_names;
    std::size_t m_next = 0;
    std::mutex m_lock;
};

class TreeRemoverTest : public ::testing::Test {
 protected:
    /// Removes the entries `names` of the folder "trash".
    std::map<std::string, RemovalOutcome> remove(std::vector<std::string> names,
                                                 unsigned workers = 4) {
        Items items(trash, std::move(names));
        TreeRemover(policy, workers).remove(items);
        return items.outcomes;
    }
    void SetUp() override { makeFolder(trash); }

    ScratchFolder scratch;
    std::string trash = scratch / "trash";
    std::string outside = scratch / "outside";
    RecordingPolicy policy;
};

TEST_F(TreeRemoverTest, RemovesEveryKindOfEntryAndNothingElse) {
    writeFile(outside + "/kept", "kept");
    const std::string before = listing(outside);
    const std::string entry = trash + "/entry";
    writeFile(entry + "/sub/plain");
    writeFile(entry + "/" + std::string("bad\xff\n%name"));
    writeFile(entry + "/" + std::string(255, 'x'));
    writeFile(entry + "/readonly");
    ASSERT_EQ(chmod((entry + "/readonly").c_str(), 0), 0);
    ASSERT_EQ(symlink(outside.c_str(), (entry + "/folderlink").c_str()), 0);
    ASSERT_EQ(symlink((outside + "/kept").c_str(), (entry + "/filelink").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (entry + "/dangling").c_str()), 0);
    ASSERT_EQ(link((outside + "/kept").c_str(), (entry + "/hardlink").c_str()), 0);
    ASSERT_EQ(mkfifo((entry + "/fifo").c_str(), 0600), 0);
    ASSERT_EQ(symlink(outside.c_str(), (trash + "/toplink").c_str()), 0);

    const auto outcomes = remove({"entry", "toplink", "absent"});

    EXPECT_FALSE(exists(entry));
    EXPECT_FALSE(exists(trash + "/toplink"));
    EXPECT_EQ(listing(outside), before);
    EXPECT_THAT(policy.failed, IsEmpty());
    EXPECT_EQ(policy.removed.size(), 12u);
    EXPECT_TRUE(std::all_of(outcomes.begin(), outcomes.end(), [](const auto& outcome) {
        return outcome.second == RemovalOutcome::Gone;
    }));
}

TEST_F(TreeRemoverTest, OpensOwnFoldersWithoutRightsAndRestoresThoseThatStay) {
    writeFile(trash + "/gone/a/b/file");
    writeFile(trash + "/stays/sub/left");
    for (const char* folder : {"/gone/a/b", "/gone/a", "/gone"}) {
        ASSERT_EQ(chmod((trash + folder).c_str(), 0), 0);
    }
    ASSERT_EQ(chmod((trash + "/stays/sub").c_str(), 0111), 0);
    ASSERT_EQ(chmod((trash + "/stays").c_str(), 0555), 0);
    policy.leave = {"left"};

    const auto outcomes = remove({"gone", "stays"});

    EXPECT_EQ(outcomes.at("gone"), RemovalOutcome::Gone);
    EXPECT_EQ(outcomes.at("stays"), RemovalOutcome::Stayed);
    struct stat status {};
    ASSERT_EQ(stat((trash + "/stays").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0555u);
    ASSERT_EQ(stat((trash + "/stays/sub").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0111u);
    EXPECT_TRUE(exists(trash + "/stays/sub/left"));
}

TEST_F(TreeRemoverTest, TellsWhatCannotBeRemovedAndNeverTakesTheUnreadableForEmpty) {
    KESTRIN_REQUIRE_ROOT();
    makeFolder(trash + "/entry");
    ASSERT_EQ(runAsRoot("cd '" + trash +
                        "/entry' && mkdir -m 755 foreign && touch foreign/file && "
                        "mkdir -m 700 secret secretempty && touch secret/file && touch rootfile"),
              0);
    EXPECT_EQ(remove({"entry"}).at("entry"), RemovalOutcome::Stayed);
    EXPECT_THAT(policy.failed, UnorderedElementsAre(
                                   std::pair(trash + "/entry/foreign/file", kFileWriteNoPermission),
                                   std::pair(trash + "/entry/secret", kFileReadNoPermission)));
    EXPECT_THAT(policy.removed,
                UnorderedElementsAre(trash + "/entry/secretempty", trash + "/entry/rootfile"));
}

TEST_F(TreeRemoverTest, NeverEntersAnotherMount) {
    KESTRIN_REQUIRE_MOUNTS();
    writeFile(outside + "/kept");
    makeFolder(trash + "/entry/bound");
    makeFolder(trash + "/boundtop");
    const TestVolume volume(TestVolume::Kind::Tmpfs, trash + "/entry/mounted");
    ASSERT_TRUE(volume.isMounted());
    writeFile(trash + "/entry/mounted/kept");
    writeFile(trash + "/entry/file");
    ASSERT_EQ(
        runAsRoot("mount --bind '" + outside + "' '" + trash + "/entry/bound'; mount --bind '" +
                  outside + "' '" + trash + "/boundtop'; mount --bind '" + outside + "/kept' '" +
                  trash + "/entry/file'"),
        0);
    const std::string before = listing(outside);
    remove({"entry", "boundtop"});
    EXPECT_THAT(policy.failed, UnorderedElementsAre(std::pair(trash + "/entry/bound", kFileBusy),
                                                    std::pair(trash + "/entry/mounted", kFileBusy),
                                                    std::pair(trash + "/entry/file", kFileBusy),
                                                    std::pair(trash + "/boundtop", kFileBusy)));
    EXPECT_EQ(listing(outside), before);
    EXPECT_TRUE(exists(trash + "/entry/mounted/kept"));
    runAsRoot("umount '" + trash + "/entry/bound' '" + trash + "/boundtop' '" + trash +
              "/entry/file'");
}

TEST_F(TreeRemoverTest, DoesNotFollowALinkThatTakesAFoldersPlace) {
    writeFile(outside + "/kept");
    writeFile(trash + "/entry/victim/inner/file");
    const std::string victim = trash + "/entry/victim";
    policy.onEnter = [&](const RemovalEntry& folder) {
        if (folder.name() == "victim") {
            rename(victim.c_str(), (scratch / "moved").c_str());
            ASSERT_EQ(symlink(outside.c_str(), victim.c_str()), 0);
        } else if (folder.name() == "inner") {
            FAIL() << "entered through a link";
        }
    };
    EXPECT_EQ(remove({"entry"}, 1).at("entry"), RemovalOutcome::Gone);
    EXPECT_TRUE(exists(outside + "/kept"));
    EXPECT_TRUE(exists(scratch / "moved/inner/file"));
}

TEST_F(TreeRemoverTest, GoesDeeperThanPathsAndDescriptorsReach) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit small{64, limit.rlim_max};
    const std::string name(100, 'd');
    makeFolder(trash + "/deep");
    UniqueFd at(open((trash + "/deep").c_str(), O_PATH | O_DIRECTORY));
    for (int depth = 0; depth < 1500; ++depth) {
        ASSERT_EQ(mkdirat(at.get(), name.c_str(), 0700), 0);
        ASSERT_EQ(mkdirat(at.get(), "side", 0700), 0);
        at.reset(openat(at.get(), name.c_str(), O_PATH | O_DIRECTORY));
    }
    at.reset();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &small), 0);
    const auto outcomes = remove({"deep"});
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(outcomes.at("deep"), RemovalOutcome::Gone);
    EXPECT_EQ(policy.removed.size(), 3001u);
    EXPECT_THAT(policy.failed, IsEmpty());
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

TEST_F(TreeRemoverTest, StopsBeforeTheNextEntryAndBeginsInOrder) {
    std::vector<std::string> names;
    for (int i = 0; i < 20; ++i) {
        names.push_back("entry" + std::to_string(i));
        writeFile(trash + "/" + names.back());
    }
    policy.onRemove = [&](const RemovalEntry& entry) { policy.stop = entry.name() == "entry4"; };
    const auto outcomes = remove(names, 1);
    ASSERT_EQ(policy.removed.size(), 5u);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(policy.removed[i], trash + "/" + names[i]);
    EXPECT_EQ(outcomes.size(), 5u);
    EXPECT_TRUE(exists(trash + "/entry5"));
}

}  // namespace
}  // namespace kestrin
