// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVDeleteItems.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <stop_token>
#include <utility>

#include "base/MainThread.h"
#include "base/OperationQueue.h"
#include "base/StringTable.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "erase/EraseItemSource.h"
#include "erase/QVAlert.h"
#include "erase/QVErrorDelegate.h"
#include "erase/QVGenericProgressWindowCntrl.h"
#include "erase/QVLogController.h"
#include "erase/StayedDetails.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"
#include "inventory/QVKestrinFileUtilities.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
namespace Key = EraseNotification;

constexpr auto kWindowDelay = 700ms;
constexpr auto kRefreshInterval = 100ms;
/// A record younger than this may belong to an entry that is just being trashed.
constexpr auto kOrphanAge = 60s;

/// Process-wide, without a limit. Never destroyed: a count of a volume that hangs may outlive
/// main().
OperationQueue& deletionsOperationQueue() {
    static auto& queue = *new OperationQueue("deletions");
    return queue;
}

/// The first engine of the process that erases hears of every failed removal twice: it is the one
/// that the removal itself reports to, besides looking at the result.
bool becomesRemovalDelegate() {
    static std::atomic<bool> isTaken = false;
    return !isTaken.exchange(true);
}

}  // namespace

struct QVDeleteItems::State {
    explicit State(EraseServices allServices) : services(std::move(allServices)) {}

    EraseServices services;
    EraseRequest request;
    QString volumeName;
    WindowHandle smartWindow = nullptr;

    std::mutex lock;
    std::condition_variable changed;
    // Guarded by `lock`:
    Observation countObservation;
    SharedItemsToErase itemsToErase = std::make_shared<ItemsToErase>();
    std::uint64_t totSize = 0;
    std::uint64_t totItems = 0;
    bool countHasArrived = false;
    std::function<void()> countHandler;
    bool stopWasPressed = false;
    std::shared_ptr<QVAlert> alert;
    std::vector<HelperItem> notErased;  ///< folders that were not empty after their contents
    QString startProblem;
    QString logProblem;

    std::stop_source countStop;
    // Set when erasing starts, before any other thread looks:
    std::unique_ptr<EraseDecisions> decisions;
    std::unique_ptr<QVLogController> log;
    std::unique_ptr<QVGenericProgressWindowCntrl> progress;
    std::unique_ptr<HelperDelegate> helperDelegate;
    std::unique_ptr<HelperClient> rootAccess;  ///< main thread

    std::atomic<bool> wasStopped = false;
    std::atomic<bool> isWorking = false;
    std::atomic<bool> isRootErasing = false;
    std::atomic<bool> panelAlreadyShown = false;
    std::atomic<bool> notificationAlreadySent = false;
    std::atomic<bool> hasTick = false;
    Clock::time_point startTime;        ///< tick thread, once it runs
    std::unique_ptr<DisplayTick> tick;  ///< last: it stops before anything else goes
};

/// Brings what the helper tells to the engine.
class QVDeleteItems::HelperLink final : public HelperDelegate {
 public:
    explicit HelperLink(QVDeleteItems& engine) : m_engine(engine.weak_from_this()) {}

    void setTotItemsDeleted(std::uint64_t count) override {
        with([&](QVDeleteItems& engine) { engine.m_state->decisions->totItemsDeleted = count; });
    }
    void setTotSizeDeleted(std::uint64_t bytes) override {
        with([&](QVDeleteItems& engine) { engine.m_state->decisions->totSizeDeleted = bytes; });
    }
    void setNotErasedCount(std::uint64_t count) override {
        with([&](QVDeleteItems& engine) { engine.m_state->decisions->notErasedCount = count; });
    }
    void setIsWorking(bool working) override {
        with([&](QVDeleteItems& engine) {
            if (!working) engine.workIsOver();
        });
    }
    void writeLogEntryWithPath(const std::string& path, std::uint64_t itemSize) override {
        with([&](QVDeleteItems& engine) {
            if (engine.m_state->log) engine.m_state->log->writeEntryWithPath(path, itemSize);
        });
    }
    void showErrorWithError(const HostError& error) override {
        with([&](QVDeleteItems& engine) {
            engine.m_state->services.presenter.showError(error.localizedDescription());
        });
    }
    bool isStoppedByUser() const override {
        const auto engine = m_engine.lock();
        return !engine || engine->isStoppedByUser();
    }

