// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FileHandle.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "platform/items/FolderDescent.h"
#include "platform/items/linux/KnownStatus.h"

namespace kestrin {
namespace {

static_assert(FileHandle::kMaximumBytes == MAX_HANDLE_SZ);

/// The structure of the kernel, with room for the longest handle.
struct HandleBuffer {
    alignas(file_handle) char bytes[sizeof(file_handle) + MAX_HANDLE_SZ]{};
    file_handle* handle() { return reinterpret_cast<file_handle*>(bytes); }
    char* content() { return bytes + offsetof(file_handle, f_handle); }
};

}  // namespace

FileHandle FileHandle::ofAnyGeneration() const {
    // Inode number and generation, of which 0 stands for any; see exportfs in the kernel.
    constexpr std::int32_t kInodeAndGeneration = 1;
    constexpr std::size_t kEach = 4;
    FileHandle any{mountId, type};
    if (type == kInodeAndGeneration && bytes.size() == 2 * kEach) {
        any.bytes = bytes.substr(0, kEach).append(kEach, '\0');
    }
    return any;
}

FileHandle handleOf(int fd) {
    HandleBuffer buffer;
    buffer.handle()->handle_bytes = MAX_HANDLE_SZ;
    FileHandle found;
    if (name_to_handle_at(fd, "", buffer.handle(), &found.mountId, AT_EMPTY_PATH) != 0) return {};
    found.type = buffer.handle()->handle_type;
    found.bytes.assign(buffer.content(), buffer.handle()->handle_bytes);
    return found;
}

UniqueFd openByHandle(int mount, const FileHandle& handle, int flags) {
    if (!handle.isKnown() || handle.bytes.size() > FileHandle::kMaximumBytes) {
        errno = EINVAL;
        return {};
    }
    HandleBuffer buffer;
    buffer.handle()->handle_bytes = static_cast<unsigned>(handle.bytes.size());
    buffer.handle()->handle_type = handle.type;
    std::memcpy(buffer.content(), handle.bytes.data(), handle.bytes.size());
    return UniqueFd(open_by_handle_at(mount, buffer.handle(), flags | O_CLOEXEC));
}

UniqueFd HandleFinder::hold(const FileHandle& handle, std::uint64_t deviceId) {
    if (!openMount(handle.mountId)) {
        errno = ENODEV;
        return {};
    }
    UniqueFd held = openByHandle(m_mount.get(), handle, O_PATH);
    if (held || errno != ESTALE) return held;
    // The number of a mount that went may be that of another one by now.
    struct statx status {};
    const bool isSameDevice =
        knownStatus(m_mount.get(), STATX_TYPE, status) && deviceOf(status) == deviceId;
    errno = isSameDevice ? ESTALE : ENODEV;
    return held;
}

const std::vector<MountEntry>& HandleFinder::mounts() {
    if (!m_mounts) m_mounts = currentMounts();
    return *m_mounts;
}

bool HandleFinder::openMount(std::int32_t id) {
    if (m_mount && m_mountId == id) return true;
    m_mount.reset();
    const auto mount = std::ranges::find(mounts(), id, &MountEntry::id);
    if (mount == mounts().end()) return false;
    const UniqueFd held = holdMountRoot(*mount, mounts());
    if (!held) return false;  // something else lies over it by now
    // Handles are opened by no O_PATH descriptor.
    m_mount.reset(openat(held.get(), ".", O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    m_mountId = id;
    return static_cast<bool>(m_mount);
}

}  // namespace kestrin
