// SPDX-License-Identifier: GPL-3.0-or-later
// SIGINT, SIGTERM and SIGHUP as a call from the event loop.
#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

namespace kestrin {

/// While it lives, the first SIGINT, SIGTERM or SIGHUP leads to one call. A SIGHUP that the parent
/// had ignored (nohup) stays ignored. Main thread; one at a time.
class EndSignals {
 public:
    /// Calls `first` on the main thread, from its event loop. Every further signal calls `further`
    /// at once, inside the handler, on any thread: it may do only what signal-safety(7) allows.
    EndSignals(std::function<void()> first, void (*further)(int signal));
    /// The signals have their default action again.
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

 private:
    std::function<void()> m_first;
    int m_readEnd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

}  // namespace kestrin
