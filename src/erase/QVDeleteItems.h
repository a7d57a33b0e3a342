// SPDX-License-Identifier: GPL-3.0-or-later
// The engine that erases trashes for good, in front of its three parts: the confirmation and the
// count, the run, and what is shown. It alone decides how an erase ends. It never shows a window
// itself: alerts go through the presenter, progress through a progress view.
#pragma once

#include <QString>
#include <QStringList>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "erase/EraseDecisions.h"
#include "erase/EraseRequest.h"
#include "inventory/QVItemToErase.h"

namespace kestrin {

class QVLogController;

/// One erase, from the question to the end. It is made fresh for every request, and keeps itself
/// alive while it erases. Everything not marked otherwise is called on the main thread.
///
/// Sequence: askToContinue; when it answers true (smart erase: when "waitForResponse" says
/// "canContinue"), proceedToEraseWithArray; the end is "stopWorking", posted once, on the main
/// thread. It carries the figures unless the confirmation was declined or nothing at all was
/// erased.
class QVDeleteItems : public std::enable_shared_from_this<QVDeleteItems> {
 public:
    static std::shared_ptr<QVDeleteItems> create(EraseServices services);
    ~QVDeleteItems();
    QVDeleteItems(const QVDeleteItems&) = delete;
    QVDeleteItems& operator=(const QVDeleteItems&) = delete;

    /// Counts (all disks, in the background) and asks for confirmation. False: the user declined,
    /// and "stopWorking" has been posted; or another engine of this process asks or erases, which
    /// was brought forward, and nothing is posted. A smart erase answers true at once and tells the
    /// user's answer by "waitForResponse", posted on a background thread; or on the main thread,
    /// later, where no thread is to be had.
    bool askToContinue(const EraseRequest& request);

    /// Smart erase: takes the open question back, which then counts as not answered; an answer that
    /// was given already is still told, and the caller does not act on it.
    void withdrawQuestion();

    /// Has `call` made on the main thread once the figures are there; soon when they are there
    /// already. Never when Stop comes first.
    void whenCountHasArrived(std::function<void()> call);

    /// Starts erasing `items`, in their order; those gathered by the count when nullptr or empty.
    /// False: the log could not be opened or progress could not be shown; nothing was begun,
    /// nothing will be posted, `startProblem` says why. After a Stop nothing is begun either, but
    /// the end is posted at once.
    bool proceedToEraseWithArray(SharedItemsToErase items = nullptr);

    /// Presses Stop: the erase ends at its next entry, and one that has not begun ends as soon as
    /// it is to begin. An open confirmation stays open. Thread: any.
    void stop();

    // What an erase has come to; at its end the final figures. Thread: any.
    std::uint64_t totItemsDeleted() const { return counted(&EraseDecisions::totItemsDeleted); }
    std::uint64_t totSizeDeleted() const { return counted(&EraseDecisions::totSizeDeleted); }
    std::uint64_t notErasedCount() const { return counted(&EraseDecisions::notErasedCount); }
    std::uint64_t itemBusyCount() const { return counted(&EraseDecisions::itemBusyCount); }
    bool isWorking() const;
    /// Whether Stop was pressed before the end.
    bool isStoppedByUser() const;
    SharedItemsToErase itemsToErase() const;
    /// Every entry that stayed, with its reason. An entry that was never begun is not among them.
    std::vector<StayedEntry> stayedEntries() const;
    /// Why proceedToEraseWithArray answered false; one sentence, else empty.
    QString startProblem() const;
    /// What the user should know at the end besides what stayed: that the erase gave up, that the
    /// log is incomplete, which volumes were left out. One sentence each, which may hold bytes
    /// unfit to be shown.
    QStringList problems() const;
    /// The end report told what stayed, and the problems with it.
    bool hasReported() const;
    /// The erase ended before it had tried every entry, for want of memory or of a thread.
    bool gaveUp() const;

 private:
    enum class End;
    struct State;

    explicit QVDeleteItems(EraseServices services);

    using Counter = std::atomic<std::uint64_t> EraseDecisions::*;
    std::uint64_t counted(Counter counter) const;

    // Confirmation
    bool refuse();
    void sendSmartEraseNotificationResponse(bool canContinue);
    bool questionIsOver(bool canContinue);

    // Start
    bool doNotStart(const QString& problem);
    bool makeParts(std::unique_ptr<QVLogController> log);
    void erase(SharedItemsToErase items);
    void orGiveUp(const std::function<void()>& operation);

    // End
    bool tickOnce();
    void decideEnd(End end);
    void finish(End end);
    void postStopWorking(bool withFigures);

    std::unique_ptr<State> m_state;
};

}  // namespace kestrin
