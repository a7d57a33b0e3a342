// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/ItemAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kestrin {

int existenceError(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0 ? 0 : errno;
}

bool isWritingDeniedForGood(const FileUrl& item) {
    const char* path = item.path().c_str();
    struct stat status = {};
    if (::lstat(path, &status) != 0 || !S_ISREG(status.st_mode)) return false;
    // The effective ids are asked about, as opening would. To open the item itself could wait, or
    // act on a device.
    if (::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS | AT_SYMLINK_NOFOLLOW) == 0) return false;
    if (errno != EACCES) return false;
    const uid_t user = ::geteuid();
    return user != 0 && user != status.st_uid;
}

}  // namespace kestrin
