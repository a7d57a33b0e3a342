// SPDX-License-Identifier: GPL-3.0-or-later
// The background queue of the status menu: listing volumes and counting the trashes of the rows.
#pragma once

namespace kestrin {

class OperationQueue;

/// Process-wide, without a limit, so that a volume that hangs holds up no other one. Never
/// destroyed: the question to such a volume may outlive main(). Thread: any.
OperationQueue& MenuCreationOperationQueue();

}  // namespace kestrin
