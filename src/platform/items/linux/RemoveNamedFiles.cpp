// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/RemoveNamedFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/items/FolderListing.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr std::size_t kPiece = 1000;

void removeIn(int folder, int depth, const std::function<bool(std::string_view)>& isMeant) {
    std::vector<std::string> meant, folders;
    FolderListing listing(folder);
    for (auto names = listing.next(kPiece); !names.empty(); names = listing.next(kPiece)) {
        for (const ListedName& entry : names) {
            if (isMeant(entry.name)) meant.push_back(entry.name);
            if (S_ISDIR(entry.mode) && depth > 0) folders.push_back(entry.name);
        }
    }
    for (const std::string& name : meant)
        ::unlinkat(folder, name.c_str(), 0);
    for (const std::string& name : folders) {
        const UniqueFd inner(::openat(folder, name.c_str(), kOpenFolder));
        if (inner) removeIn(inner.get(), depth - 1, isMeant);
    }
}

}  // namespace

void removeNamedFiles(const FileUrl& folder, int depth,
                      const std::function<bool(std::string_view)>& isMeant) {
    const UniqueFd top(::open(folder.path().c_str(), kOpenFolder));
    if (top) removeIn(top.get(), depth, isMeant);
}

}  // namespace kestrin
