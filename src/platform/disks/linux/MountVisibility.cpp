// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/disks/linux/MountVisibility.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <tuple>

#include "platform/desktop/Places.h"
#include "platform/disks/linux/MountText.h"
#include "platform/disks/linux/RealPaths.h"
#include "platform/items/linux/RegularFile.h"

namespace kestrin {
namespace {

template <std::size_t Count>
bool isOneOf(const std::array<std::string_view, Count>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Views of the kernel and of daemons, the plumbing of FUSE, and images of installed software.
constexpr auto kSystemTypes = std::to_array<std::string_view>({"autofs",
                                                               "bdev",
                                                               "binder",
                                                               "binfmt_misc",
                                                               "bpf",
                                                               "cgroup",
                                                               "cgroup2",
                                                               "configfs",
                                                               "cpuset",
                                                               "cramfs",
                                                               "debugfs",
                                                               "devfs",
                                                               "devpts",
                                                               "devtmpfs",
                                                               "efivarfs",
                                                               "erofs",
                                                               "fuse.gvfs-fuse-daemon",
                                                               "fuse.gvfsd-fuse",
                                                               "fuse.lxcfs",
                                                               "fuse.portal",
                                                               "fuse.rofiles-fuse",
                                                               "fuse.snapfuse",
                                                               "fuse.squashfuse",
                                                               "fuse.squashfuse_ll",
                                                               "fuse.vmware-vmblock",
                                                               "fusectl",
                                                               "hugetlbfs",
                                                               "mqueue",
                                                               "nfsd",
                                                               "nsfs",
                                                               "overlay",
                                                               "pipefs",
                                                               "proc",
                                                               "pstore",
                                                               "rootfs",
                                                               "rpc_pipefs",
                                                               "securityfs",
                                                               "selinuxfs",
                                                               "smackfs",
                                                               "sockfs",
                                                               "squashfs",
                                                               "sysfs",
                                                               "tracefs",
                                                               "usbfs"});

bool isSystemType(std::string_view type) {
    return isOneOf(kSystemTypes, type);
}

bool isAtOrBelow(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

bool isLibraryFolder(std::string_view path) {
    constexpr auto kFolders =
        std::to_array<std::string_view>({"/lib", "/lib32", "/lib64", "/libx32", "/libexec"});
    return std::any_of(kFolders.begin(), kFolders.end(),
                       [&](std::string_view folder) { return isAtOrBelow(path, folder); });
}

bool isSystemPath(std::string_view path) {
    constexpr auto kWithAllBelow = std::to_array<std::string_view>(
        {"/proc", "/sys", "/dev", "/run", "/boot", "/efi", "/snap", "/usr", "/etc", "/bin", "/sbin",
         "/var/lib", "/var/cache", "/var/log", "/var/run"});
    constexpr auto kThemselves = std::to_array<std::string_view>({"/tmp", "/var", "/var/tmp"});
    // Where removable disks of a user are mounted.
    if (path.starts_with("/run/media/")) return false;
    if (isOneOf(kThemselves, path) || isLibraryFolder(path)) return true;
    return std::any_of(kWithAllBelow.begin(), kWithAllBelow.end(),
                       [&](std::string_view folder) { return isAtOrBelow(path, folder); });
}

bool hasHiddenComponent(std::string_view path) {
    return path.find("/.") != path.npos;
}

bool isUserVolume(const MountEntry& mount, const VolumeVisibility& visibility) {
    const std::string& point = mount.mountPoint;
    const auto& hidden = visibility.hiddenMountPoints;
    return !isSystemType(mount.fileSystemType) && !isSystemPath(point) &&
           !hasHiddenComponent(point) && !isAtOrBelow(point, visibility.trashDataPath + "/Trash") &&
           std::find(hidden.begin(), hidden.end(), point) == hidden.end();
}

/// The file system behind a mount. NFS uses one device for several exports of a server and calls
/// each one's root "/".
auto fileSystemOf(const MountEntry& mount) {
    const bool isNfs = mount.fileSystemType.starts_with("nfs");
    return std::make_tuple(mount.deviceMajor, mount.deviceMinor,
                           isNfs ? std::string_view(mount.source) : std::string_view());
}

/// True when users who see `shown` have seen what `mount` shows. Btrfs subvolumes share a device
/// and differ in their root folders.
bool showsTheSame(const MountEntry& shown, const MountEntry& mount) {
    if (fileSystemOf(shown) != fileSystemOf(mount)) return false;
    return shown.root == mount.root || (mount.root != "/" && mount.fileSystemType != "btrfs");
}

/// Marks the mounts of `candidates` that show something that no marked one does.
class Selection {
 public:
    explicit Selection(const std::vector<MountEntry>& mounts)
        : m_mounts(mounts), m_isShown(mounts.size(), false) {}

    void add(const MountEntry* mount) {
        if (mount) m_isShown[indexOf(*mount)] = true;
    }
    void addUnlessShown(const MountEntry& mount) {
        for (std::size_t i = 0; i < m_mounts.size(); ++i) {
            if (m_isShown[i] && showsTheSame(m_mounts[i], mount)) return;
        }
        add(&mount);
    }
    std::vector<MountEntry> shown() const {
        std::vector<MountEntry> result;
        for (std::size_t i = 0; i < m_mounts.size(); ++i) {
            if (m_isShown[i]) result.push_back(m_mounts[i]);
        }
        return result;
    }

 private:
    std::size_t indexOf(const MountEntry& mount) const {
        return static_cast<std::size_t>(&mount - m_mounts.data());
    }

    const std::vector<MountEntry>& m_mounts;
    std::vector<bool> m_isShown;
};

/// True unless the mount point is known to be a file. Only a bind mount can sit on a file; and only
/// local file systems are asked, which answer from memory, so that no dead server holds this up.
bool mayBeFolder(const MountEntry& mount) {
    constexpr auto kLocalTypes = std::to_array<std::string_view>(
        {"bcachefs", "btrfs", "exfat", "ext2", "ext3", "ext4", "f2fs", "jfs", "ntfs3", "overlay",
         "ramfs", "reiserfs", "tmpfs", "vfat", "xfs", "zfs"});
    if (mount.root == "/" || !isOneOf(kLocalTypes, mount.fileSystemType)) return true;
    struct statx status;
    constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    const int outcome = statx(AT_FDCWD, mount.mountPoint.c_str(), kFlags, STATX_TYPE, &status);
    return outcome != 0 || S_ISDIR(status.stx_mode);
}

std::vector<std::string_view> fieldsOf(std::string_view line) {
    std::vector<std::string_view> fields;
    constexpr std::string_view kBlanks = " \t";
    for (auto start = line.find_first_not_of(kBlanks); start != line.npos;) {
        const auto end = std::min(line.find_first_of(kBlanks, start), line.size());
        fields.push_back(line.substr(start, end - start));
        start = line.find_first_not_of(kBlanks, end);
    }
    return fields;
}

bool hidesFromUsers(std::string_view options) {
    const auto list = splitAt(',', options);
    return std::find(list.begin(), list.end(), "x-gvfs-hide") != list.end();
}

/// See fstab(5): source, mount point, type, options.
void addHiddenInFstab(std::string_view text, std::vector<std::string>& hidden) {
    for (const std::string_view line : splitAt('\n', text)) {
        const auto fields = fieldsOf(line);
        if (fields.size() < 4 || fields[0].starts_with('#') || !hidesFromUsers(fields[3])) continue;
        hidden.push_back(FileUrl::fromPath(unescapeOctal(fields[1])).path());
    }
}

/// The table of mount(8) beside the kernel's, a line of NAME=value fields for each mount.
void addHiddenInUtab(std::string_view text, std::vector<std::string>& hidden) {
    constexpr std::string_view kTarget = "TARGET=", kOptions = "OPTS=";
    for (const std::string_view line : splitAt('\n', text)) {
        std::string target;
        bool isHidden = false;
        for (const std::string_view field : fieldsOf(line)) {
            if (field.starts_with(kTarget)) target = unescapeOctal(field.substr(kTarget.size()));
            if (field.starts_with(kOptions))
                isHidden = hidesFromUsers(field.substr(kOptions.size()));
        }
        if (isHidden && !target.empty()) hidden.push_back(std::move(target));
    }
}

}  // namespace

std::vector<MountEntry> visibleVolumes(const std::vector<MountEntry>& mounts,
                                       const VolumeVisibility& visibility) {
    Selection selection(mounts);
    for (const std::string& path :
         {std::string("/"), visibility.homePath, visibility.trashDataPath}) {
        selection.add(mountOfPath(mounts, path));
    }
    std::vector<const MountEntry*> candidates;
    for (const MountEntry& mount : mounts) {
        if (isUserVolume(mount, visibility) && isReachable(mounts, mount)) {
            candidates.push_back(&mount);
        }
    }
    // A device as a whole stands for its folders, wherever it is in the table.
    std::stable_partition(candidates.begin(), candidates.end(),
                          [](const MountEntry* mount) { return mount->root == "/"; });
    for (const MountEntry* mount : candidates) {
        selection.addUnlessShown(*mount);
    }
    return selection.shown();
}

std::vector<std::string> mountPointsMarkedHidden() {
    std::vector<std::string> hidden;
    addHiddenInFstab(readSystemFile("/etc/fstab"), hidden);
    addHiddenInUtab(readSystemFile("/run/mount/utab"), hidden);
    return hidden;
}

std::vector<MountEntry> visibleToUsers(const std::vector<MountEntry>& mounts) {
    const VolumeVisibility visibility{realPathOfNearestExisting(homeFolder()),
                                      realPathOfNearestExisting(dataHomeFolder()),
                                      mountPointsMarkedHidden()};
    auto volumes = visibleVolumes(mounts, visibility);
    std::erase_if(volumes, [](const MountEntry& mount) { return !mayBeFolder(mount); });
    return volumes;
}

}  // namespace kestrin
