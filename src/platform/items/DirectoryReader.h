// SPDX-License-Identifier: GPL-3.0-or-later
// The first level of a folder, in the order the file system gives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"

namespace kestrin {

enum class EntryType : std::uint8_t { Unknown, Directory, RegularFile, SymbolicLink, Other };

struct DirectoryEntry {
    std::string name;                     ///< exact bytes; never "." or ".."
    EntryType type = EntryType::Unknown;  ///< Unknown on file systems that do not tell
};

/// The entries of `folder`. The folder itself is opened without following a link at its last
/// component. Errors: errorFromErrno with Read; a folder that cannot be listed is an error, not
/// empty.
Result<std::vector<DirectoryEntry>> readDirectory(const FileUrl& folder);

}  // namespace kestrin
