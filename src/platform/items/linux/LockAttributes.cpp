// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/LockAttributes.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/openat2.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <string>
#include <utility>

#include "platform/items/HostErrors.h"
#include "platform/items/linux/LockFlags.h"

namespace kestrin {
namespace {

constexpr int kLockFlags = FS_IMMUTABLE_FL | FS_APPEND_FL;

/// Holds the entry without opening it: what it is can then be asked before anything happens to it.
UniqueFd holdEntry(int folder, const char* name) {
    open_how how{};
    how.flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
    how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS | RESOLVE_BENEATH;
    return UniqueFd(static_cast<int>(syscall(SYS_openat2, folder, name, &how, sizeof how)));
}

/// Opens what `held` holds, if it is a file or a folder.
UniqueFd openHeld(int held) {
    struct stat status {};
    if (fstat(held, &status) != 0) return {};
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        errno = EPERM;
        return {};
    }
    const std::string link = "/proc/self/fd/" + std::to_string(held);
    return UniqueFd(open(link.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

bool hasOtherNames(int fd) {
    struct stat status {};
    return fstat(fd, &status) != 0 || (!S_ISDIR(status.st_mode) && status.st_nlink > 1);
}

}  // namespace

LockState lockStateAt(int folder, const char* name) {
    struct statx status {};
    constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    if (statx(folder, name, kFlags, STATX_TYPE, &status) != 0 ||
        (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) {
        return LockState::Unknown;
    }
    const bool isLocked = (status.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0;
    return isLocked ? LockState::Locked : LockState::Unlocked;
}

int clearLockFlags(int fd, int& cleared) {
    int flags = 0;
    if (ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) return errno;
    cleared = flags & kLockFlags;
    flags &= ~kLockFlags;
    return cleared == 0 || ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0 ? 0 : errno;
}

void restoreLockFlags(int fd, int cleared) {
    struct stat status {};
    int flags = 0;
    if (cleared == 0 || fstat(fd, &status) != 0 || status.st_nlink == 0) return;
    if (ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) return;
    flags |= cleared;
    ioctl(fd, FS_IOC_SETFLAGS, &flags);
}

Result<ClearedLocks> ClearedLocks::clear(int folder, const char* name, OtherNames otherNames) {
    const UniqueFd held = holdEntry(folder, name);
    if (!held) return errorFromErrno(errno, HostAccess::Write);
    // This is asked while the file is locked. Afterwards its user could quickly take a name away.
    if (otherNames == OtherNames::Refuse && hasOtherNames(held.get())) {
        return errorFromErrno(EMLINK, HostAccess::Write);
    }
    return clearFolder(held.get());
}

Result<ClearedLocks> ClearedLocks::clearFolder(int folder) {
    UniqueFd fd = openHeld(folder);
    if (!fd) return errorFromErrno(errno, HostAccess::Write);
    int cleared = 0;
    if (const int error = clearLockFlags(fd.get(), cleared)) {
        return errorFromErrno(error, HostAccess::Write);
    }
    return ClearedLocks(std::move(fd), cleared);
}

MaybeError clearLocks(const FileUrl& item) {
    const UniqueFd folder(open(item.parent().path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) return errorFromErrno(errno, HostAccess::Write);
    const std::string name(item.lastPathComponent());
    auto locks = ClearedLocks::clear(folder.get(), name.c_str());
    if (!locks) return locks.error();
    locks->leaveCleared();
    return std::nullopt;
}

ClearedLocks::~ClearedLocks() {
    if (m_fd) restoreLockFlags(m_fd.get(), m_flags);
}

}  // namespace kestrin
