// SPDX-License-Identifier: GPL-3.0-or-later
// The attributes that keep even root from removing an entry: immutable and append-only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/FileHandle.h"
#include "platform/items/ItemIdentity.h"
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

/// A file or folder whose attributes are cleared for a while, as whoever puts them back can find
/// it.
struct UnlockedItem {
    FileHandle handle;
    ItemIdentity identity;
    /// By which people know it, at most PATH_MAX bytes. Of a longer one the middle is left out, and
    /// a component "…" stands there.
    std::string path;
    int flags = 0;  ///< the attributes that were set, by their bits of ioctl_iflags(2)
};

/// Hears of every item whose attributes are cleared, so that somebody else can put them back when
/// this process is ended in between. Called from several threads at once.
class LockObserver {
 public:
    virtual ~LockObserver() = default;
    /// Called before the attributes are cleared, also from a thread that can wait here. False has
    /// them left as they are, and nothing more is told of the item then. `id` is another one each
    /// time, and never 0.
    virtual bool willClear(std::uint64_t id, const UnlockedItem& item) = 0;
    /// The attributes are back, are to stay cleared, or the item has gone. This is never called for
    /// an item that could not get its attributes back.
    virtual void didSettle(std::uint64_t id) = 0;
};
/// Has the attributes that this process clears told to `observer`, which must outlive that; nullptr
/// for nobody. To be called while there is one thread.
void setLockObserver(LockObserver* observer);

/// Puts attributes back that another process had cleared and not put back. Thread: any, one at a
/// time.
class LockRestorer {
 public:
    /// The item is found by its handle, also when its owner gave it another generation; where the
    /// file system gives none by its path, and then only if it was made in the same moment. An item
    /// that exists no more needs nothing. Errors: why the attributes are not back, by
    /// errorFromErrno with Write: ESTALE or kNotFoundAgain when nothing tells whether this is still
    /// the same item; ENODEV when its mount is gone. Needs CAP_LINUX_IMMUTABLE and
    /// CAP_DAC_READ_SEARCH.
    MaybeError putBack(const UnlockedItem& item);

 private:
    UniqueFd hold(const UnlockedItem& item);
    UniqueFd holdByHandle(const UnlockedItem& item);
    HandleFinder m_finder;
};
/// The same for a single item.
MaybeError putBackLocks(const UnlockedItem& item);

/// The immutable and append-only attributes of one file or folder, cleared while this lives. When
/// it goes they are put back, unless the entry has lost its last name: a file that got another name
/// meanwhile keeps its attributes there. Needs CAP_LINUX_IMMUTABLE: for ordinary users clearing
/// fails with kFileWriteNoPermission. See ioctl_iflags(2). Thread: any, one at a time.
class ClearedLocks {
 public:
    /// Clears the attributes of the entry `name` in the open folder `folder`, if it has any. Only
    /// files and folders are opened, never a link or what is mounted there. A file that has several
    /// names keeps its attributes, since the others may lie anywhere, and whoever may write to it
    /// can hold the caller up before it is locked again. Errors: errorFromErrno with Write; EPERM
    /// for an entry that can have no such attributes; EMLINK for a file with several names.
    /// `path` is what the observer is told when the kernel knows no path that is so long.
    static Result<ClearedLocks> clear(int folder, const char* name, std::string_view path = {});
    /// Clears the attributes of a folder that is open, also with O_PATH.
    static Result<ClearedLocks> clearFolder(int folder, std::string_view path = {});

    ClearedLocks(ClearedLocks&&) = default;
    ClearedLocks& operator=(ClearedLocks&&) = delete;
    ~ClearedLocks();

    /// Leaves the attributes cleared when this goes.
    void leaveCleared() { m_flags = 0; }

 private:
    ClearedLocks(UniqueFd fd, int flags, std::uint64_t id)
        : m_fd(std::move(fd)), m_flags(flags), m_id(id) {}
    UniqueFd m_fd;  ///< none: there was nothing to clear
    int m_flags;
    std::uint64_t m_id;  ///< for the observer; 0: it was told nothing
};

/// Clears the attributes of one item for good. Links are followed on the way to it, and never at
/// its own name. Errors: as ClearedLocks::clear.
MaybeError clearLocks(const FileUrl& item);

}  // namespace kestrin
