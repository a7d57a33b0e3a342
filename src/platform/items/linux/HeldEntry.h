// SPDX-License-Identifier: GPL-3.0-or-later
// Taking hold of an entry before it is opened, so that what is looked at is what is opened.
#pragma once

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/items/UniqueFd.h"

namespace kestrin {

/// Holds (O_PATH) the entry `name` in the open folder `folder`. Opens nothing, follows no link and
/// enters no mount. No descriptor, and errno, on failure; EXDEV where something is mounted.
inline UniqueFd holdEntry(int folder, const char* name) {
    open_how how{};
    how.flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
    how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS | RESOLVE_BENEATH;
    return UniqueFd(static_cast<int>(syscall(SYS_openat2, folder, name, &how, sizeof how)));
}

}  // namespace kestrin
