// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/linux/EntryFacts.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/items/linux/Identity.h"
#include "platform/items/linux/KnownStatus.h"

namespace kestrin {
namespace {

constexpr mode_t kOwnerRights = S_IRWXU;

bool setMode(int descriptor, mode_t mode, bool isPathOnly) {
    if (!isPathOnly) return fchmod(descriptor, mode) == 0;
    // fchmod refuses O_PATH descriptors; the kernel's link to the open folder itself does not.
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    return chmod(link.c_str(), mode) == 0;
}

}  // namespace

int examine(int folder, const char* name, EntryFacts& facts) {
    struct statx status {};
    constexpr unsigned kMask = kIdentityMask | STATX_MODE | STATX_UID | STATX_SIZE | STATX_NLINK;
    if (!knownStatus(folder, name, kMask, status)) return errno;
    facts.mode = status.stx_mode;
    facts.owner = status.stx_uid;
    facts.size = S_ISREG(status.stx_mode) || S_ISLNK(status.stx_mode) ? status.stx_size : 0;
    facts.names = status.stx_nlink;
    facts.isImmutable = (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
    facts.isAppendOnly = (status.stx_attributes & STATX_ATTR_APPEND) != 0;
    facts.isMountRoot = isMountRoot(status);
    facts.identity = identityFrom(status, true);
    return 0;
}

bool widenMode(int descriptor, const EntryFacts& facts, bool wasRefused, bool isPathOnly) {
    const uid_t user = geteuid();
    if (facts.owner != user || (facts.mode & kOwnerRights) == kOwnerRights) return false;
    if (user == 0 && !wasRefused) return false;
    return setMode(descriptor, (facts.mode & 07777) | kOwnerRights, isPathOnly);
}

void restoreMode(int descriptor, const EntryFacts& facts, bool isPathOnly) {
    setMode(descriptor, facts.mode & 07777, isPathOnly);
}

bool canBeWidened(const EntryFacts& facts) {
    return facts.owner == geteuid() && (facts.mode & kOwnerRights) != kOwnerRights;
}

bool canBeListed(const EntryFacts& facts) {
    constexpr mode_t kListing = S_IRUSR | S_IXUSR;
    return geteuid() == 0 || !canBeWidened(facts) || (facts.mode & kListing) == kListing;
}

FolderRights rightsIn(int folder) {
    FolderRights rights;
    if (faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) != 0) rights.error = errno;
    struct statx status {};
    if (!knownStatus(folder, STATX_MODE | STATX_UID, status)) return rights;
    if (rights.error == 0 && (status.stx_attributes & STATX_ATTR_APPEND) != 0) rights.error = EPERM;
    rights.keepsOthersEntries =
        (status.stx_mode & S_ISVTX) != 0 && status.stx_uid != geteuid() && geteuid() != 0;
    return rights;
}

}  // namespace kestrin
