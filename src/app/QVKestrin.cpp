// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/QVKestrin.h"

#include <QPointer>
#include <QTimer>
#include <QUrl>
#include <algorithm>
#include <utility>

#include "app/preferences/QVPreferencesWindow.h"
#include "base/MainThread.h"
#include "base/StringTable.h"
#include "erase/QVErrorDelegate.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"
#include "platform/items/FileWatcher.h"
#include "smartwindow/SmartWindowNotifications.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;
namespace Key = EraseNotification;

/// How long the erase waits for the menu and the question to leave the screen.
constexpr auto kEraseDelay = 100ms;
constexpr auto kReleaseDelay = 120s;
/// How long quitting waits for an erase that was stopped, since its disk may hang.
constexpr auto kEndPatience = 5s;

template <class Function, class... Arguments>
void callIfGiven(const Function& function, const Arguments&... arguments) {
    if (function) function(arguments...);
}

}  // namespace

std::unique_ptr<QObject> startTimer(std::chrono::milliseconds delay, std::function<void()> call) {
    auto timer = std::make_unique<QTimer>();
    timer->setSingleShot(true);
    QObject::connect(timer.get(), &QTimer::timeout, timer.get(), std::move(call));
    timer->start(delay);
    return timer;
}

QVKestrin::QVKestrin(AppServices services) : m_services(std::move(services)) {}

QVKestrin::~QVKestrin() {
    m_services.trashes.setChangeHandler({});
    if (m_services.totals) m_services.totals->setChangeHandler({});
    m_submenuViews.clear();
}

// --- End ---

void QVKestrin::quit() {
    if (std::exchange(m_isEnding, true)) return;
    const auto engine = m_startTimer ? nullptr : EraseTurn::holder();
    if (engine) {
        callIfGiven(m_services.pressStop);  // which shows what the program waits for
        engine->stop();
    }
    // The alerts go after that: the answer to an open question must find the engine stopped.
    callIfGiven(m_services.dismissAlerts);
    if (m_prefWindowCntrl) m_prefWindowCntrl->closeWindow();
    if (!engine) return endNow();
    m_endTimer = m_services.startTimer(kEndPatience, [this] { endNow(); });
}

void QVKestrin::endNow() {
    m_startTimer.reset();
    m_smartWindow.reset();
    callIfGiven(m_services.terminate);
}

void QVKestrin::applicationWillTerminate() {
    m_isEnding = true;
    m_startTimer.reset();
    m_smartWindow.reset();
    if (const auto engine = EraseTurn::holder()) engine->stop();
}

// --- Actions ---

void QVKestrin::mainMenuAction(int tag) {
    if (!mayBegin()) return;
    switch (tag) {
        case MenuTag::kPreferences:
            preferencesAction();
            break;
        case MenuTag::kSmartWindow:
            setIsWorking(true);
            smartDeletion();
            break;
        case MenuTag::kEmptyAll:
            setIsWorking(true);
            emptyAllTrashesAction();
            break;
        default:
            break;
    }
}

void QVKestrin::serviceMenuAction(int tag) {
    if (!mayBegin()) return;
    switch (tag) {
        case ServiceTag::kWelcome:
            callIfGiven(m_services.showWelcome);
            break;
        case ServiceTag::kNewsletter:
            callIfGiven(m_services.showNewsletter);
            break;
        case ServiceTag::kTellFriend:
            callIfGiven(m_services.openUrl,
                        QString::fromLatin1(QUrl::toPercentEncoding(
                            m_services.texts.text("tell_to_friend"_key), "!$&'()*+,;=:@/?")));
            break;
        case ServiceTag::kContact:
            callIfGiven(m_services.openUrl, m_services.texts.text("contact"_key));
            break;
        case ServiceTag::kUninstall:
            uninstall();
            break;
        default:
            break;
    }
}

void QVKestrin::checkForUpdate() {
    if (!mayBegin()) return;
    MainThread::post([guard = QPointer<QVKestrin>(this)] {
        if (guard && !guard->m_isEnding) callIfGiven(guard->m_services.showUpdates);
    });
}

void QVKestrin::askForStartUpDisk(FolderAnswer answered) {
    if (!m_services.chooseFolder) return;
    m_services.chooseFolder(m_services.texts.text("ask_add_start_up_disk"_key),
                            std::move(answered));
}

void QVKestrin::requestToEmptyAll() {
    if (!mayBegin() || showWhatIsOpen() || m_isWorking) return;
    mainMenuAction(MenuTag::kEmptyAll);
}

void QVKestrin::requestSmartWindow() {
    if (!mayBegin() || showWhatIsOpen() || m_isWorking) return;
    mainMenuAction(MenuTag::kSmartWindow);
}

