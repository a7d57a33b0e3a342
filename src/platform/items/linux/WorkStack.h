// SPDX-License-Identifier: GPL-3.0-or-later
// The tasks of a walk with several workers: last in, first out, so that a walk stays deep and
// narrow.
#pragma once

#include <condition_variable>
#include <exception>
#include <iterator>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace kestrin {

/// Tasks that may add further tasks. The work ends when no task is left and no worker can add one.
template <class Task>
class WorkStack {
 public:
    /// Adds tasks and empties `tasks`; the last of them is taken first. The caller's own task must
    /// be unfinished, or no worker running.
    void push(std::vector<Task>& tasks) {
        if (tasks.empty()) return;
        {
            const std::lock_guard lock(m_mutex);
            if (!m_failure)
                m_tasks.insert(m_tasks.end(), std::move_iterator(tasks.begin()),
                               std::move_iterator(tasks.end()));
        }
        if (tasks.size() > 1) {
            m_changed.notify_all();
        } else {
            m_changed.notify_one();
        }
        tasks.clear();
    }

    bool isEmpty() {
        const std::lock_guard lock(m_mutex);
        return m_tasks.empty();
    }

    /// Does the task that is next; false when there is none. Requires: no worker running.
    template <class Work>
    bool workOnOne(Work work) {
        if (m_tasks.empty()) return false;
        Task task = std::move(m_tasks.back());
        m_tasks.pop_back();
        work(task);
        return true;
    }

    /// Lets `workers` threads, this one among them, take tasks until none is left. When the stack
    /// is empty a worker first asks `source` (called by one at a time) for a further task. What a
    /// worker throws ends the work, and is thrown when all of them are done.
    template <class Source, class Work>
    void run(unsigned workers, Source source, Work work) {
        m_busy = workers;
        auto body = [this, &source, &work] {
            try {
                Task task;
                while (take(task, source))
                    work(task);
            } catch (...) {
                fail(std::current_exception());
            }
        };
        std::vector<std::jthread> threads;
        for (unsigned i = 1; i < workers; ++i) {
            try {
                threads.emplace_back(body);
            } catch (const std::exception&) {  // no thread to be had: fewer workers then
                const std::lock_guard lock(m_mutex);
                m_busy -= workers - i;
                break;
            }
        }
        body();
        threads.clear();
        if (m_failure) std::rethrow_exception(m_failure);
    }

 private:
    /// Lets the other workers finish the task they are at.
    void fail(std::exception_ptr failure) {
        const std::lock_guard lock(m_mutex);
        if (!m_failure) m_failure = std::move(failure);
        m_tasks.clear();
        m_sourceIsDry = true;
        --m_busy;
        m_changed.notify_all();
    }

    /// True for a task of the source. What the source throws finds this worker busy, as what a task
    /// throws does.
    template <class Source>
    bool takeFromSource(Task& task, Source& source) {
        if (m_sourceIsDry) return false;
        ++m_busy;
        const bool found = source(task);
        --m_busy;
        return found;
    }

    template <class Source>
    bool take(Task& task, Source& source) {
        std::unique_lock lock(m_mutex);
        --m_busy;
        for (;;) {
            if (!m_tasks.empty()) {
                task = std::move(m_tasks.back());
                m_tasks.pop_back();
                break;
            }
            if (takeFromSource(task, source)) break;
            m_sourceIsDry = true;
            if (m_busy == 0) {
                m_changed.notify_all();
                return false;
            }
            m_changed.wait(lock);
        }
        ++m_busy;
        return true;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Task> m_tasks;
    unsigned m_busy = 0;  ///< workers inside a task, or not yet at their first
    bool m_sourceIsDry = false;
    std::exception_ptr m_failure;  ///< the first that was thrown
};

}  // namespace kestrin
