// SPDX-License-Identifier: GPL-3.0-or-later
// Removes entries with all they hold, by descriptor. The only code that removes files of users.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/ItemIdentity.h"

namespace kestrin {

/// One entry as the remover meets it. Valid only during the call that is handed it.
class RemovalEntry {
 public:
    virtual ~RemovalEntry() = default;
    virtual std::string_view name() const = 0;
    /// The full path, built at the call.
    virtual std::string path() const = 0;
    virtual bool isDirectory() const = 0;
    virtual bool isMountRoot() const = 0;
    /// Whether something else has taken the name of what was listed. Only didFail is told this.
    virtual bool isReplaced() const = 0;
    virtual ItemIdentity identity() const = 0;
    /// Whether the immutable, or the append-only, inode attribute is set. False once `unlock`
    /// succeeded.
    virtual bool isImmutable() const = 0;
    virtual bool isAppendOnly() const = 0;
    /// Immutable, or an append-only folder, from which nothing can be removed either.
    bool countsAsLocked() const { return isImmutable() || (isDirectory() && isAppendOnly()); }
    /// Whether a file is immutable or append-only and has several names. Nobody clears that: the
    /// other names may lie anywhere.
    virtual bool isLockedWithOtherNames() const = 0;
    /// Bytes of a file or link; 0 otherwise.
    virtual std::uint64_t size() const = 0;
    /// Whether the file's rights deny writing to it and the caller cannot change its mode. Never
    /// true for folders, links, FIFOs, sockets and devices. Opens nothing, changes nothing.
    virtual bool isWritingDenied() const = 0;
    /// The tag of the item that removal began with.
    virtual std::size_t itemTag() const = 0;
    /// Whether the folder that directly holds the entry has one of these attributes, and nothing
    /// else that keeps the caller from removing entries: it is his own, or he is root.
    virtual bool isHeldByLockOfFolder() const = 0;
    /// Whether the caller may not remove it, or write to the file, though nothing were locked. Goes
    /// by the mode where the lock hides what else is refused.
    virtual bool isForbiddenBesidesItsLock() const = 0;
    /// Has both attributes cleared while the entry is removed, and put back if it stays. Errors: as
    /// ClearedLocks::clear.
    virtual MaybeError unlock() const = 0;
};

/// Decides about every entry and hears what became of it. Called from several workers at once.
class RemovalPolicy {
 public:
    enum class Verdict {
        Proceed,
        Leave,  ///< the entry stays; a folder stays with all it holds
    };

    virtual ~RemovalPolicy() = default;

