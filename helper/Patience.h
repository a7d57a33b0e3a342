// SPDX-License-Identifier: GPL-3.0-or-later
// How long each of the helper's processes bears with another. README.md has the whole as a table.
#pragma once

#include <chrono>

namespace kestrin {

/// A worker that was stopped, or told its end, has this long to end before it is killed.
inline constexpr std::chrono::seconds kStopPatience{5};
/// A parent that takes no requests is asked for this long to kill a worker.
inline constexpr std::chrono::seconds kKillRequestPatience{2};
/// A process that was killed has this long to go. What still stays sleeps in the kernel, where no
/// signal reaches it, and is left behind.
inline constexpr std::chrono::seconds kKillPatience{2};
/// The worker that locks again what another one left unlocked has this long.
inline constexpr std::chrono::seconds kPutBackPatience{30};
/// The service waits this long until the bus has taken the last that it told.
inline constexpr std::chrono::seconds kBusPatience{2};

/// A worker whose service is gone ends its command for this long. Then it locks again by itself
/// what the command has not, for as long as the second, and writes down what it could not.
inline constexpr std::chrono::seconds kAloneCommandPatience{2};
inline constexpr std::chrono::seconds kAlonePutBackPatience{5};
/// After that the parent kills it.
inline constexpr std::chrono::seconds kAlonePatience{10};
static_assert(kAlonePatience > kAloneCommandPatience + kAlonePutBackPatience);

/// The parent gives the service this long from SIGTERM on, and then kills it. In the worst case the
/// service stops, kills and leaves behind a worker, and then one that locks again.
inline constexpr std::chrono::seconds kServicePatience{60};
static_assert(kServicePatience > kStopPatience + kPutBackPatience +
                                     2 * (kKillRequestPatience + kKillPatience) + kBusPatience);

/// From SIGTERM on everything is over after this time at the latest. Uninstall.sh waits for 80 s,
/// the machine's manager of services for 90 s when the machine goes down.
inline constexpr std::chrono::seconds kEndPatience =
    kServicePatience + kKillPatience + kAlonePatience + kKillPatience;
static_assert(kEndPatience < std::chrono::seconds(80));

}  // namespace kestrin
