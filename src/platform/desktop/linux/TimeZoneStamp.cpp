// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/TimeZoneStamp.h"

#include <sys/stat.h>

namespace kestrin {

std::array<std::int64_t, 4> timeZoneStamp() {
    struct stat zone {};
    if (::stat("/etc/localtime", &zone) != 0) return {};
    return {static_cast<std::int64_t>(zone.st_dev), static_cast<std::int64_t>(zone.st_ino),
            zone.st_mtim.tv_sec, zone.st_mtim.tv_nsec};
}

}  // namespace kestrin
