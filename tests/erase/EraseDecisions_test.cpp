// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseDecisions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <deque>

#include "base/StringTable.h"
#include "platform/HostErrors.h"

namespace kestrin {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using About = RefusalQuestion::About;
using Verdict = RemovalPolicy::Verdict;

struct FakeEntry : RemovalEntry {
    explicit FakeEntry(std::string entryName) : m_name(std::move(entryName)) {}
    std::string_view name() const override { return m_name; }
    std::string path() const override { return "/t/files/" + m_name; }
    bool isDirectory() const override { return false; }
    bool isMountRoot() const override { return mountRoot; }
    bool isImmutable() const override { return immutable; }
    std::uint64_t size() const override { return 10; }
    bool isWritingDenied() const override { return denied; }
    unsigned depth() const override { return 0; }
    bool folderIsImmutable() const override { return folderImmutable; }
    MaybeError clearImmutable() const override {
        return canUnlock ? MaybeError() : errorFromErrno(EPERM, HostAccess::Write);
    }
    bool immutable = false, denied = false, mountRoot = false, folderImmutable = false,
         canUnlock = false;

 private:
    std::string m_name;
};

FakeEntry locked(const char* name) {
    FakeEntry entry(name);
    entry.immutable = true;
    return entry;
}

FakeEntry forbidden(const char* name) {
    FakeEntry entry(name);
    entry.denied = true;
    return entry;
}

const HostError kNotPermitted = errorFromErrno(EPERM, HostAccess::Write);
const HostError kBusyError = errorFromErrno(EBUSY, HostAccess::Write);

class EraseDecisionsTest : public ::testing::Test {
 protected:
    EraseDecisions& decide() {
        decisions.emplace(settings, texts,
                          EraseDecisions::Callbacks{[this](const RefusalQuestion& question) {
                                                        asked.push_back(question.name);
                                                        const RefusalAnswer answer =
                                                            answers.front();
                                                        answers.pop_front();
                                                        return answer;
                                                    },
                                                    [] { return false; },
                                                    {},
                                                    [this] {
                                                        ++helperQuestions;
                                                        return isHelperAuthorized;
                                                    }});
        return *decisions;
    }
    std::string onlyStay() {
        const auto stays = decisions->stayedEntries();
        if (stays.size() != 1) return std::to_string(stays.size()) + " entries";
        static const char* const kNames[] = {"locked",      "forbidden", "busy",
                                             "mount-point", "read-only", "error"};
        return std::string(kNames[int(stays[0].reason)]) + (stays[0].skipped ? " skipped " : " ") +
               stays[0].url.path();
    }

