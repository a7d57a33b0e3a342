// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/OpenRegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/items/HostErrors.h"
#include "platform/items/linux/Identity.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/items/linux/QuietOpen.h"

namespace kestrin {

Result<UniqueFd> openRegularFile(const FileUrl& item, const ItemIdentity& expected) {
    const auto failure = [](int systemError) {
        return errorFromErrno(systemError, HostAccess::Read);
    };
    const UniqueFd look(::open(item.path().c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct statx status {};
    if (!look || !knownStatus(look.get(), kIdentityMask, status)) {
        return failure(errno);
    }
    if (!S_ISREG(status.stx_mode)) return failure(EINVAL);
    if (!isSameItem(expected, identityFrom(status, hasLastingInodes(look.get())))) {
        return failure(ESTALE);
    }
    // What was looked at is opened, and not what may have taken its name since.
    const std::string name = "/proc/self/fd/" + std::to_string(look.get());
    // Without O_NONBLOCK a lease that another program holds on the file would be waited for.
    UniqueFd file(openQuietly(AT_FDCWD, name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file) return failure(errno);
    return file;
}

}  // namespace kestrin
