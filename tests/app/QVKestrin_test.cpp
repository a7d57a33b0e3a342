// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/QVKestrin.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <QPointer>
#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <utility>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "inventory/QVKestrinFileUtilities.h"
#include "platform/desktop/Places.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "support/RecordingProgressView.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using namespace std::chrono_literals;

/// Timers that end when the test says so.
class Timers {
    struct Timer {
        QPointer<QObject> object;
        std::chrono::milliseconds delay;
        std::function<void()> call;
    };
    static auto isRunning(std::chrono::milliseconds delay) {
        return [delay](const Timer& timer) { return timer.object && timer.delay == delay; };
    }

 public:
    std::unique_ptr<QObject> start(std::chrono::milliseconds delay, std::function<void()> call) {
        auto object = std::make_unique<QObject>();
        m_started.push_back({object.get(), delay, std::move(call)});
        return object;
    }
    auto count(std::chrono::milliseconds delay) const {
        return std::ranges::count_if(m_started, isRunning(delay));
    }
    bool fire(std::chrono::milliseconds delay) {
        const auto due = std::ranges::find_if(m_started, isRunning(delay));
        if (due == m_started.end()) return false;
        due->object = nullptr;
        std::exchange(due->call, nullptr)();
        return true;
    }

 private:
    std::vector<Timer> m_started;
};

struct Display : StatusDisplay {
    explicit Display(QString& tip) : toolTip(tip) {}
    void setTrashIsFull(bool) override {}
    void setToolTip(const QString& text) override { toolTip = text; }
    bool openMenu() override { return false; }
    QString& toolTip;
};

/// A window without a window; it keeps what became of it outside.
struct Window : SmartWindow {
    struct Record {
        bool isOpen = false;
        int shown = 0, changes = 0, made = 0, gone = 0;
    };
    Window(NotificationCenter& notifications, Record& toRecord)
        : center(notifications), record(toRecord) {
        ++record.made;
        showWindow();
    }
    ~Window() override {
        close();
        ++record.gone;
    }
    void showWindow() override {
        record.isOpen = true;
        ++record.shown;
    }
    bool isOpen() const override { return record.isOpen; }
    void trashContentsDidChange() override { ++record.changes; }
    void close() {
        if (std::exchange(record.isOpen, false))
            center.post(SmartWindowNotification::kSmartWindowDidClose);
    }
    NotificationCenter& center;
    Record& record;
};

/// The mounted disks, which may hang; a listing in the background may outlive the test that asked
/// for it.
class Disks {
 public:
    std::vector<MountedVolume> mounts() {
        const std::lock_guard lock(m_mutex);
        std::vector<MountedVolume> mounts;
        for (const ListedVolume& disk : m_disks)
            mounts.push_back({disk.url});
        return mounts;
    }
    ListedVolume ask(const FileUrl& url) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_hanging != url; });
        const auto disk = std::ranges::find(m_disks, url, &ListedVolume::url);
        return disk == m_disks.end() ? ListedVolume{.url = url, .name = {}, .problem = {}} : *disk;
    }
    void mount(ListedVolume disk) {
        const std::lock_guard lock(m_mutex);
        m_disks.push_back(std::move(disk));
    }
    void hang(const FileUrl& url) {
        const std::lock_guard lock(m_mutex);
        m_hanging = url;
        m_changed.notify_all();
    }

 private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    FileUrl m_hanging;
    std::vector<ListedVolume> m_disks;
};

class QVKestrinTest : public ::testing::Test {
 protected:
    /// A disk that has not answered within `patience` counts as silent.
    explicit QVKestrinTest(std::chrono::milliseconds patience = 1h)
        : trashes({.mounts = [disks = disks] { return disks->mounts(); },
                   .ask = [disks = disks](const FileUrl& url) { return disks->ask(url); },
                   .patience = patience}) {}

    void SetUp() override {
        defaults.registerDefaults(defaultSettings());
        defaults.set("write_log", false);
        controller = std::make_unique<QVKestrin>(services());
    }

    void TearDown() override {
        disks->hang({});
        controller.reset();
        timers = {};
        // An engine works with the members of this.
        ASSERT_TRUE(waitFor([&] { return lastEngine.expired(); }));
    }