 private:
    template <class Call>
    void with(Call call) const {
        if (const auto engine = m_engine.lock()) call(*engine);
    }

    std::weak_ptr<QVDeleteItems> m_engine;
};

std::shared_ptr<QVDeleteItems> QVDeleteItems::create(EraseServices services) {
    return std::shared_ptr<QVDeleteItems>(new QVDeleteItems(std::move(services)));
}

QVDeleteItems::QVDeleteItems(EraseServices services)
    : m_state(std::make_unique<State>(std::move(services))) {}

QVDeleteItems::~QVDeleteItems() {
    m_state->countStop.request_stop();
}

// --- Confirmation and count ---

bool QVDeleteItems::askToContinue(const EraseRequest& request) {
    m_state->request = request;
    m_state->totSize = request.size;
    m_state->totItems = request.count;
    m_state->countHasArrived = !request.isAllDisks && !request.countWillFollow;
    observeCount();
    if (request.isAllDisks) calculateSizeAndCount();

    const bool shows = request.askAlways ||
                       (!request.confirmed && m_state->services.defaults.boolForKey("show_alert"));
    if (!shows) {
        if (request.isSmartErase) sendSmartEraseNotificationResponse(true);
        return true;
    }
    const int choice = showConfirmation();
    if (request.isSmartErase) {
        waitForSheet();
        return true;
    }
    cleanMemoryWithResponse(choice);
    return choice != kAlertSecondButton;
}

void QVDeleteItems::observeCount() {
    Observation observation = m_state->services.center.observe(
        Key::kUpdateCountAndSizeToDelete,
        [weak = weak_from_this()](const Notification& notification) {
            if (const auto engine = weak.lock()) engine->updateCountAndSizeToDelete(notification);
        });
    const std::lock_guard lock(m_state->lock);
    m_state->countObservation = std::move(observation);
}

void QVDeleteItems::stopObservingCount() {
    Observation
        ended;  // ends outside the lock: it waits for a notification that is being delivered
    const std::lock_guard lock(m_state->lock);
    ended = std::move(m_state->countObservation);
}

void QVDeleteItems::updateCountAndSizeToDelete(const Notification& notification) {
    const auto size = notification.userInfo.value<std::uint64_t>(Key::kSize);
    const auto count = notification.userInfo.value<std::uint64_t>(Key::kCount);
    const auto items = notification.userInfo.value<SharedItemsToErase>(Key::kItemsToErase);
    std::shared_ptr<QVAlert> alert;
    std::function<void()> handler;
    {
        const std::lock_guard lock(m_state->lock);
        if (items) m_state->itemsToErase = items;
        m_state->totSize += size;
        m_state->totItems += count;
        m_state->countHasArrived = true;
        alert = m_state->alert;
        handler = std::exchange(m_state->countHandler, nullptr);
    }
    m_state->changed.notify_all();
    if (alert) alert->showSizeInfoStringWithSize(size, count);
    if (handler) MainThread::post(std::move(handler));
}

void QVDeleteItems::whenCountHasArrived(std::function<void()> call) {
    const std::lock_guard lock(m_state->lock);
    if (m_state->countHasArrived) {
        MainThread::post(std::move(call));
    } else {
        m_state->countHandler = std::move(call);
    }
}

void QVDeleteItems::calculateSizeAndCount() {
    m_state->totSize = 0;
    m_state->totItems = 0;
    deletionsOperationQueue().enqueue([self = shared_from_this()] { self->countTrashes(); });
}

