// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/TreeRemover.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <exception>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/items/HostErrors.h"
#include "platform/items/LockAttributes.h"
#include "platform/items/linux/DescriptorCache.h"
#include "platform/items/linux/DirectoryStream.h"
#include "platform/items/linux/Identity.h"
#include "platform/items/linux/LockFlags.h"
#include "platform/items/linux/RemovalPlace.h"
#include "platform/items/linux/WorkStack.h"

namespace kestrin {
namespace {

/// How often a folder is listed again when something is left in it that nobody refused: file
/// systems may pass over entries while others are being removed.
constexpr unsigned kMaximumPasses = 64;
/// How often an entry is looked at again that turned from a folder into something else, or back.
constexpr int kMaximumTries = 4;

/// A folder to be entered, or an item to be begun.
struct RemovalTask {
    RemovalFolder* above = nullptr;  ///< nullptr: an item
    std::string name;
    RemovalItem item;
};

enum class Step {
    Gone,
    Stayed,
    Entered,   ///< a folder was opened; its end is told later
    IsFolder,  ///< a folder, where none is to be entered
    Again,     ///< a folder in which something is left that nobody refused
    Replaced,  ///< another item than the one that was asked for
};

class Remover {
 public:
    enum class Mode { Remove, Rehearse };
    Remover(RemovalPolicy& policy, RemovalItems& items, LockedEntries locked, Mode mode)
        : m_policy(policy),
          m_items(items),
          m_locked(locked),
          m_isRehearsal(mode == Mode::Rehearse) {}

    void run(unsigned workers) {
        const auto next = [this](RemovalTask& task) {
            task = {};
            return !m_policy.shouldStop() && m_items.next(task.item);
        };
        const auto work = [this](RemovalTask& task) {
            if (task.above) {
                enterFolder(task);
            } else {
                beginItem(task.item);
            }
        };
        try {
            m_tasks.run(workers, next, work);
        } catch (...) {
            restoreFolders();
            throw;
        }
    }

 private:
    /// A folder just opened, pinned.
    struct Opened {
        RemovalFolder* folder = nullptr;
        int descriptor = -1;
    };

    Place placeIn(RemovalFolder* above, const RemovalItem& item, int folder) const {
        return {above, item, folder, nullptr, m_isRehearsal};
    }

    void beginItem(const RemovalItem& item) {
        Opened opened;
        const Step step =
            removeEntry(placeIn(nullptr, item, item.parentDescriptor), item.name.c_str(), &opened);
        if (step == Step::Entered) {
            listAndFinish(opened);
        } else {
            m_items.finished(item, outcome(step));
        }
    }

    void enterFolder(const RemovalTask& task) {
        RemovalFolder* above = task.above;
        Opened opened;
        Step step = Step::Stayed;
        const int folder = m_policy.shouldStop() ? -1 : pin(*above);
        if (folder >= 0) {
            step = removeEntry(placeIn(above, *above->item, folder), task.name.c_str(), &opened);
            m_descriptors.unpin(*above);  // before listing, which may finish the folder above
        }
        if (step == Step::Entered) {
            listAndFinish(opened);
        } else {
            note(above, step);
            finish(above);
        }
    }

    RemovalOutcome outcome(Step step) const {
        if (step == Step::Gone) return RemovalOutcome::Gone;
        if (step == Step::Replaced) return RemovalOutcome::Replaced;
        return m_policy.shouldStop() ? RemovalOutcome::Stopped : RemovalOutcome::Stayed;
    }

    /// The descriptor of a folder under removal. A folder that cannot be found again is told as
    /// failed.
    int pin(RemovalFolder& folder) {
        const int descriptor = m_descriptors.pin(folder);
        if (descriptor < 0) {
            const int error = errno;
            tellFailure(folder, error);
        }
        return descriptor;
    }

    void tellFailure(RemovalFolder& folder, int error) {
        const Place place = placeIn(folder.above(), *folder.item, -1);
        EntryFacts facts = folder.facts;
        facts.isReplaced = error == ESTALE;
        const Entry entry(place, folder.name.c_str(), facts);
        m_policy.didFail(entry, errorFromErrno(error, HostAccess::Read));
    }

    static void note(RemovalFolder* above, Step step) {
        if (!above) return;
        if (step == Step::Gone) above->somethingWent = true;
        if (step == Step::Stayed) above->somethingStayed = true;
    }

