// SPDX-License-Identifier: GPL-3.0-or-later
// The kernel's own name of a file or folder, which holds whatever its path becomes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/disks/MountTable.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// Names one file or folder of one file system for as long as it exists: another one that gets its
/// inode number has another handle. See name_to_handle_at(2).
struct FileHandle {
    static constexpr std::size_t kMaximumBytes = 128;  ///< MAX_HANDLE_SZ

    std::int32_t mountId = 0;  ///< MountEntry::id of the mount through which it was asked
    std::int32_t type = 0;
    std::string bytes{};  ///< empty: the file system gives no handles

    bool isKnown() const { return !bytes.empty(); }
    /// Whether both name one file, if they are of one file system. The mounts are not compared.
    bool isSameAs(const FileHandle& other) const {
        return isKnown() && type == other.type && bytes == other.bytes;
    }
    /// The handle of whatever has the same inode number, which some file systems let their users
    /// give another generation. Not known where handles are made in another way.
    FileHandle ofAnyGeneration() const;
};

/// The handle of what is open, also with O_PATH. It is not known where the file system gives none.
FileHandle handleOf(int fd);

/// Opens what the handle names with the flags of open(2), whatever its path has become. `mount` is
/// any file or folder of the same file system, opened without O_PATH. No descriptor, with errno, on
/// failure: ESTALE when it exists no more. Needs CAP_DAC_READ_SEARCH.
UniqueFd openByHandle(int mount, const FileHandle& handle, int flags);

/// Finds files and folders by their handles. Reads the mount table once, and keeps the mount open
/// that was asked for last. Thread: any, one at a time.
class HandleFinder {
 public:
    /// Holds (O_PATH) what the handle names, without opening it. `deviceId` is that of the item. No
    /// descriptor, with errno, on failure: ESTALE when it exists no more, ENODEV when its mount is
    /// gone, which is also said where that cannot be told from ESTALE: in a subvolume below the
    /// mount. Needs CAP_DAC_READ_SEARCH.
    UniqueFd hold(const FileHandle& handle, std::uint64_t deviceId);
    const std::vector<MountEntry>& mounts();

 private:
    bool openMount(std::int32_t id);

    std::optional<std::vector<MountEntry>> m_mounts;
    std::int32_t m_mountId = 0;
    UniqueFd m_mount;  ///< the root folder of the mount of that number
};

}  // namespace kestrin