    EraseDecisions::Settings settings;
    bool isHelperAuthorized = false;
    int helperQuestions = 0;
    StringTable texts{QStringLiteral("en")};
    std::deque<RefusalAnswer> answers;
    std::vector<std::string> asked;
    std::optional<EraseDecisions> decisions;
};

TEST_F(EraseDecisionsTest, WithoutAHelperRefusedEntriesAreCountedAndNeverAskedAbout) {
    decide();
    EXPECT_EQ(decisions->willRemove(FakeEntry("plain")), Verdict::Proceed);
    EXPECT_EQ(helperQuestions, 0);
    EXPECT_EQ(decisions->willRemove(locked("l")), Verdict::Leave);
    EXPECT_EQ(decisions->willEnter(locked("folder")), Verdict::Leave);
    EXPECT_EQ(decisions->willRemove(forbidden("f")), Verdict::Leave);
    EXPECT_EQ(decisions->notErasedCount, 3u);
    EXPECT_EQ(decisions->stayedEntries().size(), 3u);
    EXPECT_FALSE(decisions->stayedEntries()[0].skipped);
    EXPECT_FALSE(decisions->hasWorkForHelper());
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_EQ(helperQuestions, 1);
}

TEST_F(EraseDecisionsTest, TheLockedQuestionIsAskedOnceAnEntryUntilItHoldsForAll) {
    isHelperAuthorized = true;
    settings.deleteLocked = true;  // only the value before the first answer
    answers = {{false, false}, {true, true}};
    decide();
    EXPECT_EQ(decisions->willRemove(locked("a")), Verdict::Leave);
    EXPECT_EQ(decisions->willRemove(locked("a")), Verdict::Leave);
    EXPECT_EQ(decisions->willRemove(locked("b")), Verdict::Proceed);
    EXPECT_EQ(decisions->willRemove(locked("c")), Verdict::Proceed);
    EXPECT_THAT(asked, ElementsAre("a", "b"));
    EXPECT_EQ(onlyStay(), "locked skipped /t/files/a");
    EXPECT_EQ(decisions->notErasedCount, 0u);  // what the user skipped is not counted
    EXPECT_THAT(decisions->unlockItems(),
                ElementsAre(FileUrl::fromPath("/t/files/b"), FileUrl::fromPath("/t/files/c")));
}

TEST_F(EraseDecisionsTest, WhatWaitsForUnlockingIsNeitherAskedAboutNorCountedAgain) {
    isHelperAuthorized = true;
    settings.classifiesTwice = true;
    answers = {{true, false}};
    decide();
    const FakeEntry entry = locked("a");
    EXPECT_EQ(decisions->willRemove(entry), Verdict::Proceed);
    decisions->didFail(entry, kNotPermitted);
    EXPECT_THAT(asked, ElementsAre("a"));
    EXPECT_THAT(decisions->permissionsItems(), IsEmpty());
    EXPECT_EQ(decisions->notErasedCount, 0u);
    EXPECT_THAT(decisions->stayedEntries(), IsEmpty());

    FakeEntry unlockable = locked("b");
    unlockable.canUnlock = true;
    answers = {{true, false}};
    EXPECT_EQ(decisions->willRemove(unlockable), Verdict::Proceed);
    EXPECT_EQ(decisions->unlockItems().size(), 1u);
}

TEST_F(EraseDecisionsTest, HiddenEntriesGoToTheHelperUnasked) {
    isHelperAuthorized = true;
    decide();
    EXPECT_EQ(decisions->willRemove(locked(".l")), Verdict::Proceed);
    EXPECT_EQ(decisions->willRemove(forbidden(".f")), Verdict::Leave);
    EXPECT_EQ(decisions->unlockItems().size(), 1u);
    EXPECT_EQ(decisions->permissionsItems().size(), 1u);
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(EraseDecisionsTest, FailedRemovalsOfForbiddenEntriesAreAskedAboutOnceThoughClassifiedTwice) {
    isHelperAuthorized = true;
    settings.classifiesTwice = true;
    answers = {{true, false}, {false, true}};
    decide();
    decisions->didFail(FakeEntry("a"), kNotPermitted);
    decisions->didFail(FakeEntry("b"), kNotPermitted);
    decisions->didFail(FakeEntry("c"), kNotPermitted);
    EXPECT_THAT(asked, ElementsAre("a", "b"));
    EXPECT_THAT(decisions->permissionsItems(), ElementsAre(FileUrl::fromPath("/t/files/a")));
    EXPECT_EQ(decisions->stayedEntries().size(), 2u);
    EXPECT_TRUE(decisions->stayedEntries()[1].skipped);
}

TEST_F(EraseDecisionsTest, OnlyNoPermissionAndBusyAreCounted) {
    for (const bool twice : {false, true}) {
        settings.classifiesTwice = twice;
        decide();
        const std::uint64_t times = twice ? 2 : 1;
        decisions->didFail(FakeEntry("busy"), kBusyError);
        EXPECT_EQ(decisions->itemBusyCount, times);
        decisions->didFail(FakeEntry("forbidden"), kNotPermitted);
        decisions->didFail(FakeEntry("other"), errorFromErrno(EIO, HostAccess::Write));
        EXPECT_EQ(decisions->notErasedCount, 2 * times);
        EXPECT_EQ(decisions->stayedEntries().size(), 3u);
    }
}

TEST_F(EraseDecisionsTest, StayedEntriesNameTheRefusedObjectAndTheReason) {
    decide().didFail(FakeEntry("ro"), errorFromErrno(EROFS, HostAccess::Write));
    EXPECT_EQ(onlyStay(), "read-only /t/files/ro");
    FakeEntry mounted("m");
    mounted.mountRoot = true;
    decide().didFail(mounted, kBusyError);
    EXPECT_EQ(onlyStay(), "mount-point /t/files/m");
    FakeEntry inLockedFolder("in");
    inLockedFolder.folderImmutable = true;
    decide().didFail(inLockedFolder, kNotPermitted);
    EXPECT_EQ(onlyStay(), "locked /t/files");
    decide().couldNotBegin(FileUrl::fromPath("/gone/a"), errorFromErrno(ENOENT, HostAccess::Read));
    EXPECT_THAT(decisions->stayedEntries(), IsEmpty());
    decide().couldNotBegin(FileUrl::fromPath("/link/a"), errorFromErrno(ELOOP, HostAccess::Read));
    EXPECT_EQ(onlyStay(), "error /link/a");
}

TEST_F(EraseDecisionsTest, StandingChoicesReplaceTheQuestions) {
    isHelperAuthorized = true;
    settings.locked = RefusedEntries::Skip;
    settings.forbidden = RefusedEntries::Erase;
    decide();
    EXPECT_EQ(decisions->willRemove(locked(".hidden")), Verdict::Leave);
    EXPECT_EQ(onlyStay(), "locked skipped /t/files/.hidden");
    EXPECT_EQ(decisions->willRemove(forbidden("f")), Verdict::Leave);
    EXPECT_EQ(decisions->permissionsItems().size(), 1u);
    EXPECT_THAT(asked, IsEmpty());
}

}  // namespace
}  // namespace kestrin