    Step fail(const Entry& entry, int error, HostAccess access) {
        if (error == ENOENT) return Step::Gone;
        m_policy.didFail(entry, errorFromErrno(error, access));
        return Step::Stayed;
    }

    /// Removes a file, or opens a folder; a folder is IsFolder when `opened` is nullptr.
    Step removeEntry(const Place& place, const char* name, Opened* opened) {
        for (int tries = 0;; ++tries) {
            m_policy.willLook();
            if (m_policy.shouldStop()) return Step::Stayed;
            EntryFacts facts;
            const Entry entry(place, name, facts);
            if (const int error = examine(place.folder, name, facts)) {
                return fail(entry, error, HostAccess::Read);
            }
            if (!place.above && !isSameItem(place.item.identity, facts.identity)) {
                return failAsReplaced(entry, facts);
            }
            if (facts.isDirectory() && !opened) return Step::IsFolder;
            if (place.item.keepsLocked && entry.countsAsLocked()) {
                return fail(entry, EPERM, HostAccess::Write);
            }
            if (facts.isMountRoot) return fail(entry, EBUSY, HostAccess::Write);
            int error = 0;
            const Step step = facts.isDirectory()
                                  ? openForRemoval(place, entry, name, facts, *opened, error)
                                  : removeFile(place, entry, name, facts, error);
            if (error == 0) return step;
            // An entry that has turned from a folder into something else, or back, is looked at
            // again.
            const bool hasChanged = error == ENOTDIR || error == ELOOP || error == EISDIR;
            if (!hasChanged || tries + 1 == kMaximumTries) {
                return fail(entry, error, HostAccess::Write);
            }
        }
    }

    /// Takes the name away. Returns 0 or the errno; a rehearsal only finds out which it would be.
    int unlinkEntry(const Place& place, const char* name, const EntryFacts& facts, int flags) {
        if (!m_isRehearsal) return unlinkat(place.folder, name, flags) == 0 ? 0 : errno;
        const FolderRights rights =
            place.above ? place.above->rights : rightsWhereItemsAre(place.folder);
        if (rights.error != 0) return rights.error;
        const bool isKept = rights.keepsOthersEntries && facts.owner != geteuid();
        return isKept || facts.isLocked() ? EPERM : 0;
    }

    FolderRights rightsWhereItemsAre(int folder) {
        const std::lock_guard lock(m_rightsLock);
        const auto known = m_rights.find(folder);
        return known != m_rights.end() ? known->second
                                       : m_rights.emplace(folder, rightsIn(folder)).first->second;
    }

    bool isToBeUnlocked(const EntryFacts& facts) const {
        if (m_isRehearsal || !facts.isLocked()) return false;
        return facts.isUnlocked || m_locked == LockedEntries::Unlock;
    }

    Step removeFile(const Place& place, const Entry& entry, const char* name, EntryFacts& facts,
                    int& error) {
        if (m_policy.willRemove(entry) == RemovalPolicy::Verdict::Leave) return Step::Stayed;
        if (m_policy.shouldStop()) return Step::Stayed;
        // A question about it may have been open since the look.
        if (facts.isLocked() && isReplaced(place.folder, name, facts)) {
            const Step replaced = failAsReplaced(entry, facts);
            return place.above ? Step::Stayed : replaced;
        }
        error = isToBeUnlocked(facts) ? unlinkLocked(place, name, facts)
                                      : unlinkEntry(place, name, facts, 0);
        if (error != 0) return Step::Stayed;
        m_policy.didRemove(entry);
        return Step::Gone;
    }

    /// Takes the name of a locked file away. The attributes are back, on whatever names the file
    /// may have got meanwhile, before anybody is told, since telling may wait.
    int unlinkLocked(const Place& place, const char* name, const EntryFacts& facts) {
        const auto cleared = ClearedLocks::clear(place.folder, name, place.shortPath(name));
        return cleared ? unlinkEntry(place, name, facts, 0) : cleared.error().systemError;
    }

