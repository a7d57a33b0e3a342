// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TrashList.h"

#include <utility>

#include "app/MenuCreationOperationQueue.h"
#include "base/MainThread.h"
#include "base/OperationQueue.h"

namespace kestrin {

TrashList::TrashList(Lister lister) : m_lister(std::make_shared<const Lister>(std::move(lister))) {}

void TrashList::refresh(std::function<void()> done) {
    m_next.push_back(std::move(done));
    if (!m_isListing) start();
}

void TrashList::start() {
    m_isListing = true;
    m_current = std::exchange(m_next, {});
    MenuCreationOperationQueue().enqueue(
        [this, lister = m_lister, life = std::weak_ptr<bool>(m_life)] {
            MainThread::post([this, life, locations = (*lister)()]() mutable {
                if (!life.expired()) finish(std::move(locations));
            });
        });
}

void TrashList::finish(std::vector<TrashLocation> locations) {
    m_latest = std::move(locations);
    m_isListing = false;
    // A handler may serve events for long (a question): the next listing must not wait for it.
    const auto waiting = std::exchange(m_current, {});
    if (!m_next.empty()) start();
    if (m_changed) m_changed();
    for (const auto& done : waiting) {
        if (done) done();
    }
}

}  // namespace kestrin
