// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseDecisions.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <set>
#include <utility>

#include "erase/ItemPresences.h"
#include "erase/StayedPaths.h"
#include "platform/items/HostErrors.h"

namespace kestrin {
namespace {

using About = RefusalQuestion::About;

/// Inside a trash only the leading full stop hides.
bool isHidden(const RemovalEntry& entry) {
    return entry.name().starts_with('.');
}

bool isNoPermission(const HostError& error) {
    return error.domain == kFileErrorDomain &&
           (error.code == kFileWriteNoPermission || error.code == kFileReadNoPermission);
}

bool isBusy(const HostError& error) {
    return error.domain == kOSStatusErrorDomain && error.code == kFileBusy;
}

/// Whether `path` lies in one of these folders. None of them holds another, and each has a "/" at
/// its end.
bool liesInOneOf(const std::set<std::string>& folders, const std::string& path) {
    const auto next = folders.upper_bound(path);
    return next != folders.begin() && path.starts_with(*std::prev(next));
}

/// The folders that go when the helper has emptied them: those left behind, or where something
/// stays in one of these, the outermost folders in it that hold an item of the helper's and nothing
/// that stays.
std::vector<HelperItem> foldersToTidy(const std::vector<HelperItem>& leftBehind,
                                      const HelperRequest& share, const StayedPaths& stayed) {
    std::vector<HelperItem> folders;
    std::set<std::string> kept, found;
    for (const HelperItem& folder : leftBehind) {
        if (stayed.hasAtOrBelow(folder.url.path())) {
            kept.insert(folder.url.path() + '/');
        } else {
            folders.push_back(folder);
        }
    }
    for (const auto* items : {&share.unlockItems, &share.permissionsItems}) {
        for (const HelperItem& item : *items) {
            const std::string& path = item.url.path();
            if (!liesInOneOf(kept, path)) continue;
            const std::size_t end = path.find('/', stayed.sharedLength(path));
            if (end != std::string::npos) found.insert(path.substr(0, end));
        }
    }
    for (const std::string& path : found)
        folders.emplace_back(FileUrl::fromPath(path));
    return folders;
}

}  // namespace

void EraseDecisions::Entries::add(const RemovalEntry& entry) {
    std::string path = entry.path();
    if (!known.insert(path).second) return;
    list.emplace_back(FileUrl::fromPath(std::move(path)), entry.identity());
}

EraseDecisions::EraseDecisions(const Settings& settings, Callbacks callbacks)
    : m_settings(settings),
      m_callbacks(std::move(callbacks)),
      m_deleteLocked(settings.locked == RefusedEntries::Erase || settings.deleteLocked),
      m_deleteLockedAlreadyAsked(settings.locked == RefusedEntries::Erase),
      m_deleteNoPermissions(settings.forbidden == RefusedEntries::Erase),
      m_deleteNoPermissionsAlreadyAsked(settings.forbidden == RefusedEntries::Erase) {}

EraseDecisions::Decision EraseDecisions::decideLocked(const RemovalEntry& entry) {
    // A file that was looked at goes at once: another one could take its name during the question.
    if (entry.isDirectory()) waitWhileAQuestionIsOpen();
    if (!entry.countsAsLocked()) return Decision::Proceed;
    const StayReason reason =
        entry.isLockedWithOtherNames() ? StayReason::HasOtherNames : StayReason::Locked;
    const Decision made = decision(entry, checkForLockedFile(entry), reason);
    return made == Decision::Proceed ? Decision::Unlock : made;
}

EraseDecisions::Decision EraseDecisions::decideForbidden(const RemovalEntry& entry) {
    if (!entry.isWritingDenied()) return Decision::Proceed;
    if (entry.isLockedWithOtherNames()) {  // append-only
        noteOtherNames(entry);
        return Decision::Leave;
    }
    return decision(entry, checkForNoPermissions(entry), StayReason::Forbidden);
}

EraseDecisions::Decision EraseDecisions::decision(const RemovalEntry& entry, Check check,
                                                  StayReason reason) {
    if (check == Check::Passed) return Decision::Proceed;
    if (check != Check::HandedOver) {
        note(FileUrl::fromPath(entry.path()), reason, check == Check::Skipped);
    }
    return Decision::Leave;
}

void EraseDecisions::didRemove(const RemovalEntry& entry) {
    totSizeDeleted.fetch_add(entry.size(), std::memory_order_relaxed);
    totItemsDeleted.fetch_add(1, std::memory_order_relaxed);
}

EraseDecisions::Check EraseDecisions::checkForLockedFile(const RemovalEntry& entry) {
    if (m_settings.locked == RefusedEntries::Skip) return Check::Skipped;
    // Nobody is asked about what the helper would leave, too.
    if (!isHelperAuthorized() || entry.isLockedWithOtherNames()) {
        ++notErasedCount;
        return Check::Refused;
    }
    return userWants(entry, About::Locked);
}

EraseDecisions::Decision EraseDecisions::couldNotUnlock(const RemovalEntry& entry) {
    if (entry.isForbiddenBesidesItsLock()) {
        const Decision made = decision(entry, wantsForbidden(entry), StayReason::Forbidden);
        if (made == Decision::Leave) return made;
    }
    const std::lock_guard lock(m_lists);
    m_unlockItems.add(entry);
    return Decision::Proceed;
}

EraseDecisions::Check EraseDecisions::wantsForbidden(const RemovalEntry& entry) {
    if (m_settings.forbidden == RefusedEntries::Skip) return Check::Skipped;
    if (!isHelperAuthorized()) {
        ++notErasedCount;
        return Check::Refused;
    }
    return userWants(entry, About::Forbidden);
}

EraseDecisions::Check EraseDecisions::checkForNoPermissions(const RemovalEntry& entry) {
    const Check check = wantsForbidden(entry);
    if (check != Check::Passed) return check;
    const std::lock_guard lock(m_lists);
    m_permissionsItems.add(entry);
    return Check::HandedOver;
}

/// What was said about an entry holds, whatever is said about all others later. An entry is asked
/// about once: for one that is locked and forbidden the first answer holds, but not for others.
EraseDecisions::Check EraseDecisions::userWants(const RemovalEntry& entry, About about) {
    if (isHidden(entry)) return Check::Passed;
    const auto check = [](bool erases) { return erases ? Check::Passed : Check::Skipped; };
    const bool isLocked = about == About::Locked;
    const std::lock_guard lock(m_questions);
    bool& erases = isLocked ? m_deleteLocked : m_deleteNoPermissions;
    bool& isForAll = isLocked ? m_deleteLockedAlreadyAsked : m_deleteNoPermissionsAlreadyAsked;
    std::string path = entry.path();
    const auto known = m_answers.find(path);
    const bool isKnown = known != m_answers.end();
    if (isKnown && known->second.about == about) return check(known->second.eraseFile);
    if (isForAll) return check(erases);
    if (isKnown) return check(known->second.eraseFile);
    if (m_callbacks.wasStopped()) return Check::NotAnswered;
    const RefusalAnswer answer = ask({about, std::string(entry.name()), path});
    if (m_callbacks.wasStopped()) return Check::NotAnswered;
    erases = answer.eraseFile;
    isForAll = answer.isForAll;
    m_answers.emplace(std::move(path), Answer{about, answer.eraseFile});
    return check(answer.eraseFile);
}

RefusalAnswer EraseDecisions::ask(const RefusalQuestion& question) {
    m_questionIsOpen = true;
    RefusalAnswer answer;
    try {
        answer = m_callbacks.ask(question);
    } catch (...) {  // the other workers wait for the gate, and for nothing else
        openGate();
        throw;
    }
    openGate();
    return answer;
}

void EraseDecisions::openGate() {
    {
        const std::lock_guard lock(m_gate);
        m_questionIsOpen = false;
    }
    m_gateOpened.notify_all();
}

void EraseDecisions::waitWhileAQuestionIsOpen() {
    if (!m_questionIsOpen) return;
    std::unique_lock lock(m_gate);
    m_gateOpened.wait(lock, [this] { return !m_questionIsOpen; });
}

void EraseDecisions::didFail(const RemovalEntry& entry, const HostError& error) {
    if (waitsForUnlocking(entry, error)) return;
    if (isNoPermission(error) && entry.isLockedWithOtherNames()) return noteOtherNames(entry);
    Check check = manageError(entry, error);
    if (m_settings.classifiesTwice) check = manageError(entry, error);
    noteFailure(entry, error, check);
}

/// Nobody is asked about what the helper would leave, too.
void EraseDecisions::noteOtherNames(const RemovalEntry& entry) {
    ++notErasedCount;
    note(FileUrl::fromPath(entry.path()), StayReason::HasOtherNames, false);
}

/// Whether the entry is held by a lock alone, its own or that of its folder, which the helper is to
/// take away. An append-only file, or a folder that cannot be read, is refused for its own sake.
bool EraseDecisions::waitsForUnlocking(const RemovalEntry& entry, const HostError& error) {
    if (error.domain != kFileErrorDomain || error.code != kFileWriteNoPermission) return false;
    const FileUrl url = FileUrl::fromPath(entry.path());
    const std::lock_guard lock(m_lists);
    if (m_unlockItems.contains(url.path())) return true;
    if (!m_unlockItems.contains(url.parent().path())) return false;
    if (entry.isAppendOnly() || !entry.isHeldByLockOfFolder()) return false;
    m_inUnlockItems.add(entry);
    return true;
}

EraseDecisions::Check EraseDecisions::manageError(const RemovalEntry& entry,
                                                  const HostError& error) {
    if (isNoPermission(error)) return checkForNoPermissions(entry);
    if (isBusy(error)) {
        ++itemBusyCount;
        ++notErasedCount;
    }
    return Check::Refused;
}

void EraseDecisions::noteFailure(const RemovalEntry& entry, const HostError& error, Check check) {
    const FileUrl url = FileUrl::fromPath(entry.path());
    if (entry.isReplaced()) return note(url, StayReason::Replaced, false);
    if (entry.isMountRoot()) return note(url, StayReason::MountPoint, false);
    if (isBusy(error)) return note(url, StayReason::Busy, false);
    if (error.systemError == EROFS) return note(url, StayReason::ReadOnly, false);
    if (error.systemError == kNotFoundAgain) return note(url, StayReason::NotFoundAgain, false);
    if (!isNoPermission(error)) {
        return note(url, StayReason::Error, false, error.localizedDescription());
    }
    if (check == Check::HandedOver) return;
    const bool wasSkipped = check == Check::Skipped;
    const auto isKeptLocked = [this](const FileUrl& locked) {
        const std::lock_guard lock(m_lists);
        return !m_unlockItems.contains(locked.path());
    };
    if (entry.isImmutable() && isKeptLocked(url)) return note(url, StayReason::Locked, wasSkipped);
    // What such a folder holds is not refused for its own sake.
    const bool isHeld = entry.isHeldByLockOfFolder() && isKeptLocked(url.parent());
    note(isHeld ? url.parent() : url, isHeld ? StayReason::Locked : StayReason::Forbidden,
         wasSkipped);
}

void EraseDecisions::couldNotBegin(const FileUrl& entry, const HostError& error) {
    if (error.systemError == ENOENT) return;
    const StayReason reason = isNoPermission(error) ? StayReason::Forbidden : StayReason::Error;
    if (reason == StayReason::Forbidden) ++notErasedCount;
    note(entry, reason, false,
         reason == StayReason::Error ? error.localizedDescription() : std::string());
}

void EraseDecisions::noteLeftUnlocked(const FileUrl& entry) {
    const std::lock_guard lock(m_lists);
    const auto [at, isNew] = m_stayedByPath.emplace(entry.path(), m_stayed.size());
    if (isNew) m_stayed.emplace_back();
    m_stayed[at->second] = {entry, StayReason::LeftUnlocked};
}

void EraseDecisions::helperErased(const std::string& path) {
    const std::lock_guard lock(m_lists);
    m_unlockItems.known.erase(path);
    m_permissionsItems.known.erase(path);
}

void EraseDecisions::noteWhatTheHelperLeft() {
    const auto wasToldErased = [this](const HelperItem& item) {
        const std::lock_guard lock(m_lists);
        const std::string& path = item.url.path();
        return !m_unlockItems.contains(path) && !m_permissionsItems.contains(path);
    };
    const std::vector<HelperItem> locked = unlockItems(), forbidden = permissionsItems();
    std::vector<HelperItem> items = locked;
    items.insert(items.end(), forbidden.begin(), forbidden.end());
    const std::vector<ItemPresence> presence = presencesOfAll(items);
    for (std::size_t index = 0; index < items.size(); ++index) {
        if (presence[index] == ItemPresence::Gone) continue;
        if (presence[index] == ItemPresence::Unknown && wasToldErased(items[index])) continue;
        const StayReason refused =
            index < locked.size() ? StayReason::Locked : StayReason::Forbidden;
        const bool isReplaced = presence[index] == ItemPresence::Replaced;
        note(items[index].url, isReplaced ? StayReason::Replaced : refused, false);
    }
}

void EraseDecisions::note(const FileUrl& url, StayReason reason, bool skipped, std::string cause) {
    const std::lock_guard lock(m_lists);
    if (!m_stayedByPath.emplace(url.path(), m_stayed.size()).second) return;
    m_stayed.push_back({url, reason, std::move(cause), skipped});
}

bool EraseDecisions::isHelperAuthorized() {
    const std::lock_guard lock(m_helperQuestion);
    if (!m_isHelperAuthorized) m_isHelperAuthorized = m_callbacks.isHelperAuthorized();
    return *m_isHelperAuthorized;
}

bool EraseDecisions::skipsAllLocked() {
    const std::lock_guard lock(m_questions);
    return m_settings.locked == RefusedEntries::Skip ||
           (m_deleteLockedAlreadyAsked && !m_deleteLocked);
}

HelperRequest EraseDecisions::shareOfHelper(const std::vector<HelperItem>& leftBehind) {
    // Nobody was asked about what is locked where the user may not look.
    const bool keepsLocked = skipsAllLocked();
    const std::lock_guard lock(m_lists);
    const StayedPaths stayed(m_stayed);
    const auto stays = [&](const HelperItem& item) { return stayed.hasAtOrBelow(item.url.path()); };
    // A folder goes with all it holds, and stands in the list before that.
    std::set<std::string> handedOver;
    const auto needsNoMention = [&](const HelperItem& item) {
        return stays(item) || liesInOneOf(handedOver, item.url.path());
    };
    std::erase_if(m_unlockItems.list, [&](const HelperItem& item) {
        if (needsNoMention(item)) return true;
        handedOver.insert(item.url.path() + '/');
        return false;
    });
    for (HelperItem& item : m_inUnlockItems.list) {
        const bool folderStays = stayed.hasAtOrBelow(item.url.parent().path());
        if (!folderStays || stays(item)) continue;
        m_unlockItems.known.insert(item.url.path());
        m_unlockItems.list.push_back(std::move(item));
    }
    HelperRequest share;
    share.unlockItems = m_unlockItems.list;
    std::ranges::remove_copy_if(m_permissionsItems.list, std::back_inserter(share.permissionsItems),
                                needsNoMention);
    share.erasedSize = totSizeDeleted;
    share.erasedCount = totItemsDeleted;
    share.keepsLocked = keepsLocked;
    if (!leftBehind.empty()) {
        share.notTrashedBecauseFolderNotEmpty = foldersToTidy(leftBehind, share, stayed);
    }
    return share;
}

std::vector<HelperItem> EraseDecisions::unlockItems() const {
    const std::lock_guard lock(m_lists);
    return m_unlockItems.list;
}

std::vector<HelperItem> EraseDecisions::permissionsItems() const {
    const std::lock_guard lock(m_lists);
    return m_permissionsItems.list;
}

std::vector<StayedEntry> EraseDecisions::stayedEntries() const {
    const std::lock_guard lock(m_lists);
    return m_stayed;
}

}  // namespace kestrin
