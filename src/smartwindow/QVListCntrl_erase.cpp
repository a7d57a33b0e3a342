// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVListCntrl_erase.h"

#include <algorithm>
#include <utility>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "erase/QVErrorDelegate.h"
#include "format/DisplayName.h"
#include "smartwindow/ListQueue.h"
#include "smartwindow/QVContentTableView.h"

namespace kestrin {
namespace {

namespace Key = EraseNotification;

constexpr int kTopLevel = 8;  ///< on top of the windows of other programs
constexpr int kOrdinaryLevel = 0;

LeftOutVolume leftOutVolume(const CheckedSource& checked) {
    return {.name = checked.source->displayName, .reason = checked.source->note};
}

CheckedVolume checkedVolume(const CheckedSource& checked) {
    const auto entry = [items = checked.items](std::size_t index) {
        const QVSmartWindowItem& item = *items->at(index);
        CheckedEntry shown{.name = item.name};
        if (item.originalFolder) shown.originalFolder = *item.originalFolder;
        if (item.isMeasured) shown.size = item.size;
        return shown;
    };
    return {.name = checked.source->displayName, .count = checked.items->size(), .entry = entry};
}

}  // namespace

/// What is checked, as a worker gathered it.
struct QVListCntrl::Gathered {
    std::vector<CheckedSource> checked;
    SharedItemsToErase items;
    std::uint64_t hiddenCount = 0;
    TrashFigures totals;                    ///< of the sources in which all is measured
    std::vector<CheckedSource> unmeasured;  ///< the other ones
    std::vector<CheckedSource> leftOut;
};

// --- The command ---

void QVListCntrl::deleteBtnDidClick() {
    if (m_erase) return;
    m_erase = std::make_shared<Erase>();
    m_model.setMarksAreLocked(true);
    Q_EMIT isErasingDidChange(true);
    gatherChecked();
}

void QVListCntrl::gatherChecked() {
    const SourceItems usable = usableSources();
    SourceItems others = m_outlets.sourceItems();
    std::erase_if(others, [](const auto& source) { return source->note.isEmpty(); });
    const auto gather = [usable, others, filter = m_filter] {
        Gathered gathered{.checked = checkedIn(usable), .leftOut = checkedIn(others)};
        gathered.items = itemsToErase(gathered.checked);
        for (const CheckedSource& checked : gathered.checked) {
            gathered.hiddenCount += checked.figures(filter).hiddenCount;
            if (checked.isMeasured()) {
                gathered.totals += checked.totals();
            } else {
                gathered.unmeasured.push_back(checked);
            }
        }
        return gathered;
    };
    workOnListQueue(*this, gather,
                    [this, erase = std::weak_ptr(m_erase)](std::optional<Gathered> gathered) {
                        if (m_erase && erase.lock() == m_erase) takeGathered(std::move(gathered));
                    });
}

void QVListCntrl::takeGathered(std::optional<Gathered> gathered) {
    if (!gathered) return endErase();
    const auto isUsableNow = [this](const CheckedSource& checked) {
        return isUsable(*checked.source);
    };
    const bool isUpToDate = std::ranges::all_of(gathered->checked, isUsableNow) &&
                            std::ranges::none_of(gathered->leftOut, isUsableNow);
    if (!isUpToDate) return gatherChecked();
    if (gathered->checked.empty()) return tellThatNothingIsChecked(gathered->leftOut);
    m_clickedTimes = 0;
    ask(*gathered);
}

/// Beeps at first, and says why from the second time on.
void QVListCntrl::tellThatNothingIsChecked(const std::vector<CheckedSource>& leftOut) {
    QStringList sentences;
    for (const CheckedSource& checked : leftOut)
        sentences += leftOutSentences({leftOutVolume(checked)}, m_services.texts);
    endErase();
    if (!sentences.isEmpty()) {
        m_services.presenter.showError("checked_left_out"_errorKey,
                                       sentences.join(u'\n').toStdString());
    } else if (++m_clickedTimes == 1) {
        m_services.beep();
    } else {
        m_services.presenter.showError("no_marked_items"_errorKey);
    }
}

// --- The question ---

void QVListCntrl::ask(const Gathered& gathered) {
    m_erase->engine = m_services.makeEngine();
    m_erase->totals = gathered.totals;
    EraseRequest request{.isSmartErase = true};
    for (const CheckedSource& checked : gathered.checked) {
        request.checked.push_back(checkedVolume(checked));
        request.trashes.push_back(checked.source->location);
        m_erase->asked.push_back(checked.source);
    }
    for (const CheckedSource& checked : gathered.leftOut)
        request.leftOut.push_back(leftOutVolume(checked));
    if (gathered.unmeasured.empty()) {
        request.size = gathered.totals.size;
        request.count = gathered.totals.count;
    } else {
        request.countSender = nullptr;
        for (const CheckedSource& checked : gathered.unmeasured)
            waitFor(checked);
    }
    request.hiddenCount = gathered.hiddenCount;
    request.window = m_outlets.tableView.window();
    request.itemsDict = UserInfo().set(Key::kItemsToErase, gathered.items);
    observeEngine();
    m_erase->engine->askToContinue(request);
    giveUpWaiting([](const CheckedSource& checked) { return checked.isMeasured(); });
}

/// The engine alone is listened to: others erase, too.
void QVListCntrl::observeEngine() {
    const QVDeleteItems* const engine = m_erase->engine.get();
    m_erase->responseObservation = m_services.center.observe(
        Key::kWaitForResponse,
        [owner = QPointer(this)](const Notification& told) {
            MainThread::post([owner, told] {
                if (owner) owner->waitingForResponse(told);
            });
        },
        engine);
    m_erase->stopObservation = m_services.center.observe(
        Key::kStopWorking, [this](const Notification& told) { stopWorking(told); }, engine);
}

void QVListCntrl::waitingForResponse(const Notification& response) {
    if (!m_erase || response.sender != m_erase->engine.get()) return;
    m_erase->responseObservation.reset();
    m_erase->asked.clear();
    if (m_erase->isWithdrawn || !response.userInfo.value<bool>(Key::kCanContinue))
        return endErase();
    m_outlets.setWindowLevel(kOrdinaryLevel);
    const auto engine = m_erase->engine;
    const auto items = response.userInfo.value<UserInfo>(Key::kItemsDict)
                           .value<SharedItemsToErase>(Key::kItemsToErase);
    if (!engine->proceedToEraseWithArray(items))
        m_services.center.post(Key::kStopWorking, engine.get());
}

/// Its figures and its list would hold what is out of reach. The user may have answered at the same
/// moment: what was withdrawn is not erased all the same.
void QVListCntrl::withdrawQuestionIfAVolumeWent() {
    if (!m_erase || m_erase->isWithdrawn) return;
    const auto gone = std::ranges::find_if_not(
        m_erase->asked, [this](const auto& source) { return isUsable(*source); });
    if (gone == m_erase->asked.end()) return;
    m_erase->isWithdrawn = true;
    m_services.tellUser(StringTable::filled(m_services.texts.text("checked_volume_went"_key),
                                            {titleName((*gone)->displayName)}));
    m_erase->engine->withdrawQuestion();
}

// --- Late totals ---

void QVListCntrl::waitFor(const CheckedSource& checked) {
    m_erase->waiting.push_back(checked);
    m_erase->waitingObservations.push_back(m_services.center.observe(
        Key::kUpdateCountAndSizeToDelete,
        [this](const Notification& told) { updateCountAndSizeToDelete(told.sender); },
        checked.source.get()));
}

/// All folders of a source are measured.
void QVListCntrl::updateCountAndSizeToDelete(const void* source) {
    giveUpWaiting(
        [source](const CheckedSource& checked) { return checked.source.get() == source; });
}

/// Waits no longer for the sources of which `isOver` holds: their folders are measured, or never
/// will be and count as far as they are known. The engine is told when none are left.
void QVListCntrl::giveUpWaiting(const std::function<bool(const CheckedSource&)>& isOver) {
    if (!m_erase || m_erase->waiting.empty()) return;
    std::erase_if(m_erase->waiting, [&](const CheckedSource& checked) {
        if (!isOver(checked)) return false;
        m_erase->totals += checked.lateTotals();
        return true;
    });
    if (!m_erase->waiting.empty()) return;
    m_erase->waitingObservations.clear();
    m_services.center.post(
        Key::kUpdateCountAndSizeToDelete, nullptr,
        UserInfo().set(Key::kSize, m_erase->totals.size).set(Key::kCount, m_erase->totals.count));
}

// --- The end ---

void QVListCntrl::stopWorking(const Notification& end) {
    const bool hasErased = end.userInfo.find<bool>(Key::kWasStoppedByUser) &&
                           end.userInfo.value<std::uint64_t>(Key::kErasedCount) != 0;
    if (hasErased) {
        MainThread::post([owner = QPointer(this)] {
            if (owner) owner->m_outlets.closeWindow();
        });
    } else {
        m_outlets.setWindowLevel(kTopLevel);
    }
    endErase();
}

void QVListCntrl::endErase() {
    const auto ended = std::exchange(m_erase, nullptr);
    m_model.setMarksAreLocked(false);
    Q_EMIT isErasingDidChange(false);
}

void QVListCntrl::windowWillClose() {
    giveUpWaiting([](const CheckedSource&) { return true; });
    if (m_erase && !m_erase->engine) endErase();
}

}  // namespace kestrin