    AppServices services() {
        return {.center = center,
                .texts = texts,
                .numbers = numbers,
                .presenter = presenter,
                .trashes = trashes,
                .rows = {center, texts, numbers, countEntries,
                         [](const TrashLocation&) { return QIcon(); }},
                .makeEngine = [this] { return makeEngine(); },
                .makeStatusItem = [this](QMenu&) -> std::unique_ptr<StatusDisplay> {
                    if (!hasStatusArea) return nullptr;
                    return std::make_unique<Display>(toolTip);
                },
                .watchMounts = [this](auto changed) { mountChanged = changed; },
                .makeSmartWindow =
                    [this] {
                        auto made = std::make_unique<Window>(center, windows);
                        smartWindow = made.get();
                        return made;
                    },
                .bringForward = [this] { return isSomethingOpen; },
                .tellUser = [this](const QString& text) { told.push_back(text); },
                .terminate = [this] { ++terminated; },
                .startTimer = [this](auto delay, auto call) { return timers.start(delay, call); }};
    }
    std::shared_ptr<QVDeleteItems> makeEngine() {
        auto engine = QVDeleteItems::create(
            {.files = QVFilesUtilities::sharedControl(),
             .numbers = numbers,
             .dates = QVDateUtilities::sharedControl(),
             .presenter = presenter,
             .defaults = defaults,
             .center = center,
             .texts = texts,
             .makeProgressView = progress.factory(),
             .helper = HelperAccess(),
             .isMounted = [](const FileUrl&, std::uint64_t) { return true; }});
        lastEngine = engine;
        return engine;
    }

