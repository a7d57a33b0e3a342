// SPDX-License-Identifier: GPL-3.0-or-later
// Questions to the host about volumes. A volume is named by its mount point. Every question that
// goes to a volume can hang with it (a network share, a FUSE file system); ask it through
// `answerWithin`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

struct MountedVolume {
    FileUrl root;
    int mountId = 0;         ///< tells it from another one mounted at the same place later
    bool isNetwork = false;  ///< on another computer
};
/// The mounted volumes that users see, in the order of the mount table. Of the disks only that of
/// the home folder is asked, for the real path.
std::vector<MountedVolume> visibleMounts();
/// Where they are.
std::vector<FileUrl> mountedVolumes();

/// The volume that `item` lies on, by the mount table and the item's real path; none for an item
/// that does not exist.
std::optional<FileUrl> volumeOfItem(const FileUrl& item);

/// The number of what is mounted at `volume`. No other mount ever has it; on kernels before 6.8 a
/// later one may. 0 when it cannot be told.
std::uint64_t mountIdAt(const FileUrl& volume);

/// Whether the mount table has the volume; always so for "/". With a `mountId`, also whether it is
/// that very mount, and not another one at the same place.
bool isVolumeMounted(const FileUrl& volume, std::uint64_t mountId = 0);

/// True when something is mounted at the location; false when it is a link.
bool isMountPoint(const FileUrl& location);

/// Whether the item's volume is read-only, by the options of the mount or of the file system. None
/// when the item does not exist.
std::optional<bool> isVolumeReadOnly(const FileUrl& item);

struct VolumeCapacity {
    std::uint64_t totalBytes = 0;
    std::uint64_t availableBytes = 0;  ///< to the user
    std::uint64_t itemCount = 0;  ///< inodes in use; 0 where the file system does not count them
};
/// What statvfs(3) says of the item's volume. None on failure.
std::optional<VolumeCapacity> volumeCapacity(const FileUrl& item);

/// The label of the file system mounted at `mountPoint`: the kernel's answer (FS_IOC_GETFSLABEL),
/// else that of /dev/disk/by-label; none when it has none.
std::optional<std::string> volumeLabel(const FileUrl& mountPoint);
/// The UUID of the item's file system: the kernel's answer (FS_IOC_GETFSUUID), else that of
/// /dev/disk/by-uuid; none when it has none.
std::optional<std::string> volumeUUID(const FileUrl& item);
/// An opaque identifier of the item's volume, the same for all its items while it is mounted.
std::optional<std::string> volumeIdentifier(const FileUrl& item);
/// An identifier of the same kind that the volume keeps when it is mounted again or elsewhere,
/// provided that its file system has a UUID.
std::optional<std::string> lastingVolumeIdentifier(const FileUrl& item);

}  // namespace kestrin
