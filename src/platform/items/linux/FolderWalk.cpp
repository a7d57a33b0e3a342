// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FolderWalk.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <deque>
#include <string>
#include <vector>

#include "platform/items/HostErrors.h"
#include "platform/items/UniqueFd.h"
#include "platform/items/linux/DescriptorCache.h"
#include "platform/items/linux/DirectoryStream.h"
#include "platform/items/linux/KnownStatus.h"
#include "platform/items/linux/QuietOpen.h"

namespace kestrin {
namespace {

EntryType typeOfListing(unsigned char listed) {
    switch (listed) {
        case DT_DIR:
            return EntryType::Directory;
        case DT_REG:
            return EntryType::RegularFile;
        case DT_LNK:
            return EntryType::SymbolicLink;
        case DT_UNKNOWN:
            return EntryType::Unknown;
        default:
            return EntryType::Other;
    }
}

EntryType typeOfMode(unsigned mode) {
    if (S_ISDIR(mode)) return EntryType::Directory;
    if (S_ISREG(mode)) return EntryType::RegularFile;
    return S_ISLNK(mode) ? EntryType::SymbolicLink : EntryType::Other;
}

/// Completes what the listing did not tell; false when the entry is gone.
bool examine(int folder, const char* name, WalkedEntry& entry) {
    if (entry.type == EntryType::Directory || entry.type == EntryType::Other) return true;
    struct statx status {};
    if (!knownStatus(folder, name, STATX_TYPE | STATX_SIZE, status)) return errno != ENOENT;
    entry.type = typeOfMode(status.stx_mode);
    if (entry.type == EntryType::RegularFile || entry.type == EntryType::SymbolicLink) {
        entry.size = status.stx_size;
    }
    return true;
}

struct Level : FolderNode {
    std::string subfolders;  ///< names still to be entered, each ended by a NUL
};

class TreeWalk {
 public:
    explicit TreeWalk(const std::function<bool(const WalkedEntry&)>& visit) : m_visit(visit) {}

    /// 0, or the errno for which `top` could not be listed.
    int walk(UniqueFd top) {
        UniqueFd first(fcntl(top.get(), F_DUPFD_CLOEXEC, 0));
        if (!first) return errno;
        m_top = std::move(top);
        const int failure = enter(std::move(first), ".");
        while (!m_levels.empty()) {
            if (m_isStopped || m_levels.back().subfolders.empty()) {
                leave();
            } else {
                enterNextSubfolder();
            }
        }
        return failure;
    }

 private:
    /// Visits the entries of a folder that was just opened and makes it the last level.
    int enter(UniqueFd folder, std::string name) {
        Level* const parent = m_levels.empty() ? nullptr : &m_levels.back();
        Level& level = m_levels.emplace_back();
        level.parent = parent;
        level.rootParent = m_top.get();
        level.name = std::move(name);
        const int descriptor = folder.get();
        if (!m_descriptors.adopt(level, std::move(folder))) {
            const int failure = errno;
            m_levels.pop_back();
            return failure;
        }
        const int failure = visitEntries(level, descriptor);
        m_descriptors.unpin(level);
        return failure;
    }

    int visitEntries(Level& level, int descriptor) {
        while (m_stream.read(descriptor, m_entries)) {
            for (const RawEntry& raw : m_entries) {
                m_isStopped = !visitEntry(level, descriptor, raw);
                if (m_isStopped) return 0;
            }
        }
        return errno;
    }

    bool visitEntry(Level& level, int descriptor, const RawEntry& raw) {
        WalkedEntry entry;
        entry.name = raw.name;
        entry.type = typeOfListing(raw.type);
        if (!examine(descriptor, raw.name, entry)) return true;
        if (entry.type == EntryType::Directory) level.subfolders.append(entry.name).push_back('\0');
        return m_visit(entry);
    }

    void enterNextSubfolder() {
        Level& level = m_levels.back();
        std::string name = takeSubfolder(level);
        const int parent = m_descriptors.pin(level);
        if (parent < 0) {  // moved away, and what is left in it with it
            level.subfolders.clear();
            return;
        }
        UniqueFd folder(openFolderQuietlyAt(parent, name.c_str()));
        if (!folder && errno == EMFILE) {
            m_descriptors.closeIdle();
            folder.reset(openFolderQuietlyAt(parent, name.c_str()));
        }
        m_descriptors.unpin(level);
        if (folder) enter(std::move(folder), std::move(name));
    }

    static std::string takeSubfolder(Level& level) {
        level.subfolders.pop_back();
        const std::size_t start = level.subfolders.rfind('\0') + 1;  // npos + 1: it is the only one
        std::string name = level.subfolders.substr(start);
        level.subfolders.resize(start);
        return name;
    }

    /// Goes up. A parent that was closed is opened again through this folder, while it is there.
    void leave() {
        Level& level = m_levels.back();
        if (level.parent && !m_isStopped && m_descriptors.pin(*level.parent) >= 0) {
            m_descriptors.unpin(*level.parent);
        }
        m_descriptors.close(level);
        m_levels.pop_back();
    }

    const std::function<bool(const WalkedEntry&)>& m_visit;
    UniqueFd m_top;  ///< stays open: from here every level can be found again
    DescriptorCache m_descriptors;
    DirectoryStream m_stream;
    std::vector<RawEntry> m_entries;
    std::deque<Level> m_levels;  ///< the way down to the folder at hand; a deque moves none of them
    bool m_isStopped = false;
};

UniqueFd openFolder(const FileUrl& folder) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    return UniqueFd(openQuietly(AT_FDCWD, folder.path().c_str(), kFlags));
}

MaybeError readError(int systemError) {
    if (systemError == 0) return std::nullopt;
    return errorFromErrno(systemError, HostAccess::Read);
}

}  // namespace

MaybeError visitFolder(const FileUrl& folder,
                       const std::function<bool(std::string_view name, EntryType type)>& visit) {
    const UniqueFd fd = openFolder(folder);
    if (!fd) return readError(errno);
    DirectoryStream stream;
    std::vector<RawEntry> entries;
    while (stream.read(fd.get(), entries, false)) {
        for (const RawEntry& entry : entries) {
            if (!visit(entry.name, typeOfListing(entry.type))) return std::nullopt;
        }
    }
    return readError(errno);
}

MaybeError walkTree(const FileUrl& folder, const std::function<bool(const WalkedEntry&)>& visit) {
    UniqueFd fd = openFolder(folder);
    return readError(fd ? TreeWalk(visit).walk(std::move(fd)) : errno);
}

}  // namespace kestrin
