// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/linux/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/items/UniqueFd.h"
#include "platform/items/linux/HeldEntry.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/items/linux/QuietOpen.h"

namespace kestrin {
namespace {

/// Reads to the end, or until more than `limit` bytes have come. A file that tells its size ends
/// there; 0 for one that does not, as in /proc.
std::optional<std::string> readAll(int fd, std::size_t limit, off_t size = 0) {
    std::string content;
    char buffer[16384];
    while (content.size() <= limit) {
        if (size > 0 && content.size() == static_cast<std::size_t>(size)) return content;
        const ssize_t length = read(fd, buffer, sizeof buffer);
        if (length == 0) return content;
        if (length > 0) {
            content.append(buffer, static_cast<std::size_t>(length));
        } else if (errno != EINTR) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> readRegularFile(int folder, const char* name, std::size_t limit) {
    struct statx look {};
    // The file is examined before it is opened as well, since opening alone can act on a device.
    if (!knownStatus(folder, name, STATX_TYPE, look) || !S_ISREG(look.stx_mode)) {
        return std::nullopt;
    }
    const UniqueFd file(openQuietly(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return readAll(file.get(), limit, status.st_size);
}

std::optional<ReadFile> readRegularFileOfMount(int folder, const char* name, std::size_t limit) {
    const UniqueFd held = holdEntry(folder, name);
    struct statx status {};
    constexpr unsigned kMask = STATX_TYPE | STATX_MODE | STATX_UID | STATX_GID | STATX_SIZE;
    if (!held || !knownStatus(held.get(), kMask, status) || !S_ISREG(status.stx_mode)) {
        return std::nullopt;
    }
    const std::string link = "/proc/self/fd/" + std::to_string(held.get());
    const UniqueFd file(openQuietly(AT_FDCWD, link.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file) return std::nullopt;
    auto content = readAll(file.get(), limit, static_cast<off_t>(status.stx_size));
    if (!content) return std::nullopt;
    return ReadFile{std::move(*content), status.stx_uid, status.stx_gid, status.stx_mode};
}

std::string readSystemFile(const char* path) {
    constexpr std::size_t kLimit = std::size_t{64} << 20;
    const UniqueFd file(open(path, O_RDONLY | O_CLOEXEC));
    return file ? readAll(file.get(), kLimit).value_or("") : std::string();
}

}  // namespace kestrin
