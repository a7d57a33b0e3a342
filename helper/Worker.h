// SPDX-License-Identifier: GPL-3.0-or-later
// The process that carries out one command of one user.
#pragma once

#include "helper/WorkerProtocol.h"

namespace kestrin {

/// Limits this process, carries the request out, tells the service everything, and ends the
/// process. Stop, SIGTERM and the end of the service end the command at its next entry; in any case
/// what was changed only for a while is put back. To be called right after fork(2), with the
/// capabilities for files.
[[noreturn]] void runWorker(StartRequest request);

}  // namespace kestrin
