// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/linux/DescriptorCache.h"

#include <linux/capability.h>
#include <linux/openat2.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <vector>

#include "platform/items/HostErrors.h"
#include "platform/items/linux/Identity.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/processes/Capabilities.h"

namespace kestrin {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

rlim_t descriptorLimit() {
    rlimit limit{};
    return getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : 1024;
}

bool isMounted(int fd) {
    struct statx status {};
    return knownStatus(fd, STATX_TYPE, status) && isMountRoot(status);
}

/// For kernels before 5.6 and sandboxes that forbid openat2.
int openFolderWithoutOpenat2(int parent, const char* name, int flags) {
    UniqueFd fd(openat(parent, name, flags));
    if (fd && isMounted(fd.get())) {
        errno = EXDEV;
        return -1;
    }
    return fd.release();
}

/// With its inode number also where such numbers do not last. Not known, with errno, when it cannot
/// be asked.
ItemIdentity identityOf(int folder) {
    struct statx status {};
    if (!knownStatus(folder, kIdentityMask, status)) return {};
    return identityFrom(status, true);
}

/// Whether what tells a folder from others is made up by a server, or set by a user, as it may be
/// on FUSE and SMB (which has two magic numbers); see statfs(2).
bool isToldByAnybody(int folder) {
    struct statfs status {};
    if (fstatfs(folder, &status) != 0) return true;
    const auto type = static_cast<std::uint32_t>(status.f_type);
    return type == 0x65735546 || type == 0xfe534d42 || type == 0xff534d42;
}

bool hasMoreRightsThanAUser() {
    return geteuid() == 0 || hasCapability(CAP_DAC_OVERRIDE);
}

/// Whether the open folder is the one that had this identity, and this handle when it was closed.
/// False with errno.
bool isStill(int folder, const ItemIdentity& identity, const FileHandle& handle) {
    const ItemIdentity found = identityOf(folder);
    if (!found.isKnown()) return false;
    errno = ESTALE;
    if (!isSameItem(found, identity)) return false;
    if (handle.isKnown()) return handleOf(folder).isSameAs(handle);
    if (!hasMoreRightsThanAUser()) return true;
    const bool wasBornThen = found.birthTime != 0 && identity.birthTime != 0;
    if (wasBornThen && !isToldByAnybody(folder)) return true;
    errno = kNotFoundAgain;
    return false;
}

/// Whether a folder that could not be opened for this errno may be opened in a moment.
bool mayPass(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == EINTR ||
           error == EAGAIN;
}

}  // namespace

int openFolderAt(int parent, const char* name, int extraFlags) {
    static std::atomic<bool> hasOpenat2 = true;
    const int flags = kFolderFlags | extraFlags;
    if (hasOpenat2.load(std::memory_order_relaxed)) {
        open_how how{};
        how.flags = static_cast<std::uint64_t>(extraFlags & O_PATH ? flags & ~O_NONBLOCK : flags);
        how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
        const long fd = syscall(SYS_openat2, parent, name, &how, sizeof how);
        if (fd >= 0 || (errno != ENOSYS && errno != EPERM)) return static_cast<int>(fd);
        // EPERM is also what a sandbox, and O_NOATIME on a folder of another owner, answer.
        if (errno == ENOSYS) hasOpenat2 = false;
    }
    return openFolderWithoutOpenat2(parent, name, flags);
}

int openFolderQuietlyAt(int parent, const char* name) {
    const int fd = openFolderAt(parent, name, O_NOATIME);
    return fd < 0 && errno == EPERM ? openFolderAt(parent, name) : fd;
}

unsigned affordableWorkers(unsigned wanted) {
    return descriptorLimit() < 256 ? std::min(wanted, 2U) : wanted;
}

DescriptorCache::DescriptorCache() : m_budget(std::clamp<rlim_t>(descriptorLimit() / 2, 16, 512)) {}

