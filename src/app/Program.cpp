// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Program.h"

#include <QApplication>
#include <QDesktopServices>
#include <QUrl>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/CrashReports.h"
#include "app/DesktopActions.h"
#include "app/DisplayFailure.h"
#include "app/HelperAuthorization.h"
#include "app/MenuCreationOperationQueue.h"
#include "app/ProgressNotices.h"
#include "app/QVKestrin.h"
#include "app/preferences/QVPreferencesWindow.h"
#include "app/windows/InformationWindow.h"
#include "app/windows/NewsletterWindow.h"
#include "app/windows/UpdatesWindow.h"
#include "app/windows/WelcomeWindow.h"
#include "base/MainThread.h"
#include "base/OperationQueue.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "erase/QVSecureAccess.h"
#include "erase/ui/QVProgressWindow.h"
#include "erase/ui/WidgetAlertPanel.h"
#include "erase/ui/WidgetProgressView.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "format/SettingsProblemText.h"
#include "inventory/QVKestrinFileUtilities.h"
#include "inventory/QVSmartWindowItem.h"
#include "platform/desktop/LoginItem.h"
#include "platform/desktop/Places.h"
#include "platform/desktop/ui/DesktopNotification.h"
#include "platform/desktop/ui/FileManager.h"
#include "platform/desktop/ui/HotKeys.h"
#include "platform/desktop/ui/KeyNames.h"
#include "platform/desktop/ui/SessionEnd.h"
#include "platform/desktop/ui/SingleInstance.h"
#include "platform/desktop/ui/StatusItem.h"
#include "platform/desktop/ui/TrashIcon.h"
#include "platform/disks/MountTable.h"
#include "platform/processes/BackgroundPriority.h"
#include "platform/trash/TrashWatcher.h"
#include "smartwindow/QVWindowCntrl.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/preview/PreviewLoader.h"
#include "widgets/FolderPanel.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

constexpr auto kStatusAreaPatience = 30s;
/// How long the end of the program waits for the file manager.
constexpr auto kRevealPatience = 5s;

// What a start may ask for, besides "quit".
constexpr char kEmptyAll[] = "empty-all";
constexpr char kSmartWindow[] = "smart-window";
constexpr char kPreferences[] = "preferences";
/// The start of the session itself: it asks for nothing.
constexpr char kLogin[] = "login";

/// The status area's icon behind the controller's view of it.
class StatusItemDisplay final : public StatusDisplay {
 public:
    explicit StatusItemDisplay(QMenu& menu) : m_item(menu) {}
    void setTrashIsFull(bool isFull) override { m_item.setTrashIsFull(isFull); }
    void setToolTip(const QString& text) override { m_item.setToolTip(text); }
    bool openMenu() override { return m_item.openMenu(); }

 private:
    StatusItem m_item;
};

/// Counts at a low priority: the menu beside it must stay quick.
TrashCount::Counter inBackground(TrashContents (*counter)(const std::vector<FileUrl>&,
                                                          const std::stop_token&)) {
    return [counter](const std::vector<FileUrl>& trashes, const std::stop_token& stop) {
        TrashContents contents;
        runAtBackgroundPriority([&] { contents = counter(trashes, stop); });
        return contents;
    };
}

/// The browsing window behind the controller's view of it.
class SmartWindowDisplay final : public SmartWindow {
 public:
    SmartWindowDisplay(const SmartWindowServices& services, PreviewLoader& previews)
        : m_previews(previews),
          m_closing(services.center.observe(
              SmartWindowNotification::kSmartWindowDidClose,
              [this](const Notification&) { m_previews.setWindowIsOpen(false); })),
          m_window(*new QVWindowCntrl(services)) {
        showWindow();
    }
    ~SmartWindowDisplay() override { m_window.letGo(); }
    void showWindow() override {
        m_previews.setWindowIsOpen(true);
        m_window.showWindow();
    }
    bool isOpen() const override { return m_window.isOpen(); }
    void trashContentsDidChange() override { m_window.trashContentsDidChange(); }

