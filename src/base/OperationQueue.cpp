// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/OperationQueue.h"

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "base/SignalStack.h"
#include "base/SystemLog.h"

namespace kestrin {
namespace {

constexpr auto kIdleTime = std::chrono::seconds(1);

void nameThisThread(const std::string& name) {
    constexpr std::size_t kLongestName = 15;
    pthread_setname_np(pthread_self(), name.substr(0, kLongestName).c_str());
}

/// What an operation throws ends that operation and nothing else.
void run(const std::function<void()>& operation, const std::string& queue) {
    try {
        operation();
    } catch (const std::exception& error) {
        qCCritical(lcBase, "%s: an operation ended with: %s", queue.c_str(), error.what());
    } catch (...) {
        qCCritical(lcBase, "%s: an operation ended with an unknown exception", queue.c_str());
    }
}

}  // namespace

struct OperationQueue::State {
    using Threads = std::list<std::jthread>;

    const std::string name;
    const std::size_t maxConcurrent;

    std::mutex mutex;
    // Guarded by `mutex`:
    std::condition_variable workArrived;
    std::condition_variable allFinished;
    std::deque<std::function<void()>> waiting;
    std::size_t running = 0;
    std::size_t idle = 0;
    bool isClosing = false;
    Threads threads;
    Threads ended;  ///< to be joined by the next one who comes along

    State(std::string queueName, std::size_t limit)
        : name(std::move(queueName)), maxConcurrent(limit) {}

    bool isFinished() const { return waiting.empty() && running == 0; }
    bool needsThread() const {
        return waiting.size() >= idle && (maxConcurrent == 0 || threads.size() < maxConcurrent);
    }
    void startThread();
    void serve(Threads::iterator self);
    bool waitForWork(std::unique_lock<std::mutex>& lock);
    void runFirst(std::unique_lock<std::mutex>& lock);
};

/// Requires: the lock.
void OperationQueue::State::startThread() {
    const auto self = threads.emplace(threads.end());
    try {
        *self = std::jthread([this, self] { serve(self); });
    } catch (const std::system_error& error) {
        threads.erase(self);
        if (threads.empty()) throw;
        // The threads there are will come to it.
        qCWarning(lcBase, "%s: no further thread: %s", name.c_str(), error.what());
    }
}

void OperationQueue::State::serve(Threads::iterator self) {
    nameThisThread(name);
    const SignalStack signalStack;
    std::unique_lock lock(mutex);
    while (waitForWork(lock))
        runFirst(lock);
    if (!isClosing) ended.splice(ended.end(), threads, self);
}

/// False when the thread should end: it was idle for long enough, or the queue closes.
bool OperationQueue::State::waitForWork(std::unique_lock<std::mutex>& lock) {
    ++idle;
    workArrived.wait_for(lock, kIdleTime, [this] { return isClosing || !waiting.empty(); });
    --idle;
    return !waiting.empty();
}

void OperationQueue::State::runFirst(std::unique_lock<std::mutex>& lock) {
    auto operation = std::move(waiting.front());
    waiting.pop_front();
    ++running;
    lock.unlock();
    run(operation, name);
    operation = nullptr;  // what it kept alive goes before it counts as finished
    lock.lock();
    --running;
    if (isFinished()) allFinished.notify_all();
}

OperationQueue::OperationQueue(std::string name, std::size_t maxConcurrent)
    : m_state(std::make_shared<State>(std::move(name), maxConcurrent)) {}

OperationQueue::~OperationQueue() {
    std::deque<std::function<void()>> dropped;
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->isClosing = true;
        dropped.swap(m_state->waiting);
    }
    m_state->workArrived.notify_all();
    // From here on the lists belong to this thread.
    m_state->threads.clear();
    m_state->ended.clear();
}

void OperationQueue::enqueue(std::function<void()> operation) {
    State::Threads ended;  // joined after the lock is released
    const std::lock_guard lock(m_state->mutex);
    if (m_state->isClosing) return;
    ended.swap(m_state->ended);
    if (m_state->needsThread()) m_state->startThread();
    m_state->waiting.push_back(std::move(operation));
    m_state->workArrived.notify_one();
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
    std::unique_lock lock(m_state->mutex);
    m_state->allFinished.wait(lock, [this] { return m_state->isFinished(); });
}

std::size_t OperationQueue::operationCount() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->waiting.size() + m_state->running;
}

}  // namespace kestrin
