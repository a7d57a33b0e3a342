// SPDX-License-Identifier: GPL-3.0-or-later
// Looks through a folder entry by entry, on the caller's thread, for questions that may be answered
// or called off before the end. Whoever wants the sums of a whole tree uses scanTree, which is
// faster.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "base/FileUrl.h"
#include "base/Result.h"

namespace kestrin {

enum class EntryType : std::uint8_t { Unknown, Directory, RegularFile, SymbolicLink, Other };

/// Calls `visit` for each entry directly inside `folder`, in the order the file system lists them
/// and with the type that the listing tells, until it answers false. Keeps no names: the answer
/// "not empty" costs the same in a folder of a million entries. The folder is opened without
/// following a link at its last component. Errors: it cannot be opened or listed (errorFromErrno
/// with Read).
MaybeError visitFolder(const FileUrl& folder,
                       const std::function<bool(std::string_view name, EntryType type)>& visit);

/// An entry that a walk meets. Valid only during the call that is handed it.
struct WalkedEntry {
    std::string_view name;                ///< exact bytes
    EntryType type = EntryType::Unknown;  ///< Unknown when nothing tells
    std::uint64_t size = 0;               ///< bytes of a file or link; 0 otherwise
};

/// Calls `visit` for every entry at any depth, until it answers false: all entries of a folder,
/// then those of its subfolders. Links are not followed. A folder where something is mounted is
/// visited and not entered. What cannot be opened is passed over, and so is a folder that was moved
/// away meanwhile. Any depth, with a bounded number of open folders. Errors: `folder` itself cannot
/// be opened or listed (errorFromErrno with Read).
MaybeError walkTree(const FileUrl& folder, const std::function<bool(const WalkedEntry&)>& visit);

}  // namespace kestrin