void QVDeleteItems::countTrashes() {
    const std::stop_token stop = m_state->countStop.get_token();
    TrashScan sum{std::make_shared<ItemsToErase>(), 0, 0};
    for (const TrashLocation& trash : m_state->request.volumeArray) {
        if (trash.trashIsEmpty) continue;
        const auto scan = m_state->services.trash.binItemsAndInfoWithURL(trash.trashURL, stop);
        if (stop.stop_requested()) return;  // a count that nobody waits for must not reach others
        if (!scan) continue;
        sum.size += scan->size;
        sum.count += scan->count;
        if (sum.itemsToErase->empty()) {
            sum.itemsToErase = scan->itemsToErase;
        } else {
            auto items = std::make_shared<ItemsToErase>(*sum.itemsToErase);
            items->insert(items->end(), scan->itemsToErase->begin(), scan->itemsToErase->end());
            sum.itemsToErase = items;
        }
    }
    m_state->services.center.post(Key::kUpdateCountAndSizeToDelete, this,
                                  UserInfo()
                                      .set(Key::kSize, sum.size)
                                      .set(Key::kCount, sum.count)
                                      .set(Key::kItemsToErase, sum.itemsToErase));
}

int QVDeleteItems::showConfirmation() {
    const EraseRequest& request = m_state->request;
    StringTable& texts = m_state->services.texts;
    TrashInfo info;
    if (request.isAllDisks) {
        info.information = texts.text("erase_all"_key);
        info.calculatedStr = "all_disks"_key;
    } else if (request.isSmartErase) {
        info.information = texts.text("smart_erase_info"_key);
        info.calculatedStr = "smart_erase"_key;
    } else {
        info.information =
            StringTable::filled(texts.text("erase_vol"_key), {titleName(request.volumeName)});
        info.calculatedStr = "single_disk"_key;
    }
    info.message = "delete_mess"_key;
    info.isSmartErase = request.isSmartErase;
    info.volumeName = request.volumeName;
    m_state->volumeName = request.volumeName;

    QVErrorDelegate& presenter = m_state->services.presenter;
    const auto alert = std::make_shared<QVAlert>([&presenter] { return presenter.alertPanel(); },
                                                 texts, m_state->services.numbers);
    {
        const std::lock_guard lock(m_state->lock);
        info.size = m_state->totSize;
        info.count = m_state->totItems;
        m_state->alert = alert;
    }
    return alert->showAlertWithTrashInfo(info, request.window);
}

void QVDeleteItems::waitForSheet() {
    deletionsOperationQueue().enqueue([self = shared_from_this()] {
        std::shared_ptr<QVAlert> alert;
        {
            const std::lock_guard lock(self->m_state->lock);
            alert = self->m_state->alert;
        }
        const bool canContinue = alert->waitUntilSheetWindowIsClosed() != kAlertSecondButton;
        self->m_state->smartWindow = canContinue ? self->m_state->request.window : nullptr;
        self->sendSmartEraseNotificationResponse(canContinue);
    });
}

void QVDeleteItems::sendSmartEraseNotificationResponse(bool canContinue) {
    deletionsOperationQueue().enqueue([self = shared_from_this(), canContinue] {
        self->m_state->services.center.post(
            Key::kWaitForResponse, self.get(),
            UserInfo()
                .set(Key::kCanContinue, canContinue)
                .set(Key::kItemsDict, self->m_state->request.itemsDict));
        self->cleanMemoryWithResponse(canContinue ? kAlertFirstButton : kAlertSecondButton);
    });
}

void QVDeleteItems::cleanMemoryWithResponse(int response) {
    bool countIsKnown = false;
    {
        const std::lock_guard lock(m_state->lock);
        countIsKnown = m_state->totItems != 0;
        m_state->alert.reset();
    }
    if (response == kAlertSecondButton) {
        m_state->countStop.request_stop();
        if (!m_state->request.isSmartErase) sendPartialStopWorking();
    }
    if (countIsKnown) stopObservingCount();
}

// --- Start ---

bool QVDeleteItems::proceedToEraseWithArray(SharedItemsToErase items) {
    if (m_state->wasStopped) {
        stopObservingCount();
        sendPartialStopWorking();
        return true;
    }
    if (!items || items->empty()) items = itemsToErase();
    return emptyTrash(std::move(items));
}

