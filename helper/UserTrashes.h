// SPDX-License-Identifier: GPL-3.0-or-later
// The check of every path that the helper is given, and the way to the folder that holds the entry.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Result.h"
#include "helper/FolderLocks.h"
#include "platform/disks/MountTable.h"
#include "platform/items/UniqueFd.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {

/// A trash folder of the user, held open.
struct UserTrash {
    OpenTrash folder;
    std::atomic<bool>& somethingWent;  ///< a top-level entry, ever
    UserTrash(OpenTrash open, std::atomic<bool>& went)
        : folder(std::move(open)), somethingWent(went) {}
};

/// A folder inside a trash, or its `files`, held open with what it takes to remove entries from it.
/// It stays the folder that was checked, whatever gets its name or its inode number later.
struct EntryFolder {
    std::shared_ptr<UserTrash> trash;
    std::string path;  ///< as the caller spells it
    UniqueFd below;    ///< none when the folder is the trash's `files` itself
    std::unique_ptr<FolderLocks::Need> need;  ///< nullptr while the folder keeps its attributes

    bool isFiles() const { return !below; }
    int descriptor() const { return below ? below.get() : trash->folder.filesDescriptor(); }
};

/// The trash folders of one user, where the FreeDesktop.org trash specification puts them, found by
/// the helper's own knowledge: the account's home folder and the mount table. A path only selects
/// which of them is tried. Each is opened by descriptors from the home folder or the root of the
/// mount, without following a link or entering another mount, and must be a real folder of that
/// user, as must its `files`. Only the trash that was asked for last stays open, and those whose
/// folders are in use. One thread at a time. Two kinds of trash are left out: a home trash
/// that the user moved by a variable, and those on file systems that the user himself serves
/// (FUSE). There he could make up whatever root is told, and root is not needed.
class UserTrashes {
 public:
    explicit UserTrashes(std::uint32_t user);
    /// For tests: with another home folder and another mount table.
    UserTrashes(std::uint32_t user, const std::string& home, const std::vector<MountEntry>& mounts);

    enum class Locks {
        Keep,
        Clear,  ///< of the folder that holds the entry, while the result lives
    };
    /// The folder that holds the entry `path`, which must be plain and lie below the `files` of one
    /// of the trashes. A result of Locks::Clear must be destroyed before this object. The entry
    /// itself is not looked at. Errors: EINVAL for any path that is not below a trash of the user;
    /// ECANCELED once `stop` is true; else of what is in the way: ELOOP, ENOTDIR, EXDEV, ENOENT and
    /// others.
    Result<std::shared_ptr<EntryFolder>> folderOf(std::string_view path, Locks locks,
                                                  const std::atomic<bool>& stop = neverStopped());

    /// Takes the lines of what went out of the trashes' `directorysizes`. Once `stop` is true, only
    /// as far as a tenth of a second suffices.
    void tidy(const std::atomic<bool>& stop = neverStopped());

    /// The `files` folders, as paths; each is only a candidate until it is opened.
    std::vector<std::string> candidates() const;

 private:
    /// Where a trash may be.
    struct Place {
        std::string files;
        const MountEntry* mount = nullptr;  ///< nullptr: below the home folder
        std::vector<std::string> steps;     ///< from there to the trash folder
        bool isShared = false;              ///< the first step must be sticky
        std::weak_ptr<UserTrash> trash;
        std::atomic<bool> somethingWent = false;
        int error = 0;  ///< why there is no trash here; 0 when it was not tried yet
    };

    void addPlacesAtTopOf(const MountEntry& mount);
    Result<std::shared_ptr<UserTrash>> trashOf(std::string_view path, std::string_view& part);
    std::shared_ptr<UserTrash> open(Place& place) const;
    Result<UniqueFd> openTrashFolder(const Place& place) const;
    UniqueFd openHome() const;
    MaybeError descend(EntryFolder& folder, std::string_view part, const std::atomic<bool>& stop);
    static const std::atomic<bool>& neverStopped();

    const std::uint32_t m_user;
    const std::string m_home;
    const std::vector<MountEntry> m_mounts;
    std::list<Place> m_places;
    FolderLocks m_locks;
    std::shared_ptr<UserTrash> m_latestTrash;
    std::shared_ptr<EntryFolder> m_latest;  ///< entries of one folder mostly follow each other
    Locks m_latestLocks = Locks::Keep;
};

}  // namespace kestrin
