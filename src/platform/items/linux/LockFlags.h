// SPDX-License-Identifier: GPL-3.0-or-later
// The inode flags behind the immutable and append-only attributes; see ioctl_iflags(2).
#pragma once

namespace kestrin {

/// Clears both flags on an open file or folder, and sets `cleared` to those that were set. Returns
/// 0 or an errno.
int clearLockFlags(int fd, int& cleared);

/// Sets them again, unless the file or folder has no name any more.
void restoreLockFlags(int fd, int cleared);

}  // namespace kestrin
