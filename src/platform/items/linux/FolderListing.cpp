// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FolderListing.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <mutex>
#include <utility>

#include "platform/items/HostErrors.h"
#include "platform/items/UniqueFd.h"
#include "platform/items/linux/DirectoryStream.h"
#include "platform/items/linux/Identity.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/items/linux/QuietOpen.h"

namespace kestrin {

struct FolderListing::Stream {
    UniqueFd folder;
    bool inodesLast = true;

    mutable std::mutex mutex;
    // Guarded by `mutex`:
    DirectoryStream entries;
    std::vector<RawEntry> piece;
    std::size_t taken = 0;  ///< of the piece
    bool isAtEnd = false;
    int failure = 0;  ///< errno

    /// False at the end.
    bool hasMore() {
        if (taken < piece.size()) return true;
        if (isAtEnd) return false;
        taken = 0;
        isAtEnd = !entries.read(folder.get(), piece);
        if (isAtEnd) failure = errno;
        return !isAtEnd;
    }
};

Result<UniqueFd> holdFolder(const FileUrl& folder, const ItemIdentity& expected) {
    UniqueFd held(::open(folder.path().c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct statx status {};
    if (!held || !knownStatus(held.get(), kIdentityMask, status)) {
        return errorFromErrno(errno, HostAccess::Read);
    }
    if (!isSameItem(expected, identityFrom(status, hasLastingInodes(held.get())))) {
        return errorFromErrno(ESTALE, HostAccess::Read);
    }
    return held;
}

FolderListing::FolderListing(int folder) : m_folder(folder), m_stream(std::make_unique<Stream>()) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;
    m_stream->folder.reset(openQuietly(folder, ".", kFlags));
    if (!m_stream->folder && errno == EACCES) {  // "." takes the right to search the folder
        const std::string link = "/proc/self/fd/" + std::to_string(folder);
        m_stream->folder.reset(openQuietly(AT_FDCWD, link.c_str(), kFlags));
    }
    m_stream->isAtEnd = !m_stream->folder;
    if (m_stream->isAtEnd) m_stream->failure = errno;
    m_stream->inodesLast = hasLastingInodes(folder);
}

FolderListing::~FolderListing() = default;

std::vector<ListedName> FolderListing::next(std::size_t most) {
    std::vector<ListedName> names;
    const std::lock_guard lock(m_stream->mutex);
    while (names.size() < most && m_stream->hasMore()) {
        const RawEntry& entry = m_stream->piece[m_stream->taken++];
        names.push_back({entry.name, DTTOIF(entry.type)});
    }
    return names;
}

MaybeError FolderListing::error() const {
    const std::lock_guard lock(m_stream->mutex);
    if (m_stream->failure == 0) return std::nullopt;
    return errorFromErrno(m_stream->failure, HostAccess::Read);
}

std::optional<ListedEntry> FolderListing::examine(ListedName name) const {
    ListedEntry entry{.name = std::move(name.name), .mode = name.mode, .size = {}};
    struct statx status {};
    if (!knownStatus(m_folder, entry.name.c_str(), kIdentityMask | STATX_SIZE, status)) {
        return errno == ENOENT ? std::nullopt : std::optional(std::move(entry));
    }
    entry.mode = status.stx_mode & S_IFMT;
    entry.isMountRoot = isMountRoot(status);
    const bool hasBytes = S_ISREG(entry.mode) || S_ISLNK(entry.mode);
    entry.size = hasBytes ? status.stx_size : 0;
    entry.identity = identityFrom(status, m_stream->inodesLast);
    return entry;
}

}  // namespace kestrin
