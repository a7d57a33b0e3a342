// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/SealedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/WriteAll.h"
#include "platform/items/HostErrors.h"

namespace kestrin {
namespace {

constexpr int kContentSeals = F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK;

HostError failure(int systemError) {
    return errorFromErrno(systemError, HostAccess::Read);
}

}  // namespace

Result<UniqueFd> sealedFile(std::string_view bytes) {
    UniqueFd file(::memfd_create("kestrin", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    constexpr int kSeals = kContentSeals | F_SEAL_SEAL;
    if (!file || !writeAll(file.get(), bytes) || ::fcntl(file.get(), F_ADD_SEALS, kSeals) != 0) {
        return errorFromErrno(errno, HostAccess::Write);
    }
    return file;
}

Result<std::uint64_t> sizeOfSealedFile(int fd, std::size_t maximum) {
    const int seals = fcntl(fd, F_GET_SEALS);  // fails for everything but memory files
    struct stat status {};
    if (seals < 0 || (seals & kContentSeals) != kContentSeals || fstat(fd, &status) != 0 ||
        !S_ISREG(status.st_mode)) {
        return failure(EINVAL);
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > maximum) return failure(EFBIG);
    return size;
}

Result<std::string> readSealedFile(int fd, std::size_t maximum) {
    const auto size = sizeOfSealedFile(fd, maximum);
    if (!size) return size.error();
    std::string bytes(*size, '\0');
    for (std::size_t at = 0; at < bytes.size();) {
        const ssize_t length =
            pread(fd, bytes.data() + at, bytes.size() - at, static_cast<off_t>(at));
        if (length < 0 && errno == EINTR) continue;
        if (length <= 0) return failure(length < 0 ? errno : EINVAL);
        at += static_cast<std::size_t>(length);
    }
    return bytes;
}

}  // namespace kestrin