bool QVDeleteItems::emptyTrash(SharedItemsToErase items) {
    if (!startLogging(items->size())) return false;
    m_state->progress = QVGenericProgressWindowCntrl::create(m_state->services.makeProgressView);
    if (!m_state->progress) {
        if (m_state->log) m_state->log->closeLogFile();
        const std::lock_guard lock(m_state->lock);
        m_state->startProblem = m_state->services.texts.text("no_progress_view"_key);
        return false;
    }
    if (m_state->log) m_state->log->writeStartSession();
    resetForErasing();
    m_state->progress->setStopHandler([weak = weak_from_this()] {
        if (const auto engine = weak.lock()) engine->stopWasPressed();
    });
    setupTick();
    const QString mainText = m_state->progress->mainInfoFieldTxt();
    deletionsOperationQueue().enqueue(
        [self = shared_from_this(), items = std::move(items), mainText]() mutable {
            self->erase(std::move(items), mainText);
        });
    return true;
}

bool QVDeleteItems::startLogging(std::size_t entries) {
    const EraseServices& services = m_state->services;
    if (!m_state->request.writesLog || !services.defaults.boolForKey("write_log")) return true;
    m_state->log = QVLogController::initWitDictionary(logSettings(entries), services.texts,
                                                      services.numbers, services.dates);
    if (m_state->log->openLogFile()) return true;
    {
        const std::lock_guard lock(m_state->lock);
        m_state->startProblem = m_state->log->lastProblem();
    }
    m_state->log.reset();
    stopObservingCount();
    m_state->countStop.request_stop();
    services.presenter.askToTheUser({.question = std::string("open_log_file_error"_key),
                                     .defaultButton = std::string("yes_btn"_key),
                                     .alternateButton = std::string("no_btn"_key),
                                     .notAnswered = kAlertSecondButton,
                                     .parentWindow = m_state->smartWindow});
    return false;
}

LogSettings QVDeleteItems::logSettings(std::size_t entries) const {
    const EraseServices& services = m_state->services;
    LogSettings settings;
    if (m_state->request.isSmartErase) {
        settings.startStr = "start_delete_checked"_key;
        settings.endStr = "end_delete_checked"_key;
        settings.partialLogName = services.texts.text("selected_items_log_name"_key);
    } else if (entries < 2) {
        settings.startStr = "start_delete_single"_key;
        settings.endStr = "end_delete_single"_key;
        settings.partialLogName = services.texts.text("selected_items_log_name"_key);
    } else {
        settings.startStr = "start_delete_all"_key;
        settings.endStr = "end_delete_all"_key;
        settings.partialLogName = services.texts.text("all_vols_log_name"_key);
    }
    settings.gapTime = services.defaults.integerForKey("how_many_days_for_new_log_file");
    return settings;
}

void QVDeleteItems::resetForErasing() {
    const EraseServices& services = m_state->services;
    EraseDecisions::Settings settings;
    settings.deleteLocked = services.defaults.boolForKey("delete_locked");
    settings.locked = m_state->request.locked;
    settings.forbidden = m_state->request.forbidden;
    settings.classifiesTwice = becomesRemovalDelegate();
    EraseDecisions::Callbacks callbacks;
    callbacks.ask = [this](const RefusalQuestion& question) { return askToErase(question); };
    callbacks.wasStopped = [this] { return m_state->wasStopped.load(std::memory_order_relaxed); };
    if (services.helper.isAuthorized) callbacks.isHelperAuthorized = services.helper.isAuthorized;
    if (m_state->log) {
        callbacks.didErase = [this](const std::string& path, std::uint64_t size) {
            m_state->log->writeEntryWithPath(path, size);
        };
    }
    m_state->decisions =
        std::make_unique<EraseDecisions>(settings, services.texts, std::move(callbacks));
    m_state->isRootErasing = false;
    m_state->panelAlreadyShown = false;
    m_state->isWorking = true;
    m_state->startTime = Clock::now();
}

// --- Erasing, on the background queue ---

void QVDeleteItems::erase(SharedItemsToErase items, const QString& mainText) {
    prepareProgressFields(mainText);
    if (m_state->wasStopped) return stopWorking();
    if (items->empty()) items = itemsToErase();
    iterateTrashes(*items);

    if (m_state->decisions->hasWorkForHelper() && !m_state->wasStopped) {
        eraseWithAdminPrivileges();
    } else if (totItemsDeleted() != 0) {
        workIsOver();
    } else {
        stopWorking();
    }
}

