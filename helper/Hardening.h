// SPDX-License-Identifier: GPL-3.0-or-later
// What the helper gives up before it does anything else.
#pragma once

namespace kestrin {

/// Leaves the process with a fixed environment, "/" as its folder, no rights for others on what it
/// makes, no core dumps, no way to gain rights by executing, and of root's powers only those that
/// erasing needs. Ends the process when the kernel refuses. To be called while there is one thread.
void giveUpWhatIsNotNeeded();

}  // namespace kestrin
