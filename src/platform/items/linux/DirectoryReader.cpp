// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/DirectoryReader.h"

#include <dirent.h>
#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "platform/items/HostErrors.h"
#include "platform/items/UniqueFd.h"
#include "platform/items/linux/QuietOpen.h"

namespace kestrin {
namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

Directory openDirectory(const FileUrl& folder) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    UniqueFd fd(openQuietly(AT_FDCWD, folder.path().c_str(), kFlags));
    Directory directory(fd ? fdopendir(fd.get()) : nullptr);
    if (directory) fd.release();
    return directory;
}

EntryType typeOf(const dirent& entry) {
    switch (entry.d_type) {
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

bool isDotOrDotDot(const char* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

}  // namespace

Result<std::vector<DirectoryEntry>> readDirectory(const FileUrl& folder) {
    const Directory directory = openDirectory(folder);
    if (!directory) return errorFromErrno(errno, HostAccess::Read);
    std::vector<DirectoryEntry> entries;
    while (true) {
        errno = 0;
        const dirent* entry = readdir(directory.get());
        if (!entry) break;
        if (!isDotOrDotDot(entry->d_name)) entries.push_back({entry->d_name, typeOf(*entry)});
    }
    // A listing that broke off is not a shorter folder.
    if (errno != 0) return errorFromErrno(errno, HostAccess::Read);
    return entries;
}

}  // namespace kestrin