 private:
    PreviewLoader& m_previews;
    const Observation m_closing;
    QVWindowCntrl& m_window;  ///< owns itself
};

/// Everything that the program is made of. Each part stands behind those that it needs.
class Program {
 public:
    explicit Program(std::string_view action);
    int run();

 private:
    AppServices services();
    AppServices ownServices();
    EraseServices eraseServices();
    SmartWindowServices smartWindowServices();
    WindowServices smallWindowServices();
    PreferencesServices preferencesServices();
    void addSmallWindows(AppServices& services);
    QIcon diskIconOf(const TrashLocation& location);
    PreviewLoader& previews();
    SecureAccessServices secureAccess();
    std::unique_ptr<AlertPanel> makeAlertPanel();
    std::unique_ptr<ProgressView> makeProgressView(std::function<void()> stop);
    void watchMounts(std::function<void(bool, const std::string&)> changed);
    void watchTrashes(const std::vector<TrashLocation>& trashes);
    void statusAreaIsKnown(bool isThere);
    void launch();
    void take(const std::string& action);
    void act();
    void tellUser(const QString& text);
    void tellSettingsProblem(const SettingsProblem& problem);

    std::string m_action;
    StringTable& m_texts = StringTable::sharedControl();
    UserDefaults& m_defaults = UserDefaults::standardUserDefaults();
    QVErrorDelegate m_presenter;
    TrashListing m_trashes;
    TrashTotals m_totals{inBackground(countFigures), startTimer};
    HotKeyCenter m_hotKeys;
    std::unique_ptr<MountWatcher> m_mounts;
    TrashWatcher m_trashWatcher;
    std::unique_ptr<PreviewLoader> m_previews;  ///< nullptr until the window is opened first
    const SmartWindowServices m_windowServices{smartWindowServices()};
    const WindowServices m_smallWindows{smallWindowServices()};
    bool m_hasStatusArea = false;
    bool m_wasRefused = false;  ///< the program cannot work on this desktop
    bool m_isLaunching = false;
    bool m_wasLaunched = false;
    QVKestrin m_controller;
    SessionEnd m_end;
    std::optional<SingleInstance> m_instance;
};

Program::Program(std::string_view action)
    : m_action(action),
      m_presenter([this] { return makeAlertPanel(); }, m_texts, m_defaults),
      m_trashWatcher([this] { m_controller.trashContentsDidChange(); },
                     [](std::function<void()> call) {
                         MenuCreationOperationQueue().enqueue(std::move(call));
                     }),
      m_controller(services()),
      m_end([this](SessionEnd::Reason reason) {
          if (reason == SessionEnd::Reason::Quitting) {
              m_controller.applicationWillTerminate();
          } else {
              m_controller.quit();
          }
      }),
      m_instance(std::in_place, SingleInstance::Commands{
                                    .activate = [this] { m_controller.activate(); },
                                    .actions = {{kEmptyAll, [this] { take(kEmptyAll); }},
                                                {kSmartWindow, [this] { take(kSmartWindow); }},
                                                {kPreferences, [this] { take(kPreferences); }},
                                                {kLogin, [] {}},
                                                {"quit", [this] { m_controller.quit(); }}}}) {}

AppServices Program::services() {
    AppServices services = ownServices();
    services.installHelper = [this] {
        return QVSecureAccess(secureAccess()).installHelperAppIfNeeded();
    };
    services.helperIsCurrent = [this] {
        bool exists = false;
        return QVSecureAccess(secureAccess()).isHelperNeedBeInstalled(exists);
    };
    services.removeHelper = [this](int majorVersion) {
        QVSecureAccess(secureAccess()).removeHelper(majorVersion);
    };
    services.findPackageOwner = [](const FileUrl& file, auto found) {
        findPackageOwner(file, std::move(found));
    };
    services.chooseFolder = [](const QString& message, FolderAnswer answered) {
        openFolderPanel(FileUrl::fromPath("/"), message, std::move(answered));
    };
    services.reveal = [](const FileUrl& file, std::function<void()> done) {
        revealInFileManager({file}, kRevealPatience, std::move(done));
    };
    services.removeLoginItem = &removeLoginItem;
    services.makePreferences = [this] {
        return std::make_unique<QVPreferencesWindow>(preferencesServices());
    };
    addSmallWindows(services);
    services.findCrashReport = [](auto found) {
        findCrashReport(location(Place::CrashReports), std::move(found));
    };
    services.showText = showText;
    return services;
}

