// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TrashTotals.h"

#include <utility>

#include "app/MenuCreationOperationQueue.h"
#include "base/MainThread.h"
#include "base/OperationQueue.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

constexpr auto kDelay = 1s;

}  // namespace

TrashTotals::TrashTotals(Counter counter, TimerFactory startTimer)
    : m_counter(std::make_shared<const Counter>(std::move(counter))),
      m_startTimer(std::move(startTimer)) {}

TrashTotals::~TrashTotals() {
    forget();
}

void TrashTotals::want(std::vector<FileUrl> trashes) {
    if (m_trashes == trashes) return;
    forget();
    m_trashes = std::move(trashes);
    m_delay = m_startTimer(kDelay, [this] { count(); });
}

void TrashTotals::forget() {
    m_trashes.reset();
    m_figures.reset();
    m_delay.reset();
    // The volume may hang: nobody waits for the thread.
    if (const auto current = std::exchange(m_current, nullptr)) current->request_stop();
}

void TrashTotals::count() {
    m_delay.reset();
    m_current = std::make_shared<std::stop_source>();
    MenuCreationOperationQueue().enqueue(
        [this, current = m_current, counter = m_counter, trashes = *m_trashes] {
            TrashFigures sum;
            for (const FileUrl& trash : trashes) {
                const TrashFigures figures = (*counter)(trash, current->get_token());
                sum.count += figures.count;
                sum.size += figures.size;
            }
            MainThread::post([this, current, sum] {
                // Also when there is no object any more: its end requests the stop.
                if (current->stop_requested()) return;
                m_figures = sum;
                if (m_changed) m_changed();
            });
        });
}

}  // namespace kestrin
