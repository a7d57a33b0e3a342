// SPDX-License-Identifier: GPL-3.0-or-later
// Ctrl-C, SIGTERM and the end of the terminal session as Stop.
#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

namespace kestrin {

/// The exit status of a command that was declined or stopped.
inline constexpr int kStatusStopped = 3;

/// While it lives, the first SIGINT, SIGTERM or SIGHUP calls `stop` on the main thread, from its
/// event loop; a second one ends the process at once with kStatusStopped. A SIGHUP that the parent
/// had ignored (nohup) stays ignored. Main thread; one at a time.
class StopSignals {
 public:
    explicit StopSignals(std::function<void()> stop);
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

 private:
    void readPipe();

    std::function<void()> m_stop;
    int m_readEnd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

}  // namespace kestrin
