// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/SealedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/WriteAll.h"
#include "platform/items/HostErrors.h"

namespace kestrin {
Result<UniqueFd> sealedFile(std::string_view bytes) {
    UniqueFd file(::memfd_create("kestrin", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    constexpr int kSeals = F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL;
    if (!file || !writeAll(file.get(), bytes) || ::fcntl(file.get(), F_ADD_SEALS, kSeals) != 0) {
        return errorFromErrno(errno, HostAccess::Write);
    }
    return file;
}

}  // namespace kestrin
