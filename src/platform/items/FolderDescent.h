// SPDX-License-Identifier: GPL-3.0-or-later
// The way down to a folder by descriptors, for paths that are not trusted: step by step, following
// no link and entering no mount.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/disks/MountTable.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// What an open folder is.
struct FolderFacts {
    std::uint32_t userId = 0;
    bool isSticky = false;
    bool isLocked = false;  ///< immutable or append-only
    std::uint64_t deviceId = 0;
    std::uint64_t inode = 0;
    std::uint64_t mountId = 0;  ///< MountEntry::id; 0 when the kernel does not tell (before 5.8)
};

/// Holds (O_PATH) the folder `name`, one component, in the open folder `parent`. No descriptor, and
/// errno, on failure: ELOOP for a link, ENOTDIR for a file, EXDEV where something is mounted,
/// EINVAL for what is not the name of an entry.
UniqueFd holdFolder(int parent, const std::string& name);

/// Holds the folder at an absolute path of the system's own, following links.
UniqueFd holdSystemFolder(const std::string& path);

/// Holds the folder at an absolute path of which a user may have chosen any part. No link is
/// followed, and nothing is looked up in a mount that is not trusted (isTrustedMount): then errno
/// is ESTALE.
UniqueFd holdTrustedFolder(std::string_view path, const std::vector<MountEntry>& mounts);

/// Holds, in the same way, the root folder of that very mount of the table. Its path may lead
/// elsewhere by now: then nothing is held, and errno is ESTALE.
UniqueFd holdMountRoot(const MountEntry& mount, const std::vector<MountEntry>& mounts);

/// Fills in `facts`. False, with errno, when the folder cannot be examined.
bool examineFolder(int folder, FolderFacts& facts);

/// Whether the folder has no entry of that name. False also when that cannot be found out.
bool isCertainlyAbsent(int folder, const std::string& name);

}  // namespace kestrin
