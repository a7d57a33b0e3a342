// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseRun.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <utility>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/EraseItemSource.h"
#include "erase/QVErrorDelegate.h"
#include "erase/QVLogController.h"
#include "erase/StayedDetails.h"
#include "format/DisplayName.h"
#include "inventory/TrashCount.h"
#include "platform/items/HostErrors.h"
#include "platform/processes/AnswerWithin.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;
using Decision = EraseDecisions::Decision;

/// How long a volume may take to say that it is there. A silent one does not hold the end.
constexpr auto kPatience = 5s;
/// A record younger than this may belong to an entry that is just being trashed.
constexpr auto kOrphanAge = 60s;

/// The first engine of the process that erases hears of every failed removal twice: it is the one
/// that the removal itself reports to, besides looking at the result.
bool becomesRemovalDelegate() {
    static std::atomic<bool> isTaken = false;
    return !isTaken.exchange(true);
}

/// By its name alone: what lies in a folder that has it is erased all the same.
bool isTrashFolder(const FileUrl& folder) {
    return folder.lastPathComponent() == "files";
}

}  // namespace

EraseRun::EraseRun(const EraseServices& services, const EraseRequest& request, std::stop_token stop,
                   std::unique_ptr<QVLogController> log, std::function<void()> helperIsDone)
    : m_services(services),
      m_stop(std::move(stop)),
      m_wholeTrashes(request.wholeTrashes),
      m_trashes(request.trashes),
      m_leftOut(request.leftOut),
      m_log(std::move(log)),
      m_helperIsDone(std::move(helperIsDone)),
      m_decisions(settings(request), callbacks()) {}

EraseRun::~EraseRun() = default;

EraseDecisions::Settings EraseRun::settings(const EraseRequest& request) const {
    return {.deleteLocked = m_services.defaults.boolForKey("delete_locked"),
            .locked = request.locked,
            .forbidden = request.forbidden,
            .classifiesTwice = becomesRemovalDelegate()};
}

EraseDecisions::Callbacks EraseRun::callbacks() {
    EraseDecisions::Callbacks callbacks;
    callbacks.ask = [this](const RefusalQuestion& question) { return askToErase(question); };
    callbacks.wasStopped = [this] { return shouldStop(); };
    if (m_services.helper.isAuthorized)
        callbacks.isHelperAuthorized = m_services.helper.isAuthorized;
    return callbacks;
}

void EraseRun::erase(const ItemsToErase& items) {
    EraseItemSource source(items, {[this](const FileUrl& trash) { return mayOpen(trash); },
                                   [this](const FileUrl& entry, const HostError& error) {
                                       m_decisions.couldNotBegin(entry, error);
                                   },
                                   [this](const QVItemToErase& entry) { addToNotTrashed(entry); }});
    TreeRemover(*this).remove(source);
    source.tidy();
    if (shouldStop()) return;
    for (const TrashLocation& trash : m_trashes)
        isStillThere(trash);
    for (const TrashLocation& trash : m_wholeTrashes) {
        if (!isStillThere(trash)) continue;
        if (auto open = OpenTrash::open(trash.trashURL)) open->removeOrphanRecords(kOrphanAge);
    }
}

/// What another volume holds at the same place was never meant, whatever its names.
bool EraseRun::mayOpen(const FileUrl& trash) {
    for (const auto* const trashes : {&m_wholeTrashes, &m_trashes}) {
        const auto known = std::ranges::find(*trashes, trash, &TrashLocation::trashURL);
        if (known != trashes->end()) return isStillThere(*known);
    }
    return true;
}

void EraseRun::noteWhatWasNotListed() {
    for (const TrashLocation& trash : m_wholeTrashes) {
        const Result<bool> holdsEntries = trashHoldsEntries(trash.trashURL);
        if (!holdsEntries) {
            m_decisions.couldNotBegin(trash.trashURL, holdsEntries.error());
        } else if (*holdsEntries) {
            HostError notListed = errorFromErrno(EAGAIN, HostAccess::Read);
            notListed.userInfo["errorString"] =
                m_services.texts.text("trash_not_counted"_key).toStdString();
            m_decisions.couldNotBegin(trash.trashURL, notListed);
        }
    }
}

/// A volume that went meanwhile took its entries along: they stay, though nothing is found of them,
/// also when another volume is in its place.
bool EraseRun::isStillThere(const TrashLocation& trash) {
    const auto isMounted = answerWithin<bool>(kPatience, [ask = m_services.isMounted, trash] {
        return ask(trash.volumeURL, trash.mountId);
    });
    if (isMounted.value_or(false)) return true;
    HostError removed = errorFromErrno(ENODEV, HostAccess::Read);
    removed.userInfo["errorString"] = m_services.texts.text("volume_removed"_key).toStdString();
    m_decisions.couldNotBegin(trash.volumeURL, removed);
    return false;
}

/// A folder that holds nothing but folders counts as not empty here, for there may be something of
/// the helper's in these.
void EraseRun::addToNotTrashed(const QVItemToErase& entry) {
    const FileUrl url = entry.url();
    if (!m_services.files.isDirectoryWithURL(url)) return;
    const std::lock_guard lock(m_lock);
    m_notErased.emplace_back(url, entry.identity);
}

// --- The policy of the removal ---

RemovalPolicy::Verdict EraseRun::willEnter(const RemovalEntry& folder) {
    return passesLock(folder) ? Verdict::Proceed : Verdict::Leave;
}

RemovalPolicy::Verdict EraseRun::willRemove(const RemovalEntry& entry) {
    const bool proceeds =
        passesLock(entry) && m_decisions.decideForbidden(entry) == Decision::Proceed;
    return proceeds ? Verdict::Proceed : Verdict::Leave;
}