PreferencesServices Program::preferencesServices() {
    return {.texts = m_texts,
            .numbers = QVNumberUtilities::sharedControl(),
            .presenter = m_presenter,
            .defaults = m_defaults,
            .setLoginEnabled = &setLoginItemEnabled,
            .refreshLogin = [this] { m_controller.refreshLogin(); },
            .helper = helperAdministration(
                secureAccess(), [](bool isAuthorized) { gIsHelperAuthorized = isAuthorized; }),
            .hotKeys = &m_hotKeys,
            .emptyAllCommand = commandFor(kEmptyAll),
            .smartWindowCommand = commandFor(kSmartWindow),
            .revertToInitialValues =
                [this](const SettingsMap& values) {
                    m_controller.revertToInitialValuesInDictionary(values);
                },
            .showLogs = showLogs};
}

void Program::addSmallWindows(AppServices& services) {
    services.showWelcome = [this] { showWelcomeWindow(m_smallWindows); };
    services.showNewsletter = [this] { showNewsletterWindow(m_smallWindows); };
    services.showInformation = [this] { showInformationWindowIfNew(m_smallWindows); };
    services.showUpdates = [this] { checkForUpdates(m_smallWindows); };
    services.dismissAlerts = [] {
        WidgetAlertPanel::dismissAll();
        closeSmallWindows();
    };
}

WindowServices Program::smallWindowServices() {
    return {.center = NotificationCenter::defaultCenter(),
            .texts = m_texts,
            .defaults = m_defaults,
            .shortcutText = [this](std::string_view key) -> std::optional<QString> {
                const std::string identifier = std::string("values.").append(key);
                if (m_hotKeys.state(identifier) == HotKeyCenter::State::Pending) return {};
                return m_hotKeys.shownText(identifier);
            },
            .observeShortcuts =
                [this](std::function<void()> changed) {
                    const auto connection =
                        QObject::connect(&m_hotKeys, &HotKeyCenter::changed, std::move(changed));
                    return Observation([connection] { QObject::disconnect(connection); });
                },
            .openSmartWindow = [this] { m_controller.requestSmartWindow(); },
            .showPreferences = [this] { m_controller.requestPreferences(); },
            .openUrl = [](const QString& url) { return QDesktopServices::openUrl(QUrl(url)); }};
}

AppServices Program::ownServices() {
    return {
        .center = NotificationCenter::defaultCenter(),
        .texts = m_texts,
        .numbers = QVNumberUtilities::sharedControl(),
        .presenter = m_presenter,
        .defaults = m_defaults,
        .trashes = m_trashes,
        .rows = {.center = NotificationCenter::defaultCenter(),
                 .texts = m_texts,
                 .numbers = QVNumberUtilities::sharedControl(),
                 .count = inBackground(countEntries),
                 .icon = [this](const auto& location) { return diskIconOf(location); }},
        .makeEngine = [this] { return QVDeleteItems::create(eraseServices()); },
        .makeStatusItem = [this](QMenu& menu) -> std::unique_ptr<StatusDisplay> {
            if (!m_hasStatusArea) return nullptr;
            return std::make_unique<StatusItemDisplay>(menu);
        },
        .watchMounts = [this](auto changed) { watchMounts(std::move(changed)); },
        .watchTrashes = [this](const auto& trashes) { watchTrashes(trashes); },
        .makeSmartWindow =
            [this] { return std::make_unique<SmartWindowDisplay>(m_windowServices, previews()); },
        .openUrl = [](const QString& url) { QDesktopServices::openUrl(QUrl(url)); },
        .pressStop = pressStop,
        .bringForward = bringForward,
        .tellUser = [this](const QString& text) { tellUser(text); },
        // This is not quit(), which a window that stops its work first may refuse.
        .terminate = [] { QCoreApplication::exit(); },
        .beep = [] { QApplication::beep(); },
        .totals = &m_totals,
        .hotKeys = &m_hotKeys};
}

