// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FileHandle.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "platform/disks/MountTable.h"
#include "platform/items/FolderDescent.h"

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

FileHandle handleOf(int fd) {
    HandleBuffer buffer;
    buffer.handle()->handle_bytes = MAX_HANDLE_SZ;
    FileHandle found;
    if (name_to_handle_at(fd, "", buffer.handle(), &found.mountId, AT_EMPTY_PATH) != 0) return {};
    found.type = buffer.handle()->handle_type;
    found.bytes.assign(buffer.content(), buffer.handle()->handle_bytes);
    return found;
}

UniqueFd holdByHandle(const FileHandle& handle) {
    if (!handle.isKnown() || handle.bytes.size() > FileHandle::kMaximumBytes) {
        errno = EINVAL;
        return {};
    }
    const auto mounts = currentMounts();
    const auto mount = std::ranges::find(mounts, handle.mountId, &MountEntry::id);
    if (mount == mounts.end()) {
        errno = ENODEV;
        return {};
    }
    const UniqueFd held = holdMountRoot(*mount, mounts);
    if (!held) {
        errno = ENODEV;  // something else lies over it by now
        return {};
    }
    // The call takes no O_PATH descriptor for the mount.
    const UniqueFd root(openat(held.get(), ".", O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!root) return {};
    HandleBuffer buffer;
    buffer.handle()->handle_bytes = static_cast<unsigned>(handle.bytes.size());
    buffer.handle()->handle_type = handle.type;
    std::memcpy(buffer.content(), handle.bytes.data(), handle.bytes.size());
    return UniqueFd(open_by_handle_at(root.get(), buffer.handle(), O_PATH | O_CLOEXEC));
}

}  // namespace kestrin