bool EraseRun::passesLock(const RemovalEntry& entry) {
    Decision decision = m_decisions.decideLocked(entry);
    if (decision == Decision::Unlock && entry.unlock()) {
        decision = m_decisions.couldNotUnlock(entry);
    }
    return decision != Decision::Leave;
}

void EraseRun::didRemove(const RemovalEntry& entry) {
    m_decisions.didRemove(entry);
    if (m_log) m_log->writeEntryWithPath(entry.path(), entry.size());
}

void EraseRun::didFail(const RemovalEntry& entry, const HostError& error) {
    m_decisions.didFail(entry, error);
}

RefusalAnswer EraseRun::askToErase(const RefusalQuestion& question) const {
    const bool isLocked = question.about == RefusalQuestion::About::Locked;
    const QString format = m_services.texts.text(
        isLocked ? "undeleted_locked_sing_str"_key : "undeleted_no_permissions_sing_str"_key);
    const QString title = StringTable::filled(format, {titleName(question.name)});
    bool isForAll = false;
    const int result = m_services.presenter.askToTheUser(
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

// --- The helper ---

bool EraseRun::handToHelper() {
    if (shouldStop()) return false;
    std::vector<HelperItem> notErased;
    {
        const std::lock_guard lock(m_lock);
        notErased = m_notErased;
    }
    const auto request =
        std::make_shared<const HelperRequest>(m_decisions.shareOfHelper(notErased));
    if (request->isEmpty()) return false;
    bool hasBegun = false;
    MainThread::postAndWait([&] { hasBegun = startHelper(request); });
    return hasBegun;
}

/// False when Stop came first. Main thread.
bool EraseRun::startHelper(std::shared_ptr<const HelperRequest> request) {
    if (shouldStop()) return false;
    m_rootAccess = m_services.helper.makeClient(*this);
    m_helperStop.emplace(m_stop, [weak = weak_from_this()] {
        MainThread::post([weak] {
            const auto run = weak.lock();
            if (run && run->m_rootAccess) run->m_rootAccess->stoppedByUser();
        });
    });
    m_rootAccess->authorizedEraseWithDictionary(std::move(request));
    return true;
}

void EraseRun::releaseHelper() {
    m_helperStop.reset();
    m_rootAccess.reset();
}

void EraseRun::setTotItemsDeleted(std::uint64_t count) {
    m_decisions.totItemsDeleted = count;
}

void EraseRun::setTotSizeDeleted(std::uint64_t bytes) {
    m_decisions.totSizeDeleted = bytes;
}

void EraseRun::setNotErasedCount(std::uint64_t count) {
    m_decisions.notErasedCount = count;
}

void EraseRun::setIsWorking(bool working) {
    if (!working) m_helperIsDone();
}

void EraseRun::writeLogEntryWithPath(const std::string& path, std::uint64_t itemSize) {
    if (m_log) m_log->writeEntryWithPath(path, itemSize);
    m_decisions.helperErased(path);
    const FileUrl url = FileUrl::fromPath(path);
    if (isTrashFolder(url.parent())) m_thumbnails.add(url.parent(), url.lastPathComponent());
}

void EraseRun::attributesNotRestored(const std::string& path) {
    m_decisions.noteLeftUnlocked(FileUrl::fromPath(path));
}

void EraseRun::showErrorWithError(const HostError& error) {
    const std::lock_guard lock(m_lock);
    m_helperError = error.localizedDescription();
}

// --- The end ---

/// An end has to follow whatever happens here.
void EraseRun::end(bool hasEndLine) {
    try {
        m_decisions.noteWhatTheHelperLeft();
        m_thumbnails.remove();
        if (!m_log) return;
        if (hasEndLine) {
            m_log->writeEndSessionAndCloseFile();
        } else {
            m_log->closeLogFile();
        }
    } catch (const std::exception& failure) {
        noteProblem(failure);
    }
}

void EraseRun::noteProblem(const std::exception& failure) {
    const QString problem = StringTable::filled(
        m_services.texts.text("erase_gave_up"_key),
        {QString::fromStdString(errorFromException(failure).localizedDescription())});
    const std::lock_guard lock(m_lock);
    if (m_problem.isEmpty()) m_problem = problem;
}

bool EraseRun::gaveUp() const {
    const std::lock_guard lock(m_lock);
    return !m_problem.isEmpty();
}

QStringList EraseRun::problems() const {
    QStringList problems;
    {
        const std::lock_guard lock(m_lock);
        if (!m_problem.isEmpty()) problems << m_problem;
    }
    if (m_log && m_log->writeFailed()) problems << m_log->lastProblem();
    return problems + leftOutSentences(m_leftOut, m_services.texts);
}

bool EraseRun::hasReported() const {
    const std::lock_guard lock(m_lock);
    return m_hasReported;
}

std::optional<ErrorReport> EraseRun::report(bool tellsWhatStayed) {
    std::string helperError;
    {
        const std::lock_guard lock(m_lock);
        helperError = m_helperError;
    }
    std::optional<ErrorReport> report;
    if (tellsWhatStayed) report = endReport(m_decisions, m_services.texts, m_services.numbers);
    if (report) {
        {
            const std::lock_guard lock(m_lock);
            m_hasReported = true;
        }
        QStringList sentences = problems();
        if (!helperError.empty()) sentences.prepend(QString::fromStdString(helperError));
        report->message = displayName(sentences.join(u' ')).toStdString();
    } else if (!helperError.empty()) {
        report = ErrorReport{.error = helperError, .message = {}, .additionalName = {}};
    }
    return report;
}

}  // namespace kestrin
