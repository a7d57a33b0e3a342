// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVDeleteItems.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <new>
#include <thread>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/EraseTurn.h"
#include "erase/QVErrorDelegate.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "platform/desktop/Places.h"
#include "platform/items/HostErrors.h"
#include "support/RecordingProgressView.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::HasSubstr;
namespace Key = EraseNotification;

class QVDeleteItemsTest : public ::testing::Test {
 protected:
    void SetUp() override {
        defaults.registerDefaults(defaultSettings());
        observation = center.observe(Key::kStopWorking, [this](const Notification& notification) {
            EXPECT_TRUE(MainThread::isCurrent());
            ends.push_back(notification.userInfo);
        });
        makeFolder(trash);
        std::filesystem::remove_all(logs);
    }
    void TearDown() override { engine.reset(); }

    EraseRequest allDisks() const {
        EraseRequest request;
        request.isAllDisks = true;
        request.volumeArray = {{FileUrl::fromPath(trash), {}, QStringLiteral("Disk"), "/", false}};
        request.wholeTrashes = {
            {.trashURL = FileUrl::fromPath(trash), .volumeURL = FileUrl::fromPath("/")}};
        return request;
    }
    void trashFile(const char* name) const { writeFile(trash + "/" + name, "12345"); }
    SharedItemsToErase items(const std::string& name) const {
        return std::make_shared<ItemsToErase>(
            ItemsToErase{{.trash = std::make_shared<const FileUrl>(FileUrl::fromPath(trash)),
                          .name = name,
                          .identity = identityAt(AT_FDCWD, (trash + "/" + name).c_str()),
                          .size = 5,
                          .count = 1}});
    }
    bool run(const EraseRequest& request, const SharedItemsToErase& items = nullptr) {
        ends.clear();
        engine = QVDeleteItems::create(services);
        return engine->askToContinue(request) && engine->proceedToEraseWithArray(items) &&
               waitFor([this] { return !ends.empty(); });
    }

    ScratchFolder scratch;
    std::string trash = scratch / "Trash/files";
    ScriptedAlerts alerts;
    ProgressRecord progress;
    UserDefaults defaults{scratch / "settings.conf"};
    NotificationCenter center;
    StringTable texts{QStringLiteral("en")};
    QVNumberUtilities numbers{"en_US", texts};
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    const std::string logs = location(Place::Logs).path();
    EraseServices services{QVFilesUtilities::sharedControl(),
                           numbers,
                           QVDateUtilities::sharedControl(),
                           presenter,
                           defaults,
                           center,
                           texts,
                           progress.factory(),
                           {}};
    Observation observation;
    std::vector<UserInfo> ends;
    std::shared_ptr<QVDeleteItems> engine;
};

TEST_F(QVDeleteItemsTest, ErasesEverythingAndSaysSoOnceAndEndsWithoutTicksToo) {
    trashFile("one");
    trashFile("folder/sub/two");
    ASSERT_TRUE(run(allDisks()));
    EXPECT_FALSE(exists(trash + "/folder"));
    waitFor([] { return false; }, 50);
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0].value<std::uint64_t>(Key::kErasedCount), 4u);
    EXPECT_EQ(ends[0].value<std::uint64_t>(Key::kErasedSize), 10u);
    EXPECT_FALSE(ends[0].value<bool>(Key::kWasStoppedByUser, true));
    EXPECT_TRUE(progress.parents.empty()) << "within 0.7 s nothing shows";
    EXPECT_EQ(progress.states.back().mainText, texts.text("progress_all"_key));
    EXPECT_EQ(progress.closed, 1);

    trashFile("one");
    services.startTick = [](std::function<bool()>) -> Result<std::unique_ptr<DisplayTick>> {
        return errorFromErrno(EAGAIN, HostAccess::Write);
    };
    ASSERT_TRUE(run(allDisks()));
    EXPECT_EQ(engine->totItemsDeleted(), 1u);
    EXPECT_EQ(progress.closed, 2);
}