EraseServices Program::eraseServices() {
    return {.files = QVFilesUtilities::sharedControl(),
            .numbers = QVNumberUtilities::sharedControl(),
            .dates = QVDateUtilities::sharedControl(),
            .presenter = m_presenter,
            .defaults = m_defaults,
            .center = NotificationCenter::defaultCenter(),
            .texts = m_texts,
            .makeProgressView =
                [this](std::function<void()> stop) { return makeProgressView(std::move(stop)); },
            .helper = {.isAuthorized = &IsHelperAuthorized,
                       .makeClient =
                           [this](auto& delegate) {
                               return std::make_unique<QVSecureAccess>(secureAccess(), &delegate);
                           }},
            .bringForward = bringForward};
}

SmartWindowServices Program::smartWindowServices() {
    auto& files = QVFilesUtilities::sharedControl();
    return {
        .center = NotificationCenter::defaultCenter(),
        .texts = m_texts,
        .numbers = QVNumberUtilities::sharedControl(),
        .dates = QVDateUtilities::sharedControl(),
        .presenter = m_presenter,
        .defaults = m_defaults,
        .trashes = m_trashes,
        .files = files,
        .makeEngine = [this] { return QVDeleteItems::create(eraseServices()); },
        .volumeIcon = [this](const auto& location) { return diskIconOf(location); },
        .beep = [] { QApplication::beep(); },
        .reveal = [](const auto& urls) { revealInFileManager(urls); },
        .open = [&files](
                    std::vector<std::string> paths,
                    LaunchAnswer done) { files.launchItems(std::move(paths), std::move(done)); },
        .tellUser = [this](const QString& text) { tellUser(text); },
        .requestPreview =
            [this](PreviewRequest request, PreviewAnswer answer) {
                return previews().request(std::move(request), std::move(answer));
            },
        .knownPreview = [this](const PreviewRequest& request) { return previews().known(request); },
        .thumbnail =
            [this](const QVSmartWindowItem& item, int value) {
                // The loader is there: the window has asked for the thumbnail.
                return item.thumbnailWithValue(value,
                                               [this](const QVSmartWindowItem& of, int side) {
                                                   return m_previews->thumbnail(of, side);
                                               });
            }};
}

/// Its thread and its decoders begin with the first window.
PreviewLoader& Program::previews() {
    if (!m_previews) {
        std::vector<std::string> environment;
        // The decoder needs the libraries of this program, and nothing else that its user set.
        if (const char* libraries = std::getenv("LD_LIBRARY_PATH"))
            environment.push_back(std::string("LD_LIBRARY_PATH=") + libraries);
        m_previews = std::make_unique<PreviewLoader>(
            DecoderProgram{ownPreviewDecoder(), ownMediaDecoder(), std::move(environment)});
    }
    return *m_previews;
}

QIcon Program::diskIconOf(const TrashLocation& location) {
    return iconOfDisk(location, m_trashes.volumeOf(location));
}

SecureAccessServices Program::secureAccess() {
    return {
        .texts = m_texts, .presenter = m_presenter, .defaults = m_defaults, .programEnds = [this] {
            return m_controller.isEnding();
        }};
}

/// Makes no panel once the program ends: from then on nobody is asked anything.
std::unique_ptr<AlertPanel> Program::makeAlertPanel() {
    if (m_controller.isEnding()) return nullptr;
    return std::make_unique<WidgetAlertPanel>(m_texts);
}

std::unique_ptr<ProgressView> Program::makeProgressView(std::function<void()> stop) {
    auto view = std::make_unique<WidgetProgressView>(m_texts, QVNumberUtilities::sharedControl(),
                                                     std::move(stop));
    QVProgressWindow& window = view->window();
    // The window's own stop() is called, so that it shows at once that it is stopping.
    return std::make_unique<ProgressNotices>(
        std::move(view), [&window] { return window.isActiveWindow(); }, m_texts,
        [&window] { window.stop(); });
}