bool DescriptorCache::adopt(FolderNode& node, UniqueFd&& fd) {
    const ItemIdentity identity = identityOf(fd.get());
    if (!identity.isKnown()) return false;
    const std::lock_guard lock(m_mutex);
    node.m_identity = identity;
    node.m_pins = 1;
    keep(node, std::move(fd));
    return true;
}

void DescriptorCache::keep(FolderNode& node, UniqueFd fd) {
    node.m_fd = std::move(fd);
    if (node.parent) node.parent->m_openChild = &node;
    ++m_open;
    while (m_open > m_budget && !m_idle.empty())
        closeLongestIdle();
}

/// Closes a folder that will be needed again.
void DescriptorCache::closeLongestIdle() {
    FolderNode& node = *m_idle.front();
    const int folder = node.m_fd.get();
    if (!node.m_handle.isKnown() && !isToldByAnybody(folder)) node.m_handle = handleOf(folder);
    closeIdleNode(node);
}

void DescriptorCache::closeIdleNode(FolderNode& node) {
    m_idle.erase(node.m_idle);
    node.m_fd.reset();
    if (node.parent && node.parent->m_openChild == &node) node.parent->m_openChild = nullptr;
    --m_open;
}

int DescriptorCache::pin(FolderNode& node) {
    const std::lock_guard lock(m_mutex);
    if (node.m_fd) {
        if (node.m_pins++ == 0) m_idle.erase(node.m_idle);
        return node.m_fd.get();
    }
    UniqueFd fd(reopen(node));
    if (!fd && errno == EMFILE) {
        while (!m_idle.empty())
            closeLongestIdle();
        fd.reset(reopen(node));
    }
    if (!fd) return -1;
    node.m_pins = 1;
    keep(node, std::move(fd));
    return node.m_fd.get();
}

int DescriptorCache::reopen(FolderNode& node) {
    if (node.m_openChild) {
        UniqueFd fd(openat(node.m_openChild->m_fd.get(), "..", kFolderFlags));
        if (fd && isStill(fd.get(), node.m_identity, node.m_handle)) return fd.release();
    }
    return reopenByName(node);
}

int DescriptorCache::reopenByName(FolderNode& node) {
    std::vector<FolderNode*> way;
    FolderNode* above = &node;
    for (; above && !above->m_fd && above->m_lost == 0; above = above->parent)
        way.push_back(above);
    int error = above && !above->m_fd ? above->m_lost : 0;
    int from = above ? above->m_fd.get() : way.back()->rootParent;
    UniqueFd current;
    while (error == 0 && !way.empty()) {
        const FolderNode& step = *way.back();
        UniqueFd next(openFolderAt(from, step.name.c_str(), &step == &node ? 0 : O_PATH));
        if (!next || !isStill(next.get(), step.m_identity, step.m_handle)) {
            error = errno;
            break;
        }
        current = std::move(next);
        from = current.get();
        way.pop_back();
    }
    if (error == 0) return current.release();
    for (FolderNode* const lost : way)
        lost->m_lost = mayPass(error) ? 0 : error;
    errno = error;
    return -1;
}

UniqueFd DescriptorCache::openLost(const FolderNode& node, int mount) {
    const std::lock_guard lock(m_mutex);
    const UniqueFd root(openat(mount, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    UniqueFd found = openByHandle(root.get(), node.m_handle, kFolderFlags);
    if (found && !isStill(found.get(), node.m_identity, node.m_handle)) found.reset();
    return found;
}

void DescriptorCache::unpin(FolderNode& node) {
    const std::lock_guard lock(m_mutex);
    if (--node.m_pins == 0) node.m_idle = m_idle.insert(m_idle.end(), &node);
}

void DescriptorCache::close(FolderNode& node) {
    const std::lock_guard lock(m_mutex);
    if (node.m_fd) closeIdleNode(node);
}

void DescriptorCache::closeIdle() {
    const std::lock_guard lock(m_mutex);
    while (!m_idle.empty())
        closeLongestIdle();
}

}  // namespace kestrin
