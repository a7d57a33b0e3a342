// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVDeleteItems.h"

#include <atomic>
#include <exception>
#include <optional>
#include <stop_token>
#include <utility>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/EraseConfirmation.h"
#include "erase/EraseCount.h"
#include "erase/EraseLog.h"
#include "erase/EraseProgress.h"
#include "erase/EraseQueue.h"
#include "erase/EraseRun.h"
#include "erase/EraseTurn.h"
#include "erase/QVAlert.h"
#include "erase/QVErrorDelegate.h"
#include "erase/QVLogController.h"

namespace kestrin {

namespace Key = EraseNotification;

/// How an erase ends.
enum class QVDeleteItems::End {
    NotYet,
    Ordinary,       ///< with the log's end line, a report and the figures; the tick's to finish
    NothingErased,  ///< the user declined or stopped it, or nothing could be erased
    NotStarted,     ///< could not begin: nobody is told but the caller
};

struct QVDeleteItems::State {
    explicit State(EraseServices allServices)
        : services(std::move(allServices)),
          count(std::make_shared<EraseCount>(services.center, stop.get_token())) {}

    const EraseServices services;
    std::stop_source stop;  ///< Stop, for all that belongs to this erase
    const std::shared_ptr<EraseCount> count;
    EraseRequest request;
    std::weak_ptr<QVAlert> sheet;  ///< of a smart erase; main thread
    QString volumeName;            ///< the one that the user was asked about
    QString startProblem;

    // Set when erasing starts, before any other thread looks:
    std::shared_ptr<EraseRun> run;
    std::shared_ptr<EraseProgress> progress;
    bool hasTicks = false;

    std::atomic<bool> isErasing = false;
    std::atomic<End> end = End::NotYet;
    std::atomic<std::optional<bool>> wasStopped{};  ///< set at the end
};

std::shared_ptr<QVDeleteItems> QVDeleteItems::create(EraseServices services) {
    return std::shared_ptr<QVDeleteItems>(new QVDeleteItems(std::move(services)));
}

QVDeleteItems::QVDeleteItems(EraseServices services)
    : m_state(std::make_unique<State>(std::move(services))) {}

QVDeleteItems::~QVDeleteItems() = default;

// --- Confirmation and count ---

bool QVDeleteItems::askToContinue(const EraseRequest& request) {
    m_state->request = request;
    if (!EraseTurn::take(shared_from_this())) return refuse();
    m_state->count->begin(request, this);
    const bool asks = request.askAlways ||
                      (!request.confirmed && m_state->services.defaults.boolForKey("show_alert"));
    if (!asks) {
        if (request.isSmartErase) sendSmartEraseNotificationResponse(true);
        return true;
    }
    m_state->volumeName = request.volumeName;
    auto alert = showConfirmation(request, m_state->services, *m_state->count);
    if (!request.isSmartErase) return questionIsOver(alert->choice() == kAlertFirstButton);
    m_state->sheet = alert;
    waitForAnswer(std::move(alert), [self = shared_from_this()](bool canContinue) {
        self->sendSmartEraseNotificationResponse(canContinue);
    });
    return true;
}

void QVDeleteItems::withdrawQuestion() {
    if (const auto sheet = m_state->sheet.lock()) sheet->withdraw();
}

/// Another erase is under way, and its end is the one to be told.
bool QVDeleteItems::refuse() {
    m_state->services.bringForward();
    m_state->end = End::NotStarted;
    if (m_state->request.isSmartErase) sendSmartEraseNotificationResponse(false);
    return m_state->request.isSmartErase;
}

void QVDeleteItems::sendSmartEraseNotificationResponse(bool canContinue) {
    runInBackground([self = shared_from_this(), canContinue] {
        self->questionIsOver(canContinue);
        self->m_state->services.center.post(
            Key::kWaitForResponse, self.get(),
            UserInfo()
                .set(Key::kCanContinue, canContinue)
                .set(Key::kItemsDict, self->m_state->request.itemsDict));
    });
}

bool QVDeleteItems::questionIsOver(bool canContinue) {
    m_state->count->follow(nullptr);
    if (canContinue) {
        m_state->count->endWhenKnown();
    } else if (m_state->request.isSmartErase) {
        m_state->count->end();
        EraseTurn::giveBack(*this);
    } else {
        decideEnd(End::NothingErased);
    }
    return canContinue;
}

void QVDeleteItems::whenCountHasArrived(std::function<void()> call) {
    m_state->count->whenKnown(std::move(call));
}

// --- Start ---

bool QVDeleteItems::proceedToEraseWithArray(SharedItemsToErase items) {
    if (isStoppedByUser()) {
        decideEnd(End::NothingErased);
        return true;
    }
    if (!items || items->empty()) items = itemsToErase();
    auto log = makeEraseLog(m_state->request, items->size(), m_state->services);
    if (log && !log->openLogFile()) {
        tellThatLogIsClosed(m_state->request, m_state->services.presenter);
        return doNotStart(log->lastProblem());
    }
    if (!makeParts(std::move(log)))
        return doNotStart(m_state->services.texts.text("no_progress_view"_key));
    m_state->isErasing = true;
    EraseTurn::keepAlive();
    m_state->hasTicks = m_state->progress->startTicks([weak = weak_from_this()] {
        const auto engine = weak.lock();
        return engine && engine->tickOnce();
    });
    orGiveUp([&] {
        deletionsOperationQueue().enqueue([self = shared_from_this(), items = std::move(items)] {
            self->orGiveUp([&] { self->erase(items); });
        });
    });
    return true;
}

bool QVDeleteItems::doNotStart(const QString& problem) {
    m_state->startProblem = problem;
    m_state->count->end();
    m_state->end = End::NotStarted;
    EraseTurn::giveBack(*this);
    return false;
}

/// False when progress cannot be shown; then the log has been closed.
bool QVDeleteItems::makeParts(std::unique_ptr<QVLogController> log) {
    QVLogController* const openLog = log.get();
    m_state->run =
        std::make_shared<EraseRun>(m_state->services, m_state->request, m_state->stop.get_token(),
                                   std::move(log), [weak = weak_from_this()] {
                                       if (const auto engine = weak.lock())
                                           engine->decideEnd(End::Ordinary);
                                   });
    m_state->progress = EraseProgress::create({.services = m_state->services,
                                               .count = m_state->count,
                                               .run = m_state->run,
                                               .isSmartErase = m_state->request.isSmartErase,
                                               .isAllDisks = m_state->request.isAllDisks,
                                               .smartWindow = m_state->request.window,
                                               .volumeName = m_state->volumeName},
                                              m_state->stop);
    if (!m_state->progress) return false;
    if (openLog) openLog->writeStartSession();
    return true;
}

// --- Erasing, on the background queue ---

void QVDeleteItems::erase(SharedItemsToErase items) {
    EraseProgress& progress = *m_state->progress;
    EraseCount& count = *m_state->count;
    if (count.isGathering()) {
        progress.showGathering();
        count.waitUntilKnown();
        count.end();
    }
    progress.showErasing();
    if (isStoppedByUser()) return decideEnd(End::NothingErased);
    if (items->empty()) items = itemsToErase();
    for (const auto& [trash, error] : count.unreadable())
        m_state->run->decisions().couldNotBegin(trash, error);
    if (items->empty() && !m_state->request.isAllDisks) m_state->run->noteWhatWasNotListed();
    m_state->run->erase(*items);
    if (m_state->run->handToHelper()) return;
    decideEnd(totItemsDeleted() != 0 ? End::Ordinary : End::NothingErased);
}

/// What an operation throws, for want of memory or of a thread, ends the erase.
void QVDeleteItems::orGiveUp(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const std::exception& failure) {
        m_state->run->noteProblem(failure);
        decideEnd(totItemsDeleted() != 0 ? End::Ordinary : End::NothingErased);
    }
}

