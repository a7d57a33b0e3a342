// SPDX-License-Identifier: GPL-3.0-or-later
// Counts what folders hold, with several workers.
#pragma once

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "platform/items/ItemIdentity.h"

namespace kestrin {

/// One entry directly inside a scanned folder, with what lies below it.
struct ScannedEntry {
    std::string name;         ///< exact bytes
    std::uint64_t size = 0;   ///< bytes of a file or link; of a folder the sum of what it holds
    std::uint64_t count = 1;  ///< 1, and for a folder every entry inside it at any depth besides
    std::uint32_t mode = 0;   ///< its type bits (stat(2)); 0 when nobody tells
    ItemIdentity identity{};  ///< not known when the entry could not be looked at

    bool isDirectory() const;
};

/// The entries of `folder` in the order the file system lists them, each with the sizes and the
/// number of the entries below it. Sizes are st_size of files and links; folders, FIFOs, sockets
/// and devices have none. Links are not followed; a folder where something is mounted counts as an
/// entry and is not entered. What cannot be read is passed over and adds nothing. Memory: the first
/// level and the folders still to be read; nothing for the entries below. When `stop` is requested
/// it returns early with the sums gathered so far. Errors: `folder` itself cannot be opened or
/// listed (errorFromErrno with Read).
///
/// Entries directly inside for which `isWanted` answers false are left out and not entered. It is
/// called on several threads at once, with all but the sums of what lies below. Once `stop` is
/// requested it would not be asked about each, and so the answer is then empty. Without it every
/// entry is wanted.
///
/// Thread: any. The caller's thread works, and others with it, of which all scans of the process
/// together have a few for each core, 30 at most. A scan takes up to half of those that are free
/// and never waits for one. A scan in a volume that does not answer keeps its threads, and returns
/// only when the volume does; `stop` cannot help there. The others then have fewer, at worst their
/// callers' own. Whoever has many folders to scan therefore puts them on an OperationQueue with a
/// limit, one queue for each volume: then no volume waits for another, and a thousand folders take
/// no more threads than the limits and the 30.
Result<std::vector<ScannedEntry>> scanTree(
    const FileUrl& folder, std::stop_token stop,
    const std::function<bool(const ScannedEntry&)>& isWanted = {});

}  // namespace kestrin