void QVDeleteItems::prepareProgressFields(const QString& mainText) {
    bool isGathering = false;
    {
        const std::lock_guard lock(m_state->lock);
        isGathering = m_state->totItems == 0;
    }
    if (isGathering) {
        onProgress([](State& state) {
            state.progress->hideInfoSizeFields(true);
            state.progress->spinner().startIndeterminateAnimation();
            state.progress->setMainInfoFieldTxt(
                state.services.texts.text("gathering_bin_info"_key));
        });
        waitUntilItemsInfo();
        stopObservingCount();
    }
    onProgress([mainText](State& state) {
        state.progress->hideInfoSizeFields(false);
        state.progress->spinner().startDeterminateAnimation();
        state.progress->setInfoFld({});
        state.progress->setMainInfoFieldTxt(mainText);
        state.progress->setInfoFld(erasingText(state));
    });
}

QString QVDeleteItems::erasingText(State& state) {
    const StringTable& texts = state.services.texts;
    const QString name = std::exchange(state.volumeName, QString());
    if (!name.isEmpty()) return StringTable::filled(texts.text("erasing"_key), {displayName(name)});
    return texts.text(state.request.isSmartErase ? "erasing_smart_window"_key : "erasing_all"_key);
}

void QVDeleteItems::waitUntilItemsInfo() {
    std::unique_lock lock(m_state->lock);
    m_state->changed.wait(lock, [this] {
        return m_state->totItems != 0 || m_state->countHasArrived || m_state->stopWasPressed;
    });
    const bool isStopping = m_state->stopWasPressed;
    lock.unlock();
    if (isStopping) {
        onProgress([](State& state) {
            state.progress->setMainInfoFieldTxt(state.services.texts.text("stopping"_key));
        });
    }
}

void QVDeleteItems::iterateTrashes(const ItemsToErase& items) {
    EraseItemSource source(items, {[this](const FileUrl& entry, const HostError& error) {
                                       m_state->decisions->couldNotBegin(entry, error);
                                   },
                                   [this](const QVItemToErase& entry) { addToNotTrashed(entry); }});
    TreeRemover(*m_state->decisions).remove(source);
    source.tidy();
    if (m_state->wasStopped) return;
    for (const FileUrl& trashFolder : m_state->request.wholeTrashes) {
        if (auto trash = OpenTrash::open(trashFolder)) trash->removeOrphanRecords(kOrphanAge);
    }
}

void QVDeleteItems::addToNotTrashed(const QVItemToErase& entry) {
    const QVFilesUtilities& files = m_state->services.files;
    const FileUrl url = entry.url();
    if (!files.isDirectoryWithURL(url) || files.isAnEmptyFolder(url)) return;
    const std::lock_guard lock(m_state->lock);
    m_state->notErased.emplace_back(url, entry.identity);
}

RefusalAnswer QVDeleteItems::askToErase(const RefusalQuestion& question) {
    const bool isLocked = question.about == RefusalQuestion::About::Locked;
    const QString format = m_state->services.texts.text(
        isLocked ? "undeleted_locked_sing_str"_key : "undeleted_no_permissions_sing_str"_key);
    const QString title = StringTable::filled(format, {titleName(question.name)});
    bool isForAll = false;
    const int result = m_state->services.presenter.askToTheUser(
        {.question = title.toStdString(),
         .message = std::string(isLocked ? "undeleted_locked_sing_msg"_key : std::string_view()),
         .defaultButton = std::string("skip"_key),
         .alternateButton = std::string("erase"_key),
         .notAnswered = kAlertFirstButton,
         .showView = true,
         .viewStatus = &isForAll,
         .topic =
             isLocked ? AlertModel::Topic::LockedQuestion : AlertModel::Topic::ForbiddenQuestion,
         .fullName = displayName(question.path)});
    return {result == kAlertSecondButton, isForAll};
}

void QVDeleteItems::eraseWithAdminPrivileges() {
    bool hasBegun = false;
    MainThread::postAndWait([&] { hasBegun = startHelper(); });
    if (!hasBegun) workIsOver();
}

