// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FolderDescent.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <linux/stat.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "platform/items/linux/DescriptorCache.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/items/linux/PlainName.h"

namespace kestrin {
namespace {

/// Holds a folder inside an open one, or what is mounted on it.
UniqueFd enterFolder(int parent, const char* name) {
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return UniqueFd(static_cast<int>(syscall(SYS_openat2, parent, name, &how, sizeof how)));
}

}  // namespace

UniqueFd holdFolder(int parent, const std::string& name) {
    if (!isPlainName(name)) {
        errno = EINVAL;
        return {};
    }
    UniqueFd folder(openFolderAt(parent, name.c_str(), O_PATH));
    if (folder || errno != ENOTDIR) return folder;
    // The kernel says the same of a link, which may lead to a folder.
    struct statx status {};
    const bool isFile = knownStatus(parent, name.c_str(), STATX_TYPE, status) &&
                        !S_ISLNK(status.stx_mode) && !S_ISDIR(status.stx_mode);
    errno = isFile ? ENOTDIR : ELOOP;
    return {};
}

UniqueFd holdSystemFolder(const std::string& path) {
    return UniqueFd(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

UniqueFd holdTrustedFolder(std::string_view path, const std::vector<MountEntry>& mounts) {
    UniqueFd folder(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    while (folder) {
        path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
        if (path.empty()) break;
        FolderFacts facts;
        if (!examineFolder(folder.get(), facts)) return {};
        if (!isTrustedMount(mounts, facts.mountId)) {
            errno = ESTALE;
            return {};
        }
        const std::string step(path.substr(0, path.find('/')));
        folder = enterFolder(folder.get(), step.c_str());
        path.remove_prefix(step.size());
    }
    return folder;
}

UniqueFd holdMountRoot(const MountEntry& mount, const std::vector<MountEntry>& mounts) {
    UniqueFd root = holdTrustedFolder(mount.mountPoint, mounts);
    struct statx status {};
    if (!root || !knownStatus(root.get(), STATX_MNT_ID, status)) return {};
    const bool isMount = isMountRoot(status) && (status.stx_mask & STATX_MNT_ID) != 0 &&
                         status.stx_mnt_id == static_cast<std::uint64_t>(mount.id);
    if (isMount) return root;
    errno = ESTALE;
    return {};
}

bool examineFolder(int folder, FolderFacts& facts) {
    struct statx status {};
    constexpr unsigned kMask = STATX_TYPE | STATX_MODE | STATX_UID | STATX_INO | STATX_MNT_ID;
    if (!knownStatus(folder, kMask, status)) return false;
    facts.userId = status.stx_uid;
    facts.isSticky = (status.stx_mode & S_ISVTX) != 0;
    facts.isLocked = (status.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0;
    facts.deviceId = deviceOf(status);
    facts.inode = status.stx_ino;
    facts.mountId = status.stx_mask & STATX_MNT_ID ? status.stx_mnt_id : 0;
    return true;
}

bool isCertainlyAbsent(int folder, const std::string& name) {
    struct statx status {};
    return !knownStatus(folder, name.c_str(), STATX_TYPE, status) && errno == ENOENT;
}

}  // namespace kestrin