TEST_F(QVDeleteItemsTest, ASingleDiskIsNamedUnlessNobodyWasAskedAndOnlyWhatWasListedGoes) {
    EraseRequest request;
    request.volumeName = QStringLiteral("Backup %1");
    request.size = 5;
    request.count = 1;
    trashFile("one");
    ASSERT_TRUE(run(request, items("one")));
    EXPECT_THAT(alerts.models.at(0).title.toStdString(), HasSubstr("Backup %1"));
    EXPECT_THAT(progress.states.back().infoText.toStdString(), HasSubstr("Backup %1"));

    trashFile("two");
    defaults.set("show_alert", false);
    ASSERT_TRUE(run(request, items("two")));
    EXPECT_EQ(alerts.models.size(), 1u);
    EXPECT_EQ(progress.states.back().infoText, texts.text("erasing_all"_key));
    EXPECT_EQ(progress.states.back().mainText, texts.text("progress_main"_key));

    trashFile("replaced");
    trashFile("goes");
    auto listed = std::make_shared<ItemsToErase>(*items("replaced"));
    listed->push_back(items("goes")->front());
    std::filesystem::rename(trash + "/replaced", scratch / "moved");
    trashFile("replaced");
    ASSERT_TRUE(run(request, listed));
    ASSERT_EQ(engine->stayedEntries().size(), 1u);
    EXPECT_EQ(engine->stayedEntries()[0].reason, StayReason::Replaced);
    ASSERT_EQ(alerts.models.size(), 2u);
    EXPECT_EQ(alerts.models[1].details.row(0).cells[1], texts.text("stayed_replaced"_key));
    EXPECT_TRUE(exists(trash + "/replaced"));
}

TEST_F(QVDeleteItemsTest, TakesTheLateFiguresThatAreMeantForItAndNoOthers) {
    const auto figures = [this](const char* name) {
        return UserInfo()
            .set(Key::kSize, std::uint64_t{5})
            .set(Key::kCount, std::uint64_t{1})
            .set(Key::kItemsToErase, items(name));
    };
    EraseRequest request;
    const void* const itsCount = &request;
    for (const void* sender : {itsCount, static_cast<const void*>(nullptr)}) {
        trashFile("one");
        trashFile("other");
        request.countSender = sender;
        alerts.addAnswer(kAlertFirstButton, false, [&] {
            center.post(Key::kUpdateCountAndSizeToDelete, sender);  // a source was measured
            center.post(Key::kUpdateCountAndSizeToDelete, &alerts, figures("other"));
            EXPECT_TRUE(alerts.sizeLines.back().spinning);
            center.post(Key::kUpdateCountAndSizeToDelete, sender, figures("one"));
            EXPECT_FALSE(alerts.sizeLines.back().spinning);
        });
        ASSERT_TRUE(run(request));
        EXPECT_FALSE(exists(trash + "/one"));
        EXPECT_TRUE(exists(trash + "/other"));
        EXPECT_EQ(engine->totItemsDeleted(), 1u);
    }
}

TEST_F(QVDeleteItemsTest, NamesATrashThatCannotBeReadAnyMore) {
    EraseRequest request = allDisks();
    const std::string closed = scratch / "Other/files";
    request.volumeArray.push_back(
        {FileUrl::fromPath(closed), {}, QStringLiteral("B"), "/b", false});
    writeFile(closed + "/two");
    trashFile("one");
    std::filesystem::permissions(closed, std::filesystem::perms::none);
    for (const std::uint64_t erased : {1u, 0u}) {
        ASSERT_TRUE(run(request));
        EXPECT_EQ(engine->totItemsDeleted(), erased);
        ASSERT_EQ(engine->stayedEntries().size(), 1u);
        EXPECT_EQ(engine->stayedEntries()[0].url.path(), closed);
        EXPECT_EQ(engine->stayedEntries()[0].reason, StayReason::Forbidden);
    }
    std::filesystem::permissions(closed, std::filesystem::perms::owner_all);

    request = {};  // a single disk whose count failed
    request.wholeTrashes = allDisks().wholeTrashes;
    trashFile("one");
    ASSERT_TRUE(run(request));
    ASSERT_EQ(engine->stayedEntries().size(), 1u);
}

