// SPDX-License-Identifier: GPL-3.0-or-later
// Where the current user's trash is, after the FreeDesktop.org trash specification 1.0.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/ItemIdentity.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// One trash folder of the current user.
struct TrashFolder {
    FileUrl files;      ///< the folder that holds the entries; it need not exist yet
    FileUrl topFolder;  ///< what relative original paths begin at: the volume's root
    bool exists = false;
};

/// The trash folders of the current user on the volume whose root is `volume`, the one that new
/// entries go to first. On the volume of the home trash that is `$XDG_DATA_HOME/Trash`; elsewhere
/// `.Trash/$uid` when `.Trash` is a real folder with the sticky bit, and `.Trash-$uid`. Each must
/// be a real folder of the user's own, and so must its `files`: a link anywhere from the trash
/// folder down makes it no trash. A trash folder that is closed to its own user exists, and cannot
/// be read. An absent trash that could be created gives an entry with `exists` false; nothing is
/// ever created. Never empty on success. Errors: none of them is usable and none could be created.
Result<std::vector<TrashFolder>> trashFoldersOfVolume(const FileUrl& volume);

/// Why a trash folder of the user that exists on the volume may not be used: a link or a folder of
/// somebody else stands in its place or on the way, or a shared `.Trash` has no sticky bit. The
/// error names the path. The other trash folder of the same volume may be usable all the same. None
/// when there is no such folder, and for a volume whose root is closed to the user.
MaybeError unusableTrashOfVolume(const FileUrl& volume);

/// An entry of a trash folder.
struct TrashEntry : TrashFolder {
    ItemIdentity identity;
};

/// The trash folder of the user that directly holds `entry`. The folder itself is compared and not
/// the spelling of its path. `entry` itself must exist and its last component must be a plain name.
/// The result's `files` joined with that name is the entry's own location. Errors: "errorString"
/// says why the path is refused; names the path.
Result<TrashEntry> trashFolderOfEntry(const FileUrl& entry);

/// What the trash remembers of one entry.
struct TrashRecord {
    std::string originalPath;                  ///< absolute bytes; empty when the record has none
    std::optional<std::int64_t> deletionDate;  ///< local wall-clock time as seconds since 1970 UTC
                                               ///< in the current zone; none when absent or invalid
};

/// Reads the text of a `.trashinfo` file. `topFolder` completes a relative Path. Only the keys of
/// the group "Trash Info" count, the first of each.
std::optional<TrashRecord> parseTrashRecord(std::string_view text, const FileUrl& topFolder);

/// A trash folder held open, so that what is done in it is done in that folder, whatever happens to
/// its path meanwhile. Thread: any; only `recordOf` and `removeRecord` may be called for the same
/// object by several threads at once.
class OpenTrash {
 public:
    /// Opens `filesFolder` and the `info` beside it. From the trash folder down no link is
    /// followed. Errors: errorFromErrno with Read; ELOOP or ENOTDIR for a link.
    static Result<OpenTrash> open(const FileUrl& filesFolder);

    /// The trash folder `trashFolder`, already held open, of the user `owner`, for whom root works:
    /// it, its `files` and, where it is used, its `info` must be real folders of that user's own on
    /// the same mount. Errors: errorFromErrno with Read; EPERM for a folder of somebody else.
    static Result<OpenTrash> ofUser(UniqueFd trashFolder, std::uint32_t owner);

    /// The descriptor of `files`, for use as a removal's parent.
    int filesDescriptor() const { return m_files.get(); }

    /// The record of the entry `name`; none when there is none or it cannot be read.
    std::optional<TrashRecord> recordOf(std::string_view name, const FileUrl& topFolder) const;

    /// Removes `info/NAME.trashinfo`; one that is absent counts as removed. Requires: the entry's
    /// data is gone.
    MaybeError removeRecord(std::string_view name);

    /// Takes the lines of entries that no longer exist out of `directorysizes`, replacing the file
    /// in one step by one of the same owner and mode; nothing is written when there is no such
    /// line. In the trash of `ofUser` a file of somebody else is neither read nor replaced. The
    /// file may have a million lines: what is not looked at when `shouldEnd`, if any, answers true
    /// stays.
    void tidyDirectorySizes(const std::function<bool()>& shouldEnd = {});

    /// Removes records without data that are older than `age`, and returns how many it removed.
    std::size_t removeOrphanRecords(std::chrono::seconds age);

 private:
    OpenTrash() = default;
    UniqueFd m_trash, m_files, m_info;     ///< m_info: -1 when absent or no real folder
    std::optional<std::uint32_t> m_owner;  ///< the user that root works for, if it does
};

}  // namespace kestrin
