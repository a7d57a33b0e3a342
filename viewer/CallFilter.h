// SPDX-License-Identifier: GPL-3.0-or-later
// The system calls that are left to a decoder.
#pragma once

namespace kestrin {

/// Lets the threads of this process make no other system calls than those of the list in the
/// source; all others fail with EPERM, also those that make threads. `allowsOpening`: files may be
/// opened for reading. 0, or the errno that tells why the filter does not hold. Requires: no new
/// privileges (prctl(2)).
int filterCalls(bool allowsOpening);

}  // namespace kestrin
