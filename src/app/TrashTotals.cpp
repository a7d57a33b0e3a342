// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TrashTotals.h"

#include <utility>

#include "app/MenuCreationOperationQueue.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

constexpr auto kDelay = 1s;

}  // namespace

TrashTotals::TrashTotals(TrashCount::Counter counter, TimerFactory startTimer)
    : m_counter(std::move(counter)), m_startTimer(std::move(startTimer)) {}

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
    m_delay.reset();
    if (const auto count = std::exchange(m_count, nullptr)) count->stop();
}

void TrashTotals::count() {
    m_delay.reset();
    m_count = TrashCount::start(MenuCreationOperationQueue(), *m_trashes, m_counter,
                                [this](const TrashCount&) {
                                    if (m_changed) m_changed();
                                });
}

std::optional<TrashFigures> TrashTotals::figures() const {
    if (!m_count || m_count->state() != TrashCount::State::Finished) return std::nullopt;
    return m_count->contents().figures;
}

}  // namespace kestrin