/// False when Stop came first. Main thread.
bool QVDeleteItems::startHelper() {
    m_state->isRootErasing = true;  // before the look: a Stop sees this, or is seen here
    if (m_state->wasStopped) return false;
    if (!m_state->rootAccess) {
        m_state->helperDelegate = std::make_unique<HelperLink>(*this);
        m_state->rootAccess = m_state->services.helper.makeClient(*m_state->helperDelegate);
    }
    HelperRequest request;
    request.unlockItems = m_state->decisions->unlockItems();
    request.permissionsItems = m_state->decisions->permissionsItems();
    request.erasedSize = totSizeDeleted();
    request.erasedCount = totItemsDeleted();
    {
        const std::lock_guard lock(m_state->lock);
        if (!m_state->notErased.empty()) {
            request.notTrashedBecauseFolderNotEmpty = m_state->notErased;
        }
    }
    m_state->rootAccess->authorizedEraseWithDictionary(request);
    return true;
}

// --- Progress and end ---

void QVDeleteItems::setupTick() {
    auto tick = m_state->services.startTick([weak = weak_from_this()] {
        const auto engine = weak.lock();
        return engine && engine->tickOnce();
    });
    m_state->hasTick = tick.hasValue();
    if (tick) {
        m_state->tick = std::move(*tick);
    } else {
        qCWarning(lcErase, "Erase progress displayLink creation failed with error:%d",
                  tick.error().code);
    }
}

bool QVDeleteItems::tickOnce() {
    if (m_state->notificationAlreadySent) return false;
    if (m_state->isWorking) {
        updateProgressStatus();
        return true;
    }
    updateProgressBar();
    endSession();
    reportWhatStayed();
    postStopWorking(true);
    return false;
}

void QVDeleteItems::updateProgressStatus() {
    const auto now = Clock::now();
    const auto elapsed = now - m_state->startTime;
    if (m_state->panelAlreadyShown) {
        if (elapsed < kRefreshInterval) return;
        m_state->startTime = now;
        updateProgressBar();
    } else if (elapsed >= kWindowDelay) {
        m_state->startTime = now;
        onProgress([](State& state) { showProgress(state); });
        updateProgressBar();  // nobody sees the window without its figures
    }
}

void QVDeleteItems::showProgress(State& state) {
    if (!state.isWorking || state.panelAlreadyShown.exchange(true)) return;
    if (state.request.isSmartErase) {
        state.progress->window().showAsSheet(state.smartWindow);
    } else {
        state.progress->window().show();
    }
}

void QVDeleteItems::updateProgressBar() {
    onProgress([](State& state) {
        if (!state.panelAlreadyShown || state.progress->spinner().isIndeterminate()) return;
        const std::uint64_t items = state.decisions->totItemsDeleted;
        const std::uint64_t size = state.decisions->totSizeDeleted;
        std::uint64_t total = 0;
        {
            const std::lock_guard lock(state.lock);
            state.totItems = std::max(state.totItems, items);
            state.totSize = std::max(state.totSize, size);
            total = state.totItems;
        }
        const QVNumberUtilities& numbers = state.services.numbers;
        const double percent = total == 0 ? 0 : 100.0 * double(items) / double(total);
        state.progress->spinner().updateProgress(percent);
        state.progress->setSizeFld(numbers.sizeToFormatString(size, 4, true));
        state.progress->setCountFld(StringTable::filled(
            state.progress->countStr(), {numbers.numberToFormatString(double(items)),
                                         numbers.numberToFormatString(double(total))}));
    });
}

/// Runs `change` on the main thread, where progress is shown, unless the erase is over by then.
void QVDeleteItems::onProgress(std::function<void(State&)> change) {
    MainThread::post([weak = weak_from_this(), change = std::move(change)] {
        const auto engine = weak.lock();
        if (engine && engine->m_state->progress) change(*engine->m_state);
    });
}

void QVDeleteItems::workIsOver() {
    m_state->isWorking = false;
    // Without ticks nobody else would notice.
    if (!m_state->hasTick && !m_state->notificationAlreadySent) {
        endSession();
        postStopWorking(false);
    }
}

void QVDeleteItems::endSession() {
    m_state->decisions->noteWhatTheHelperLeft();
    if (!m_state->log) return;
    m_state->log->writeEndSessionAndCloseFile();
    noteLogProblem();
}

void QVDeleteItems::noteLogProblem() {
    if (!m_state->log->writeFailed()) return;
    const std::lock_guard lock(m_state->lock);
    m_state->logProblem = m_state->log->lastProblem();
}

