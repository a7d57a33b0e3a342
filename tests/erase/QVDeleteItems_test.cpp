// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVDeleteItems.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "inventory/QVKestrinFileUtilities.h"
#include "platform/HostErrors.h"
#include "platform/Places.h"
#include "platform/TreeRemover.h"
#include "support/RecordingProgressView.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
namespace Key = EraseNotification;

/// Erases what it is handed, as root's helper would, and reports it.
class FakeHelper : public HelperClient {
 public:
    explicit FakeHelper(HelperDelegate& delegate) : m_delegate(delegate) {}
    void authorizedErase(const HelperRequest& request) override {
        std::uint64_t count = request.erasedCount;
        for (const auto* list : {&request.unlockItems, &request.permissionsItems}) {
            for (const FileUrl& item : *list) {
                makeImmutable(item.path(), false);
                const AsRoot root;
                if (removeItem(item)) continue;
                m_delegate.setTotItemsDeleted(++count);
                m_delegate.writeLogEntry(item.path(), 0);
            }
        }
        m_delegate.setNotErasedCount(0);
        m_delegate.setIsWorking(false);
    }
    void stoppedByUser() override {}

 private:
    HelperDelegate& m_delegate;
};

class QVDeleteItemsTest : public ::testing::Test {
 protected:
    void SetUp() override {
        defaults.registerDefaults(defaultSettings());
        observation = center.observe(Key::kStopWorking, [this](const Notification& notification) {
            EXPECT_TRUE(MainThread::isCurrent());
            ends.push_back(notification.userInfo);
        });
        makeFolder(trash);
        std::filesystem::remove_all(location(Place::Logs).path());
        engine = QVDeleteItems::create(services());
    }
    void TearDown() override { engine.reset(); }

    EraseServices services() {
        return {QVFilesUtilities::sharedControl(),
                QVKestrinFileUtilities::sharedControl(),
                numbers,
                dates,
                presenter,
                defaults,
                center,
                texts,
                progress.factory(),
                helper};
    }
    EraseRequest allDisks() const {
        EraseRequest request;
        request.isAllDisks = true;
        request.volumeArray = {{FileUrl::fromPath(trash), {}, QStringLiteral("Disk"), "/", false}};
        request.wholeTrashes = {FileUrl::fromPath(trash)};
        return request;
    }
    /// An entry with its record in the trash.
    void trashFile(const std::string& name, std::string_view content = "12345") const {
        writeFile(trash + "/" + name, content);
        const std::string top = name.substr(0, name.find('/'));
        writeFile(record(top), "[Trash Info]\nPath=/x\nDeletionDate=2026-01-02T03:04:05\n");
    }
    std::string record(const std::string& name) const {
        return scratch / ("Trash/info/" + name + ".trashinfo");
    }
    bool run(const EraseRequest& request) {
        return engine->askToContinue(request) && engine->proceedToErase() && waitForEnd();
    }
    bool waitForEnd() {
        return waitFor([this] { return !ends.empty(); });
    }
    std::string log() const {
        std::string text;
        const std::string root = location(Place::Logs).path();
        if (!exists(root)) return text;
        for (const auto& file : std::filesystem::recursive_directory_iterator(root)) {
            if (file.is_regular_file()) text += readFile(file.path());
        }
        return text;
    }

    ScratchFolder scratch;
    std::string trash = scratch / "Trash/files";
    ScriptedAlerts alerts;
    ProgressRecord progress;
    UserDefaults defaults{scratch / "settings.conf"};
    NotificationCenter center;
    StringTable texts{QStringLiteral("en")};
    QVNumberUtilities numbers{"en_US", texts};
    QVDateUtilities& dates = QVDateUtilities::sharedControl();
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    HelperAccess helper;
    Observation observation;
    std::vector<UserInfo> ends;
    std::shared_ptr<QVDeleteItems> engine;
};

