// SPDX-License-Identifier: GPL-3.0-or-later
// The process that the bus starts: it holds the helper's powers, and starts a worker for each
// command of the service.
#pragma once

#include <sys/types.h>

#include "platform/items/UniqueFd.h"

namespace kestrin {

enum class Signals {
    OfTheEnd,             ///< SIGTERM and SIGINT
    OfTheEndAndChildren,  ///< and SIGCHLD
};
/// Blocks the signals for this process and those it starts. The result can be read when one has
/// come (signalfd(2)), and never waits. To be called while there is one thread.
UniqueFd takeSignals(Signals signals);

/// Starts and kills workers as the service asks at the other end of `service`, until the service,
/// the child process `serviceProcess`, has ended; SIGTERM and SIGINT go on to it. Then the workers,
/// whose sockets have been closed with the service, have 10 s to put everything back and end. Who
/// has not ended by then is killed and logged; what the kernel cannot kill is left behind. When all
/// of that ends, Patience.h tells.
/// It reads requests of fixed size alone, and opens no file. A service that asks for anything odd
/// is killed, upon which its workers end in the same order.
/// Answers the exit status of the service, or 1 when a signal ended it. To be called while there is
/// one thread, and signals are not taken yet.
int runParent(UniqueFd service, pid_t serviceProcess);

}  // namespace kestrin
