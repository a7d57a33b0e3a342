// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/disks/MountTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "platform/disks/linux/MountText.h"
#include "platform/disks/linux/MountVisibility.h"
#include "platform/items/linux/RegularFile.h"

namespace kestrin {
namespace {

template <class Number>
bool readNumber(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool readDevice(std::string_view text, MountEntry& entry) {
    const auto colon = text.find(':');
    return colon != text.npos && readNumber(text.substr(0, colon), entry.deviceMajor) &&
           readNumber(text.substr(colon + 1), entry.deviceMinor);
}

std::vector<std::string> optionsIn(std::string_view text) {
    std::vector<std::string> options;
    for (const std::string_view option : splitAt(',', text)) {
        options.push_back(unescapeOctal(option));
    }
    return options;
}

/// Reads "36 35 98:0 /root /mount/point rw,noatime master:1 - ext3 /dev/root rw": between the
/// options and the lone hyphen stand any number of tags.
std::optional<MountEntry> entryOfLine(std::string_view line) {
    const auto fields = splitAt(' ', line);
    if (fields.size() < 6) return std::nullopt;
    const auto hyphen = std::find(fields.begin() + 6, fields.end(), "-");
    if (fields.end() - hyphen < 4) return std::nullopt;
    MountEntry entry;
    if (!readNumber(fields[0], entry.id) || !readNumber(fields[1], entry.parentId) ||
        !readDevice(fields[2], entry) || !fields[4].starts_with('/')) {
        return std::nullopt;
    }
    entry.root = unescapeOctal(fields[3]);
    entry.mountPoint = unescapeOctal(fields[4]);
    entry.options = optionsIn(fields[5]);
    entry.fileSystemType = unescapeOctal(hyphen[1]);
    entry.source = unescapeOctal(hyphen[2]);
    entry.superOptions = optionsIn(hyphen[3]);
    return entry;
}

bool contains(const std::vector<std::string>& options, std::string_view option) {
    return std::find(options.begin(), options.end(), option) != options.end();
}

bool isAtOrAbove(std::string_view folder, std::string_view path) {
    if (folder == "/") return path.starts_with('/');
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

/// A folder that another mount of the same parent was put over, above this mount's own place.
bool isBelowSibling(const std::vector<MountEntry>& mounts, const MountEntry& mount) {
    return std::any_of(mounts.begin(), mounts.end(), [&](const MountEntry& other) {
        return other.parentId == mount.parentId && other.id != mount.id &&
               other.mountPoint.size() < mount.mountPoint.size() &&
               isAtOrAbove(other.mountPoint, mount.mountPoint);
    });
}

const MountEntry* parentOf(const std::vector<MountEntry>& mounts, const MountEntry& mount) {
    const auto parent = std::find_if(mounts.begin(), mounts.end(), [&](const MountEntry& other) {
        return other.id == mount.parentId;
    });
    return parent == mounts.end() || parent->id == mount.id ? nullptr : &*parent;
}

bool isCovered(const std::vector<MountEntry>& mounts, const MountEntry& mount) {
    return std::any_of(mounts.begin(), mounts.end(), [&](const MountEntry& other) {
        return other.parentId == mount.id && other.id != mount.id &&
               other.mountPoint == mount.mountPoint;
    });
}

}  // namespace

bool MountEntry::isReadOnly() const {
    return contains(options, "ro") || contains(superOptions, "ro");
}

bool isServedByUser(const MountEntry& mount) {
    return mount.fileSystemType.starts_with("fuse") && !contains(mount.superOptions, "user_id=0");
}

bool isTrustedMount(const std::vector<MountEntry>& mounts, std::uint64_t mountId) {
    const auto mount = std::ranges::find_if(mounts, [mountId](const MountEntry& entry) {
        return static_cast<std::uint64_t>(entry.id) == mountId;
    });
    return mount != mounts.end() && !isServedByUser(*mount);
}

bool isNetworkFileSystem(std::string_view type) {
    constexpr auto kTypes = std::to_array<std::string_view>({"9p",
                                                             "afs",
                                                             "beegfs",
                                                             "ceph",
                                                             "cifs",
                                                             "coda",
                                                             "davfs",
                                                             "glusterfs",
                                                             "lustre",
                                                             "ncpfs",
                                                             "nfs",
                                                             "nfs4",
                                                             "orangefs",
                                                             "smb3",
                                                             "smbfs",
                                                             "fuse.ceph",
                                                             "fuse.ceph-fuse",
                                                             "fuse.curlftpfs",
                                                             "fuse.davfs",
                                                             "fuse.davfs2",
                                                             "fuse.glusterfs",
                                                             "fuse.gvfsd-fuse",
                                                             "fuse.rclone",
                                                             "fuse.s3fs",
                                                             "fuse.smbnetfs",
                                                             "fuse.sshfs"});
    return std::find(kTypes.begin(), kTypes.end(), type) != kTypes.end();
}

std::vector<MountEntry> parseMountInfo(std::string_view text) {
    std::vector<MountEntry> mounts;
    for (const std::string_view line : splitAt('\n', text)) {
        if (auto entry = entryOfLine(line)) mounts.push_back(*std::move(entry));
    }
    return mounts;
}

std::vector<MountEntry> currentMounts() {
    return parseMountInfo(readSystemFile("/proc/self/mountinfo"));
}

bool isReachable(const std::vector<MountEntry>& mounts, const MountEntry& mount) {
    if (isCovered(mounts, mount)) return false;
    // A parent that is covered at its own root does not matter: what covers it is its child, and a
    // sibling of this mount. The count ends the climb in a table that contradicts itself.
    const MountEntry* ancestor = &mount;
    for (std::size_t step = 0; ancestor && step <= mounts.size(); ++step) {
        if (isBelowSibling(mounts, *ancestor)) return false;
        ancestor = parentOf(mounts, *ancestor);
    }
    return true;
}

const MountEntry* mountOfPath(const std::vector<MountEntry>& mounts, std::string_view path) {
    const MountEntry* deepest = nullptr;
    for (const MountEntry& mount : mounts) {
        const bool isDeeper = !deepest || mount.mountPoint.size() > deepest->mountPoint.size();
        if (isDeeper && isAtOrAbove(mount.mountPoint, path) && isReachable(mounts, mount)) {
            deepest = &mount;
        }
    }
    return deepest;
}

}  // namespace kestrin
