// SPDX-License-Identifier: GPL-3.0-or-later
// The attributes that keep even root from removing an entry: immutable and append-only.
#pragma once

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

enum class LockState {
    Unlocked,
    Locked,   ///< immutable or append-only
    Unknown,  ///< it is not there, or cannot be asked
};
/// The state of the entry `name` in the open folder `folder`. Nothing is opened and no link is
/// followed. Where something is mounted, the state is Unknown.
LockState lockStateAt(int folder, const char* name);

/// The immutable and append-only attributes of one file or folder, cleared while this lives. When
/// it goes they are put back, unless the entry has lost its last name: a removed file that has
/// other names keeps its attributes there. Needs CAP_LINUX_IMMUTABLE: for ordinary users clearing
/// fails with kFileWriteNoPermission. See ioctl_iflags(2). Thread: any, one at a time.
class ClearedLocks {
 public:
    enum class OtherNames {
        Allow,
        Refuse,  ///< EMLINK for a file that has several names: the others may lie anywhere
    };
    /// Clears the attributes of the entry `name` in the open folder `folder`. Only files and
    /// folders are opened, never a link or what is mounted there. Errors: errorFromErrno with
    /// Write; EPERM for an entry that can have no such attributes.
    static Result<ClearedLocks> clear(int folder, const char* name,
                                      OtherNames otherNames = OtherNames::Allow);
    /// Clears the attributes of a folder that is open, also with O_PATH.
    static Result<ClearedLocks> clearFolder(int folder);

    ClearedLocks(ClearedLocks&&) = default;
    ClearedLocks& operator=(ClearedLocks&&) = delete;
    ~ClearedLocks();

    /// Leaves the attributes cleared when this goes.
    void leaveCleared() { m_flags = 0; }

 private:
    ClearedLocks(UniqueFd fd, int flags) : m_fd(std::move(fd)), m_flags(flags) {}
    UniqueFd m_fd;
    int m_flags;
};

/// Clears the attributes of one item for good. Links are followed on the way to it, and never at
/// its own name. Errors: as ClearedLocks::clear.
MaybeError clearLocks(const FileUrl& item);

}  // namespace kestrin
