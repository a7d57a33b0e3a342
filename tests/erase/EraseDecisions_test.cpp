// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <deque>
#include <functional>
#include <thread>

#include "base/StringTable.h"
#include "erase/CheckedDetails.h"
#include "erase/EraseDecisions.h"
#include "erase/StayedDetails.h"
#include "format/QVNumberUtilities.h"
#include "platform/items/HostErrors.h"

namespace kestrin {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Decision = EraseDecisions::Decision;

enum class Kind { Plain, Locked, OtherNames, Forbidden, MountPoint, InLockedFolder, Replaced };

class Entry : public RemovalEntry {
 public:
    explicit Entry(std::string name, Kind kind = Kind::Plain)
        : m_name(std::move(name)), m_kind(kind) {}
    std::string_view name() const override { return m_name; }
    std::string path() const override { return "/t/files/" + m_name; }
    bool isDirectory() const override { return false; }
    bool isMountRoot() const override { return m_kind == Kind::MountPoint; }
    bool isReplaced() const override { return m_kind == Kind::Replaced; }
    ItemIdentity identity() const override { return {}; }
    bool isImmutable() const override {
        return m_kind == Kind::Locked || (m_kind == Kind::OtherNames && m_name != "append-only");
    }
    bool isLockedWithOtherNames() const override { return m_kind == Kind::OtherNames; }
    std::uint64_t size() const override { return 10; }
    bool isWritingDenied() const override { return m_kind == Kind::Forbidden; }
    std::size_t itemTag() const override { return 0; }
    bool isAppendOnly() const override { return m_name == "append-only"; }
    bool isHeldByLockOfFolder() const override { return m_kind == Kind::InLockedFolder; }
    bool isForbiddenBesidesItsLock() const override { return false; }
    MaybeError unlock() const override {
        ADD_FAILURE() << "who decides changes nothing on disk";
        return {};
    }

 private:
    std::string m_name;
    Kind m_kind;
};

FileUrl url(const char* name) {
    return FileUrl::fromPath(std::string("/t/files/") + name);
}

class EraseDecisionsTest : public ::testing::Test {
 protected:
    void decide() {
        EraseDecisions::Callbacks callbacks;
        callbacks.ask = [this](const RefusalQuestion& question) {
            asked.push_back(question.name);
            if (meanwhile) meanwhile();
            const RefusalAnswer answer = answers.at(0);
            answers.pop_front();
            return answer;
        };
        callbacks.wasStopped = [] { return false; };
        callbacks.isHelperAuthorized = [this] { return isHelperAuthorized; };
        decisions.emplace(settings, std::move(callbacks));
    }
    /// What is decided about an entry whose lock can only be cleared by the helper.
    Decision willRemove(const char* name, Kind kind) {
        const Entry entry(name, kind);
        const Decision decision = decisions->decideLocked(entry);
        if (decision == Decision::Leave) return decision;
        EXPECT_EQ(decision == Decision::Unlock, kind == Kind::Locked);
        if (decision == Decision::Unlock && decisions->couldNotUnlock(entry) == Decision::Leave)
            return Decision::Leave;
        return decisions->decideForbidden(entry);
    }
    void didFail(const char* name, int error, Kind kind = Kind::Plain) {
        decisions->didFail(Entry(name, kind), errorFromErrno(error, HostAccess::Write));
    }
    /// What stayed: the first letter of the reason, whether it was skipped, the path.
    std::vector<std::string> stayed() const {
        std::vector<std::string> found;
        for (const auto& [url, reason, cause, skipped] : decisions->stayedEntries())
            found.push_back("LFBMRXUONE"[int(reason)] + std::string(skipped ? " skipped " : " ") +
                            url.path());
        return found;
    }