    Step openForRemoval(const Place& place, const Entry& entry, const char* name, EntryFacts& facts,
                        Opened& opened, int& error) {
        if (m_policy.willEnter(entry) == RemovalPolicy::Verdict::Leave) return Step::Stayed;
        // Made first: from the moment its mode is changed it must be known what to change back.
        RemovalFolder* const folder = makeFolder(place, name, facts);
        UniqueFd fd = m_isRehearsal
                          ? openToLook(place.folder, name, facts)
                          : openWithRights(place.folder, name, facts, folder->modeWasWidened);
        if (!fd) {
            error = errno;
            letGo(*folder);
            if (error == EXDEV) {
                facts.isMountRoot = true;
                error = EBUSY;
            } else if (error == EACCES || error == EPERM) {
                return removeUnlistedFolder(place, entry, name, facts, std::exchange(error, 0));
            }
            return Step::Stayed;
        }
        opened = {folder, fd.get()};
        if (m_isRehearsal) folder->rights = rightsIn(fd.get());
        if (folder->rights.error == EACCES && canBeWidened(facts)) folder->rights.error = 0;
        if (!m_descriptors.adopt(*folder, std::move(fd))) {
            error = errno;
            putBack(*folder, opened.descriptor);
            letGo(*folder);
            return Step::Stayed;
        }
        if (!place.above && !folder->is(facts.identity)) {
            error = ENOTDIR;  // exchanged between the look and the opening
        } else if (isToBeUnlocked(facts)) {
            error = clearLockFlags(opened.descriptor, place.shortPath(name), folder->clearedLocks);
        }
        if (error == 0) return Step::Entered;
        putBack(*folder, opened.descriptor);
        m_descriptors.unpin(*folder);
        m_descriptors.close(*folder);
        letGo(*folder);
        return Step::Stayed;
    }

    RemovalFolder* makeFolder(const Place& place, const char* name, const EntryFacts& facts) {
        std::list<RemovalFolder> made(1);
        RemovalFolder* const folder = &made.front();
        folder->self = made.begin();
        folder->parent = place.above;
        folder->rootParent = place.item.parentDescriptor;
        folder->name = name;
        folder->facts = facts;
        if (place.above) {
            folder->depth = place.above->depth + 1;
            folder->wayWasChanged = place.above->wayWasChanged || place.above->wasChanged();
            folder->item = place.above->item;
        } else {
            folder->ownItem = std::make_unique<RemovalItem>(place.item);
            folder->item = folder->ownItem.get();
        }
        const std::lock_guard lock(m_foldersLock);
        m_folders.splice(m_folders.end(), made);
        return folder;
    }

    void letGo(RemovalFolder& folder) {
        std::list<RemovalFolder> gone;  // outside the lock
        const std::lock_guard lock(m_foldersLock);
        gone.splice(gone.end(), m_folders, folder.self);
    }

    UniqueFd openToLook(int parent, const char* name, const EntryFacts& facts) {
        if (canBeListed(facts)) return UniqueFd(openFolder(parent, name, O_NOATIME));
        errno = EACCES;
        return {};
    }

    UniqueFd openWithRights(int parent, const char* name, const EntryFacts& facts,
                            bool& wasWidened) {
        UniqueFd fd(openFolder(parent, name, 0));
        if (fd) {
            wasWidened = widenMode(fd.get(), facts, false, false);
            return fd;
        }
        if (errno != EACCES || facts.owner != geteuid()) return fd;
        UniqueFd path(openFolder(parent, name, O_PATH));
        if (!path) return path;
        struct stat status {};
        const bool isOwn = fstat(path.get(), &status) == 0 && status.st_uid == geteuid();
        if (!isOwn || !widenMode(path.get(), facts, true, true)) {
            errno = EACCES;
            return fd;
        }
        fd.reset(openFolder(path.get(), ".", 0));
        if (!fd) {
            const int error = errno;
            restoreMode(path.get(), facts, true);
            errno = error;
        }
        wasWidened = static_cast<bool>(fd);
        return fd;
    }

    int openFolder(int parent, const char* name, int flags) {
        const auto open = [&] {
            return flags == O_NOATIME ? openFolderQuietlyAt(parent, name)
                                      : openFolderAt(parent, name, flags);
        };
        int fd = open();
        for (int tries = 0; fd < 0 && errno == EMFILE && tries < 200 && !m_policy.shouldStop();
             ++tries) {
            m_descriptors.closeIdle();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            fd = open();
        }
        return fd;
    }

