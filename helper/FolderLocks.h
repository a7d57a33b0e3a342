// SPDX-License-Identifier: GPL-3.0-or-later
// The immutable and append-only attributes of the folders that hold what is erased.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include "base/Result.h"
#include "platform/items/LockAttributes.h"

namespace kestrin {

/// Clears the attributes of folders for as long as anybody needs to change what is in them, and
/// then puts them back. Thread: any.
class FolderLocks {
 public:
    /// One need for one folder. It must be destroyed before the FolderLocks that gave it.
    class Need {
     public:
        Need(const Need&) = delete;
        Need& operator=(const Need&) = delete;
        ~Need();

     private:
        friend class FolderLocks;
        using Key = std::pair<std::uint64_t, std::uint64_t>;
        Need(FolderLocks* locks, Key key) : m_locks(locks), m_key(key) {}
        FolderLocks* const m_locks;
        const Key m_key;
    };

    /// Clears the attributes of an open folder while the result lives. Nullptr when the folder has
    /// none and nobody else's need has cleared any. `path` and errors: as of
    /// ClearedLocks::clearFolder.
    Result<std::unique_ptr<Need>> clear(int folder, std::string_view path);

 private:
    struct Cleared {
        ClearedLocks locks;
        unsigned needs = 0;
    };

    std::mutex m_mutex;
    std::map<Need::Key, Cleared> m_cleared;  ///< by device and inode, which nobody else gets
                                             ///< while the folder is held open here
};

}  // namespace kestrin
