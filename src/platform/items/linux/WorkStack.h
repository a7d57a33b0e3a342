// SPDX-License-Identifier: GPL-3.0-or-later
// The tasks of a walk with several workers: last in, first out, so that a walk stays deep and
// narrow.
#pragma once

#include <condition_variable>
#include <iterator>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace kestrin {

/// Tasks that beget tasks. Ends when none is left and no worker can make more.
template <class Task>
class WorkStack {
 public:
    /// Adds tasks and empties `tasks`; the last of them is taken first. The caller's own task must
    /// be unfinished, or no worker running.
    void push(std::vector<Task>& tasks) {
        if (tasks.empty()) return;
        {
            const std::lock_guard lock(m_mutex);
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

    /// Lets `workers` threads, this one among them, take tasks until none is left. When the stack
    /// is empty a worker first asks `source` (called by one at a time) for a further task.
    template <class Source, class Work>
    void run(unsigned workers, Source source, Work work) {
        m_busy = workers;
        auto body = [this, &source, &work] {
            Task task;
            while (take(task, source))
                work(task);
        };
        std::vector<std::jthread> threads;
        for (unsigned i = 1; i < workers; ++i) {
            try {
                threads.emplace_back(body);
            } catch (const std::system_error&) {  // no thread to be had: fewer workers then
                const std::lock_guard lock(m_mutex);
                m_busy -= workers - i;
                break;
            }
        }
        body();
    }

 private:
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
            if (!m_sourceIsDry && source(task)) break;
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
};

}  // namespace kestrin
