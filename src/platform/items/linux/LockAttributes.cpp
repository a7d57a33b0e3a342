// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/LockAttributes.h"

#include <fcntl.h>
#include <limits.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "platform/disks/MountTable.h"
#include "platform/items/FolderDescent.h"
#include "platform/items/HostErrors.h"
#include "platform/items/linux/HeldEntry.h"
#include "platform/items/linux/Identity.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/items/linux/LockFlags.h"

namespace kestrin {
namespace {

constexpr int kLockFlags = FS_IMMUTABLE_FL | FS_APPEND_FL;

LockObserver* s_observer = nullptr;

bool isLocked(const struct statx& status) {
    return (status.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0;
}

bool isFileOrFolder(const struct statx& status) {
    return S_ISREG(status.stx_mode) || S_ISDIR(status.stx_mode);
}

/// Opens what `held` holds, if it is a file or a folder.
UniqueFd openHeld(int held) {
    struct statx status {};
    if (!knownStatus(held, STATX_TYPE, status)) return {};
    if (!isFileOrFolder(status)) {
        errno = EPERM;
        return {};
    }
    const std::string link = "/proc/self/fd/" + std::to_string(held);
    return UniqueFd(open(link.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

/// None known, with errno, when it cannot be asked.
ItemIdentity identityOf(int fd) {
    struct statx status {};
    if (!knownStatus(fd, kIdentityMask, status)) return {};
    return identityFrom(status, hasLastingInodes(fd));
}

/// Where the item is, as the kernel tells; empty when that is too long for it.
std::string pathOf(int fd) {
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    std::string path(PATH_MAX, '\0');
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return path;
}

/// The path with at most PATH_MAX bytes.
std::string shortened(std::string_view path) {
    if (path.size() <= PATH_MAX) return std::string(path);
    constexpr std::string_view kLeftOut = "/…";
    constexpr std::size_t kPart = (PATH_MAX - kLeftOut.size()) / 2;
    std::string_view begin = path.substr(0, kPart), end = path.substr(path.size() - kPart);
    begin = begin.substr(0, begin.rfind('/'));
    end.remove_prefix(std::min(end.find('/'), end.size()));
    return std::string(begin).append(kLeftOut).append(end);
}

/// Tells the observer; false when it forbids to go on, and then wants to hear nothing more of it.
bool tellOfClearing(int fd, std::string_view knownPath, ClearedFlags& cleared) {
    static std::atomic<std::uint64_t> lastId = 0;
    if (!s_observer) return true;
    std::string path = pathOf(fd);
    if (path.empty()) path = shortened(knownPath);
    const std::uint64_t id = ++lastId;
    const UnlockedItem item{handleOf(fd), identityOf(fd), std::move(path), cleared.flags};
    if (!s_observer->willClear(id, item)) return false;
    cleared.id = id;
    return true;
}

/// Forgets the flags: all is as it is to be.
void settleLockFlags(ClearedFlags& cleared) {
    if (cleared.id != 0 && s_observer) s_observer->didSettle(cleared.id);
    cleared = {};
}

/// Holds the entry at a path that nobody vouches for.
UniqueFd holdByPath(const FileUrl& item, const std::vector<MountEntry>& mounts) {
    const UniqueFd folder = holdTrustedFolder(item.parent().path(), mounts);
    FolderFacts facts;
    if (!folder || !examineFolder(folder.get(), facts)) return {};
    if (isTrustedMount(mounts, facts.mountId)) {
        return holdEntry(folder.get(), std::string(item.lastPathComponent()).c_str());
    }
    errno = ESTALE;
    return {};
}

/// Adds the flags to those that are set. 0 or an errno.
int setLockFlags(int fd, int added) {
    int flags = 0;
    if (ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) return errno;
    flags |= added;
    return ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0 ? 0 : errno;
}

}  // namespace

void setLockObserver(LockObserver* observer) {
    s_observer = observer;
}

LockState lockStateAt(int folder, const char* name) {
    struct statx status {};
    if (!knownStatus(folder, name, STATX_TYPE, status) || isMountRoot(status)) {
        return LockState::Unknown;
    }
    return isLocked(status) ? LockState::Locked : LockState::Unlocked;
}

int clearLockFlags(int fd, std::string_view path, ClearedFlags& cleared) {
    int flags = 0;
    if (ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) return errno;
    cleared = {flags & kLockFlags, 0};
    if (cleared.flags == 0) return 0;
    if (!tellOfClearing(fd, path, cleared)) {
        cleared = {};
        return ECANCELED;
    }
    // Telling may take its time, and others may change the flags meanwhile: none of theirs is lost.
    int error = ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0 ? 0 : errno;
    cleared.flags &= flags;
    flags &= ~cleared.flags;
    if (error == 0 && cleared.flags != 0 && ioctl(fd, FS_IOC_SETFLAGS, &flags) != 0) error = errno;
    if (error != 0 || cleared.flags == 0) settleLockFlags(cleared);
    return error;
}

void restoreLockFlags(int fd, ClearedFlags& cleared) {
    struct statx status {};
    if (cleared.flags != 0) {
        if (!knownStatus(fd, STATX_NLINK, status)) return;
        if (status.stx_nlink != 0 && setLockFlags(fd, cleared.flags) != 0) return;
    }
    settleLockFlags(cleared);
}

UniqueFd LockRestorer::hold(const UnlockedItem& item) {
    if (item.handle.isKnown()) return holdByHandle(item);
    if (item.identity.birthTime != 0) {
        return holdByPath(FileUrl::fromPath(item.path), m_finder.mounts());
    }
    errno = ESTALE;
    return {};
}

/// Whoever owns an item may have given it another generation, so that its handle leads nowhere.
UniqueFd LockRestorer::holdByHandle(const UnlockedItem& item) {
    UniqueFd held = m_finder.hold(item.handle, item.identity.deviceId);
    if (held || errno != ESTALE) return held;
    held = m_finder.hold(item.handle.ofAnyGeneration(), item.identity.deviceId);
    const bool hasItsNumber = held && identityOf(held.get()) == item.identity;
    if (hasItsNumber && item.identity.birthTime != 0) return held;
    errno = hasItsNumber ? kNotFoundAgain : ESTALE;
    return {};
}

MaybeError LockRestorer::putBack(const UnlockedItem& item) {
    const UniqueFd held = hold(item);
    if (!held && item.handle.isKnown() && errno == ESTALE) return std::nullopt;
    if (!held) return errorFromErrno(errno, HostAccess::Write);
    const ItemIdentity found = identityOf(held.get());
    if (!found.isKnown() || !(found == item.identity)) {
        return errorFromErrno(ESTALE, HostAccess::Write);
    }
    const UniqueFd fd = openHeld(held.get());
    if (!fd) return errorFromErrno(errno, HostAccess::Write);
    ClearedFlags cleared{item.flags & kLockFlags, 0};
    restoreLockFlags(fd.get(), cleared);
    if (cleared.flags != 0) return errorFromErrno(errno, HostAccess::Write);
    return std::nullopt;
}

MaybeError putBackLocks(const UnlockedItem& item) {
    return LockRestorer().putBack(item);
}

Result<ClearedLocks> ClearedLocks::clear(int folder, const char* name, std::string_view path) {
    const UniqueFd held = holdEntry(folder, name);
    struct statx status {};
    if (!held || !knownStatus(held.get(), STATX_TYPE | STATX_NLINK, status)) {
        return errorFromErrno(errno, HostAccess::Write);
    }
    if (!isFileOrFolder(status)) return errorFromErrno(EPERM, HostAccess::Write);
    // One look tells both: while a file is locked, no name of it is made or taken away. What is not
    // locked just now may have been unlocked by somebody else, who will lock it again.
    if (!isLocked(status)) return ClearedLocks({}, 0, 0);
    if (!S_ISDIR(status.stx_mode) && status.stx_nlink > 1) {
        return errorFromErrno(EMLINK, HostAccess::Write);
    }
    return clearFolder(held.get(), path);
}

Result<ClearedLocks> ClearedLocks::clearFolder(int folder, std::string_view path) {
    UniqueFd fd = openHeld(folder);
    if (!fd) return errorFromErrno(errno, HostAccess::Write);
    ClearedFlags cleared;
    if (const int error = clearLockFlags(fd.get(), path, cleared)) {
        return errorFromErrno(error, HostAccess::Write);
    }
    return ClearedLocks(std::move(fd), cleared.flags, cleared.id);
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
    ClearedFlags cleared{m_flags, m_id};
    if (m_fd) restoreLockFlags(m_fd.get(), cleared);
}

}  // namespace kestrin
