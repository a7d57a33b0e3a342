// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/UserTrashes.h"

#include <pwd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <utility>

#include "base/FileUrl.h"
#include "helper/TrashPath.h"
#include "platform/items/FolderDescent.h"
#include "platform/items/HostErrors.h"

namespace kestrin {
namespace {

/// The home folder that the system's accounts give the user; empty when there is none.
std::string homeOf(std::uint32_t user) {
    std::string buffer(16384, '\0');
    passwd account{};
    passwd* found = nullptr;
    while (getpwuid_r(user, &account, buffer.data(), buffer.size(), &found) == ERANGE &&
           buffer.size() < (std::size_t{1} << 20)) {
        buffer.resize(buffer.size() * 2);
    }
    return found && found->pw_dir ? found->pw_dir : "";
}

std::string below(const std::string& folder, const std::string& name) {
    return (folder == "/" ? "" : folder) + "/" + name;
}

HostError refusal(int systemError) {
    return errorFromErrno(systemError, HostAccess::Read);
}

}  // namespace

UserTrashes::UserTrashes(std::uint32_t user) : UserTrashes(user, homeOf(user), currentMounts()) {}

UserTrashes::UserTrashes(std::uint32_t user, const std::string& home,
                         const std::vector<MountEntry>& mounts)
    : m_user(user), m_home(FileUrl::fromPath(home).path()), m_mounts(mounts) {
    if (isPlainPath(m_home)) {
        Place& place = m_places.emplace_back();
        place.files = m_home + "/.local/share/Trash/files";
        place.steps = {".local", "share", "Trash"};
    }
    for (const MountEntry& mount : m_mounts) {
        if (mount.fileSystemType != "autofs" && !isServedByUser(mount)) addPlacesAtTopOf(mount);
    }
}

void UserTrashes::addPlacesAtTopOf(const MountEntry& mount) {
    const std::string user = std::to_string(m_user);
    Place& shared = m_places.emplace_back();
    shared.files = below(mount.mountPoint, ".Trash/" + user + "/files");
    shared.mount = &mount;
    shared.steps = {".Trash", user};
    shared.isShared = true;
    Place& own = m_places.emplace_back();
    own.files = below(mount.mountPoint, ".Trash-" + user + "/files");
    own.mount = &mount;
    own.steps = {".Trash-" + user};
}

std::vector<std::string> UserTrashes::candidates() const {
    std::vector<std::string> files;
    for (const Place& place : m_places)
        files.push_back(place.files);
    return files;
}

const std::atomic<bool>& UserTrashes::neverStopped() {
    static const std::atomic<bool> s_never = false;
    return s_never;
}

Result<std::shared_ptr<EntryFolder>> UserTrashes::folderOf(std::string_view path, Locks locks,
                                                           const std::atomic<bool>& stop) {
    if (!isPlainPath(path)) return refusal(EINVAL);
    const std::string_view parent = splitPath(path).folder;
    if (m_latest && m_latest->path == parent && m_latestLocks == locks) return m_latest;
    m_latest.reset();
    std::string_view part;
    const auto trash = trashOf(path, part);
    if (!trash) return trash.error();
    m_latestTrash = *trash;
    auto folder = std::make_shared<EntryFolder>();
    folder->trash = *trash;
    folder->path = parent;
    if (const MaybeError error = descend(*folder, splitPath(part).folder, stop)) return *error;
    if (locks == Locks::Clear && folder->below) {
        auto need = m_locks.clear(folder->below.get(), folder->path);
        if (!need) return need.error();
        folder->need = std::move(*need);
    }
    m_latest = folder;
    m_latestLocks = locks;
    return folder;
}

/// Finds the trash that lies deepest above the path. When several mounts have one place, only one
/// of them can be opened.
Result<std::shared_ptr<UserTrash>> UserTrashes::trashOf(std::string_view path,
                                                        std::string_view& part) {
    part = {};
    const Place* found = nullptr;
    std::shared_ptr<UserTrash> trash;
    for (Place& place : m_places) {
        const std::string_view below = partBelow(path, place.files);
        if (below.empty() || (found && place.files.size() < found->files.size())) continue;
        if (found && place.files.size() == found->files.size() && trash) continue;
        trash = open(place);
        found = &place;
        part = below;
    }
    if (!found) return refusal(EINVAL);
    if (!trash) return refusal(found->error);
    return trash;
}

std::shared_ptr<UserTrash> UserTrashes::open(Place& place) const {
    auto trash = place.trash.lock();
    if (trash || place.error != 0) return trash;
    auto folder = openTrashFolder(place);
    auto opened =
        folder ? OpenTrash::ofUser(std::move(*folder), m_user) : Result<OpenTrash>(folder.error());
    if (!opened) {
        place.error = opened.error().systemError;
        return {};
    }
    trash = std::make_shared<UserTrash>(std::move(*opened), place.somethingWent);
    place.trash = trash;
    return trash;
}

/// A user may mount a file system of his own making on the whole of his home.
UniqueFd UserTrashes::openHome() const {
    UniqueFd home = holdSystemFolder(m_home);
    FolderFacts facts;
    if (!home || !examineFolder(home.get(), facts)) return {};
    if (isTrustedMount(m_mounts, facts.mountId)) return home;
    errno = EPERM;
    return {};
}

Result<UniqueFd> UserTrashes::openTrashFolder(const Place& place) const {
    UniqueFd folder = place.mount ? holdMountRoot(*place.mount, m_mounts) : openHome();
    bool mustBeSticky = place.isShared;
    for (const std::string& step : place.steps) {
        if (folder) folder = holdFolder(folder.get(), step);
        if (!folder) return refusal(errno);
        FolderFacts facts;
        // Without the sticky bit anybody could exchange the users' folders in it.
        if (!std::exchange(mustBeSticky, false)) continue;
        if (!examineFolder(folder.get(), facts) || !facts.isSticky) return refusal(EPERM);
    }
    return folder;
}

MaybeError UserTrashes::descend(EntryFolder& folder, std::string_view part,
                                const std::atomic<bool>& stop) {
    while (!part.empty()) {
        if (stop) return refusal(ECANCELED);
        folder.below = holdFolder(folder.descriptor(), std::string(takeComponent(part)));
        if (!folder.below) return refusal(errno);
    }
    return std::nullopt;
}

void UserTrashes::tidy(const std::atomic<bool>& stop) {
    m_latest.reset();
    m_latestTrash.reset();
    std::optional<std::chrono::steady_clock::time_point> end;
    const auto isLate = [&] {
        if (!stop) return false;
        const auto now = std::chrono::steady_clock::now();
        if (!end) end = now + std::chrono::milliseconds(100);
        return now >= *end;
    };
    for (Place& place : m_places) {
        if (!place.somethingWent || isLate()) continue;
        if (const auto trash = open(place)) trash->folder.tidyDirectorySizes(isLate);
    }
}

}  // namespace kestrin