    FileUrl urlOf(const std::string& name) const { return FileUrl::fromPath(folder / name); }
    /// Mounts a disk with a file in its trash.
    void addDisk(const std::string& name) {
        const FileUrl url = urlOf(name);
        writeFile(url.path() + "/files/0");
        ListedVolume disk{.url = url, .name = QString::fromStdString(name), .problem = {}};
        disk.state = ListedVolume::State::Usable;
        disk.trashes = {{url.appending("files"), url, disk.name, url.path(), false}};
        disks->mount(disk);
    }
    /// Mounts one whose trash may not be used.
    void addUnusableDisk(const std::string& name) {
        ListedVolume disk{.url = urlOf(name), .name = QString::fromStdString(name), .problem = {}};
        disk.state = ListedVolume::State::Unusable;
        disk.problem = HostError{.domain = {}, .systemError = ELOOP, .userInfo = {}};
        disk.problem->userInfo = {{"reason", "a link"}, {"errorString", "/x: a link"}};
        disks->mount(disk);
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
    void openWithTwoDisks() {
        addDisk("first");
        addDisk("second");
        launch();
        Q_EMIT controller->subTrashMenu().aboutToShow();
        settle();
        ASSERT_TRUE(waitFor([&] {
            return std::ranges::none_of(controller->submenuViews(),
                                        [](auto* row) { return row->isCounting(); });
        }));
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
    TrashListing trashes;
    QStringList told;
    QString toolTip;
    std::function<void(bool, const std::string&)> mountChanged;
    std::weak_ptr<QVDeleteItems> lastEngine;
    int terminated = 0;
    bool isSomethingOpen = false;
    bool hasStatusArea = true;
    Window::Record windows;
    Window* smartWindow = nullptr;
    std::unique_ptr<QVKestrin> controller;
};

TEST_F(QVKestrinTest, survivesItsDiskGoingDuringTheConfirmation) {
    openWithTwoDisks();
    alerts.addAnswer(kAlertSecondButton, false, [&] {
        mountChanged(false, folder / "second");
        waitFor([&] { return controller->submenuViews().size() == 1; });
    });
    controller->itemWithTag(1002)->trigger();
    EXPECT_FALSE(controller->isWorking());
    EXPECT_TRUE(isThere("second/files/0"));
}

TEST_F(QVKestrinTest, saysThatItRunsWhereItMayNotOpenItsMenu) {
    launch();
    isSomethingOpen = true;
    controller->activate();
    EXPECT_EQ(told, QStringList());
    isSomethingOpen = false;
    controller->activate();
    EXPECT_EQ(told, QStringList{texts.text("app_is_running"_key)});
}

struct SilentDisksTest : QVKestrinTest {
    SilentDisksTest() : QVKestrinTest(1s) {}
};

TEST_F(SilentDisksTest, callsNoTrashEmptyOfWhichItKnowsNothing) {
    addUnusableDisk("bad");
    addDisk("silent");
    disks->hang(urlOf("silent"));
    ASSERT_TRUE(controller->applicationDidFinishLaunching());
    EXPECT_EQ(toolTip, texts.text("app_looking"_key));
    settle();
    EXPECT_EQ(toolTip, texts.text("app_no_trash"_key) +
                           QStringLiteral("\nbad: Cannot be used: a link\nsilent: Not answering"));
}

TEST_F(SilentDisksTest, leavesOutWhatDoesNotAnswerOrMayNotBeUsedAndSaysSo) {
    addUnusableDisk("bad");
    openWithTwoDisks();
    settle();
    EXPECT_EQ(told, QStringList{QStringLiteral("The trash of “bad” cannot be used. /x: a link")});
    disks->hang(urlOf("second"));
    settle();
    const auto text = [this](int tag) { return controller->itemWithTag(tag)->text(); };
    EXPECT_EQ(text(1001), QStringLiteral("bad: Cannot be used: a link"));
    EXPECT_EQ(text(1002), QStringLiteral("first: 1 item, 1 B"));
    EXPECT_EQ(text(1003), QStringLiteral("second: Not answering (1 item, 1 B)"));
    EXPECT_FALSE(controller->itemWithTag(1001)->isEnabled());
    EXPECT_TRUE(controller->itemWithTag(1002)->isEnabled());
    EXPECT_FALSE(controller->itemWithTag(1003)->isEnabled());
    Q_EMIT controller->subTrashMenu().aboutToHide();
    controller->trashContentsDidChange();  // which drops the rows
    Q_EMIT controller->subTrashMenu().aboutToShow();
    settle();
    EXPECT_EQ(text(1003), QStringLiteral("second: Not answering (1 item, 1 B)"));

    told.clear();
    alerts.addAnswer(kAlertFirstButton);
    controller->mainMenuAction(MenuTag::kEmptyAll);
    ASSERT_TRUE(waitFor([&] { return timers.fire(100ms); }));
    ASSERT_TRUE(waitFor([&] { return !told.isEmpty(); }));
    const QString bad = QStringLiteral("“bad” is left out: a link.");
    const QString second = QStringLiteral("“second” is left out: it is not answering.");
    EXPECT_EQ(told, QStringList{bad + u' ' + second});
    EXPECT_TRUE(alerts.models.at(0).text.endsWith(bad + u'\n' + second));
    EXPECT_FALSE(isThere("first/files/0"));
    EXPECT_TRUE(isThere("second/files/0"));
}

TEST_F(QVKestrinTest, releasesRowsAfterTheirMenuClosedUnlessWorking) {
    openWithTwoDisks();
    EXPECT_EQ(timers.count(120s), 0);
    Q_EMIT controller->subTrashMenu().aboutToHide();
    alerts.addAnswer(kAlertSecondButton, false, [&] {
        EXPECT_TRUE(timers.fire(120s));
        EXPECT_EQ(controller->submenuViews().size(), 2u);
        EXPECT_EQ(timers.count(120s), 1);
    });
    controller->itemWithTag(1001)->trigger();
    EXPECT_TRUE(timers.fire(120s));
    EXPECT_TRUE(controller->submenuViews().empty());
    EXPECT_EQ(timers.count(120s), 0);
}

TEST_F(QVKestrinTest, keepsTheSmartWindowForAWhileAfterItClosed) {
    launch();
    const auto isEnabled = [this](int tag) { return controller->itemWithTag(tag)->isEnabled(); };
    controller->itemWithTag(MenuTag::kSmartWindow)->trigger();
    EXPECT_FALSE(isEnabled(MenuTag::kEmptyAll) || isEnabled(MenuTag::kSmartWindow));
    controller->requestSmartWindow();
    controller->requestToEmptyAll();
    controller->activate();
    EXPECT_EQ(windows.shown, 4) << "each of them brings the window forward";
    smartWindow->close();
    EXPECT_TRUE(isEnabled(MenuTag::kEmptyAll) && isEnabled(MenuTag::kSmartWindow));
    EXPECT_EQ(timers.count(120s), 1);
    controller->requestSmartWindow();
    EXPECT_EQ(timers.count(120s), 0) << "it is not let go while it shows";
    controller->trashContentsDidChange();
    EXPECT_EQ(windows.changes, 1);
    smartWindow->close();
    EXPECT_TRUE(timers.fire(120s));
    EXPECT_EQ(windows.gone, 1);

    controller->requestSmartWindow();
    const auto stop = [this](std::uint64_t erased) {
        center.post(EraseNotification::kStopWorking, nullptr,
                    UserInfo().set(EraseNotification::kErasedCount, erased));
    };
    stop(0);
    EXPECT_FALSE(isEnabled(MenuTag::kEmptyAll)) << "the window is open";
    stop(1);
    EXPECT_EQ(windows.gone, 2) << "what it shows is gone";
    EXPECT_EQ(windows.made, 2);
    EXPECT_TRUE(isEnabled(MenuTag::kEmptyAll));
    EXPECT_EQ(timers.count(120s), 0);
    settle();
}

TEST_F(QVKestrinTest, livesAsLongAsTheSmartWindowWithoutAStatusArea) {
    hasStatusArea = false;
    ASSERT_TRUE(controller->applicationDidFinishLaunching(QVKestrin::Launch::ForSmartWindow));
    EXPECT_EQ(windows.shown, 1);
    hasStatusArea = true;
    controller->statusAreaDidAppear();
    smartWindow->close();
    EXPECT_EQ(terminated, 0) << "the icon came meanwhile";

    // Another start asks for the window while this one tells that there is no status area.
    hasStatusArea = false;
    controller = std::make_unique<QVKestrin>(services());
    alerts.addAnswer(kAlertFirstButton, false, [this] { controller->launchForSmartWindow(); });
    ASSERT_TRUE(controller->applicationDidFinishLaunching());
    EXPECT_EQ(terminated, 0);
    smartWindow->close();
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(windows.made, windows.gone);
}

TEST_F(QVKestrinTest, followsWhatOthersDoToATrash) {
    openWithTwoDisks();
    controller->trashContentsDidChange();
    settle();
    EXPECT_EQ(controller->submenuViews().size(), 2u) << "those of an open menu stay";

    Q_EMIT controller->subTrashMenu().aboutToHide();
    controller->trashContentsDidChange();
    EXPECT_TRUE(controller->submenuViews().empty()) << "what they counted is out of date";
    settle();
}

TEST_F(QVKestrinTest, doesNotBeginAConfirmedEraseAfterQuit) {
    addDisk("first");
    launch();
    controller->mainMenuAction(MenuTag::kEmptyAll);
    ASSERT_TRUE(waitFor([&] { return timers.count(100ms) == 1; }));
    controller->quit();
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(timers.count(100ms), 0);
    EXPECT_TRUE(isThere("first/files/0"));
}

TEST_F(QVKestrinTest, quitWaitsForTheEngineThatHasTheTurn) {
    addDisk("first");
    launch();
    alerts.answersSheets = false;
    int window = 0;
    const EraseRequest request{.isSmartErase = true, .size = 1, .count = 1, .window = &window};
    for (const bool isConfirmed : {false, true}) {  // an open sheet; an erase that is to begin
        alerts.sheets.clear();
        controller = std::make_unique<QVKestrin>(services());
        launch();
        terminated = 0;
        auto engine = makeEngine();  // not the controller's own
        ASSERT_TRUE(engine->askToContinue(request));
        ASSERT_TRUE(waitFor([&] { return !alerts.sheets.empty(); }));
        controller->quit();
        EXPECT_TRUE(engine->isStoppedByUser());
        EXPECT_EQ(terminated, 0) << "it has not ended yet";
        alerts.answerSheet(isConfirmed ? kAlertFirstButton : kAlertSecondButton);
        if (isConfirmed) {
            ASSERT_TRUE(engine->proceedToEraseWithArray());
        }
        EXPECT_TRUE(waitFor([&] { return terminated == 1; }));
    }
    EXPECT_TRUE(isThere("first/files/0"));
}

TEST_F(QVKestrinTest, tellsOnceOfALogWithGapsThatNoReportTold) {
    addDisk("first");
    launch();
    defaults.set("write_log", true);
    const std::string logs = location(Place::Logs).path();
    controller->mainMenuAction(MenuTag::kEmptyAll);
    ASSERT_TRUE(waitFor([&] { return timers.count(100ms) == 1; }));
    rlimit size{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &size), 0);
    const rlimit none{0, size.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);  // as a full disk
    EXPECT_TRUE(timers.fire(100ms));
    EXPECT_TRUE(waitFor([&] { return !told.isEmpty(); }));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &size), 0);
    settle();
    ASSERT_EQ(told.size(), 1);
    EXPECT_TRUE(told[0].contains(QString::fromStdString(logs))) << told[0].toStdString();
    EXPECT_FALSE(isThere("first/files/0"));
}

}  // namespace
}  // namespace kestrin
