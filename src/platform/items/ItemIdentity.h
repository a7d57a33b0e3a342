// SPDX-License-Identifier: GPL-3.0-or-later
// What tells one item from another that takes its name.
#pragma once

#include <cstdint>
#include <string>

#include "base/FileUrl.h"

namespace kestrin {

/// Which file or folder it is, whatever its name. An identity that is not known stands for
/// anything.
struct ItemIdentity {
    std::uint64_t deviceId = 0;  ///< 0: the identity is not known
    /// 0 where the file system makes up its inode numbers anew whenever it has forgotten them (FAT,
    /// exFAT, FUSE and SMB): such a number says nothing later.
    std::uint64_t inode = 0;
    std::int64_t birthTime = 0;  ///< nanoseconds since 1970 UTC; 0 where the file system keeps none

    bool isKnown() const { return deviceId != 0; }
    friend bool operator==(const ItemIdentity&, const ItemIdentity&) = default;
};

/// Whether both can be of the same item, because nothing that both of them know differs.
bool isSameItem(const ItemIdentity& one, const ItemIdentity& other);

/// The identity of the entry `name` in the open folder `folder`, by one statx(2). No link is
/// followed and nothing is opened. When it cannot be asked, the identity is not known, and errno
/// says why.
ItemIdentity identityAt(int folder, const char* name);

enum class ItemPresence {
    There,
    Replaced,  ///< something else has its name
    Gone,      ///< it is absent, or a folder on the way to it is
    Unknown,   ///< it cannot be looked at, and so may be there
};
/// Whether the item at the path is still the one that `identity` is of. A path may have any length.
ItemPresence presenceOf(const FileUrl& item, const ItemIdentity& identity = {});

}  // namespace kestrin
