// SPDX-License-Identifier: GPL-3.0-or-later
// The attributes that keep even root from removing an entry: immutable and append-only.
#pragma once

#include "base/Result.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

enum class LockState {
    Unlocked,
    Locked,   ///< immutable or append-only
    Unknown,  ///< it is not there, or cannot be asked
};
/// Of the entry `name` in the open folder `folder`. Opens nothing, follows no link. What is mounted
/// there is Unknown.
LockState lockStateAt(int folder, const char* name);

/// The immutable and append-only attributes of one file or folder, cleared while this lives. When
/// it goes they are put back, unless the entry has lost its last name: a removed file that has
/// other names keeps its attributes there. Needs CAP_LINUX_IMMUTABLE. Thread: any, one at a time.
class ClearedLocks {
 public:
    enum class OtherNames {
        Allow,
        Refuse,  ///< EMLINK for a file that has several names: the others may lie anywhere
    };
    /// Clears those of the entry `name` in the open folder `folder`. Links, what is mounted there,
    /// and anything but files and folders are not opened. Errors: errorFromErrno with Write; EPERM
    /// for an entry that can have no such attributes.
    static Result<ClearedLocks> clear(int folder, const char* name,
                                      OtherNames otherNames = OtherNames::Allow);
    /// Clears those of a folder that is open, also with O_PATH.
    static Result<ClearedLocks> clearFolder(int folder);

    ClearedLocks(ClearedLocks&&) = default;
    ClearedLocks& operator=(ClearedLocks&&) = delete;
    ~ClearedLocks();

    /// Does not put the attributes back.
    void leaveCleared() { m_flags = 0; }

 private:
    ClearedLocks(UniqueFd fd, int flags) : m_fd(std::move(fd)), m_flags(flags) {}
    UniqueFd m_fd;
    int m_flags;
};

}  // namespace kestrin