TEST_F(QVDeleteItemsTest, ErasesEverythingWithItsRecordsAndSaysSoOnce) {
    trashFile("one");
    trashFile("folder/sub/two");
    ASSERT_TRUE(run(allDisks()));
    EXPECT_FALSE(exists(trash + "/one"));
    EXPECT_FALSE(exists(trash + "/folder"));
    EXPECT_FALSE(exists(record("one")));
    EXPECT_FALSE(exists(record("folder")));
    waitFor([] { return false; }, 50);
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0].value<std::uint64_t>(Key::kErasedCount), 4u);
    EXPECT_EQ(ends[0].value<std::uint64_t>(Key::kErasedSize), 10u);
    EXPECT_FALSE(ends[0].value<bool>(Key::kWasStoppedByUser, true));
    EXPECT_FALSE(engine->isWorking());
    EXPECT_THAT(engine->stayedEntries(), IsEmpty());
    EXPECT_THAT(log(), HasSubstr("1 " + trash));
    EXPECT_THAT(log(), HasSubstr("4 " + trash));
    ASSERT_EQ(alerts.models.size(), 1u);
    EXPECT_EQ(progress.shown, 0) << "within 0.7 s nothing shows";
    EXPECT_EQ(progress.closed, 1);
}

TEST_F(QVDeleteItemsTest, ADeclinedConfirmationErasesNothing) {
    trashFile("one");
    alerts.addAnswer(kAlertSecondButton);
    EXPECT_FALSE(engine->askToContinue(allDisks()));
    ASSERT_TRUE(waitForEnd());
    EXPECT_TRUE(ends[0].isEmpty());
    EXPECT_TRUE(exists(trash + "/one"));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(QVDeleteItemsTest, AnEmptyTrashEndsWithoutFiguresAndLosesOldOrphanRecords) {
    writeFile(record("orphan"), "[Trash Info]\n");
    writeFile(record("young"), "[Trash Info]\n");
    std::filesystem::last_write_time(
        record("orphan"), std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    ASSERT_TRUE(run(allDisks()));
    EXPECT_TRUE(ends[0].isEmpty());
    EXPECT_FALSE(exists(record("orphan")));
    EXPECT_TRUE(exists(record("young")));
}

TEST_F(QVDeleteItemsTest, ASingleDiskIsNamedUnlessNobodyWasAsked) {
    trashFile("one");
    const auto scan =
        QVKestrinFileUtilities::sharedControl().binItemsAndInfoWithURL(FileUrl::fromPath(trash));
    EraseRequest request;
    request.volumeName = QStringLiteral("Backup %1");
    request.size = scan->size;
    request.count = scan->count;
    ASSERT_TRUE(engine->askToContinue(request));
    EXPECT_THAT(alerts.models.at(0).title.toStdString(), HasSubstr("Backup %1"));
    ASSERT_TRUE(engine->proceedToErase(scan->itemsToErase));
    ASSERT_TRUE(waitForEnd());
    EXPECT_THAT(progress.infoTexts.back().toStdString(), HasSubstr("Backup %1"));

    trashFile("two");
    ends.clear();
    defaults.set("show_alert", false);
    engine = QVDeleteItems::create(services());
    ASSERT_TRUE(engine->askToContinue(request));
    EXPECT_EQ(alerts.models.size(), 1u);
    auto items = std::make_shared<ItemsToErase>();
    items->push_back({FileUrl::fromPath(trash + "/two"), 5, 1});
    ASSERT_TRUE(engine->proceedToErase(items));
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(progress.infoTexts.back(), texts.text("erasing_all"_key));
}

TEST_F(QVDeleteItemsTest, ASmartEraseAsksOnItsWindowAndWaitsForTheResponse) {
    trashFile("one");
    trashFile("two");
    int window = 0;
    for (const int answer : {kAlertSecondButton, kAlertFirstButton}) {
        EraseRequest request;
        request.isSmartErase = true;
        request.count = 1;
        request.window = &window;
        request.itemsDict.set("mark", answer);
        alerts.addAnswer(answer);
        std::atomic<int> response = 0;
        const Observation waiting =
            center.observe(Key::kWaitForResponse, [&](const Notification& notification) {
                EXPECT_EQ(notification.userInfo.value<UserInfo>(Key::kItemsDict).value<int>("mark"),
                          answer);
                response = notification.userInfo.value<bool>(Key::kCanContinue) ? 1 : -1;
            });
        engine = QVDeleteItems::create(services());
        EXPECT_TRUE(engine->askToContinue(request));
        ASSERT_TRUE(waitFor([&] { return response != 0; }));
        EXPECT_EQ(response, answer == kAlertFirstButton ? 1 : -1);
    }
    auto items = std::make_shared<ItemsToErase>();
    items->push_back({FileUrl::fromPath(trash + "/one"), 5, 1});
    ASSERT_TRUE(engine->proceedToErase(items));
    ASSERT_TRUE(waitForEnd());
    EXPECT_FALSE(exists(trash + "/one"));
    EXPECT_TRUE(exists(trash + "/two"));
    EXPECT_TRUE(exists(record("two")));
}

TEST_F(QVDeleteItemsTest, WhatStaysKeepsItsRecordAndIsReported) {
    KESTRIN_REQUIRE_ROOT();
    trashFile("a");
    trashFile("folder/locked");
    trashFile("folder/free");
    if (!makeImmutable(trash + "/folder/locked")) GTEST_SKIP() << "no immutable attribute here";
    ASSERT_TRUE(run(allDisks()));
    EXPECT_TRUE(exists(trash + "/folder/locked"));
    EXPECT_FALSE(exists(trash + "/folder/free"));
    EXPECT_TRUE(exists(record("folder")));
    EXPECT_FALSE(exists(record("a")));
    ASSERT_EQ(engine->stayedEntries().size(), 1u);
    EXPECT_EQ(engine->stayedEntries()[0].url.path(), trash + "/folder/locked");
    EXPECT_EQ(alerts.models.back().title,
              texts.text("user_not_authorized"_errorKey, StringTable::Table::Errors));
    ASSERT_EQ(alerts.models.back().details.size(), 1u);
    EXPECT_EQ(alerts.models.back().details[0].name, QStringLiteral("locked"));
    EXPECT_EQ(alerts.models.back().details[0].reason, texts.text("stayed_locked"_key));
    makeImmutable(trash + "/folder/locked", false);
}

TEST_F(QVDeleteItemsTest, TheHelperTakesWhatTheUserAnsweredForOneLogSequence) {
    KESTRIN_REQUIRE_ROOT();
    helper.isAuthorized = [] { return true; };
    helper.makeClient = [](HelperDelegate& delegate) {
        return std::make_unique<FakeHelper>(delegate);
    };
    engine = QVDeleteItems::create(services());
    trashFile("a");
    for (const char* name : {"locked1", "locked2"}) {
        trashFile(name);
        if (!makeImmutable(trash + "/" + name)) GTEST_SKIP() << "no immutable attribute here";
    }
    alerts.addAnswer(kAlertFirstButton);  // the confirmation
    alerts.addAnswer(kAlertSecondButton);
    alerts.addAnswer(kAlertFirstButton);
    ASSERT_TRUE(run(allDisks()));
    // Workers take entries at the same time: either may be asked about first.
    const bool isFirst = alerts.models.at(1).title.contains(QStringLiteral("locked1"));
    EXPECT_FALSE(exists(trash + (isFirst ? "/locked1" : "/locked2")));
    const std::string skipped = trash + (isFirst ? "/locked2" : "/locked1");
    EXPECT_TRUE(exists(skipped));
    EXPECT_EQ(ends[0].value<std::uint64_t>(Key::kErasedCount), 2u);
    EXPECT_THAT(log(), HasSubstr("2 " + trash));
    ASSERT_EQ(engine->stayedEntries().size(), 1u);
    EXPECT_TRUE(engine->stayedEntries()[0].skipped);
    makeImmutable(skipped, false);
}

TEST_F(QVDeleteItemsTest, ProgressShowsAfterSevenTenthsAndStopEndsTheErase) {
    KESTRIN_REQUIRE_ROOT();
    helper.isAuthorized = [] { return true; };
    engine = QVDeleteItems::create(services());
    for (const char* name : {"a", "b"}) {
        trashFile(name);
        if (!makeImmutable(trash + "/" + name)) GTEST_SKIP() << "no immutable attribute here";
    }
    alerts.addAnswer(kAlertFirstButton);
    alerts.addAnswer(kAlertFirstButton, false, [this] {
        EXPECT_TRUE(waitFor([this] { return progress.shown == 1; }, 3000));
        progress.pressStop();
    });
    ASSERT_TRUE(run(allDisks()));
    EXPECT_TRUE(engine->isStoppedByUser());
    EXPECT_EQ(alerts.models.size(), 2u) << "no further question after Stop";
    EXPECT_TRUE(exists(trash + "/a"));
    EXPECT_TRUE(exists(trash + "/b"));
    makeImmutable(trash + "/a", false);
    makeImmutable(trash + "/b", false);
}

TEST_F(QVDeleteItemsTest, StopBeforeTheFirstEntryKeepsThemAll) {
    trashFile("one");
    const auto ask = [this] { return engine->askToContinue(allDisks()); };
    alerts.addAnswer(kAlertFirstButton, false, [this] { engine->stop(); });
    ASSERT_TRUE(ask()) << "during the confirmation";
    ASSERT_TRUE(engine->proceedToErase());
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_TRUE(ends[0].isEmpty());

    engine = QVDeleteItems::create(services());
    ASSERT_TRUE(ask());
    std::jthread([this] { engine->stop(); }).join();
    ASSERT_TRUE(engine->proceedToErase()) << "stopped by another thread, before the start";
    EXPECT_EQ(ends.size(), 2u);
    EXPECT_TRUE(exists(trash + "/one"));
    EXPECT_THAT(log(), IsEmpty());

    engine = QVDeleteItems::create(services());
    ASSERT_TRUE(ask());
    ASSERT_TRUE(engine->proceedToErase());
    engine->stop();
    EXPECT_TRUE(engine->isStoppedByUser()) << "at once, also when the event loop is over";
    EXPECT_TRUE(waitFor([this] { return ends.size() == 3; }));
}

TEST_F(QVDeleteItemsTest, ALogThatCannotBeOpenedEndsTheRequestBeforeAnythingGoes) {
    trashFile("one");
    const std::string logs = location(Place::Logs).path();
    std::filesystem::remove_all(logs);
    writeFile(logs, "a file where the folder should be");
    ASSERT_TRUE(engine->askToContinue(allDisks()));
    EXPECT_FALSE(engine->proceedToErase());
    EXPECT_THAT(engine->startProblem().toStdString(), HasSubstr("Kestrin 3"));
    EXPECT_EQ(alerts.models.back().title, texts.text("open_log_file_error"_key));
    EXPECT_TRUE(exists(trash + "/one"));
    EXPECT_THAT(ends, IsEmpty());
    std::filesystem::remove(logs);
}

TEST_F(QVDeleteItemsTest, WithoutTicksTheEraseEndsAllTheSame) {
    trashFile("one");
    EraseServices without = services();
    without.startTick = [](std::function<bool()>) -> Result<std::unique_ptr<DisplayTick>> {
        return errorFromErrno(EAGAIN, HostAccess::Write);
    };
    engine = QVDeleteItems::create(without);
    ASSERT_TRUE(run(allDisks()));
    EXPECT_FALSE(exists(trash + "/one"));
    EXPECT_EQ(engine->totItemsDeleted(), 1u);
    EXPECT_EQ(progress.closed, 1);
}

}  // namespace
}  // namespace kestrin
