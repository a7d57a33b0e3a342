// SPDX-License-Identifier: GPL-3.0-or-later
// What the file system says of one item. Links are never followed, and the item is never opened.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "base/FileUrl.h"
#include "base/Result.h"

namespace kestrin {

struct ItemAttributes {
    std::uint32_t mode = 0;  ///< type and permission bits, as in stat(2)
    std::uint32_t userId = 0;
    std::uint32_t groupId = 0;
    std::uint64_t size = 0;  ///< bytes of a file or of a link's text; 0 for anything else
    std::uint64_t deviceId = 0;
    std::uint64_t inode = 0;
    double dateModified = 0;            ///< seconds since 1 January 2001 00:00 UTC
    std::optional<double> dateCreated;  ///< in the same form; none where the file system keeps none
    bool isImmutable = false;           ///< the immutable inode attribute (chattr +i)
    bool isMountRoot = false;           ///< something is mounted here

    bool isDirectory() const;
    bool isRegularFile() const;
    bool isSymbolicLink() const;
};

/// One statx(2) of the item at the path. Errors: errorFromErrno with Read.
Result<ItemAttributes> itemAttributes(const FileUrl& item);

/// Whether something exists at the path, links followed, by access(2) with F_OK.
bool pathExists(const std::string& path);

/// Where a symbolic link points, as its bytes say. Errors: not a link, unreadable.
Result<std::string> symbolicLinkDestination(const FileUrl& link);

/// An extended attribute's bytes, read without following links. None when it is absent or
/// unreadable, and errno says why.
std::optional<std::string> extendedAttribute(const FileUrl& item, const char* name);

/// The names that the `.hidden` file of the folder lists (one a line); that file is read when it is
/// a regular one of at most 1 MiB. Inside a trash folder it is not looked at, so that trashed data
/// decides nothing.
std::set<std::string, std::less<>> namesListedAsHidden(const FileUrl& folder);
/// True when the list of the item's folder has its name.
bool isListedAsHidden(const FileUrl& item);

}  // namespace kestrin