// --- End ---

bool QVDeleteItems::tickOnce() {
    const End end = m_state->end;
    if (end == End::NotYet) {
        m_state->progress->tick();
        return true;
    }
    if (end == End::Ordinary) finish(end);
    return false;
}

/// The one place where an erase comes to its end; the first way to end that is told counts. The
/// ordinary end is the tick's to finish, so that no thread of the helper waits for the user to read
/// a report.
void QVDeleteItems::decideEnd(End end) {
    End notYet = End::NotYet;
    if (!m_state->end.compare_exchange_strong(notYet, end)) return;
    if (end != End::Ordinary || !m_state->hasTicks) finish(end);
}

/// Without ticks an ordinary end has its line in the log, but neither a report nor figures.
void QVDeleteItems::finish(End end) {
    m_state->wasStopped = isStoppedByUser();
    m_state->count->end();
    const bool isReported = end == End::Ordinary && m_state->hasTicks;
    if (EraseRun* const run = m_state->run.get()) {
        m_state->progress->workIsOver();
        run->end(end == End::Ordinary);
        if (const auto report = run->report(isReported))
            m_state->services.presenter.showError(*report);
    }
    postStopWorking(isReported);
}

/// Closes the progress and posts the end, on the main thread.
void QVDeleteItems::postStopWorking(bool withFigures) {
    const auto post = [self = shared_from_this(), withFigures] {
        const State& state = *self->m_state;
        UserInfo info;
        if (withFigures) {
            info.set(Key::kErasedCount, self->totItemsDeleted())
                .set(Key::kErasedSize, self->totSizeDeleted())
                .set(Key::kWasStoppedByUser, self->isStoppedByUser());
        }
        if (state.progress) state.progress->close();
        if (state.run) state.run->releaseHelper();
        EraseTurn::giveBack(*self);
        state.services.center.post(Key::kStopWorking, self.get(), std::move(info));
    };
    if (MainThread::isCurrent()) return post();
    MainThread::post(post);
}

// --- Stop, and what it came to ---

void QVDeleteItems::stop() {
    m_state->stop.request_stop();
}
bool QVDeleteItems::isStoppedByUser() const {
    return m_state->wasStopped.load().value_or(m_state->stop.stop_requested());
}

std::uint64_t QVDeleteItems::counted(Counter counter) const {
    return m_state->run ? (m_state->run->decisions().*counter).load() : 0;
}
bool QVDeleteItems::isWorking() const {
    return m_state->isErasing && m_state->end == End::NotYet;
}
SharedItemsToErase QVDeleteItems::itemsToErase() const {
    return m_state->count->itemsToErase();
}
std::vector<StayedEntry> QVDeleteItems::stayedEntries() const {
    return m_state->run ? m_state->run->decisions().stayedEntries() : std::vector<StayedEntry>();
}
QString QVDeleteItems::startProblem() const {
    return m_state->startProblem;
}
QStringList QVDeleteItems::problems() const {
    return m_state->run ? m_state->run->problems() : QStringList();
}
bool QVDeleteItems::hasReported() const {
    return m_state->run && m_state->run->hasReported();
}
bool QVDeleteItems::gaveUp() const {
    return m_state->run && m_state->run->gaveUp();
}

}  // namespace kestrin
