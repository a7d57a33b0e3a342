// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/trash/TrashFolders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "base/StringTable.h"
#include "platform/desktop/Places.h"
#include "platform/disks/MountTable.h"
#include "platform/disks/linux/RealPaths.h"
#include "platform/items/HostErrors.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/linux/PlainName.h"

namespace kestrin {
namespace {

/// A refusal that names the path: "PATH: reason".
HostError refusal(const FileUrl& path, std::string_view reasonKey, int systemError) {
    HostError error = errorFromErrno(systemError, HostAccess::Read);
    const QString reason = StringTable::sharedControl().text(reasonKey, StringTable::Table::Errors);
    error.userInfo["reason"] = reason.toStdString();
    error.userInfo["errorString"] = path.path() + ": " + reason.toStdString();
    return error;
}

HostError failure(const FileUrl& path, int systemError, HostAccess access) {
    HostError error = errorFromErrno(systemError, access);
    error.userInfo["reason"] = error.localizedDescription();
    error.userInfo["errorString"] = path.path() + ": " + error.localizedDescription();
    return error;
}

/// A folder of the user's own, or why the path is none.
MaybeError ownFolderError(const FileUrl& path) {
    struct stat status;
    if (lstat(path.path().c_str(), &status) != 0) return failure(path, errno, HostAccess::Read);
    if (S_ISLNK(status.st_mode)) return refusal(path, "trash_path_is_link"_errorKey, ELOOP);
    if (!S_ISDIR(status.st_mode)) return refusal(path, "trash_path_is_no_folder"_errorKey, ENOTDIR);
    if (status.st_uid != geteuid()) return refusal(path, "trash_path_is_not_own"_errorKey, EPERM);
    return std::nullopt;
}

/// One place where a trash folder of the user can be.
struct TrashPlace {
    FileUrl trash;
    FileUrl topFolder;
    bool isPresent = false;      ///< a trash folder of the user's own is there
    bool hasFiles = false;       ///< and its `files`
    MaybeError unusableBecause;  ///< what is there is no trash of the user's; neither flag is set

