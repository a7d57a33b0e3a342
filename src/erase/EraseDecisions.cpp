// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseDecisions.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <set>
#include <utility>

#include "platform/items/HostErrors.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

using About = RefusalQuestion::About;

/// How long a volume may take to say what the helper left on it. A silent one does not hold the
/// end.
constexpr std::chrono::seconds kPatience(5);

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

using Presences = std::vector<ItemPresence>;

std::optional<Presences> presencesOf(std::vector<HelperItem> items) {
    return answerWithin<Presences>(kPatience, [items = std::move(items)] {
        Presences presences;
        for (const HelperItem& item : items)
            presences.push_back(presenceOf(item.url, item.identity));
        return presences;
    });
}

/// Asks a few items of one volume at a time, since many take long without anything being wrong. A
/// volume that was silent is not asked again: its items may still be there.
Presences presencesOfAll(const std::vector<HelperItem>& items) {
    constexpr std::ptrdiff_t kMostAtOnce = 256;
    Presences presences;
    std::set<std::uint64_t> silent;
    for (auto begin = items.begin(); begin != items.end();) {
        const std::uint64_t volume = begin->identity.deviceId;
        const auto limit = begin + std::min(kMostAtOnce, items.end() - begin);
        const auto end = std::find_if(
            begin, limit, [&](const HelperItem& item) { return item.identity.deviceId != volume; });
        std::optional<Presences> answer;
        if (!silent.contains(volume)) answer = presencesOf({begin, end});
        if (!answer) silent.insert(volume);
        const auto count = static_cast<std::size_t>(end - begin);
        const Presences told = answer.value_or(Presences(count, ItemPresence::Unknown));
        presences.insert(presences.end(), told.begin(), told.end());
        begin = end;
    }
    return presences;
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
    if (!entry.isImmutable()) return Decision::Proceed;
    const StayReason reason =
        entry.isLockedWithOtherNames() ? StayReason::HasOtherNames : StayReason::Locked;
    const Decision made = decision(entry, checkForLockedFile(entry), reason);
    return made == Decision::Proceed ? Decision::Unlock : made;
}

EraseDecisions::Decision EraseDecisions::decideForbidden(const RemovalEntry& entry) {
    if (!entry.isWritingDenied()) return Decision::Proceed;
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
    return userWantsLocked(entry) ? Check::Passed : Check::Skipped;
}

bool EraseDecisions::userWantsLocked(const RemovalEntry& entry) {
    const std::lock_guard lock(m_questions);
    const bool isDecided = m_deleteLockedAlreadyAsked || isHidden(entry);
    if (!isDecided) {
        const RefusalAnswer answer = askOnce(entry, About::Locked);
        m_deleteLocked = answer.eraseFile;
        m_deleteLockedAlreadyAsked = answer.isForAll;
    }
    return m_deleteLocked || isHidden(entry);
}

void EraseDecisions::couldNotUnlock(const RemovalEntry& entry) {
    const std::lock_guard lock(m_lists);
    m_unlockItems.add(entry);
}

EraseDecisions::Check EraseDecisions::checkForNoPermissions(const RemovalEntry& entry) {
    if (m_settings.forbidden == RefusedEntries::Skip) return Check::Skipped;
    if (!isHelperAuthorized()) {
        ++notErasedCount;
        return Check::Refused;
    }
    if (!isHidden(entry) && !userWantsForbidden(entry)) return Check::Skipped;
    const std::lock_guard lock(m_lists);
    m_permissionsItems.add(entry);
    return Check::HandedOver;
}

bool EraseDecisions::userWantsForbidden(const RemovalEntry& entry) {
    const std::lock_guard lock(m_questions);
    if (!m_deleteNoPermissionsAlreadyAsked) {
        const RefusalAnswer answer = askOnce(entry, About::Forbidden);
        m_deleteNoPermissions = answer.eraseFile;
        m_deleteNoPermissionsAlreadyAsked = answer.isForAll;
    }
    return m_deleteNoPermissions;
}

