// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/DisplayTick.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/items/HostErrors.h"

namespace kestrin {
namespace {

constexpr std::chrono::nanoseconds kInterval =
    std::chrono::nanoseconds(std::chrono::seconds(1)) / 60;

}  // namespace

/// Shared by the owner and the thread, so that the thread can outlive an owner that goes away in
/// the middle of a callback.
struct DisplayTick::State {
    explicit State(std::function<bool()> tickCallback) : callback(std::move(tickCallback)) {}

    /// Waits for the next tick; false when the ticking has ended.
    bool waitUntil(std::chrono::steady_clock::time_point time) {
        std::unique_lock lock(mutex);
        return !changed.wait_until(lock, time, [this] { return hasEnded; });
    }

    void end() {
        const std::lock_guard lock(mutex);
        hasEnded = true;
        changed.notify_all();
    }

    void run() {
        auto next = std::chrono::steady_clock::now() + kInterval;
        while (waitUntil(next) && callback()) {
            // A tick that was missed is not made up for.
            next = std::max(next, std::chrono::steady_clock::now() - kInterval) + kInterval;
        }
    }

    const std::function<bool()> callback;
    std::thread thread;  ///< touched by the owner only

    std::mutex mutex;
    std::condition_variable changed;
    bool hasEnded = false;  ///< guarded by mutex
};

Result<std::unique_ptr<DisplayTick>> DisplayTick::start(std::function<bool()> callback) {
    std::unique_ptr<DisplayTick> tick(new DisplayTick);
    auto state = std::make_shared<State>(std::move(callback));
    try {
        state->thread = std::thread([state] { state->run(); });
    } catch (const std::system_error& failure) {
        return errorFromErrno(failure.code().value(), HostAccess::Write);
    }
    tick->m_state = std::move(state);
    return tick;
}

DisplayTick::~DisplayTick() {
    if (!m_state) return;
    m_state->end();
    if (m_state->thread.get_id() == std::this_thread::get_id()) {
        m_state->thread.detach();
    } else {
        m_state->thread.join();
    }
}

}  // namespace kestrin
