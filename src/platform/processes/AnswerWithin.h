// SPDX-License-Identifier: GPL-3.0-or-later
// Questions that may never be answered: a network share, a FUSE file system or a service hangs, and
// with it whoever asked.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace kestrin {

/// Runs `work` on a thread of its own that nobody joins. It may outlive everything, main()
/// included, so `work` must own all that it uses, or use what is never destroyed. False when no
/// thread is to be had; `work` then goes unused. Thread: any.
bool runAbandoned(std::function<void()> work);

/// Asks `question` on an abandoned thread and gives its answer; none when it took longer than
/// `limit` or no thread was to be had. What `question` captures must be its own. A late answer is
/// dropped on the abandoned thread. Thread: any.
template <class T>
std::optional<T> answerWithin(std::chrono::milliseconds limit, std::function<T()> question) {
    // Belongs to both threads; everything in it is touched under its lock.
    struct Exchange {
        std::mutex mutex;
        std::condition_variable answered;
        std::optional<T> answer;
    };
    const auto exchange = std::make_shared<Exchange>();
    const bool isAsked = runAbandoned([exchange, question = std::move(question)] {
        T answer = question();
        const std::lock_guard lock(exchange->mutex);
        exchange->answer = std::move(answer);
        exchange->answered.notify_one();
    });
    if (!isAsked) return std::nullopt;
    std::unique_lock lock(exchange->mutex);
    exchange->answered.wait_for(lock, limit, [&] { return exchange->answer.has_value(); });
    return std::exchange(exchange->answer, std::nullopt);
}

}  // namespace kestrin
