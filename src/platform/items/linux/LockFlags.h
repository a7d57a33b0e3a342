// SPDX-License-Identifier: GPL-3.0-or-later
// The inode flags behind the immutable and append-only attributes; see ioctl_iflags(2).
#pragma once

#include <cstdint>
#include <string_view>

namespace kestrin {

/// What was cleared on one file or folder.
struct ClearedFlags {
    int flags = 0;
    std::uint64_t id = 0;  ///< for the observer; 0: it was told nothing
};

/// Clears both flags on an open file or folder, and sets `cleared` to those that were set. Returns
/// 0 or an errno: ECANCELED when the observer forbids it. `path` is as of ClearedLocks::clear.
int clearLockFlags(int fd, std::string_view path, ClearedFlags& cleared);

/// Sets them again, unless the file or folder has no name any more, and forgets them.
void restoreLockFlags(int fd, ClearedFlags& cleared);

}  // namespace kestrin
