// SPDX-License-Identifier: GPL-3.0-or-later
// What the kernel knows of files: a look that waits for no file system's server.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cstdint>

namespace kestrin {

/// Fills in what statx(2) tells of the entry `name` in the open folder `folder` (AT_FDCWD for a
/// path). No link is followed and nothing is mounted on demand. The server of a network or FUSE
/// file system is not asked for what the kernel has of it, so that a look at something mounted in a
/// trash does not wait for whoever serves it. False with errno on failure.
inline bool knownStatus(int folder, const char* name, unsigned mask, struct statx& status) {
    constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    return ::statx(folder, name, kFlags, mask, &status) == 0;
}

/// The same for what is open, also with O_PATH.
inline bool knownStatus(int fd, unsigned mask, struct statx& status) {
    return ::statx(fd, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, mask, &status) == 0;
}

inline std::uint64_t deviceOf(const struct statx& status) {
    return makedev(status.stx_dev_major, status.stx_dev_minor);
}

inline bool isMountRoot(const struct statx& status) {
    return (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

}  // namespace kestrin
