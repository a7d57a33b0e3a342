// SPDX-License-Identifier: GPL-3.0-or-later
// Calls onto the main thread, where every window, menu, alert and prompt lives.
#pragma once

#include <chrono>
#include <functional>

namespace kestrin {

/// The main thread's mailbox. `main()` makes one right after the QCoreApplication, on the thread
/// that will run the event loop, and keeps it until the loop is over. Calls are served by the event
/// loop, nested loops included, in the order they were posted. The hand-over uses a lock and a pipe
/// and no posted Qt event, so that the thread sanitizer, which cannot see into an ordinary Qt
/// build, checks it.
class MainThread {
 public:
    MainThread();
    /// Drops the calls that were not served. Callers that wait for one are let go.
    ~MainThread();
    MainThread(const MainThread&) = delete;
    MainThread& operator=(const MainThread&) = delete;

    /// True on the thread that made the mailbox, also after it closed; and on every thread when
    /// there never was one (a plain test program).
    static bool isCurrent();
    /// Runs `call` on the main thread, later. Without a mailbox the call is dropped.
    static void post(std::function<void()> call);
    /// Runs `call` on the main thread and returns when it has returned. The main thread itself runs
    /// it at once. A worker may wait for the main thread; the main thread must never wait for a
    /// worker. Returns false, without having run it, when the mailbox closed before the call was
    /// served.
    static bool postAndWait(std::function<void()> call);
    /// Runs `call` on the main thread, not before `delay` has passed.
    static void postAfter(std::chrono::milliseconds delay, std::function<void()> call);

 private:
    class Mailbox;
    Mailbox* m_mailbox;
};

}  // namespace kestrin
