// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/FolderLocks.h"

#include <cerrno>

#include "platform/items/FolderDescent.h"
#include "platform/items/HostErrors.h"

namespace kestrin {

Result<std::unique_ptr<FolderLocks::Need>> FolderLocks::clear(int folder, std::string_view path) {
    // This is asked under the lock, so that a folder whose last need is just ending is locked again
    // before.
    const std::lock_guard guard(m_mutex);
    FolderFacts facts;
    if (!examineFolder(folder, facts)) return errorFromErrno(errno, HostAccess::Read);
    const Need::Key key{facts.deviceId, facts.inode};
    auto found = m_cleared.find(key);
    if (found == m_cleared.end()) {
        if (!facts.isLocked) return std::unique_ptr<Need>();
        auto locks = ClearedLocks::clearFolder(folder, path);
        if (!locks) return locks.error();
        found = m_cleared.emplace(key, Cleared{std::move(*locks)}).first;
    }
    ++found->second.needs;
    return std::unique_ptr<Need>(new Need(this, key));
}

FolderLocks::Need::~Need() {
    const std::lock_guard guard(m_locks->m_mutex);
    const auto found = m_locks->m_cleared.find(m_key);
    if (--found->second.needs == 0) m_locks->m_cleared.erase(found);
}

}  // namespace kestrin
