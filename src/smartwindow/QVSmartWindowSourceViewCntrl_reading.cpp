// SPDX-License-Identifier: GPL-3.0-or-later
// When trashes are read and measured, and what is told of it.
#include <QPointer>
#include <algorithm>
#include <exception>
#include <mutex>
#include <utility>

#include "base/MainThread.h"
#include "base/OperationQueue.h"
#include "erase/EraseRequest.h"
#include "inventory/TrashListing.h"
#include "smartwindow/QVSmartWindowSourceViewCntrl.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/SmartWindowServices.h"

namespace kestrin {

namespace Key = SmartWindowNotification;

/// A volume that does not answer would keep a thread. What is erased now is read at the end.
bool QVSmartWindowSourceViewCntrl::canRead(const QVSourceItem& source) const {
    return source.note.isEmpty() && m_takesChecks && !m_isClosed;
}

/// Whether a volume may be owing an answer.
bool QVSmartWindowSourceViewCntrl::isBusy() const {
    return !m_isClosed && std::ranges::any_of(sourceItems(), [this](const SourcePtr& source) {
        const auto reading = m_readings.find(source.get());
        return source->gatheringSizeCount != 0 ||
               (reading != m_readings.end() && reading->second.isReading);
    });
}

void QVSmartWindowSourceViewCntrl::readAll() {
    const SourceItems sources = sourceItems();
    for (const SourcePtr& source : sources)
        read(source);
}

/// Reads the trash of the source now or, when it is being read or cannot be read, once more later.
void QVSmartWindowSourceViewCntrl::read(const SourcePtr& source) {
    ReadingState& state = m_readings[source.get()];
    state.isWanted = state.isReading || !canRead(*source);
    if (state.isWanted) return;
    state.isReading = true;
    try {
        begin(source);
    } catch (const std::exception&) {  // no thread is to be had: the next change asks again
        state.isReading = false;
    }
}

void QVSmartWindowSourceViewCntrl::begin(const SourcePtr& source) {
    const bool isLoaded = m_readings[source.get()].isLoaded;
    if (!m_silenceTimer.isActive()) m_silenceTimer.start();
    sourceListOperationQueue().enqueue(
        [isLoaded, source, stop = source->stop.get_token(), reports = reportsFor(source)] {
            try {
                (isLoaded ? checkBinContent : loadSource)(source, stop, reports);
            } catch (const std::exception&) {  // memory is short: the next change asks again
                reports.ended({});
            }
        });
}

/// What workers say reaches the main thread, and the controller if it is still there.
ReadingReports QVSmartWindowSourceViewCntrl::reportsFor(const SourcePtr& source) {
    const auto onMain = [owner = QPointer(this)](std::function<void()> call) {
        MainThread::post([owner, call = std::move(call)] {
            if (owner) call();
        });
    };
    return {.itemsDidArrive = [=, this] { onMain([=, this] { itemsDidArrive(source); }); },
            .ended =
                [=, this](const ReadingResult& result) {
                    onMain([=, this] { readingDidEnd(source, result); });
                },
            .measured = [=, this] { onMain([=, this] { foldersWereMeasured(source); }); }};
}

void QVSmartWindowSourceViewCntrl::itemsDidArrive(const SourcePtr& source) {
    if (!m_readings.contains(source.get())) return;
    postUpdateItemsList(source);
    updateMarkedItemsSoon(source);
    m_model.reload(*source);
    showFirstSourceIfNoneIs();
}

void QVSmartWindowSourceViewCntrl::readingDidEnd(const SourcePtr& source,
                                                 const ReadingResult& result) {
    const auto reading = m_readings.find(source.get());
    if (reading == m_readings.end()) return;
    reading->second.isReading = false;
    // What was cut short is gone on with as a later reading, which finds what is missing.
    reading->second.isLoaded = true;
    if (std::exchange(reading->second.wasCutShort, false) && !m_isClosed) goOnMeasuring(source);
    if (result.isChanged) {
        postUpdateItemsList(source);
        updateMarkedItems(source);
    } else {
        m_model.reload(*source);
    }
    if (result.endedGathering) endGathering(source);
    if (m_readings[source.get()].isWanted) read(source);
    showFirstSourceIfNoneIs();
}

/// The list hears of every folder, although the figures are summed up for many at once.
void QVSmartWindowSourceViewCntrl::foldersWereMeasured(const SourcePtr& source) {
    if (!m_readings.contains(source.get())) return;
    const MeasuredFolders measured = takeMeasured(*source);
    for (std::size_t i = 0; i < measured.count; ++i)
        postUpdateItemsList(source);
    if (measured.isLast) return endGathering(source);
    updateMarkedItemsSoon(source);
}

void QVSmartWindowSourceViewCntrl::endGathering(const SourcePtr& source) {
    updateMarkedItems(source);
    m_services.center.post(EraseNotification::kUpdateCountAndSizeToDelete, source.get());
}

void QVSmartWindowSourceViewCntrl::goOnMeasuring(const SourcePtr& source) {
    ItemList folders;
    {
        const std::lock_guard lock(source->lock);
        for (const auto& child : source->children) {
            if (!child->isMeasured) folders.push_back(child);
        }
    }
    gatherSizes(source, std::move(folders), source->stop.get_token(), reportsFor(source));
}

void QVSmartWindowSourceViewCntrl::postUpdateItemsList(const SourcePtr& source) {
    m_services.center.post(Key::kUpdateItemsList, source.get(),
                           UserInfo().set(Key::kSourceItem, source));
}

}  // namespace kestrin
