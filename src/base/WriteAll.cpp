// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/WriteAll.h"

#include <unistd.h>

#include <cerrno>

namespace kestrin {

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written == 0) errno = EIO;  // a device that takes nothing would be asked for ever
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace kestrin
