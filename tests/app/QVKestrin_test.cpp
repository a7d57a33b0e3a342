// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/QVKestrin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "inventory/QVKestrinFileUtilities.h"
#include "support/RecordingProgressView.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using namespace std::chrono_literals;
using ::testing::ElementsAre;

/// Timers that end when the test says so.
class Timers {
 public:
    std::unique_ptr<QObject> start(std::chrono::milliseconds delay, std::function<void()> call) {
        auto timer = std::make_unique<QObject>();
        QObject* const key = timer.get();
        m_pending.push_back({key, delay, std::move(call)});
        QObject::connect(key, &QObject::destroyed, key, [this, key] {
            std::erase_if(m_pending, [key](const Pending& one) { return one.key == key; });
        });
        return timer;
    }
    std::size_t count(std::chrono::milliseconds delay) const {
        return static_cast<std::size_t>(std::count_if(
            m_pending.begin(), m_pending.end(), [&](auto& one) { return one.delay == delay; }));
    }
    bool fire(std::chrono::milliseconds delay) {
        const auto due = std::find_if(m_pending.begin(), m_pending.end(),
                                      [&](auto& one) { return one.delay == delay; });
        if (due == m_pending.end()) return false;
        const auto call = due->call;
        m_pending.erase(due);
        call();
        return true;
    }
    bool isIdle() const { return m_pending.empty(); }

 private:
    struct Pending {
        QObject* key;
        std::chrono::milliseconds delay;
        std::function<void()> call;
    };
    std::vector<Pending> m_pending;
};

struct Display : StatusDisplay {
    explicit Display(bool& full) : isFull(full) {}
    void setTrashIsFull(bool full) override { isFull = full; }
    void setToolTip(const QString&) override {}
    bool& isFull;
};

/// The mounted disks; a listing in the background may outlive the test that asked for it.
class Disks {
 public:
    std::vector<TrashLocation> all() const {
        const std::lock_guard lock(m_mutex);
        return m_disks;
    }
    void mount(TrashLocation disk) {
        const std::lock_guard lock(m_mutex);
        m_disks.push_back(std::move(disk));
    }
    void unmountLast() {
        const std::lock_guard lock(m_mutex);
        m_disks.pop_back();
    }

 private:
    mutable std::mutex m_mutex;
    std::vector<TrashLocation> m_disks;
};

class QVKestrinTest : public ::testing::Test {
 protected:
    void SetUp() override {
        defaults.registerDefaults(defaultSettings());
        defaults.set("write_log", false);
        controller = std::make_unique<QVKestrin>(services());
    }

    void TearDown() override {
        controller.reset();
        // A count in the background holds its engine, which works with the members of this.
        ASSERT_TRUE(waitFor([&] { return lastEngine.expired(); }));
    }

    AppServices services() {
        return {.center = center,
                .texts = texts,
                .numbers = numbers,
                .presenter = presenter,
                .trashes = trashes,
                .rows = {center, texts, numbers,
                         [utilities = utilities](const FileUrl& url, std::stop_token stop) {
                             return utilities->binItemsAndInfoWithURL(url, std::move(stop));
                         },
                         [](const TrashLocation&) { return QIcon(); }},
                .makeEngine =
                    [this] {
                        auto engine = makeEngine();
                        lastEngine = engine;
                        return engine;
                    },
                .makeStatusItem = [this](QMenu&) -> std::unique_ptr<StatusDisplay> {
                    if (!hasStatusArea) return nullptr;
                    return std::make_unique<Display>(isFull);
                },
                .watchMounts = [this](auto changed) { mountChanged = changed; },
                .watchTrashes = [this](const auto& list) { watched = list.size(); },
                .bringForward = [this] { ++broughtForward; },
                .dismissAlerts = [this] { ++dismissed; },
                .tellUser = [this](const QString& text) { told.push_back(text); },
                .terminate = [this] { ++terminated; },
                .startTimer = [this](auto delay, auto call) { return timers.start(delay, call); }};
    }
    std::shared_ptr<QVDeleteItems> makeEngine() {
        return QVDeleteItems::create({.files = QVFilesUtilities::sharedControl(),
                                      .trash = *utilities,
                                      .numbers = numbers,
                                      .dates = QVDateUtilities::sharedControl(),
                                      .presenter = presenter,
                                      .defaults = defaults,
                                      .center = center,
                                      .texts = texts,
                                      .makeProgressView = progress.factory(),
                                      .helper = HelperAccess()});
    }