RefusalAnswer EraseDecisions::askOnce(const RemovalEntry& entry, About about) {
    const std::string path = entry.path();
    if (const auto known = m_answers.find(path); known != m_answers.end()) return known->second;
    if (m_callbacks.wasStopped()) return {};
    m_questionIsOpen = true;
    RefusalAnswer answer;
    try {
        answer = m_callbacks.ask({about, std::string(entry.name()), path});
    } catch (...) {  // the other workers wait for the gate, and for nothing else
        openGate();
        throw;
    }
    openGate();
    m_answers.emplace(path, answer);
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
    {
        const std::lock_guard lock(m_lists);
        if (m_unlockItems.contains(entry.path())) return;  // the helper's now
    }
    if (isNoPermission(error) && entry.isLockedWithOtherNames()) {  // append-only
        ++notErasedCount;
        return note(FileUrl::fromPath(entry.path()), StayReason::HasOtherNames, false);
    }
    manageError(entry, error);
    if (m_settings.classifiesTwice) manageError(entry, error);
    noteFailure(entry, error);
}

void EraseDecisions::manageError(const RemovalEntry& entry, const HostError& error) {
    if (isNoPermission(error)) {
        checkForNoPermissions(entry);
    } else if (isBusy(error)) {
        ++itemBusyCount;
        ++notErasedCount;
    }
}

void EraseDecisions::noteFailure(const RemovalEntry& entry, const HostError& error) {
    const FileUrl url = FileUrl::fromPath(entry.path());
    if (entry.isReplaced()) return note(url, StayReason::Replaced, false);
    if (entry.isMountRoot()) return note(url, StayReason::MountPoint, false);
    if (isBusy(error)) return note(url, StayReason::Busy, false);
    if (error.systemError == EROFS) return note(url, StayReason::ReadOnly, false);
    if (error.systemError == kNotFoundAgain) return note(url, StayReason::NotFoundAgain, false);
    if (!isNoPermission(error)) {
        return note(url, StayReason::Error, false, error.localizedDescription());
    }
    {
        const std::lock_guard lock(m_lists);
        if (m_permissionsItems.contains(url.path())) return;
    }
    if (entry.isImmutable()) return note(url, StayReason::Locked, false);
    // What a locked folder holds is not refused for its own sake.
    if (entry.folderIsImmutable()) {
        return note(url.parent(), StayReason::Locked, m_settings.locked == RefusedEntries::Skip);
    }
    const bool wasSkipped = m_settings.forbidden == RefusedEntries::Skip || isHelperAuthorized();
    note(url, StayReason::Forbidden, wasSkipped);
}

void EraseDecisions::couldNotBegin(const FileUrl& entry, const HostError& error) {
    if (error.systemError == ENOENT) return;
    const StayReason reason = isNoPermission(error) ? StayReason::Forbidden : StayReason::Error;
    if (reason == StayReason::Forbidden) ++notErasedCount;
    note(entry, reason, false,
         reason == StayReason::Error ? error.localizedDescription() : std::string());
}

void EraseDecisions::noteLeftUnlocked(const FileUrl& entry) {
    note(entry, StayReason::LeftUnlocked, false);
}

void EraseDecisions::noteWhatTheHelperLeft() {
    const std::vector<HelperItem> locked = unlockItems(), forbidden = permissionsItems();
    std::vector<HelperItem> items = locked;
    items.insert(items.end(), forbidden.begin(), forbidden.end());
    const Presences presence = presencesOfAll(items);
    for (std::size_t index = 0; index < items.size(); ++index) {
        if (presence[index] == ItemPresence::Gone) continue;
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

bool EraseDecisions::hasWorkForHelper() const {
    const std::lock_guard lock(m_lists);
    return !m_unlockItems.list.empty() || !m_permissionsItems.list.empty();
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