    /// A folder that cannot be listed goes when it is empty; else it is told as unreadable.
    Step removeUnlistedFolder(const Place& place, const Entry& entry, const char* name,
                              EntryFacts& facts, int why) {
        if (m_policy.willRemove(entry) == RemovalPolicy::Verdict::Leave) return Step::Stayed;
        if (!place.above && isReplaced(place.folder, name, facts))
            return failAsReplaced(entry, facts);
        int error = unlinkEntry(place, name, facts, AT_REMOVEDIR);
        if (m_isRehearsal && error == 0 && !canBeWidened(facts)) error = ENOTEMPTY;
        if (error == 0) {
            m_policy.didRemove(entry);
            return Step::Gone;
        }
        const bool isNotEmpty = error == ENOTEMPTY || error == EEXIST;
        const bool isRefused = error == EACCES || error == EPERM;
        return isNotEmpty || isRefused ? fail(entry, why, HostAccess::Read)
                                       : fail(entry, error, HostAccess::Write);
    }

    /// Removes the files of a folder, hands its folders to whoever is free, unpins it.
    void listAndFinish(const Opened& opened) {
        RemovalFolder* folder = opened.folder;
        std::vector<RemovalTask> folders;
        const int error = removeFiles(opened, folders);
        const bool hasFailed = error != 0 && error != ENOENT;
        if (hasFailed) tellFailure(*folder, error);
        if (hasFailed || m_policy.shouldStop()) folder->somethingStayed = true;
        m_descriptors.unpin(*folder);
        folder->pending += static_cast<std::uint32_t>(folders.size());
        std::reverse(folders.begin(), folders.end());
        m_tasks.push(folders);
        finish(folder);
    }

    /// 0, or the errno of a listing that failed.
    int removeFiles(const Opened& opened, std::vector<RemovalTask>& folders) {
        thread_local DirectoryStream stream;
        thread_local std::vector<RawEntry> entries;
        RemovalFolder* folder = opened.folder;
        std::string path;
        Place place = placeIn(folder, *folder->item, opened.descriptor);
        place.knownPath = &path;
        while (stream.read(opened.descriptor, entries)) {
            for (const RawEntry& raw : entries) {
                if (m_policy.shouldStop()) return 0;
                const Step step =
                    raw.type == DT_DIR ? Step::IsFolder : removeEntry(place, raw.name, nullptr);
                if (step == Step::IsFolder) {
                    folders.push_back({folder, raw.name, {}});
                } else {
                    note(folder, step);
                }
            }
        }
        return errno;
    }

    /// One thing that `folder` waited for is done. The last one removes it, and so on upwards.
    void finish(RemovalFolder* folder) {
        while (folder && folder->pending.fetch_sub(1) == 1) {
            const Step step = removeFolder(*folder);
            if (step == Step::Again) return listAgain(folder);
            RemovalFolder* above = folder->above();
            if (!above) m_items.finished(*folder->item, outcome(step));
            note(above, step);
            m_descriptors.close(*folder);
            letGo(*folder);
            folder = above;
        }
    }

    /// Removes a folder when nothing stayed in it: Gone, Stayed, or Again.
    Step removeFolder(RemovalFolder& folder) {
        // Opened through this one, while that can be searched: to find each folder of a deep chain
        // by name takes the square of its depth.
        const bool holdsAbove = folder.wayWasChanged && m_descriptors.pin(*folder.above()) >= 0;
        // Held, since it may have another name by now, and another folder its own.
        const int held = folder.wasChanged() ? m_descriptors.pin(folder) : -1;
        Step step = Step::Stayed;
        if (!folder.somethingStayed && !m_policy.shouldStop()) {
            const int parent =
                folder.above() ? pin(*folder.above()) : folder.item->parentDescriptor;
            if (parent >= 0) {
                step = removeEmptyFolder(folder, parent, held);
                if (folder.above()) m_descriptors.unpin(*folder.above());
            }
        }
        if (held >= 0) {
            if (step != Step::Again) putBack(folder, held);
            m_descriptors.unpin(folder);
        } else {
            putBackLost(folder);
        }
        if (holdsAbove) m_descriptors.unpin(*folder.above());
        return step;
    }

