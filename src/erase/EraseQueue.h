// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "base/OperationQueue.h"

namespace kestrin {

/// The queue of the counts and erases of this process, without a limit. It is never destroyed: a
/// count of a volume that hangs may outlive main().
OperationQueue& deletionsOperationQueue();

/// Has `operation` run on that queue; on the main thread, later, where no thread is to be had.
void runInBackground(const std::function<void()>& operation);

}  // namespace kestrin