    /// Mounts a disk with that many files in its trash.
    void addDisk(const std::string& name, int files) {
        const std::string path = folder / name;
        makeFolder(path + "/files");
        for (int i = 0; i < files; ++i)
            writeFile(path + "/files/" + std::to_string(i));
        disks->mount({FileUrl::fromPath(path + "/files"), FileUrl::fromPath(path),
                      QString::fromStdString(name), path, files == 0});
    }
    void launch() {
        ASSERT_TRUE(controller->applicationDidFinishLaunching());
        settle();
    }
    /// Until a listing that begins now is over, and with it all before.
    void settle() {
        bool done = false;
        trashes.refresh([&] { done = true; });
        ASSERT_TRUE(waitFor([&] { return done; }));
    }
    void openRows() {
        Q_EMIT controller->subTrashMenu().aboutToShow();
        settle();
        ASSERT_TRUE(waitFor([&] {
            const auto rows = controller->submenuViews();
            return std::none_of(rows.begin(), rows.end(), [](auto* r) { return r->isCounting(); });
        }));
    }
    void finishErase() {
        ASSERT_TRUE(waitFor([&] { return timers.count(100ms) == 1; }));
        ASSERT_TRUE(timers.fire(100ms));
        ASSERT_TRUE(waitFor([&] { return !controller->isWorking(); }));
    }
    bool isThere(const std::string& path) { return exists(folder / path); }

    ScratchFolder folder;
    const std::shared_ptr<Disks> disks = std::make_shared<Disks>();
    Timers timers;
    NotificationCenter center;
    StringTable texts{QStringLiteral("en")};
    QVNumberUtilities numbers{"en_US", texts};
    UserDefaults defaults{folder / "settings.conf"};
    /// A count in the background may outlive the test, too.
    const std::shared_ptr<QVKestrinFileUtilities> utilities =
        std::make_shared<QVKestrinFileUtilities>();
    ScriptedAlerts alerts;
    ProgressRecord progress;
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    TrashList trashes{[disks = disks] { return disks->all(); }};
    std::function<void(bool, const std::string&)> mountChanged;
    bool hasStatusArea = true;
    bool isFull = false;
    std::size_t watched = 0;
    std::weak_ptr<QVDeleteItems> lastEngine;
    int broughtForward = 0;
    int dismissed = 0;
    int terminated = 0;
    std::vector<QString> told;
    std::unique_ptr<QVKestrin> controller;
};

TEST_F(QVKestrinTest, offersDisksFromTwoOnAndDisablesEmptyOnes) {
    addDisk("first", 2);
    launch();
    EXPECT_EQ(controller->itemWithTag(MenuTag::kDisks), nullptr);
    EXPECT_TRUE(isFull);
    addDisk("second", 0);
    settle();
    const auto actions = controller->kestrinMenu().actions();
    ASSERT_NE(controller->itemWithTag(MenuTag::kDisks), nullptr);
    EXPECT_EQ(actions.indexOf(controller->itemWithTag(MenuTag::kDisks)),
              actions.indexOf(controller->itemWithTag(MenuTag::kEmptyAll)) + 1);
    openRows();
    ASSERT_NE(controller->itemWithTag(1002), nullptr);
    EXPECT_TRUE(controller->itemWithTag(1001)->isEnabled());
    EXPECT_FALSE(controller->itemWithTag(1002)->isEnabled());
    EXPECT_EQ(controller->itemWithTag(1003), nullptr);
}

TEST_F(QVKestrinTest, emptiesAllTrashesAndBringsALaterRequestForward) {
    addDisk("first", 2);
    addDisk("second", 1);
    launch();
    alerts.addAnswer(kAlertFirstButton, false, [&] {
        EXPECT_FALSE(controller->itemWithTag(MenuTag::kEmptyAll)->isEnabled());
        controller->requestToEmptyAll();
    });
    controller->mainMenuAction(MenuTag::kEmptyAll);
    EXPECT_TRUE(controller->isWorking());
    finishErase();
    EXPECT_EQ(alerts.models.size(), 1u);
    EXPECT_EQ(broughtForward, 1);
    EXPECT_FALSE(isThere("first/files/0") || isThere("second/files/0"));
    EXPECT_TRUE(controller->itemWithTag(MenuTag::kEmptyAll)->isEnabled());
    EXPECT_TRUE(timers.isIdle());
}

TEST_F(QVKestrinTest, leavesEverythingWhenDeclined) {
    addDisk("first", 2);
    launch();
    alerts.addAnswer(kAlertSecondButton);
    controller->mainMenuAction(MenuTag::kEmptyAll);
    ASSERT_TRUE(waitFor([&] { return !controller->isWorking(); }));
    EXPECT_TRUE(isThere("first/files/0") && timers.isIdle());
}

TEST_F(QVKestrinTest, emptiesTheDiskOfTheRowAlone) {
    addDisk("first", 2);
    addDisk("second", 3);
    launch();
    openRows();
    controller->itemWithTag(1002)->trigger();
    finishErase();
    EXPECT_FALSE(isThere("second/files/0"));
    EXPECT_TRUE(isThere("first/files/0"));
    EXPECT_TRUE(waitFor([&] { return controller->submenuViews().size() == 2; }))
        << "built again while the menu is open";
}