void QVKestrin::requestPreferences() {
    if (!mayBegin() || showWhatIsOpen() || m_isWorking) return;
    mainMenuAction(MenuTag::kPreferences);
}

void QVKestrin::activate() {
    if (!mayBegin()) return;
    if (std::exchange(m_launch, Launch::InStatusArea) == Launch::AtLogin)
        callIfGiven(m_services.showInformation);
    if (showWhatIsOpen() || m_isWorking) return;
    if (m_statusItem && m_statusItem->openMenu()) return;
    callIfGiven(m_services.tellUser, m_services.texts.text("app_is_running"_key));
}

/// False when there is nothing to show.
bool QVKestrin::showWhatIsOpen() {
    const bool hasWindow = smartWindowIsOpen();
    if (hasWindow) m_smartWindow->showWindow();
    const bool isForward = m_services.bringForward && m_services.bringForward();
    return isForward || hasWindow;
}

void QVKestrin::emptyAllTrashesAction() {
    if (isErasing()) return static_cast<void>(showWhatIsOpen());
    m_isAsking = true;
    m_services.trashes.refresh([this] { askToEmptyAll(); });
}

void QVKestrin::askToEmptyAll() {
    m_isAsking = false;
    EraseRequest request;
    request.isAllDisks = true;
    request.volumeArray = m_services.trashes.trashesToErase();
    request.leftOut = leftOutVolumes(m_services.trashes.volumes(), m_services.texts);
    for (const TrashLocation& location : request.volumeArray)
        request.wholeTrashes.push_back(location);
    askAndErase(m_services.makeEngine(), request, [] { return SharedItemsToErase(); });
}

void QVKestrin::emptyHardDriveTrashAction(QVDiskMenuItemView* row) {
    if (!mayBegin()) return;
    if (isErasing()) return static_cast<void>(showWhatIsOpen());
    setIsWorking(true);
    const std::shared_ptr<QVDeleteItems> engine = m_services.makeEngine();
    row->waitForStopWorking(engine.get());
    EraseRequest request;
    request.volumeName = row->diskDict().volumeName;
    if (request.volumeName.isEmpty()) request.volumeName = QStringLiteral("Hard Drive");
    request.size = row->itemsSize();
    request.count = row->itemsCount();
    if (row->isCounting()) request.countSender = row->count();
    request.wholeTrashes = {row->diskDict()};
    // While the question is open the row counts, or its disk goes. When the row has no entries, the
    // engine takes those that the count brought to it.
    askAndErase(engine, request,
                [row = QPointer<QVDiskMenuItemView>(row), disk = row->diskDict().trashURL] {
                    if (!row || !(row->diskDict().trashURL == disk)) return SharedItemsToErase();
                    row->setIsDeleting(true);
                    return row->itemsCount() != 0 ? row->itemsToErase() : SharedItemsToErase();
                });
}

void QVKestrin::askAndErase(const std::shared_ptr<QVDeleteItems>& engine,
                            const EraseRequest& request,
                            std::function<SharedItemsToErase()> itemsToErase) {
    if (m_isEnding) return;
    if (!engine->askToContinue(request)) return;
    if (m_isEnding) return endNow();
    m_startTimer =
        m_services.startTimer(kEraseDelay, [this, engine, itemsToErase = std::move(itemsToErase)] {
            const std::unique_ptr<QObject> timer = std::move(m_startTimer);
            proceedToEraseWithArray(*engine, itemsToErase());
        });
}

void QVKestrin::proceedToEraseWithArray(QVDeleteItems& engine, const SharedItemsToErase& items) {
    if (engine.proceedToEraseWithArray(items)) return;
    // Nothing was begun, so that the engine will post no "stopWorking".
    callIfGiven(m_services.tellUser, engine.startProblem());
    m_services.center.post(Key::kStopWorking, &engine);
}

void QVKestrin::smartDeletion() {
    if (m_isEnding) return;
    m_smartWindowTimer.reset();
    if (m_smartWindow) {
        m_smartWindow->showWindow();
    } else if (m_services.makeSmartWindow) {
        m_smartWindow = m_services.makeSmartWindow();
    }
    setIsWorking(m_smartWindow || isErasing());
}

// --- Ends ---

void QVKestrin::setIsWorking(bool isWorking) {
    m_isWorking = isWorking;
    updateEnabledItems();
    if (!m_crashReport) return;
    MainThread::post([guard = QPointer<QVKestrin>(this)] {
        if (guard) guard->offerCrashReport();
    });
}

