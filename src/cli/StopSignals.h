// SPDX-License-Identifier: GPL-3.0-or-later
// Lets Ctrl-C, SIGTERM and the end of the terminal session act as Stop.
#pragma once

#include <functional>

#include "platform/processes/EndSignals.h"

namespace kestrin {

/// The exit status of a command that was declined or stopped.
inline constexpr int kStatusStopped = 3;

/// While it lives, the first SIGINT, SIGTERM or SIGHUP calls `stop` on the main thread, from its
/// event loop; a second one ends the process at once with kStatusStopped. Main thread; one at a
/// time.
class StopSignals {
 public:
    explicit StopSignals(std::function<void()> stop);

 private:
    EndSignals m_signals;
};

}  // namespace kestrin
