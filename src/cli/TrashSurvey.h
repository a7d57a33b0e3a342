// SPDX-License-Identifier: GPL-3.0-or-later
// Looks into trashes without changing them. A trash that is not there holds nothing; one that
// cannot be read is never taken for empty.
#pragma once

#include <stop_token>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "fsutil/QVFilesUtilities.h"
#include "inventory/TrashCount.h"
#include "platform/items/TreeScanner.h"

namespace kestrin {

class Console;

/// The entries directly inside a trash with what lies below each. Thread: any.
Result<std::vector<ScannedEntry>> entriesOfTrash(const FileUrl& trash, std::stop_token stop = {});

struct EntrySums {
    std::uint64_t size = 0;   ///< bytes
    std::uint64_t count = 0;  ///< entries at every depth
    EntrySums& operator+=(const EntrySums& other);
};

EntrySums sumsOf(const std::vector<ScannedEntry>& entries);

/// What goes with one entry, itself included; an entry that cannot be looked at counts as one
/// without bytes. Thread: any.
EntrySums sumsOfEntry(const FileUrl& entry, std::stop_token stop = {});

/// Tells the user that a trash cannot be read. Main thread.
void complainOfTrash(Console& console, const FileUrl& trash, const HostError& error);
/// Tells the user which volumes' trashes could not be listed; true when there is none. Main thread.
bool complainOfFailures(Console& console, const std::vector<TrashFailure>& failures);

}  // namespace kestrin
