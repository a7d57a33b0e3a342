// SPDX-License-Identifier: GPL-3.0-or-later
// The erasing itself: the entries on their way through the decisions to the remover, and what needs
// root on its way to the helper.
#pragma once

#include <QString>
#include <QStringList>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "erase/EraseDecisions.h"
#include "erase/EraseRequest.h"
#include "erase/HelperClient.h"
#include "inventory/QVItemToErase.h"
#include "inventory/ThumbnailCache.h"
#include "platform/items/TreeRemover.h"

namespace kestrin {

class QVLogController;
struct ErrorReport;

/// One run over the entries of an erase. Thread: any, unless marked otherwise.
class EraseRun final : public std::enable_shared_from_this<EraseRun>,
                       private RemovalPolicy,
                       private HelperDelegate {
 public:
    /// `log` may be nullptr; it is opened. `helperIsDone` is called, on any thread, when the helper
    /// has come to its end.
    EraseRun(const EraseServices& services, const EraseRequest& request, std::stop_token stop,
             std::unique_ptr<QVLogController> log, std::function<void()> helperIsDone);
    ~EraseRun() override;
    EraseRun(const EraseRun&) = delete;
    EraseRun& operator=(const EraseRun&) = delete;

    /// Notes the whole trashes that hold something, or cannot tell, though nothing of them is going
    /// to be erased. Not on the main thread.
    void noteWhatWasNotListed();
    /// Erases what the user's rights allow, in the order of `items`. Not on the main thread.
    void erase(const ItemsToErase& items);
    /// Hands the rest to the helper, when there is any. False: the helper has no work, and will not
    /// tell that it is done. Not on the main thread.
    bool handToHelper();

    EraseDecisions& decisions() { return m_decisions; }
    const EraseDecisions& decisions() const { return m_decisions; }

    /// Notes what the helper left and ends the log, with an end line or without one. Nothing may be
    /// erased any more.
    void end(bool hasEndLine);
    /// Keeps in mind that `failure` ended the erase before its time.
    void noteProblem(const std::exception& failure);
    bool gaveUp() const;
    /// Returns a sentence when the erase gave up, one when the log could not be written to its end,
    /// and one for each volume that the request left out.
    QStringList problems() const;
    /// Returns what is to be told in one alert when the run has ended: with `tellsWhatStayed` what
    /// stayed and what else went wrong, and always what the helper complained of. There is no
    /// report when there is nothing to tell.
    std::optional<ErrorReport> report(bool tellsWhatStayed);
    /// Whether such a report told what stayed, and the problems with it.
    bool hasReported() const;
    /// Lets the helper's client go. Main thread.
    void releaseHelper();

 private:
    // The policy of the removal
    void willLook() override { m_decisions.waitWhileAQuestionIsOpen(); }
    Verdict willEnter(const RemovalEntry& folder) override;
    Verdict willRemove(const RemovalEntry& entry) override;
    void didRemove(const RemovalEntry& entry) override;
    void didFail(const RemovalEntry& entry, const HostError& error) override;
    bool shouldStop() const override { return m_stop.stop_requested(); }

    // What the helper tells
    void setTotItemsDeleted(std::uint64_t count) override;
    void setTotSizeDeleted(std::uint64_t bytes) override;
    void setNotErasedCount(std::uint64_t count) override;
    void setIsWorking(bool working) override;
    void writeLogEntryWithPath(const std::string& path, std::uint64_t itemSize) override;
    void attributesNotRestored(const std::string& path) override;
    void showErrorWithError(const HostError& error) override;
    bool isStoppedByUser() const override { return shouldStop(); }

    EraseDecisions::Settings settings(const EraseRequest& request) const;
    EraseDecisions::Callbacks callbacks();
    bool passesLock(const RemovalEntry& entry);
    void addToNotTrashed(const QVItemToErase& entry);
    bool mayOpen(const FileUrl& trash);
    bool isStillThere(const TrashLocation& trash);
    RefusalAnswer askToErase(const RefusalQuestion& question) const;
    bool startHelper(std::shared_ptr<const HelperRequest> request);

    const EraseServices m_services;
    const std::stop_token m_stop;
    const std::vector<TrashLocation> m_wholeTrashes;
    const std::vector<TrashLocation> m_trashes;
    const std::vector<LeftOutVolume> m_leftOut;
    const std::unique_ptr<QVLogController> m_log;
    const std::function<void()> m_helperIsDone;
    EraseDecisions m_decisions;
    ErasedThumbnails m_thumbnails;  ///< of what the helper erased

    mutable std::mutex m_lock;
    // Guarded by `m_lock`:
    QString m_problem;
    std::vector<HelperItem> m_notErased;  ///< folders that were not empty after their contents
    std::string m_helperError;
    bool m_hasReported = false;

    // Main thread:
    std::unique_ptr<HelperClient> m_rootAccess;
    std::optional<std::stop_callback<std::function<void()>>> m_helperStop;
};

}  // namespace kestrin
