// SPDX-License-Identifier: GPL-3.0-or-later
// Work in the background: operations handed to a named queue run on threads of its own.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace kestrin {

/// Runs operations in the background, each begun in the order it was enqueued. Thread: any.
/// Built on std threads and locks alone, which the thread sanitizer understands.
class OperationQueue {
 public:
    /// `maxConcurrent` operations run at once; 0 means without limit. Threads are made when needed
    /// and end when idle for a second. The name shows in debuggers (15 bytes of it on Linux).
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
