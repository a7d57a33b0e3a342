// SPDX-License-Identifier: GPL-3.0-or-later
// Keeps the folders of a walk open as far as descriptors last. A walk may be deeper than their
// limit: folders that wait are closed, and found again when they are needed.
#pragma once

#include <fcntl.h>

#include <list>
#include <mutex>
#include <string>

#include "platform/items/FileHandle.h"
#include "platform/items/ItemIdentity.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// Opens the folder `name` in `parent` for listing. No link is followed and no mount entered, not
/// even a bind mount of the same device (openat2(2) with RESOLVE_NO_XDEV). `extraFlags` are flags
/// such as O_PATH or O_NOATIME. -1 with errno on failure, EXDEV when something is mounted there.
int openFolderAt(int parent, const char* name, int extraFlags = 0);
/// The same, leaving the access time as it is where the kernel allows that.
int openFolderQuietlyAt(int parent, const char* name);

/// A folder on the way of a walk. Lives at least as long as the folders below it.
struct FolderNode {
    FolderNode* parent = nullptr;
    int rootParent = -1;  ///< the folder that holds it, when `parent` is nullptr
    std::string name;
    unsigned depth = 0;

    /// Whether it was this folder when it was first opened.
    bool is(const ItemIdentity& folder) const { return isSameItem(m_identity, folder); }

 private:
    friend class DescriptorCache;
    ItemIdentity m_identity;  ///< what the folder was when it was first opened
    // Guarded by the cache's mutex:
    UniqueFd m_fd;
    FileHandle m_handle;                ///< once it was closed
    int m_lost = 0;                     ///< the errno with which it was not found by name; 0: none
    FolderNode* m_openChild = nullptr;  ///< a folder inside that is open, if one is known
    unsigned m_pins = 0;
    std::list<FolderNode*>::iterator m_idle;  ///< valid while open and not pinned
};

/// Keeps a bounded number of folders open. Thread: any.
class DescriptorCache {
 public:
    DescriptorCache();
    DescriptorCache(const DescriptorCache&) = delete;
    DescriptorCache& operator=(const DescriptorCache&) = delete;

    /// Takes over the descriptor of a folder just opened, pinned once. Closes the folder that
    /// waited longest when too many are open. False, and nothing taken, when the folder cannot be
    /// examined.
    bool adopt(FolderNode& node, UniqueFd&& fd);

    /// The folder's descriptor, which stays open until `unpin`. A closed folder is opened again,
    /// through ".." of a folder inside that is open, else by name from the nearest folder above
    /// that is open, and must be the same folder as at first, which its inode number alone does not
    /// tell: when it went, another one may have got that. Where the file system keeps nothing else,
    /// who has more rights than a user opens no folder again. -1 with errno on failure: ESTALE when
    /// it is another one, kNotFoundAgain when nobody can tell. A folder that was once not found by
    /// name, and those below it, are not looked for in that way again: of a deep chain that
    /// somebody cut, each would be looked for from the top.
    int pin(FolderNode& node);
    void unpin(FolderNode& node);

    /// Opens a folder that cannot be pinned, wherever it is by now. `mount` is any folder of the
    /// same mount. No descriptor where the file system gives no handles, and without
    /// CAP_DAC_READ_SEARCH.
    UniqueFd openLost(const FolderNode& node, int mount);

    /// Closes a folder that is not needed any more. Requires: not pinned.
    void close(FolderNode& node);

    /// Closes every folder that waits, so that descriptors are free.
    void closeIdle();

 private:
    void closeIdleNode(FolderNode& node);
    void closeLongestIdle();
    int reopen(FolderNode& node);
    int reopenByName(FolderNode& node);
    void keep(FolderNode& node, UniqueFd fd);

    const std::size_t m_budget;
    std::mutex m_mutex;
    std::list<FolderNode*> m_idle;  ///< open, not pinned; the one that waited longest first
    std::size_t m_open = 0;
};

/// How many workers the free descriptors suffice for; at most `wanted`.
unsigned affordableWorkers(unsigned wanted);

}  // namespace kestrin