void QVKestrin::stopWorking(const Notification& notification) {
    if (const auto engine = EraseTurn::engineOf(notification.sender)) tellWhatStayed(*engine);
    if (EraseTurn::holder()) return;  // another erase goes on
    for (const DiskRow& row : m_submenuViews)
        row.view->setIsDeleting(false);
    setIsWorking(smartWindowIsOpen());
    if (m_isEnding) return endNow();
    if (notification.userInfo.value<std::uint64_t>(Key::kErasedCount) != 0) cleanMemoryNow();
    if (m_smartWindow) m_smartWindow->trashContentsDidChange();
    if (m_services.totals) m_services.totals->forget();
    m_services.trashes.refresh();
}

void QVKestrin::endIfNothingIsErased() {
    if (m_isEnding && !EraseTurn::holder()) endNow();
}

/// Tells it only where the engine's own report does not, or is not shown since the program ends.
void QVKestrin::tellWhatStayed(const QVDeleteItems& engine) const {
    const auto stayed = engine.stayedEntries();
    const auto unexpected = std::count_if(stayed.begin(), stayed.end(),
                                          [](const StayedEntry& entry) { return !entry.skipped; });
    if (!m_isEnding && engine.hasReported()) return;
    QStringList told = engine.problems();
    if (unexpected != 0) {
        const QString format =
            m_services.texts.text("app_stayed"_key, StringTable::Table::Default, unexpected);
        const auto number = static_cast<double>(unexpected);
        told.prepend(
            StringTable::filled(format, {m_services.numbers.numberToFormatString(number)}));
    }
    if (!told.isEmpty()) callIfGiven(m_services.tellUser, displayName(told.join(u' ')));
}

void QVKestrin::smartWindowDidClose() {
    setIsWorking(isErasing());
    if (!m_submenuViews.empty()) installEmptyTimer();
    if (m_smartWindow) installCleanSmartWindowMemory();
    if (!m_statusItem) quit();  // nothing is left that the program could be reached by
}

// --- Mounts ---

/// A mount changes the menu before others hear of it; an unmount changes it after they did.
void QVKestrin::workspaceHardDrivesObserver(bool wasAdded, const std::string& devicePath) {
    const auto tellOthers = [this, wasAdded, devicePath] {
        m_services.center.post(SmartWindowNotification::kMountedVolumeDidChange, this,
                               UserInfo()
                                   .set(SmartWindowNotification::kDiskWasAdded, wasAdded)
                                   .set(SmartWindowNotification::kDevicePath, devicePath));
    };
    if (!wasAdded) tellOthers();
    m_services.trashes.refresh([this, wasAdded, devicePath, tellOthers] {
        if (!wasAdded) return;
        updateDisksSubmenu(true, devicePath);
        tellOthers();
    });
    if (!wasAdded) updateDisksSubmenu(false, devicePath);
}

// --- Changes by others ---

void QVKestrin::trashContentsDidChange() {
    m_rowsAreStale = true;    // also during a question that ends without an erase
    if (isErasing()) return;  // its end looks
    if (!m_menuIsOpen && !m_isWorking) cleanSubMenuMemory();
    if (m_smartWindow) m_smartWindow->trashContentsDidChange();
    if (m_services.totals) m_services.totals->forget();
    m_services.trashes.refresh();
}

// --- Release of what is not needed ---

void QVKestrin::installEmptyTimer() {
    m_menuTimer = m_services.startTimer(kReleaseDelay, [this] { cleanSubmenuViews(); });
}

void QVKestrin::cleanSubmenuViews() {
    if (m_isWorking) return installEmptyTimer();
    cleanSubMenuMemory();
}

void QVKestrin::cleanSubMenuMemory() {
    const bool isBusy = std::any_of(
        m_submenuViews.begin(), m_submenuViews.end(),
        [](const DiskRow& row) { return row.view->isDeleting() && row.view->sizeIsWorking(); });
    if (isBusy) return installEmptyTimer();
    for (DiskRow& row : std::exchange(m_submenuViews, {}))
        dropRow(std::move(row));
    m_rowsAreStale = false;
    m_menuTimer.reset();
}

void QVKestrin::installCleanSmartWindowMemory() {
    m_smartWindowTimer = m_services.startTimer(kReleaseDelay, [this] { cleanSmartWindowMemory(); });
}

void QVKestrin::cleanSmartWindowMemory() {
    if (m_isWorking) return installCleanSmartWindowMemory();
    m_smartWindow.reset();
    m_smartWindowTimer.reset();
}

void QVKestrin::cleanMemoryNow() {
    m_smartWindowTimer.reset();
    m_smartWindow.reset();
    m_menuTimer.reset();
    cleanSubMenuMemory();
}

}  // namespace kestrin
