// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/ItemIdentity.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "platform/items/UniqueFd.h"
#include "platform/items/linux/Identity.h"
#include "platform/items/linux/KnownStatus.h"

namespace kestrin {
namespace {

/// The magic numbers of FAT, exFAT, FUSE and SMB (which has two); see statfs(2).
constexpr std::array<std::uint32_t, 5> kMadeUpInodes{0x4d44, 0x2011bab0, 0x65735546, 0xfe534d42,
                                                     0xff534d42};

bool differ(auto one, auto other) {
    return one != 0 && other != 0 && one != other;
}

/// The folder that holds the item, and the item's name in it. A path longer than the kernel takes
/// at once is followed piece by piece.
struct Holder {
    UniqueFd folder;
    std::string name;
    bool isReached = true;  ///< false with errno: a folder on the way cannot be opened

    int descriptor() const { return folder ? folder.get() : AT_FDCWD; }
};

Holder holderOf(std::string_view path) {
    constexpr std::size_t kPiece = PATH_MAX - 1;
    Holder holder;
    while (holder.isReached && path.size() > kPiece) {
        const std::size_t end = path.rfind('/', kPiece);
        if (end == path.npos || end == 0) break;  // no file system has such a name
        const std::string piece(path.substr(0, end));
        holder.folder.reset(
            ::openat(holder.descriptor(), piece.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        holder.isReached = static_cast<bool>(holder.folder);
        path.remove_prefix(end + 1);
    }
    holder.name = path;
    return holder;
}

}  // namespace

bool isSameItem(const ItemIdentity& one, const ItemIdentity& other) {
    return !differ(one.deviceId, other.deviceId) && !differ(one.inode, other.inode) &&
           !differ(one.birthTime, other.birthTime);
}

bool hasLastingInodes(int folder) {
    struct statfs status {};
    if (::fstatfs(folder, &status) != 0) return true;
    return std::ranges::find(kMadeUpInodes, static_cast<std::uint32_t>(status.f_type)) ==
           kMadeUpInodes.end();
}

ItemIdentity identityFrom(const struct statx& status, bool inodesLast) {
    ItemIdentity identity;
    identity.deviceId = deviceOf(status);
    if (inodesLast) identity.inode = status.stx_ino;
    if (status.stx_mask & STATX_BTIME) {
        // Unsigned: a damaged disk may tell any second.
        const auto seconds = static_cast<std::uint64_t>(status.stx_btime.tv_sec);
        identity.birthTime =
            static_cast<std::int64_t>(seconds * 1'000'000'000U + status.stx_btime.tv_nsec);
    }
    return identity;
}

ItemIdentity identityAt(int folder, const char* name) {
    struct statx status {};
    if (!knownStatus(folder, name, kIdentityMask, status)) return {};
    return identityFrom(status, hasLastingInodes(folder));
}

ItemPresence presenceOf(const FileUrl& item, const ItemIdentity& identity) {
    const Holder holder = holderOf(item.path());
    ItemIdentity found;
    if (holder.isReached) found = identityAt(holder.descriptor(), holder.name.c_str());
    if (found.isKnown()) {
        return isSameItem(identity, found) ? ItemPresence::There : ItemPresence::Replaced;
    }
    return errno == ENOENT || errno == ENOTDIR ? ItemPresence::Gone : ItemPresence::Unknown;
}

}  // namespace kestrin
