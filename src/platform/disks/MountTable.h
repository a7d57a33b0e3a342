// SPDX-License-Identifier: GPL-3.0-or-later
// What is mounted where, and which of it users see as a volume.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

/// One line of /proc/self/mountinfo; see proc(5). Paths are unescaped bytes.
struct MountEntry {
    int id = 0;
    int parentId = 0;
    unsigned deviceMajor = 0;
    unsigned deviceMinor = 0;
    std::string root;  ///< the folder of the file system that forms the root of this mount
    std::string mountPoint;
    std::vector<std::string> options;
    std::string fileSystemType;
    std::string source;
    std::vector<std::string> superOptions;

    bool isReadOnly() const;  ///< by the mount's or the file system's options
};

/// Reads a mount table; lines that do not fit the format are passed over.
std::vector<MountEntry> parseMountInfo(std::string_view text);

/// The kernel's table of this moment. It is empty when /proc is not there.
std::vector<MountEntry> currentMounts();

/// The mount that `path` lies on, which is the deepest visible one of those whose mount point is
/// the path or above it. nullptr in an empty table. No disk is asked, so links in `path` are not
/// resolved.
const MountEntry* mountOfPath(const std::vector<MountEntry>& mounts, std::string_view path);

/// Whether an ordinary user's own program serves the files of the mount (FUSE, mounted by him).
bool isServedByUser(const MountEntry& mount);

/// Whether root may look up names in the mount of that number (mnt_id of statx(2)): it is in the
/// table and no user serves it. What is mounted since the table was read is not known.
bool isTrustedMount(const std::vector<MountEntry>& mounts, std::uint64_t mountId);

/// Whether a file system of this type lies on another computer, as far as the name tells.
bool isNetworkFileSystem(std::string_view type);

/// What decides about visibility besides the table itself.
struct VolumeVisibility {
    std::string homePath;       ///< the home folder: its volume is always seen
    std::string trashDataPath;  ///< the same for the folder of the home trash ($XDG_DATA_HOME)
    std::vector<std::string> hiddenMountPoints;  ///< those marked x-gvfs-hide
};

/// The mounts that users see as volumes, in the order of the table: "/", the volume of the home
/// folder and that of the home trash always; else real, network and FUSE file systems outside the
/// system's own paths, whose path has no component that begins with a full stop. When
/// several mounts show the same folder of the same device, only the first is among them. A mount
/// that another one hides is not.
std::vector<MountEntry> visibleVolumes(const std::vector<MountEntry>& mounts,
                                       const VolumeVisibility& visibility);

/// Mount points marked x-gvfs-hide in /etc/fstab and /run/mount/utab.
std::vector<std::string> mountPointsMarkedHidden();

/// Tells of volumes that come and go. Lives on the main thread and needs its mailbox. While the
/// volume of the home folder does not answer it tells nothing; afterwards it tells what became of
/// all.
class MountWatcher {
 public:
    struct Change {
        bool wasAdded = false;
        std::string mountPoint;
    };
    /// Calls `changed` on the main thread for each visible volume mounted or unmounted from now on,
    /// 50 ms after the table has come to rest.
    explicit MountWatcher(std::function<void(const Change&)> changed);
    ~MountWatcher();
    MountWatcher(const MountWatcher&) = delete;
    MountWatcher& operator=(const MountWatcher&) = delete;

 private:
    struct State;
    std::shared_ptr<State> m_state;
};

}  // namespace kestrin