/// Erases nothing and complains.
struct FailingHelper final : HelperClient {
    explicit FailingHelper(HelperDelegate& toTell) : delegate(toTell) {}
    void authorizedEraseWithDictionary(std::shared_ptr<const HelperRequest> request) override {
        delegate.setNotErasedCount(request->unlockItems.size());
        delegate.attributesNotRestored("/left");
        delegate.showErrorWithError({"d", 1, 0, {{"errorString", "It is busy."}}});
        delegate.setIsWorking(false);
    }
    void stoppedByUser() override {}

    HelperDelegate& delegate;
};

TEST_F(QVDeleteItemsTest, ProgressShowsAfterSevenTenthsAndStopEndsTheErase) {
    KESTRIN_REQUIRE_ROOT();
    services.helper.isAuthorized = [] { return true; };
    for (const char* name : {"a", "b"}) {
        trashFile(name);
        if (!makeImmutable(trash + "/" + name)) GTEST_SKIP() << "no immutable attribute here";
    }
    int window = 0;
    const EraseRequest smart{.isSmartErase = true, .size = 10, .count = 2, .window = &window};
    auto both = std::make_shared<ItemsToErase>(*items("a"));
    both->push_back(items("b")->front());
    defaults.set("show_alert", false);
    alerts.addAnswer(kAlertFirstButton, false, [this] {
        EXPECT_TRUE(waitFor([this] { return progress.parents.size() == 1; }, 3000));
        progress.pressStop();
    });
    ASSERT_TRUE(run(smart, both));
    defaults.set("show_alert", true);
    EXPECT_EQ(progress.parents.at(0), &window) << "a sheet, also when nobody was asked";
    EXPECT_TRUE(engine->isStoppedByUser());
    ASSERT_EQ(alerts.models.size(), 1u) << "no further question after Stop";
    EXPECT_EQ(alerts.models[0].topic, AlertModel::Topic::LockedQuestion);
    EXPECT_TRUE(exists(trash + "/a"));
    EXPECT_TRUE(exists(trash + "/b"));

    services.helper.makeClient = [](HelperDelegate& delegate) {
        return std::make_unique<FailingHelper>(delegate);
    };
    alerts.models.clear();
    alerts.addAnswer(kAlertFirstButton);
    alerts.addAnswer(kAlertSecondButton, true);
    alerts.addAnswer(kAlertFirstButton, false, [this] { engine->stop(); });
    trashFile("free");
    ASSERT_TRUE(run(allDisks()));
    EXPECT_FALSE(engine->isStoppedByUser()) << "the report is after the end";
    EXPECT_FALSE(ends[0].value<bool>(Key::kWasStoppedByUser, true));
    ASSERT_EQ(alerts.models.size(), 3u) << "one report of what stayed and what the helper said";
    EXPECT_EQ(alerts.models[2].title,
              texts.text("not_erased"_errorKey, StringTable::Table::Errors));
    EXPECT_EQ(alerts.models[2].text, QStringLiteral("It is busy."));
    EXPECT_EQ(alerts.models[2].details.count, 3u);
    EXPECT_EQ(engine->stayedEntries().at(0).reason, StayReason::LeftUnlocked);
}

TEST_F(QVDeleteItemsTest, DeclinedOrStoppedBeforeTheFirstEntryItKeepsThemAll) {
    trashFile("one");
    const auto ask = [this] {
        engine = QVDeleteItems::create(services);
        return engine->askToContinue(allDisks());
    };
    alerts.addAnswer(kAlertSecondButton);
    EXPECT_FALSE(ask());
    EXPECT_EQ(ends.size(), 1u);

    const Observation counts = center.observe(
        Key::kUpdateCountAndSizeToDelete,
        [](const Notification&) { FAIL() << "nobody waits for this count any more"; });
    alerts.addAnswer(kAlertFirstButton, false, [this] {
        engine->stop();
        waitFor([] { return false; }, 50);
    });
    ASSERT_TRUE(ask()) << "during the confirmation";
    ASSERT_TRUE(engine->proceedToEraseWithArray());
    EXPECT_EQ(ends.size(), 2u);

    ASSERT_TRUE(ask());
    std::jthread([this] { engine->stop(); }).join();
    ASSERT_TRUE(engine->proceedToEraseWithArray()) << "stopped by another thread, before the start";
    EXPECT_EQ(ends.size(), 3u);
    for (const UserInfo& end : ends)
        EXPECT_TRUE(end.isEmpty());
    EXPECT_TRUE(exists(trash + "/one"));
    EXPECT_FALSE(exists(logs));

    ASSERT_TRUE(ask());
    ASSERT_TRUE(engine->proceedToEraseWithArray());
    engine->stop();
    EXPECT_TRUE(engine->isStoppedByUser()) << "at once, also when the event loop is over";
    EXPECT_TRUE(waitFor([this] { return ends.size() == 4; }));
}

