// SPDX-License-Identifier: GPL-3.0-or-later
// Lists one folder piece by piece, with what one statx(2) tells of each entry. Nothing but the
// folder itself is opened, and no link is followed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/ItemIdentity.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

/// A name as the folder tells it.
struct ListedName {
    std::string name;        ///< exact bytes
    std::uint32_t mode = 0;  ///< the type bits of stat(2); 0 where the file system does not tell
};

/// An entry directly inside a folder.
struct ListedEntry {
    std::string name;
    std::uint32_t mode = 0;    ///< the type bits of stat(2); 0 when nobody tells
    bool isMountRoot = false;  ///< something is mounted here
    /// Bytes of a file or of a link itself; 0 for anything else. None when the entry is there and
    /// cannot be looked at.
    std::optional<std::uint64_t> size;
    ItemIdentity identity{};  ///< not known in that case
};

/// Holds (O_PATH) the folder for a listing. No link at its last component is followed. May hang
/// with its volume. Errors: ESTALE (kPOSIXErrorDomain) for another item under the name than
/// `expected`, else those of open(2), ENOTDIR for a link or a file among them. Thread: any.
Result<UniqueFd> holdFolder(const FileUrl& folder, const ItemIdentity& expected);

/// A listing under way. Thread: any, several at once.
class FolderListing {
 public:
    /// Lists an open folder, for which a descriptor made with O_PATH will do. It must stay open
    /// while the listing lives.
    explicit FolderListing(int folder);
    ~FolderListing();
    FolderListing(const FolderListing&) = delete;
    FolderListing& operator=(const FolderListing&) = delete;

    /// The next names, `most` at most and in no order that means anything. Empty at the end, and
    /// when the folder cannot be read.
    std::vector<ListedName> next(std::size_t most);
    /// Why the listing ended before the end of the folder (errorFromErrno with Read), if it did.
    MaybeError error() const;

    /// What the entry is. None when it has gone.
    std::optional<ListedEntry> examine(ListedName name) const;

 private:
    struct Stream;
    const int m_folder;
    const std::unique_ptr<Stream> m_stream;
};

}  // namespace kestrin
