// SPDX-License-Identifier: GPL-3.0-or-later
// What a removal needs to know of an entry and of the folder that holds it.
#pragma once

#include <sys/stat.h>

#include <cstdint>

#include "platform/items/ItemIdentity.h"

namespace kestrin {

/// What statx(2) told of an entry, as far as removing needs it.
struct EntryFacts {
    mode_t mode = 0;
    uid_t owner = 0;
    std::uint64_t size = 0;
    std::uint32_t names = 0;  ///< hard links
    ItemIdentity identity;    ///< its inode number is there also where such numbers do not last
    bool isImmutable = false;
    bool isAppendOnly = false;
    bool isMountRoot = false;
    bool isReplaced = false;
    bool isUnlocked = false;  ///< its attributes are cleared while it is removed

    bool isDirectory() const { return S_ISDIR(mode); }
    bool isLocked() const { return isImmutable || isAppendOnly; }
};

/// Fills in the facts of the entry `name` in an open folder. Returns 0 or an errno. No link is
/// followed.
int examine(int folder, const char* name, EntryFacts& facts);

/// Gives the owner's rights to a folder of the caller's own that lacks some, on a descriptor. True
/// when the mode was changed. Root needs it only where its powers do not reach (`wasRefused`).
bool widenMode(int descriptor, const EntryFacts& facts, bool wasRefused, bool isPathOnly);
/// Gives the folder back the mode of its facts.
void restoreMode(int descriptor, const EntryFacts& facts, bool isPathOnly);
/// Whether the caller, who owns the folder, may give himself the rights it lacks.
bool canBeWidened(const EntryFacts& facts);
/// False for a folder of the caller's own whose mode must be widened before it can be listed.
bool canBeListed(const EntryFacts& facts);

/// What a rehearsal knows of removing entries from a folder.
struct FolderRights {
    int error = 0;                    ///< the errno with which no entry can be removed from it
    bool keepsOthersEntries = false;  ///< sticky, and of somebody else
};

/// What the kernel would say to the removal of entries from an open folder; see unlink(2).
FolderRights rightsIn(int folder);

}  // namespace kestrin