    EraseDecisions::Settings settings;
    bool isHelperAuthorized = true;
    std::deque<RefusalAnswer> answers;
    std::function<void()> meanwhile;  ///< while a question is open
    std::vector<std::string> asked;
    std::optional<EraseDecisions> decisions;
};

TEST_F(EraseDecisionsTest, TheLockedQuestionIsAskedOnceAnEntryUntilItHoldsForAll) {
    settings.deleteLocked = true;  // only the value before the first answer
    settings.classifiesTwice = true;
    answers = {{false, false}, {true, true}};
    decide();
    EXPECT_EQ(willRemove("a", Kind::Locked), Decision::Leave);
    EXPECT_EQ(willRemove("a", Kind::Locked), Decision::Leave);
    EXPECT_EQ(willRemove("b", Kind::Locked), Decision::Proceed);
    EXPECT_EQ(willRemove("c", Kind::Locked), Decision::Proceed);
    didFail("c", EPERM, Kind::Locked);         // it waits for the helper
    EXPECT_EQ(decisions->notErasedCount, 0u);  // what the user skipped is not counted
    EXPECT_EQ(willRemove("o", Kind::OtherNames), Decision::Leave);
    didFail("append-only", EPERM, Kind::OtherNames);
    EXPECT_EQ(decisions->notErasedCount, 2u);
    EXPECT_THAT(asked, ElementsAre("a", "b"));
    EXPECT_THAT(stayed(),
                ElementsAre("L skipped /t/files/a", "O /t/files/o", "O /t/files/append-only"));
    EXPECT_THAT(decisions->unlockItems(), ElementsAre(url("b"), url("c")));
    EXPECT_THAT(decisions->permissionsItems(), IsEmpty());
}

TEST_F(EraseDecisionsTest, WhileAQuestionIsOpenNothingElseIsDecided) {
    std::atomic<bool> isDecided = false;
    std::jthread other;
    answers = {{true, false}};
    decide();
    meanwhile = [&] {
        other = std::jthread([&] {
            decisions->waitWhileAQuestionIsOpen();
            isDecided = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(isDecided);
    };
    willRemove("locked", Kind::Locked);
    other.join();
    EXPECT_TRUE(isDecided);
}

TEST_F(EraseDecisionsTest, FailedRemovalsOfForbiddenEntriesAreAskedAboutOnceThoughClassifiedTwice) {
    settings.classifiesTwice = true;
    answers = {{true, false}, {false, true}};
    decide();
    for (const char* name : {"a", "b", "c"})
        didFail(name, EPERM);
    EXPECT_THAT(asked, ElementsAre("a", "b"));
    EXPECT_THAT(decisions->permissionsItems(), ElementsAre(url("a")));
    EXPECT_THAT(stayed(), ElementsAre("F skipped /t/files/b", "F skipped /t/files/c"));
}

TEST_F(EraseDecisionsTest, FailuresAreNamedWithTheirReasonAndSomeAreCounted) {
    isHelperAuthorized = false;
    for (const bool twice : {false, true}) {
        settings.classifiesTwice = twice;
        decide();
        didFail("b", EBUSY);
        didFail("m", EBUSY, Kind::MountPoint);
        didFail("f", EPERM);
        didFail("i", EPERM, Kind::InLockedFolder);
        didFail("r", EROFS);
        didFail("x", ESTALE, Kind::Replaced);
        didFail("n", kNotFoundAgain);
        didFail("e", EIO);
        decisions->couldNotBegin(FileUrl::fromPath("/g"), errorFromErrno(ENOENT, HostAccess::Read));
        decisions->couldNotBegin(FileUrl::fromPath("/l"), errorFromErrno(ELOOP, HostAccess::Read));
        EXPECT_THAT(stayed(), ElementsAre("B /t/files/b", "M /t/files/m", "F /t/files/f",
                                          "L /t/files", "R /t/files/r", "X /t/files/x",
                                          "N /t/files/n", "E /t/files/e", "E /l"));
        EXPECT_EQ(decisions->itemBusyCount, twice ? 4u : 2u);
        EXPECT_EQ(decisions->notErasedCount, twice ? 8u : 4u);
    }
}

TEST(AlertLists, NameWhatStayedAndWhatIsCheckedFitToBeRead) {
    const StringTable texts{QStringLiteral("en")};
    const QVNumberUtilities numbers{"en_US", texts};
    const AlertDetails stayed =
        stayedDetails({{FileUrl::fromPath("/trash/a/b\n\xff"), StayReason::Error, "no “\u202e”\n"},
                       {FileUrl::fromPath("/trash/c"), StayReason::Locked, {}},
                       {FileUrl::fromPath("/trash/c"), StayReason::Forbidden, {}, true}},
                      texts);
    ASSERT_EQ(stayed.count, 3u);
    EXPECT_EQ(stayed.row(0).cells[0], QStringLiteral("b\\n\uFFFD"));
    EXPECT_EQ(stayed.row(0).fullName, QStringLiteral("/trash/a/b\\n\uFFFD"));
    EXPECT_EQ(stayed.row(0).cells[1], QStringLiteral("no “‹U+202E›”\\n"));
    EXPECT_EQ(stayed.row(1).cells[1], texts.text("stayed_locked"));
    EXPECT_EQ(stayed.row(1).cells[2], texts.text("stayed_help_locked"));
    EXPECT_EQ(stayed.row(2).cells[2], texts.text("stayed_help_skipped"));

    const auto entry = [](std::size_t index) -> CheckedEntry {
        return {"n\n" + std::to_string(index), "/was/here", index};
    };
    const AlertDetails checked =
        checkedDetails({{QStringLiteral("A\n"), 1, entry}, {QStringLiteral("B"), 1'000'000, entry}},
                       texts, numbers);
    ASSERT_EQ(checked.count, 1'000'003u);
    EXPECT_THAT(checked.headings, ElementsAre(0u, 2u));
    EXPECT_TRUE(checked.row(0).cells[0].contains(QLatin1String("A\\n")));
    EXPECT_TRUE(checked.row(2).cells[0].contains(QLatin1String("1,000,000")));
    EXPECT_EQ(checked.row(1).cells[0], QStringLiteral("n\\n0"));
    EXPECT_EQ(checked.row(1'000'002).fullName, QStringLiteral("/was/here/n\\n999999"));
}

}  // namespace
}  // namespace kestrin