TEST_F(QVKestrinTest, survivesItsDiskGoingDuringTheConfirmation) {
    addDisk("first", 1);
    addDisk("second", 1);
    launch();
    openRows();
    alerts.addAnswer(kAlertSecondButton, false, [&] {
        mountChanged(false, folder / "second");
        waitFor([&] { return controller->submenuViews().size() == 1; });
    });
    controller->itemWithTag(1002)->trigger();
    EXPECT_FALSE(controller->isWorking());
    EXPECT_TRUE(isThere("second/files/0"));
}

TEST_F(QVKestrinTest, tellsOfAMountAfterAndOfAnUnmountBeforeTheMenuChanges) {
    addDisk("first", 1);
    addDisk("second", 1);
    launch();
    openRows();
    std::vector<std::size_t> rows;
    const Observation observation = center.observe(
        AppNotification::kMountedVolumeDidChange,
        [&](const Notification&) { rows.push_back(controller->submenuViews().size()); });
    addDisk("third", 1);
    mountChanged(true, folder / "third");
    ASSERT_TRUE(waitFor([&] { return rows.size() == 1; }));
    EXPECT_NE(controller->itemWithTag(1003), nullptr);
    disks->unmountLast();
    mountChanged(false, folder / "third");
    EXPECT_THAT(rows, ElementsAre(3u, 3u));
    EXPECT_EQ(controller->submenuViews().size(), 2u);
    disks->unmountLast();
    mountChanged(false, folder / "second");
    mountChanged(false, folder / "first");
    EXPECT_EQ(controller->submenuViews().size(), 1u) << "the last row stays";
}

TEST_F(QVKestrinTest, releasesRowsAfterTheirMenuClosedUnlessWorking) {
    addDisk("first", 1);
    addDisk("second", 1);
    launch();
    openRows();
    EXPECT_TRUE(timers.isIdle());
    Q_EMIT controller->subTrashMenu().aboutToHide();
    alerts.addAnswer(kAlertSecondButton, false, [&] {
        EXPECT_TRUE(timers.fire(120s));
        EXPECT_EQ(controller->submenuViews().size(), 2u);
        EXPECT_EQ(timers.count(120s), 1u);
    });
    controller->itemWithTag(1001)->trigger();
    EXPECT_TRUE(timers.fire(120s));
    EXPECT_TRUE(controller->submenuViews().empty());
    EXPECT_TRUE(timers.isIdle());
}

TEST_F(QVKestrinTest, followsWhatOthersDoToATrash) {
    addDisk("A", 0);
    addDisk("B", 0);
    launch();
    openRows();
    EXPECT_EQ(watched, 2u);
    EXPECT_FALSE(isFull);
    disks->unmountLast();
    addDisk("B", 2);
    controller->trashContentsDidChange();
    settle();
    EXPECT_TRUE(isFull);
    EXPECT_EQ(controller->submenuViews().size(), 2u) << "those of an open menu stay";

    Q_EMIT controller->subTrashMenu().aboutToHide();
    controller->trashContentsDidChange();
    EXPECT_TRUE(controller->submenuViews().empty()) << "what they counted is out of date";
    settle();
}

TEST_F(QVKestrinTest, stopsBeforeItEnds) {
    addDisk("first", 1);
    launch();
    alerts.addAnswer(kAlertSecondButton, false, [&] {
        controller->quit();
        waitFor([&] { return dismissed == 1; });
        EXPECT_EQ(terminated, 0);
    });
    controller->mainMenuAction(MenuTag::kEmptyAll);
    ASSERT_TRUE(waitFor([&] { return terminated != 0; }));
    EXPECT_TRUE(isThere("first/files/0"));
}

TEST_F(QVKestrinTest, doesNotBeginAConfirmedEraseAfterQuit) {
    addDisk("first", 1);
    launch();
    controller->mainMenuAction(MenuTag::kEmptyAll);
    ASSERT_TRUE(waitFor([&] { return timers.count(100ms) == 1; }));
    controller->quit();
    EXPECT_EQ(terminated, 1);
    EXPECT_TRUE(timers.isIdle());
    EXPECT_TRUE(isThere("first/files/0"));
}

TEST_F(QVKestrinTest, saysSoAndEndsWithoutAStatusArea) {
    hasStatusArea = false;
    EXPECT_FALSE(controller->applicationDidFinishLaunching());
    EXPECT_EQ(alerts.models.size(), 1u);
    EXPECT_EQ(terminated, 1);
}

}  // namespace
}  // namespace kestrin