    FileUrl files() const { return trash.appending("files"); }
    bool isAbsent() const { return !isPresent && !unusableBecause; }
    TrashFolder folder() const { return {files(), topFolder, hasFiles}; }
};

TrashPlace examined(FileUrl trash, FileUrl topFolder) {
    TrashPlace place{std::move(trash), std::move(topFolder), false, false, std::nullopt};
    if (auto error = ownFolderError(place.trash)) {
        if (error->systemError != ENOENT) place.unusableBecause = std::move(error);
        return place;
    }
    const auto filesError = ownFolderError(place.files());
    // A trash that is closed to its own user exists. Nobody knows what it holds, and whoever reads
    // it gets the error.
    place.hasFiles = !filesError || filesError->systemError == EACCES;
    place.isPresent = place.hasFiles || filesError->systemError == ENOENT;
    if (!place.isPresent) place.unusableBecause = filesError;
    return place;
}

FileUrl nearestExisting(FileUrl folder) {
    while (folder.path().size() > 1 && !pathExists(folder.path())) {
        folder = folder.parent();
    }
    return folder;
}

/// Why nothing can be created in `folder`; none when it can. A read-only mount is a reason, too.
MaybeError creationError(const FileUrl& folder) {
    if (faccessat(AT_FDCWD, folder.path().c_str(), W_OK | X_OK, AT_EACCESS) == 0) {
        return std::nullopt;
    }
    return failure(folder, errno, HostAccess::Write);
}

bool isDirectoryWithStickyBit(const FileUrl& path) {
    struct stat status;
    return lstat(path.path().c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           (status.st_mode & S_ISVTX) != 0;
}

/// The places on a volume that does not hold the home trash, the preferred one first.
std::vector<TrashPlace> placesAtTopOf(const FileUrl& volume) {
    const std::string user = std::to_string(geteuid());
    std::vector<TrashPlace> places;
    // Without the sticky bit anybody could exchange the users' folders in it.
    const FileUrl shared = volume.appending(".Trash");
    if (isDirectoryWithStickyBit(shared))
        places.push_back(examined(shared.appending(user), volume));
    places.push_back(examined(volume.appending(".Trash-" + user), volume));
    return places;
}

/// The user's folder in a shared `.Trash` that is not looked at, since anybody could exchange it.
MaybeError unguardedTrashError(const FileUrl& volume) {
    const FileUrl shared = volume.appending(".Trash");
    struct stat status;
    if (lstat(shared.path().c_str(), &status) != 0 || isDirectoryWithStickyBit(shared)) return {};
    if (!pathExists(shared.appending(std::to_string(geteuid())).path())) return {};
    return S_ISLNK(status.st_mode) ? refusal(shared, "trash_path_is_link"_errorKey, ELOOP)
                                   : refusal(shared, "trash_path_is_not_sticky"_errorKey, EPERM);
}

FileUrl homeTrash() {
    return FileUrl::fromPath(dataHomeFolder()).appending("Trash");
}

/// The volume that holds the home trash, by the folder that it is made in.
FileUrl volumeOfHomeTrash(const std::vector<MountEntry>& mounts) {
    const MountEntry* mount = mountOfPath(mounts, realPathOfNearestExisting(dataHomeFolder()));
    return FileUrl::fromPath(mount ? mount->mountPoint : "/");
}

std::vector<TrashPlace> placesOfVolume(const FileUrl& volume,
                                       const std::vector<MountEntry>& mounts) {
    const FileUrl homeVolume = volumeOfHomeTrash(mounts);
    if (realPath(volume.path()) != homeVolume.path()) return placesAtTopOf(volume);
    return {examined(homeTrash(), homeVolume)};
}

/// The place that a new trash would be made at.
Result<std::vector<TrashFolder>> creatableFolder(const std::vector<TrashPlace>& places) {
    MaybeError firstError;
    for (const TrashPlace& place : places) {
        MaybeError error = place.unusableBecause;
        if (!error) error = creationError(nearestExisting(place.trash.parent()));
        if (!error) return std::vector{place.folder()};
        if (!firstError) firstError = std::move(error);
    }
    return *firstError;
}

/// Requires: one of them is held open, so that nobody else gets its inode number.
bool isSameFile(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// Why `entry` cannot be an entry of a trash by its path alone.
MaybeError spellingError(const FileUrl& entry) {
    const std::string& path = entry.path();
    if (!path.starts_with('/')) return refusal(entry, "trash_entry_is_relative"_errorKey, EINVAL);
    if (path.find('\0') == path.npos && isPlainName(entry.lastPathComponent())) return std::nullopt;
    return refusal(entry, "trash_entry_has_no_name"_errorKey, EINVAL);
}

/// The home trash, and the places on the volume that `folder` lies on.
std::vector<TrashPlace> placesNear(const FileUrl& folder) {
    const auto mounts = currentMounts();
    std::vector<TrashPlace> places{examined(homeTrash(), volumeOfHomeTrash(mounts))};
    const auto real = realPath(folder.path());
    if (const MountEntry* mount = real ? mountOfPath(mounts, *real) : nullptr) {
        for (TrashPlace& place : placesAtTopOf(FileUrl::fromPath(mount->mountPoint))) {
            places.push_back(std::move(place));
        }
    }
    return places;
}

}  // namespace

Result<std::vector<TrashFolder>> trashFoldersOfVolume(const FileUrl& volume) {
    if (const auto root = itemAttributes(volume); !root) {
        return failure(volume, root.error().systemError, HostAccess::Read);
    }
    const auto places = placesOfVolume(volume, currentMounts());
    std::vector<TrashFolder> folders;
    for (const TrashPlace& place : places) {
        if (place.isPresent) folders.push_back(place.folder());
    }
    if (!folders.empty()) return folders;
    return creatableFolder(places);
}

MaybeError unusableTrashOfVolume(const FileUrl& volume) {
    const auto mounts = currentMounts();
    const bool isHomeVolume = realPath(volume.path()) == volumeOfHomeTrash(mounts).path();
    if (!isHomeVolume && faccessat(AT_FDCWD, volume.path().c_str(), X_OK, AT_EACCESS) != 0) {
        return std::nullopt;
    }
    for (const TrashPlace& place : placesOfVolume(volume, mounts)) {
        if (place.unusableBecause) return place.unusableBecause;
    }
    return isHomeVolume ? std::nullopt : unguardedTrashError(volume);
}

Result<TrashEntry> trashFolderOfEntry(const FileUrl& entry) {
    if (auto error = spellingError(entry)) return *std::move(error);
    const FileUrl parent = entry.parent();
    const UniqueFd folder(open(parent.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const std::string name(entry.lastPathComponent());
    struct stat status;
    ItemIdentity identity;
    if (folder && fstat(folder.get(), &status) == 0) {
        identity = identityAt(folder.get(), name.c_str());
    }
    if (!identity.isKnown()) return failure(entry, errno, HostAccess::Read);
    for (const TrashPlace& place : placesNear(parent)) {
        struct stat files;
        if (place.hasFiles && lstat(place.files().path().c_str(), &files) == 0 &&
            isSameFile(files, status)) {
            return TrashEntry{place.folder(), identity};
        }
    }
    return refusal(entry, "trash_entry_is_in_no_trash"_errorKey, EINVAL);
}

}  // namespace kestrin
