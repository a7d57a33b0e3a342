// SPDX-License-Identifier: GPL-3.0-or-later
// The parts that visibleVolumes is made of, and its answer for this moment.
#pragma once

#include <vector>

#include "platform/disks/MountTable.h"

namespace kestrin {

/// False for a mount that another mount hides: one on exactly its mount point, or one of the same
/// parent on a folder above it, or above the mount that it is mounted in. The order of the table
/// says nothing about this.
bool isReachable(const std::vector<MountEntry>& mounts, const MountEntry& mount);

/// visibleVolumes of the table for this user's home, without the files that something is mounted
/// on: a single file is no volume. The home folder is asked for its real path, which can hang with
/// its volume.
std::vector<MountEntry> visibleToUsers(const std::vector<MountEntry>& mounts);

}  // namespace kestrin
