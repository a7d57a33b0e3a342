// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseDecisions.h"

#include <cerrno>
#include <utility>

#include "base/StringTable.h"

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

std::string_view messageKey(StayReason reason) {
    switch (reason) {
        case StayReason::Locked:
            return "stayed_locked"_key;
        case StayReason::Forbidden:
            return "stayed_forbidden"_key;
        case StayReason::Busy:
            return "stayed_busy"_key;
        case StayReason::MountPoint:
            return "stayed_mount_point"_key;
        case StayReason::ReadOnly:
            return "stayed_read_only"_key;
        case StayReason::Replaced:
            return "stayed_replaced"_key;
        case StayReason::Error:
            return "stayed_error"_key;
    }
    return {};
}

}  // namespace

void EraseDecisions::Entries::add(const RemovalEntry& entry) {
    std::string path = entry.path();
    if (!known.insert(path).second) return;
    list.emplace_back(FileUrl::fromPath(std::move(path)), entry.identity());
}

EraseDecisions::EraseDecisions(const Settings& settings, const StringTable& texts,
                               Callbacks callbacks)
    : m_settings(settings),
      m_texts(texts),
      m_callbacks(std::move(callbacks)),
      m_deleteLocked(settings.locked == RefusedEntries::Erase || settings.deleteLocked),
      m_deleteLockedAlreadyAsked(settings.locked == RefusedEntries::Erase),
      m_deleteNoPermissions(settings.forbidden == RefusedEntries::Erase),
      m_deleteNoPermissionsAlreadyAsked(settings.forbidden == RefusedEntries::Erase) {}

RemovalPolicy::Verdict EraseDecisions::willEnter(const RemovalEntry& folder) {
    waitWhileAQuestionIsOpen();
    return verdict(folder, checkForLockedFile(folder), StayReason::Locked);
}

RemovalPolicy::Verdict EraseDecisions::willRemove(const RemovalEntry& entry) {
    waitWhileAQuestionIsOpen();
    const Check locked = checkForLockedFile(entry);
    if (locked != Check::Passed) return verdict(entry, locked, StayReason::Locked);
    return verdict(entry, permissionsCheck(entry, true), StayReason::Forbidden);
}

RemovalPolicy::Verdict EraseDecisions::verdict(const RemovalEntry& entry, Check check,
                                               StayReason reason) {
    if (check == Check::Passed) return Verdict::Proceed;
    if (check != Check::HandedOver) {
        note(FileUrl::fromPath(entry.path()), reason, check == Check::Skipped);
    }
    return Verdict::Leave;
}

void EraseDecisions::didRemove(const RemovalEntry& entry) {
    totSizeDeleted.fetch_add(entry.size(), std::memory_order_relaxed);
    totItemsDeleted.fetch_add(1, std::memory_order_relaxed);
    if (m_callbacks.didErase) m_callbacks.didErase(entry.path(), entry.size());
}

EraseDecisions::Check EraseDecisions::checkForLockedFile(const RemovalEntry& entry) {
    if (!entry.isImmutable()) return Check::Passed;
    if (m_settings.locked == RefusedEntries::Skip) return Check::Skipped;
    if (!isHelperAuthorized()) {
        ++notErasedCount;
        return Check::NotAuthorized;
    }
    return decideLocked(entry);
}

EraseDecisions::Check EraseDecisions::decideLocked(const RemovalEntry& entry) {
    {
        const std::lock_guard lock(m_questions);
        const bool isDecided = m_deleteLockedAlreadyAsked || isHidden(entry);
        if (!isDecided) {
            const RefusalAnswer answer = askOnce(entry, About::Locked);
            m_deleteLocked = answer.eraseFile;
            m_deleteLockedAlreadyAsked = answer.isForAll;
        }
        if (!m_deleteLocked && !isHidden(entry)) return Check::Skipped;
    }
    if (!entry.clearImmutable()) return Check::Passed;
    const std::lock_guard lock(m_lists);
    m_unlockItems.add(entry);  // the helper unlocks it; its removal is tried all the same
    return Check::Passed;
}

EraseDecisions::Check EraseDecisions::permissionsCheck(const RemovalEntry& entry,
                                                       bool checkForNoPermissions) {
    if (checkForNoPermissions && !entry.isWritingDenied()) return Check::Passed;
    if (m_settings.forbidden == RefusedEntries::Skip) return Check::Skipped;
    if (!isHelperAuthorized()) {
        ++notErasedCount;
        return Check::NotAuthorized;
    }
    return decideForbidden(entry);
}

EraseDecisions::Check EraseDecisions::decideForbidden(const RemovalEntry& entry) {
    {
        const std::lock_guard lock(m_questions);
        if (!isHidden(entry)) {
            if (!m_deleteNoPermissionsAlreadyAsked) {
                const RefusalAnswer answer = askOnce(entry, About::Forbidden);
                m_deleteNoPermissions = answer.eraseFile;
                m_deleteNoPermissionsAlreadyAsked = answer.isForAll;
            }
            if (!m_deleteNoPermissions) return Check::Skipped;
        }
    }
    const std::lock_guard lock(m_lists);
    m_permissionsItems.add(entry);
    return Check::HandedOver;
}

RefusalAnswer EraseDecisions::askOnce(const RemovalEntry& entry, About about) {
    const std::string path = entry.path();
    if (const auto known = m_answers.find(path); known != m_answers.end()) return known->second;
    if (shouldStop()) return {};
    m_questionIsOpen = true;
    const RefusalAnswer answer = m_callbacks.ask({about, std::string(entry.name()), path});
    {
        const std::lock_guard lock(m_gate);
        m_questionIsOpen = false;
    }
    m_gateOpened.notify_all();
    m_answers.emplace(path, answer);
    return answer;
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
    manageError(entry, error);
    if (m_settings.classifiesTwice) manageError(entry, error);
    noteFailure(entry, error);
}

void EraseDecisions::manageError(const RemovalEntry& entry, const HostError& error) {
    if (isNoPermission(error)) {
        permissionsCheck(entry, false);
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
    if (!isNoPermission(error)) {
        return note(url, StayReason::Error, false,
                    QString::fromStdString(error.localizedDescription()));
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
         reason == StayReason::Error ? QString::fromStdString(error.localizedDescription())
                                     : QString());
}

void EraseDecisions::noteWhatTheHelperLeft() {
    const auto noteLeft = [this](const HelperItem& item, StayReason reason) {
        const ItemPresence presence = presenceOf(item.url, item.identity);
        if (presence == ItemPresence::Gone) return;
        note(item.url, presence == ItemPresence::Replaced ? StayReason::Replaced : reason, false);
    };
    for (const HelperItem& item : unlockItems())
        noteLeft(item, StayReason::Locked);
    for (const HelperItem& item : permissionsItems())
        noteLeft(item, StayReason::Forbidden);
}

void EraseDecisions::note(const FileUrl& url, StayReason reason, bool skipped,
                          const QString& message) {
    const std::lock_guard lock(m_lists);
    if (!m_stayedByPath.emplace(url.path(), m_stayed.size()).second) return;
    m_stayed.push_back(
        {url, reason, message.isEmpty() ? m_texts.text(messageKey(reason)) : message, skipped});
}

bool EraseDecisions::isHelperAuthorized() {
    std::call_once(m_helperWasAsked,
                   [this] { m_isHelperAuthorized = m_callbacks.isHelperAuthorized(); });
    return m_isHelperAuthorized;
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
