// SPDX-License-Identifier: GPL-3.0-or-later
// Where a removal is, and an entry as it shows it to its policy.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/items/HostErrors.h"
#include "platform/items/LockAttributes.h"
#include "platform/items/TreeRemover.h"
#include "platform/items/linux/DescriptorCache.h"
#include "platform/items/linux/EntryFacts.h"
#include "platform/items/linux/Identity.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/items/linux/LockFlags.h"

namespace kestrin {

/// A folder that is being emptied.
struct RemovalFolder : FolderNode {
    EntryFacts facts;
    std::unique_ptr<RemovalItem> ownItem;  ///< at depth 0: what removal was asked for
    const RemovalItem* item = nullptr;     ///< that of the folder's ancestor at depth 0
    bool modeWasWidened = false;
    bool wayWasChanged = false;  ///< mode or attributes of a folder above
    ClearedFlags clearedLocks;   ///< attributes to be put back when it stays
    FolderRights rights;         ///< for a rehearsal
    unsigned passes = 0;
    std::atomic<std::uint32_t> pending = 1;  ///< the listing and the folders below
    std::atomic<bool> somethingStayed = false;
    std::atomic<bool> somethingWent = false;  ///< in this pass
    std::list<RemovalFolder>::iterator self;  ///< among the folders under way

    RemovalFolder* above() const { return static_cast<RemovalFolder*>(parent); }
    bool wasChanged() const { return modeWasWidened || clearedLocks.flags != 0; }
};

inline std::string pathOf(const RemovalFolder& folder) {
    std::vector<const RemovalFolder*> way;
    for (const RemovalFolder* at = &folder; at; at = at->above())
        way.push_back(at);
    std::string path = folder.item->parentPath;
    for (auto step = way.rbegin(); step != way.rend(); ++step)
        path.append("/").append((*step)->name);
    return path;
}

/// Where an entry is: in a folder under removal, or directly where the caller's items are.
struct Place {
    RemovalFolder* above;  ///< nullptr: `item` says where
    const RemovalItem& item;
    int folder;
    /// Keeps the path of `above` for all entries of one listing, once an entry has asked for it.
    /// Folders keep no path themselves: in a chain of folders the paths would take the square of
    /// its depth.
    std::string* knownPath = nullptr;
    bool isRehearsal = false;

    /// A path by which people know the entry, made at little cost: of a deep one the middle is left
    /// out, and a component "…" stands there.
    std::string shortPath(std::string_view name) const {
        std::string path = item.parentPath;
        if (above) path.append("/").append(item.name);
        if (above && above->above()) path.append("/…");
        return path.append("/").append(name);
    }
    std::string path() const {
        if (!above) return item.parentPath;
        if (!knownPath) return pathOf(*above);
        if (knownPath->empty()) *knownPath = pathOf(*above);
        return *knownPath;
    }
};

/// Valid as long as what it is made of.
class Entry final : public RemovalEntry {
 public:
    Entry(const Place& place, const char* name, EntryFacts& facts)
        : m_place(place), m_name(name), m_facts(facts) {}

    std::string_view name() const override { return m_name; }
    std::string path() const override {
        const std::string folder = m_place.path();
        std::string path;
        path.reserve(folder.size() + 1 + name().size());
        path += folder;
        if (!path.ends_with('/')) path += '/';
        path += m_name;
        return path;
    }
    bool isDirectory() const override { return m_facts.isDirectory(); }
    bool isMountRoot() const override { return m_facts.isMountRoot; }
    bool isReplaced() const override { return m_facts.isReplaced; }
    ItemIdentity identity() const override {
        ItemIdentity identity = m_facts.identity;
        if (!hasLastingInodes(m_place.folder)) identity.inode = 0;
        return identity;
    }
    bool isImmutable() const override { return m_facts.isImmutable && !m_facts.isUnlocked; }
    bool isAppendOnly() const override { return m_facts.isAppendOnly && !m_facts.isUnlocked; }
    bool isLockedWithOtherNames() const override {
        return m_facts.isLocked() && !m_facts.isDirectory() && m_facts.names > 1;
    }
    std::uint64_t size() const override { return m_facts.size; }
    bool isWritingDenied() const override {
        if (!S_ISREG(m_facts.mode)) return false;
        const uid_t user = geteuid();
        if (user == 0 || m_facts.owner == user) return false;  // its mode can be changed
        return faccessat(m_place.folder, m_name, W_OK, AT_EACCESS | AT_SYMLINK_NOFOLLOW) != 0 &&
               errno == EACCES;
    }
    std::size_t itemTag() const override { return m_place.item.tag; }
    bool isHeldByLockOfFolder() const override {
        struct statx status {};
        if (!knownStatus(m_place.folder, STATX_UID, status)) return false;
        const uid_t user = geteuid();
        return (user == 0 || user == status.stx_uid) &&
               (status.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0;
    }
    bool isForbiddenBesidesItsLock() const override {
        const uid_t user = geteuid();
        if (user == 0) return false;
        const bool isOthers = m_facts.owner != user;
        if (isOthers && S_ISREG(m_facts.mode) && (m_facts.mode & S_IWOTH) == 0) return true;
        struct statx folder {};
        if (!knownStatus(m_place.folder, STATX_UID | STATX_MODE, folder)) return true;
        if (folder.stx_uid == user) return false;
        return faccessat(m_place.folder, ".", W_OK | X_OK, AT_EACCESS) != 0 ||
               (folder.stx_attributes & STATX_ATTR_APPEND) != 0 ||
               (isOthers && (folder.stx_mode & S_ISVTX) != 0);
    }
    /// Only tries whether it can: what is entered or removed next clears them for as long as that
    /// takes.
    MaybeError unlock() const override {
        if (m_place.isRehearsal) return errorFromErrno(EPERM, HostAccess::Write);
        const auto locks = ClearedLocks::clear(m_place.folder, m_name);
        if (!locks) return locks.error();
        m_facts.isUnlocked = true;
        return std::nullopt;
    }

 private:
    const Place& m_place;
    const char* m_name;
    EntryFacts& m_facts;
};

}  // namespace kestrin