TEST_F(QVDeleteItemsTest, EndsOnceHoweverOftenItTicks) {
    KESTRIN_REQUIRE_ROOT();
    trashFile("locked");
    if (!makeImmutable(trash + "/locked")) GTEST_SKIP() << "no immutable attribute here";
    std::jthread ticks;  // without a pause, so that one of them meets the end half-way
    services.startTick = [&ticks](std::function<bool()> callback) {
        ticks = std::jthread([callback = std::move(callback)] {
            while (callback()) {
            }
        });
        return DisplayTick::start([] { return false; });
    };
    for (int times = 0; times < 10; ++times) {
        ASSERT_TRUE(run(allDisks()));
        ticks = {};
        waitFor([] { return false; }, 5);
        ASSERT_EQ(ends.size(), 1u);
        EXPECT_TRUE(ends[0].isEmpty()) << "nothing was erased";
    }
    EXPECT_EQ(alerts.models.size(), 10u) << "confirmations, and no report";
}

TEST_F(QVDeleteItemsTest, TellsOfALogWithGapsAndOfWantOfMemory) {
    KESTRIN_REQUIRE_ROOT();
    trashFile("one");
    ASSERT_TRUE(run(allDisks()));
    runAsRoot("chown -R root '" + logs + "'/*/*");
    trashFile("one");
    trashFile("locked");
    if (!makeImmutable(trash + "/locked")) GTEST_SKIP() << "no immutable attribute here";
    ASSERT_TRUE(run(allDisks()));
    ASSERT_EQ(engine->problems().size(), 1);
    EXPECT_EQ(alerts.models.back().text, engine->problems()[0]);
    EXPECT_THAT(alerts.models.back().text.toStdString(), HasSubstr(logs));

    trashFile("one");
    services.helper.isAuthorized = []() -> bool { throw std::bad_alloc(); };
    ASSERT_TRUE(run(allDisks()));
    EXPECT_TRUE(engine->gaveUp());
    EXPECT_THAT(engine->problems()[0].toStdString(), HasSubstr("memory"));
    EXPECT_EQ(ends[0].isEmpty(), engine->totItemsDeleted() == 0);
    EXPECT_EQ(exists(trash + "/one"), engine->totItemsDeleted() == 0) << "what is gone is told";
}