void Program::watchMounts(std::function<void(bool, const std::string&)> changed) {
    m_mounts = std::make_unique<MountWatcher>(
        [changed = std::move(changed)](const MountWatcher::Change& change) {
            changed(change.wasAdded, change.mountPoint);
        });
}

void Program::watchTrashes(const std::vector<TrashLocation>& trashes) {
    std::vector<FileUrl> folders;
    folders.reserve(trashes.size());
    for (const TrashLocation& location : trashes)
        folders.push_back(location.trashURL);
    m_trashWatcher.watch(folders);
}

void Program::tellUser(const QString& text) {
    showDesktopMessage(m_texts.text("app_name"_key), text);
}

void Program::statusAreaIsKnown(bool isThere) {
    m_hasStatusArea = isThere;
    if (!m_isLaunching) return launch();
    if (isThere) m_controller.statusAreaDidAppear();
}

void Program::launch() {
    using Launch = QVKestrin::Launch;
    m_isLaunching = true;
    const Launch kind = m_action == kSmartWindow ? Launch::ForSmartWindow
                        : m_action == kLogin     ? Launch::AtLogin
                                                 : Launch::InStatusArea;
    if (kind != Launch::InStatusArea) m_action.clear();
    m_wasLaunched = m_controller.applicationDidFinishLaunching(kind);
    m_wasRefused = !m_wasLaunched;
    if (m_wasLaunched) act();
}

/// Another start may ask while this one waits for a status area, or tells that there is none. The
/// window needs none.
void Program::take(const std::string& action) {
    m_action = action;
    if (m_wasLaunched || m_controller.isGreeting()) return act();
    if (action != kSmartWindow) return;
    if (!m_isLaunching) return launch();
    m_controller.launchForSmartWindow();
}

void Program::act() {
    const std::string action = std::exchange(m_action, {});
    if (action == kEmptyAll) m_controller.requestToEmptyAll();
    if (action == kSmartWindow) m_controller.requestSmartWindow();
    if (action == kPreferences) m_controller.requestPreferences();
}

/// Also where the file is changed by another thread.
void Program::tellSettingsProblem(const SettingsProblem& problem) {
    MainThread::post([this, text = settingsProblemText(problem, m_texts)] { tellUser(text); });
}

int Program::run() {
    const SingleInstance::Start start = m_instance->start(m_action);
    if (start == SingleInstance::Start::HandedOver || m_action == "quit") return 0;
    m_defaults.setProblemHandler(
        [this](const SettingsProblem& problem) { tellSettingsProblem(problem); });
    // Posted even when the answer is known at once: ending the program needs the event loop.
    if (m_action == kSmartWindow) MainThread::post([this] { launch(); });
    StatusItem::waitForHost(kStatusAreaPatience, [this](bool found) {
        MainThread::post([this, found] { statusAreaIsKnown(found); });
    });
    QApplication::exec();
    m_controller.applicationWillTerminate();
    // The kernel may keep this process while it waits for a volume. Another start must not find it.
    m_instance.reset();
    return m_wasRefused ? 1 : 0;
}

}  // namespace
}  // namespace kestrin

int kestrinRunProgram(int* argc, char** argv, const char* action) {
    using kestrin::operator""_key;
    kestrin::ensureLivingSessionBus();
    auto failure = std::make_optional<kestrin::DisplayFailure>();
    QApplication application(*argc, argv);
    failure.reset();
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setDesktopFileName(QLatin1String(kestrin::kApplicationId));
    QApplication::setApplicationDisplayName(
        kestrin::StringTable::sharedControl().text("app_name"_key));
    QApplication::setWindowIcon(kestrin::applicationIcon());
    kestrin::nameSuperKey(kestrin::StringTable::sharedControl().text("key_super"_key));
    const kestrin::MainThread mainThread;
    // The program is never destroyed: work in the background may still use it when the process
    // ends.
    auto& program = *new kestrin::Program(action);
    return program.run();
}
