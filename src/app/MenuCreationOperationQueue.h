// SPDX-License-Identifier: GPL-3.0-or-later
// The background queue of the status menu: listing volumes and counting the trashes of the rows.
#pragma once

namespace kestrin {

class OperationQueue;

/// The queue, one for the process. It has no limit, so that a volume that hangs holds up no other
/// one, and is never destroyed, since the question to such a volume may outlive main(). Thread:
/// any.
OperationQueue& MenuCreationOperationQueue();

}  // namespace kestrin