    /// `held` is the folder itself where something is to be put back on it, or -1.
    Step removeEmptyFolder(RemovalFolder& folder, int parent, int held) {
        const char* name = folder.name.c_str();
        const Place place = placeIn(folder.above(), *folder.item, parent);
        const Entry entry(place, name, folder.facts);
        if (m_policy.willRemove(entry) == RemovalPolicy::Verdict::Leave) return Step::Stayed;
        if (m_policy.shouldStop()) return Step::Stayed;
        if (!folder.above() && isReplaced(parent, name, folder.facts)) {
            return failAsReplaced(entry, folder.facts);
        }
        const int error = unlinkEntry(place, name, folder.facts, AT_REMOVEDIR);
        if (error == 0) {
            if (held >= 0) putBack(folder, held);  // before anybody is told, since telling may wait
            m_policy.didRemove(entry);
            return Step::Gone;
        }
        const bool isNotEmpty = error == ENOTEMPTY || error == EEXIST;
        if (isNotEmpty && folder.somethingWent && ++folder.passes < kMaximumPasses) {
            return Step::Again;
        }
        if (error == ENOTDIR) {  // something else took its place
            return removeEntry(place, name, nullptr);
        }
        return fail(entry, error, HostAccess::Write);
    }

    /// Whether something else has taken the item's name since it was looked at.
    static bool isReplaced(int parent, const char* name, const EntryFacts& facts) {
        const ItemIdentity found = identityAt(parent, name);
        return found.isKnown() && !isSameItem(found, facts.identity);
    }

    Step failAsReplaced(const Entry& entry, EntryFacts& facts) {
        facts.isReplaced = true;
        fail(entry, ESTALE, HostAccess::Read);
        return Step::Replaced;
    }

    void listAgain(RemovalFolder* folder) {
        folder->pending = 1;
        folder->somethingWent = false;
        const int descriptor = pin(*folder);
        if (descriptor >= 0) {
            lseek(descriptor, 0, SEEK_SET);
            return listAndFinish({folder, descriptor});
        }
        folder->somethingStayed = true;
        finish(folder);
    }

    /// What was changed to empty the folder is changed back.
    static void putBack(RemovalFolder& folder, int descriptor) {
        if (std::exchange(folder.modeWasWidened, false)) {
            restoreMode(descriptor, folder.facts, false);
        }
        restoreLockFlags(descriptor, folder.clearedLocks);
    }

    void restoreFolder(RemovalFolder& folder) {
        const int descriptor = folder.wasChanged() ? m_descriptors.pin(folder) : -1;
        if (descriptor < 0) return putBackLost(folder);
        putBack(folder, descriptor);
        m_descriptors.unpin(folder);
    }

    /// The same for a folder that is not found by its name any more.
    void putBackLost(RemovalFolder& folder) {
        if (!folder.wasChanged()) return;
        const UniqueFd found = m_descriptors.openLost(folder, folder.item->parentDescriptor);
        if (found) putBack(folder, found.get());
    }

    /// The walk gave up: every folder is restored that can still be found, from the deepest
    /// upwards, since a folder above may shut its own.
    void restoreFolders() {
        m_folders.sort([](const auto& one, const auto& other) { return one.depth > other.depth; });
        for (RemovalFolder& folder : m_folders) {
            try {
                restoreFolder(folder);
            } catch (const std::exception&) {  // no memory for the way to it
            }
        }
    }

    RemovalPolicy& m_policy;
    RemovalItems& m_items;
    const LockedEntries m_locked;
    const bool m_isRehearsal;
    DescriptorCache m_descriptors;
    WorkStack<RemovalTask> m_tasks;
    std::mutex m_foldersLock;
    std::list<RemovalFolder> m_folders;  ///< under way; guarded by the lock
    std::mutex m_rightsLock;
    std::map<int, FolderRights> m_rights;  ///< of a rehearsal, by descriptor; guarded by the lock
};

/// It pays to have more workers than cores, since some always wait for the file system's journal.
unsigned defaultWorkers() {
    return std::clamp(2 * std::thread::hardware_concurrency(), 4U, 8U);
}

}  // namespace

TreeRemover::TreeRemover(RemovalPolicy& policy, unsigned workers, LockedEntries locked)
    : m_policy(policy),
      m_workers(affordableWorkers(workers ? workers : defaultWorkers())),
      m_locked(locked) {}

void TreeRemover::remove(RemovalItems& items) {
    Remover(m_policy, items, m_locked, Remover::Mode::Remove).run(m_workers);
}

void TreeRemover::rehearse(RemovalItems& items) {
    Remover(m_policy, items, m_locked, Remover::Mode::Rehearse).run(m_workers);
}

}  // namespace kestrin