    /// Called before an entry is looked at. It may wait, so that nothing takes the entry's place
    /// between the look and the removal.
    virtual void willLook() {}
    /// Called before a folder is entered. It may wait for an answer of the user.
    virtual Verdict willEnter(const RemovalEntry& folder) = 0;
    /// Called before an entry is removed; for a folder, when nothing is left in it. It may wait.
    virtual Verdict willRemove(const RemovalEntry& entry) = 0;
    virtual void didRemove(const RemovalEntry& entry) = 0;
    /// The entry could not be removed, entered or listed. A mount found below an entry is reported
    /// here with kFileBusy, and so is its own refusal by the kernel. ESTALE: the entry is replaced.
    /// EMLINK: it isLockedWithOtherNames.
    virtual void didFail(const RemovalEntry& entry, const HostError& error) = 0;
    /// Looked at before every entry. Once true nothing more is entered or removed.
    virtual bool shouldStop() const = 0;
};

/// What became of one entry that `remove` was asked for.
enum class RemovalOutcome {
    Gone,      ///< removed, or it was not there any more
    Stayed,    ///< left by the policy, failed, or a folder in which something stayed
    Stopped,   ///< begun, but stopped before its end; what is left of it stays
    Replaced,  ///< something else has its name; that was left alone
};

/// One entry to be removed, named relative to an open folder.
struct RemovalItem {
    std::size_t tag = 0;        ///< the caller's own, handed back
    int parentDescriptor = -1;  ///< the folder that holds it; stays open until the item is finished
    std::string parentPath;     ///< the path of that folder; only RemovalEntry::path uses it
    std::string name;           ///< one component
    /// What is to be removed. An item that has taken the name since then stays. When the identity
    /// is not known, whatever has the name is removed.
    ItemIdentity identity{};
    /// Whether it stays when it countsAsLocked, and so does whatever does in it, a folder with all
    /// it holds; told as failed with EPERM.
    bool keepsLocked = false;
};

/// Hands out the items to be removed and hears when each is finished. `next` is called by one
/// worker at a time, in order; `finished` by several at once.
class RemovalItems {
 public:
    virtual ~RemovalItems() = default;
    /// Fills in the next item; false when there are no more.
    virtual bool next(RemovalItem& item) = 0;
    virtual void finished(const RemovalItem& item, RemovalOutcome outcome) = 0;
};

/// What to do with the immutable and append-only attributes, which keep even root from removing an
/// entry.
enum class LockedEntries {
    Keep,    ///< an entry that has one fails, unless the policy unlocks it
    Unlock,  ///< they are cleared on what is removed and on the folders in it, and put back on what
             ///< stays; a file with several names fails
};

/// Removes items with several workers, each of which takes one folder at a time. Items begin in
/// their order, and a further one only when no folder of those begun waits for a worker.
/// - It works on descriptors and follows no link. It opens folders, and a file only to clear the
///   attributes that lock it; links, FIFOs, sockets and devices are never opened.
/// - An item is compared with its identity as it begins, and a folder once more when it is opened
///   and before its name is taken away.
/// - It does not enter another mount, not even one of the same device (statx mount-root attribute
///   and openat2 without crossing); a nested subvolume is a folder like any other.
/// - A folder of the caller's own that lacks read, write or search permission gets them on its
///   descriptor while its contents go, and gets its mode back if it stays.
/// - A folder that cannot be listed is never taken for empty: when it cannot be removed as it is,
///   that is reported as kFileReadNoPermission.
/// - A tree may have any depth, also beyond PATH_MAX and the descriptor limit: folders that wait
///   are closed and opened again, and then must be the same folder, by the kernel's file handle or
///   else by the time of birth: inode numbers are used again. Where there is neither, a remover
///   with more rights than a user leaves the folder (kNotFoundAgain). Memory grows with the depth
///   of the folders under way: each worker keeps only one path.
/// - What vanishes meanwhile counts as gone. It is reported neither as removed nor as failed.
class TreeRemover {
 public:
    /// With 0 `workers` there are more of them than cores, since some always wait for the file
    /// system's journal.
    explicit TreeRemover(RemovalPolicy& policy, unsigned workers = 0,
                         LockedEntries locked = LockedEntries::Keep);

    /// Returns when every item is finished. What the policy or the items throw ends the removal and
    /// is thrown again, when the folders under way have their modes and attributes back. Thread:
    /// any but the main thread.
    void remove(RemovalItems& items);

    /// Does the same, but changes nothing on disk, not even an access time: it reports as removed
    /// what `remove` would remove now, and as failed what would fail. A folder of the caller's own
    /// that he may not list counts as one entry that goes, since nobody knows what it holds. A
    /// folder of somebody else that cannot be listed counts as not empty.
    void rehearse(RemovalItems& items);

 private:
    RemovalPolicy& m_policy;
    unsigned m_workers;
    LockedEntries m_locked;
};

/// Removes one entry with all it holds, by the same rules, without asking, and with one worker.
/// Returns when that is done. Errors: the first failure met; ENOENT when there is no such item,
/// EINVAL for "/" and for names that lead elsewhere ("..").
MaybeError removeItem(const FileUrl& item);

}  // namespace kestrin