void QVDeleteItems::reportWhatStayed() {
    const QVNumberUtilities& numbers = m_state->services.numbers;
    const std::uint64_t busy = itemBusyCount();
    ErrorReport report;
    if (busy >= 2) {
        report.error = "busy_plur"_errorKey;
        report.additionalName = {numbers.numberToFormatString(double(busy))};
    } else if (busy == 1) {
        report.error = "busy_sing"_errorKey;
    } else if (notErasedCount() != 0) {
        report.error = m_state->decisions->isHelperAuthorized() ? "not_erased"_errorKey
                                                                : "user_not_authorized"_errorKey;
    } else {
        return;
    }
    report.details = stayedDetails(stayedEntries(), m_state->services.texts, numbers);
    m_state->services.presenter.showError(report);
}

/// The end of an erase in which nothing was erased: neither end line nor report.
void QVDeleteItems::stopWorking() {
    m_state->isWorking = false;
    m_state->decisions->noteWhatTheHelperLeft();
    if (m_state->log) {
        m_state->log->closeLogFile();
        noteLogProblem();
    }
    postStopWorking(false);
}

void QVDeleteItems::sendPartialStopWorking() {
    postStopWorking(false);
}

/// Closes the progress and posts the end, once, on the main thread.
void QVDeleteItems::postStopWorking(bool withFigures) {
    if (m_state->notificationAlreadySent.exchange(true)) return;
    const auto finish = [self = shared_from_this(), withFigures] {
        State& state = *self->m_state;
        if (state.progress) state.progress->window().close();
        UserInfo info;
        if (withFigures) {
            info.set(Key::kErasedCount, self->totItemsDeleted())
                .set(Key::kErasedSize, self->totSizeDeleted())
                .set(Key::kWasStoppedByUser, self->isStoppedByUser());
        }
        state.progress.reset();
        state.rootAccess.reset();
        state.services.center.post(Key::kStopWorking, self.get(), std::move(info));
    };
    if (MainThread::isCurrent()) {
        finish();
    } else {
        MainThread::post(finish);
    }
}

// --- Stop ---

void QVDeleteItems::stop() {
    stopWasPressed();
    const auto pressButton = [self = shared_from_this()] {
        if (self->m_state->progress) self->m_state->progress->stopAction();
    };
    if (MainThread::isCurrent()) {
        pressButton();
    } else {
        MainThread::post(pressButton);
    }
}

void QVDeleteItems::stopWasPressed() {
    if (m_state->wasStopped.exchange(true)) return;
    m_state->countStop.request_stop();
    {
        const std::lock_guard lock(m_state->lock);
        m_state->stopWasPressed = true;
    }
    m_state->changed.notify_all();
    if (!m_state->isRootErasing) return;
    MainThread::post([self = shared_from_this()] {
        if (self->m_state->rootAccess) self->m_state->rootAccess->stoppedByUser();
    });
}

// --- What it came to ---

std::uint64_t QVDeleteItems::totItemsDeleted() const {
    return m_state->decisions ? m_state->decisions->totItemsDeleted.load() : 0;
}
std::uint64_t QVDeleteItems::totSizeDeleted() const {
    return m_state->decisions ? m_state->decisions->totSizeDeleted.load() : 0;
}
std::uint64_t QVDeleteItems::notErasedCount() const {
    return m_state->decisions ? m_state->decisions->notErasedCount.load() : 0;
}
std::uint64_t QVDeleteItems::itemBusyCount() const {
    return m_state->decisions ? m_state->decisions->itemBusyCount.load() : 0;
}
bool QVDeleteItems::isWorking() const {
    return m_state->isWorking;
}
bool QVDeleteItems::isStoppedByUser() const {
    return m_state->wasStopped;
}

SharedItemsToErase QVDeleteItems::itemsToErase() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->itemsToErase;
}
std::vector<StayedEntry> QVDeleteItems::stayedEntries() const {
    return m_state->decisions ? m_state->decisions->stayedEntries() : std::vector<StayedEntry>();
}
QString QVDeleteItems::startProblem() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->startProblem;
}
QString QVDeleteItems::logProblem() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->logProblem;
}

}  // namespace kestrin
