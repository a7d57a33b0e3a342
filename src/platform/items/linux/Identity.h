// SPDX-License-Identifier: GPL-3.0-or-later
// How an identity is read from what statx(2) answers.
#pragma once

#include <sys/stat.h>

#include "platform/items/ItemIdentity.h"

namespace kestrin {

/// What statx(2) must be asked for.
inline constexpr unsigned kIdentityMask = STATX_TYPE | STATX_INO | STATX_BTIME;

/// Whether inode numbers last in the file system of an open folder: they are of the disk, and not
/// made up. True when it cannot be asked.
bool hasLastingInodes(int folder);

/// The identity in the answer to kIdentityMask; `inodesLast` as hasLastingInodes says.
ItemIdentity identityFrom(const struct statx& status, bool inodesLast);

}  // namespace kestrin
