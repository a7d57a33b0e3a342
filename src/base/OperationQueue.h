// SPDX-License-Identifier: GPL-3.0-or-later
// Work in the background. A named queue runs the operations handed to it on its own threads.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace kestrin {

/// Runs operations in the background and begins them in the order in which they were enqueued.
/// Thread: any.
/// Built on std threads and locks alone, which the thread sanitizer understands.
class OperationQueue {
 public:
    /// At most `maxConcurrent` operations run at once; 0 means that there is no limit. Threads are
    /// made when needed and end when idle for a second. The name shows in debuggers (15 bytes of it
    /// on Linux).
    explicit OperationQueue(std::string name, std::size_t maxConcurrent = 0);
    /// Drops what has not begun and waits for what has.
    ~OperationQueue();
    OperationQueue(const OperationQueue&) = delete;
    OperationQueue& operator=(const OperationQueue&) = delete;

    void enqueue(std::function<void()> operation);

    /// Waits until nothing is queued or running. Must not be called from an operation of the queue.
    void waitUntilAllOperationsAreFinished();

    /// Operations queued or running at this moment.
    std::size_t operationCount() const;

 private:
    struct State;
    std::shared_ptr<State> m_state;
};

}  // namespace kestrin
