// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/disks/Volumes.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>

#include "platform/disks/MountTable.h"
#include "platform/disks/linux/MountVisibility.h"
#include "platform/disks/linux/RealPaths.h"
#include "platform/items/FolderWalk.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

std::optional<MountEntry> mountOfItem(const FileUrl& item) {
    const auto path = realPathOfItem(item);
    if (!path) return std::nullopt;
    const auto mounts = currentMounts();
    const MountEntry* mount = mountOfPath(mounts, *path);
    return mount ? std::optional(*mount) : std::nullopt;
}

std::optional<std::string> labelFromKernel(const FileUrl& mountPoint) {
    const UniqueFd folder(
        open(mountPoint.path().c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    char label[FSLABEL_MAX + 1] = {};
    if (!folder || ioctl(folder.get(), FS_IOC_GETFSLABEL, label) != 0 || label[0] == '\0') {
        return std::nullopt;
    }
    return label;
}

// The answer of FS_IOC_GETFSUUID, a question that the kernel knows since 6.9 and libc's headers may
// not.
struct KernelUUID {
    std::uint8_t length;
    std::array<std::uint8_t, 16> bytes;
};
constexpr unsigned long kGetUUID = _IOR(0x15, 0, KernelUUID);

std::optional<std::string> uuidFromKernel(const MountEntry& mount) {
    const UniqueFd folder(
        open(mount.mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    KernelUUID uuid{};
    // Shorter ones are no UUIDs, and of zeros only is none.
    if (!folder || ioctl(folder.get(), kGetUUID, &uuid) != 0 || uuid.length != uuid.bytes.size() ||
        uuid.bytes == decltype(uuid.bytes){}) {
        return std::nullopt;
    }
    std::string text;
    for (const std::uint8_t byte : uuid.bytes) {
        if (text.size() == 8 || text.size() == 13 || text.size() == 18 || text.size() == 23)
            text += '-';
        (text += kHexDigits[byte >> 4]) += kHexDigits[byte & 15];
    }
    return text;
}

/// The number of the disk behind a mount. Of file systems over several disks, such as btrfs, the
/// table tells an invented number; their source is one of the disks.
dev_t diskOf(const MountEntry& mount) {
    struct stat source;
    if (mount.source.starts_with("/dev/") && stat(mount.source.c_str(), &source) == 0 &&
        S_ISBLK(source.st_mode)) {
        return source.st_rdev;
    }
    return makedev(mount.deviceMajor, mount.deviceMinor);
}

int hexDigit(char digit) {
    const auto value = kHexDigits.find(digit);
    return value == kHexDigits.npos ? -1 : static_cast<int>(value);
}

/// The bytes behind `\x20`, as udev writes names; see udev(7).
std::string withoutUdevEscapes(std::string_view name) {
    std::string bytes;
    while (!name.empty()) {
        const bool isEscape = name.size() >= 4 && name.starts_with("\\x") &&
                              hexDigit(name[2]) >= 0 && hexDigit(name[3]) >= 0;
        bytes += isEscape ? static_cast<char>(hexDigit(name[2]) * 16 + hexDigit(name[3])) : name[0];
        name.remove_prefix(isEscape ? 4 : 1);
    }
    return bytes;
}

/// The name under which udev lists the disk in one of the folders of /dev/disk.
std::optional<std::string> nameFromUdev(const char* folderPath, const MountEntry& mount) {
    const FileUrl folder = FileUrl::fromPath(folderPath);
    const dev_t disk = diskOf(mount);
    std::optional<std::string> found;
    const auto look = [&](std::string_view link, EntryType) {
        struct stat status;
        if (stat(folder.appending(link).path().c_str(), &status) == 0 && S_ISBLK(status.st_mode) &&
            status.st_rdev == disk) {
            found = withoutUdevEscapes(link);
        }
        return !found;
    };
    static_cast<void>(visitFolder(folder, look));  // without udev there is no such folder
    return found;
}

/// Subvolumes share the device and the UUID, and are volumes of their own.
std::string subvolumeOf(const MountEntry& mount) {
    return mount.fileSystemType == "btrfs" ? ":" + mount.root : std::string();
}

std::string identifierOf(const MountEntry& mount) {
    return std::to_string(mount.deviceMajor) + ":" + std::to_string(mount.deviceMinor) +
           subvolumeOf(mount);
}

std::optional<std::string> uuidOf(const MountEntry& mount) {
    auto uuid = uuidFromKernel(mount);
    return uuid ? uuid : nameFromUdev("/dev/disk/by-uuid", mount);
}

}  // namespace

std::vector<MountedVolume> visibleMounts() {
    std::vector<MountedVolume> volumes;
    for (const MountEntry& mount : visibleToUsers(currentMounts())) {
        volumes.push_back({FileUrl::fromPath(mount.mountPoint), mount.id,
                           isNetworkFileSystem(mount.fileSystemType)});
    }
    return volumes;
}

std::vector<FileUrl> mountedVolumes() {
    std::vector<FileUrl> volumes;
    for (MountedVolume& volume : visibleMounts())
        volumes.push_back(std::move(volume.root));
    return volumes;
}

std::optional<FileUrl> volumeOfItem(const FileUrl& item) {
    const auto mount = mountOfItem(item);
    if (!mount) return std::nullopt;
    return FileUrl::fromPath(mount->mountPoint);
}

/// Numbers of the mount table are given again as soon as they are free; the others never are.
std::uint64_t mountIdAt(const FileUrl& volume) {
    constexpr unsigned kUniqueMountId = 0x4000;  // STATX_MNT_ID_UNIQUE, which older headers lack
    struct statx status {};
    constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    const unsigned mask = kUniqueMountId | STATX_MNT_ID;
    if (statx(AT_FDCWD, volume.path().c_str(), kFlags, mask, &status) != 0) return 0;
    return (status.stx_mask & mask) != 0 ? status.stx_mnt_id : 0;
}

bool isVolumeMounted(const FileUrl& volume, std::uint64_t mountId) {
    if (mountId != 0 && mountIdAt(volume) != mountId) return false;
    if (volume.path() == "/") return true;  // no mount of its own in a changed root
    const auto mounts = currentMounts();
    return std::ranges::any_of(
        mounts, [&](const MountEntry& mount) { return mount.mountPoint == volume.path(); });
}

bool isMountPoint(const FileUrl& location) {
    const auto attributes = itemAttributes(location);
    return attributes && attributes->isMountRoot && !attributes->isSymbolicLink();
}

std::optional<bool> isVolumeReadOnly(const FileUrl& item) {
    const auto mount = mountOfItem(item);
    if (!mount) return std::nullopt;
    return mount->isReadOnly();
}

std::optional<VolumeCapacity> volumeCapacity(const FileUrl& item) {
    const UniqueFd fd(open(item.path().c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct statvfs status;
    if (!fd || fstatvfs(fd.get(), &status) != 0) return std::nullopt;
    VolumeCapacity capacity;
    capacity.totalBytes = std::uint64_t{status.f_blocks} * status.f_frsize;
    capacity.availableBytes = std::uint64_t{status.f_bavail} * status.f_frsize;
    capacity.itemCount = status.f_files - status.f_ffree;
    return capacity;
}

std::optional<std::string> volumeLabel(const FileUrl& mountPoint) {
    if (auto label = labelFromKernel(mountPoint)) return label;
    const auto mount = mountOfItem(mountPoint);
    return mount ? nameFromUdev("/dev/disk/by-label", *mount) : std::nullopt;
}

std::optional<std::string> volumeUUID(const FileUrl& item) {
    const auto mount = mountOfItem(item);
    return mount ? uuidOf(*mount) : std::nullopt;
}

std::optional<std::string> volumeIdentifier(const FileUrl& item) {
    const auto mount = mountOfItem(item);
    return mount ? std::optional(identifierOf(*mount)) : std::nullopt;
}

std::optional<std::string> lastingVolumeIdentifier(const FileUrl& item) {
    const auto mount = mountOfItem(item);
    if (!mount) return std::nullopt;
    const auto uuid = uuidOf(*mount);
    return uuid ? *uuid + subvolumeOf(*mount) : identifierOf(*mount);
}

}  // namespace kestrin
