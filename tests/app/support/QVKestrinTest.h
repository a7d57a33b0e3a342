// SPDX-License-Identifier: GPL-3.0-or-later
// The controller with disks, a status area, timers and windows that a test commands.
#pragma once

#include <gtest/gtest.h>

#include <QPointer>
#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "app/QVKestrin.h"
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

namespace kestrin::test {

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
        defaults.set("is_first_run", false);
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
                .defaults = defaults,
                .trashes = trashes,
                .rows = {center, texts, numbers, countEntries,
                         [](const TrashLocation&) { return QIcon(); }},
                .makeEngine = [this] { return makeEngine(); },
                .makeStatusItem = [this](QMenu&) -> std::unique_ptr<StatusDisplay> {
                    if (!hasStatusArea) return nullptr;
                    return std::make_unique<Display>(toolTip);
                },
                .watchMounts = [this](auto changed) { mountChanged = changed; },
                .installHelper =
                    hasHelperClient ? std::function([this] { return step("install"); }) : nullptr,
                .helperIsCurrent = [this] { return step("look"); },
                .showWelcome = [this] { step("welcome"); },
                .showNewsletter = [this] { step("newsletter"); },
                .showInformation = [this] { step("information"); },
                .findCrashReport = [this](auto found) { crashFound = found; },
                .showText = [this](const FileUrl& file) { step(file.path()); },
                .showUpdates = [this] { step("updates"); },
                .makeSmartWindow =
                    [this] {
                        auto made = std::make_unique<Window>(center, windows);
                        smartWindow = made.get();
                        return made;
                    },
                .openUrl = [this](const QString& url) { step(url.toStdString()); },
                .reveal =
                    [this](const FileUrl&, auto done) {
                        step("reveal");
                        done();
                    },
                .findPackageOwner = [this](const FileUrl&, auto found) { found(helperOwner); },
                .removeHelper = [this](int major) { step("remove " + std::to_string(major)); },
                .removeLoginItem =
                    [this] {
                        step("login item");
                        return loginItemError;
                    },
                .bringForward = [this] { return isSomethingOpen; },
                .tellUser = [this](const QString& text) { told.push_back(text); },
                .terminate = [this] { ++terminated; },
                .helperFile = urlOf("helper"),
                .preferencesFile = urlOf("settings.conf"),
                .olderVersion = {2, urlOf("helper 2"), {urlOf("entry 2"), urlOf("settings 2")}},
                .startTimer = [this](auto delay, auto call) { return timers.start(delay, call); }};
    }
    /// Notes what the controller had done, and what is done meanwhile.
    bool step(const std::string& name) {
        steps += name + ' ';
        if (const auto call = std::exchange(duringStep, nullptr)) call();
        return true;
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
    std::function<void(const FileUrl&)> crashFound;
    std::weak_ptr<QVDeleteItems> lastEngine;
    int terminated = 0;
    bool isSomethingOpen = false;
    bool hasStatusArea = true;
    bool hasHelperClient = false;
    std::string steps;
    std::function<void()> duringStep;
    PackageAnswer helperOwner{std::nullopt};
    MaybeError loginItemError;
    Window::Record windows;
    Window* smartWindow = nullptr;
    std::unique_ptr<QVKestrin> controller;
};

}  // namespace kestrin::test