TEST_F(QVDeleteItemsTest, ASmartEraseIsAskedForOnItsWindowOneAtATime) {
    std::vector<bool> answers;
    const Observation heard = center.observe(Key::kWaitForResponse, [&](const Notification& told) {
        EXPECT_EQ(told.userInfo.value<UserInfo>(Key::kItemsDict).value<int>("its"), 7);
        const bool canContinue = told.userInfo.value<bool>(Key::kCanContinue);
        MainThread::post([&answers, canContinue] { answers.push_back(canContinue); });
    });
    int broughtForward = 0;
    services.bringForward = [&] { ++broughtForward; };
    alerts.answersSheets = false;
    int window = 0;
    EraseRequest request{.isSmartErase = true, .size = 5, .count = 1, .window = &window};
    request.itemsDict.set("its", 7);
    request.hiddenCount = 3;
    request.checked = {{QStringLiteral("Disk"), 1, [](std::size_t) {
                            return CheckedEntry{"one", {}, {}};
                        }}};
    const auto ask = [&] {
        answers.clear();
        engine = QVDeleteItems::create(services);
        EXPECT_TRUE(engine->askToContinue(request));
        return waitFor([&] { return !alerts.sheets.empty(); });
    };
    const auto answer = [&](int button) {
        alerts.answerSheet(button);
        return waitFor([&] { return answers.size() == 1; }) && answers[0];
    };
    trashFile("one");

    ASSERT_TRUE(ask());
    EXPECT_EQ(alerts.sheets[0].parent, &window);
    EXPECT_THAT(alerts.models[0].text.toStdString(), HasSubstr("3 checked items are hidden"));
    EXPECT_EQ(alerts.models[0].details.count, 2u);
    EXPECT_EQ(EraseTurn::holder(), engine);
    const auto second = QVDeleteItems::create(services);
    EXPECT_FALSE(second->askToContinue(allDisks()));
    EXPECT_EQ(broughtForward, 1);
    EXPECT_FALSE(answer(kAlertSecondButton));
    EXPECT_EQ(EraseTurn::holder(), nullptr);

    ASSERT_TRUE(ask());
    ASSERT_TRUE(answer(kAlertFirstButton));
    writeFile(logs, "a file where the folder should be");
    EXPECT_FALSE(engine->proceedToEraseWithArray(items("one")));
    std::filesystem::remove(logs);
    EXPECT_THAT(engine->startProblem().toStdString(), HasSubstr("Kestrin 3"));
    ASSERT_TRUE(waitFor([&] { return !alerts.sheets.empty(); }));
    EXPECT_EQ(alerts.models.back().title, texts.text("open_log_file_error"_key));
    EXPECT_EQ(alerts.sheets[0].parent, &window);
    alerts.answerSheet(kAlertFirstButton);
    EXPECT_EQ(EraseTurn::holder(), nullptr);

    ASSERT_TRUE(ask());
    engine->stop();
    ASSERT_TRUE(answer(kAlertFirstButton));
    ASSERT_TRUE(engine->proceedToEraseWithArray(items("one")));
    EXPECT_EQ(ends.size(), 1u);
    EXPECT_TRUE(exists(trash + "/one")) << "stopped while its sheet was open";

    ASSERT_TRUE(ask());
    ASSERT_TRUE(answer(kAlertFirstButton));
    ASSERT_TRUE(engine->proceedToEraseWithArray(items("one")));
    engine.reset();  // it keeps itself
    ASSERT_TRUE(waitFor([this] { return ends.size() == 2; }));
    EXPECT_EQ(ends[1].value<std::uint64_t>(Key::kErasedCount), 1u);
    EXPECT_FALSE(exists(trash + "/one"));
}

TEST_F(QVDeleteItemsTest, EndsTruthfullyWhereNoThreadIsToBeHad) {
    KESTRIN_REQUIRE_ROOT();  // the limit holds for others alone
    trashFile("one");
    waitFor([] { return false; }, 1100);  // until the queue's idle threads have ended
    std::vector<bool> answers;
    const Observation heard = center.observe(Key::kWaitForResponse, [&](const Notification& told) {
        answers.push_back(told.userInfo.value<bool>(Key::kCanContinue));
    });
    alerts.answersSheets = false;
    int window = 0;
    const EraseRequest request{.isSmartErase = true, .size = 5, .count = 1, .window = &window};
    rlimit threads{};
    ASSERT_EQ(getrlimit(RLIMIT_NPROC, &threads), 0);
    const rlimit none{1, threads.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
    for (const bool asks : {true, false}) {
        answers.clear();
        defaults.set("show_alert", asks);
        engine = QVDeleteItems::create(services);
        EXPECT_TRUE(engine->askToContinue(request));
        EXPECT_TRUE(answers.empty()) << "the caller is back before the answer";
        EXPECT_TRUE(waitFor([&] { return !answers.empty(); }));
        EXPECT_EQ(answers, std::vector<bool>{!asks}) << "where nobody can wait for it";
        EXPECT_TRUE(alerts.sheets.empty());
    }
    EXPECT_TRUE(engine->proceedToEraseWithArray(items("one")));
    EXPECT_TRUE(waitFor([this] { return !ends.empty(); }));
    ASSERT_EQ(setrlimit(RLIMIT_NPROC, &threads), 0);
    EXPECT_TRUE(engine->gaveUp());
    EXPECT_TRUE(ends.at(0).isEmpty());
    EXPECT_EQ(EraseTurn::holder(), nullptr);
    EXPECT_TRUE(exists(trash + "/one"));
}

}  // namespace
}  // namespace kestrin
