// SPDX-License-Identifier: GPL-3.0-or-later
// How many threads all the scans of the process may have together.
#pragma once

#include <algorithm>
#include <mutex>

namespace kestrin {

/// Hands out threads. One share gets at most half of those that are free. Thus a share that is kept
/// for ever, in a volume that does not answer, leaves as many for the others. Thread: any.
class WorkerBudget {
 public:
    explicit WorkerBudget(unsigned threads) : m_free(threads) {}
    WorkerBudget(const WorkerBudget&) = delete;
    WorkerBudget& operator=(const WorkerBudget&) = delete;

    /// Threads that go back to the budget, which must outlive them.
    class Share {
     public:
        Share(WorkerBudget& budget, unsigned wanted)
            : m_budget(budget), m_threads(budget.take(wanted)) {}
        ~Share() { m_budget.giveBack(m_threads); }
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;

        /// How many threads the share got, at most those wanted; it may be none.
        unsigned threads() const { return m_threads; }

     private:
        WorkerBudget& m_budget;
        const unsigned m_threads;
    };

 private:
    unsigned take(unsigned wanted) {
        const std::lock_guard lock(m_lock);
        const unsigned given = std::min(wanted, (m_free + 1) / 2);
        m_free -= given;
        return given;
    }
    void giveBack(unsigned threads) {
        const std::lock_guard lock(m_lock);
        m_free += threads;
    }

    std::mutex m_lock;
    unsigned m_free;
};

}  // namespace kestrin
