// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/ItemAttributes.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <string_view>

#include "platform/items/HostErrors.h"
#include "platform/items/UniqueFd.h"
#include "platform/items/linux/RegularFile.h"

namespace kestrin {
namespace {

/// 1 January 2001 00:00 UTC in seconds since 1970.
constexpr double kReferenceDate = 978307200;

double dateOf(const statx_timestamp& time) {
    return static_cast<double>(time.tv_sec) - kReferenceDate + time.tv_nsec / 1e9;
}

bool hasAttribute(const struct statx& status, std::uint64_t attribute) {
    return (status.stx_attributes & status.stx_attributes_mask & attribute) != 0;
}

ItemAttributes attributesFrom(const struct statx& status) {
    ItemAttributes attributes;
    attributes.mode = status.stx_mode;
    attributes.userId = status.stx_uid;
    attributes.groupId = status.stx_gid;
    if (attributes.isRegularFile() || attributes.isSymbolicLink())
        attributes.size = status.stx_size;
    attributes.deviceId = makedev(status.stx_dev_major, status.stx_dev_minor);
    attributes.inode = status.stx_ino;
    attributes.dateModified = dateOf(status.stx_mtime);
    if (status.stx_mask & STATX_BTIME) attributes.dateCreated = dateOf(status.stx_btime);
    attributes.isImmutable = hasAttribute(status, STATX_ATTR_IMMUTABLE);
    attributes.isMountRoot = hasAttribute(status, STATX_ATTR_MOUNT_ROOT);
    return attributes;
}

/// Calls `read(buffer, size)` with a growing buffer until the answer leaves room in it.
template <class Read>
std::optional<std::string> readWhole(const Read& read) {
    constexpr std::size_t kLimit = std::size_t{1} << 20;
    for (std::size_t size = 256; size <= kLimit; size *= 4) {
        std::string buffer(size, '\0');
        const ssize_t length = read(buffer.data(), buffer.size());
        if (length < 0 && errno != ERANGE) return std::nullopt;
        if (length >= 0 && static_cast<std::size_t>(length) < size) {
            buffer.resize(static_cast<std::size_t>(length));
            return buffer;
        }
    }
    errno = E2BIG;
    return std::nullopt;
}

bool isTrashName(std::string_view name) {
    return name == "Trash" || name == ".Trash" || name.starts_with(".Trash-");
}

/// True at and below ".../Trash/files", ".../.Trash-UID/files" and ".../.Trash/UID/files".
bool isInsideTrash(FileUrl folder) {
    for (; folder.path().size() > 1; folder = folder.parent()) {
        if (folder.lastPathComponent() != "files") continue;
        const FileUrl trash = folder.parent();
        if (isTrashName(trash.lastPathComponent())) return true;
        if (trash.parent().lastPathComponent() == ".Trash") return true;
    }
    return false;
}

}  // namespace

bool ItemAttributes::isDirectory() const {
    return S_ISDIR(mode);
}
bool ItemAttributes::isRegularFile() const {
    return S_ISREG(mode);
}
bool ItemAttributes::isSymbolicLink() const {
    return S_ISLNK(mode);
}

Result<ItemAttributes> itemAttributes(const FileUrl& item) {
    struct statx status;
    constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (statx(AT_FDCWD, item.path().c_str(), kFlags, STATX_BASIC_STATS | STATX_BTIME, &status) !=
        0) {
        return errorFromErrno(errno, HostAccess::Read);
    }
    return attributesFrom(status);
}

bool pathExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

Result<std::string> symbolicLinkDestination(const FileUrl& link) {
    auto destination = readWhole([&](char* buffer, std::size_t size) {
        return readlink(link.path().c_str(), buffer, size);
    });
    if (!destination) return errorFromErrno(errno, HostAccess::Read);
    return *std::move(destination);
}

std::optional<std::string> extendedAttribute(const FileUrl& item, const char* name) {
    return readWhole([&](char* buffer, std::size_t size) {
        return lgetxattr(item.path().c_str(), name, buffer, size);
    });
}

std::set<std::string, std::less<>> namesListedAsHidden(const FileUrl& folder) {
    constexpr std::size_t kLimit = std::size_t{1} << 20;
    if (folder.isEmpty() || isInsideTrash(folder)) return {};
    const FileUrl list = folder.appending(".hidden");
    std::istringstream lines(
        readRegularFile(AT_FDCWD, list.path().c_str(), kLimit).value_or(std::string()));
    std::set<std::string, std::less<>> names;
    for (std::string name; std::getline(lines, name);)
        names.insert(std::move(name));
    return names;
}

bool isListedAsHidden(const FileUrl& item) {
    return namesListedAsHidden(item.parent()).contains(item.lastPathComponent());
}

}  // namespace kestrin
