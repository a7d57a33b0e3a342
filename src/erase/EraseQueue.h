// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/OperationQueue.h"

namespace kestrin {

/// The queue of the counts and erases of this process, without a limit. It is never destroyed: a
/// count of a volume that hangs may outlive main().
OperationQueue& deletionsOperationQueue();

}  // namespace kestrin
