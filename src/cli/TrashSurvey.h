// SPDX-License-Identifier: GPL-3.0-or-later
// Asks the volumes and looks into trashes without changing them. A trash that is not there holds
// nothing; one that cannot be read is never taken for empty.
#pragma once

#include <optional>
#include <stop_token>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "fsutil/EntryKind.h"
#include "inventory/TrashCount.h"
#include "inventory/TrashListing.h"
#include "platform/items/TreeScanner.h"

namespace kestrin {

class Console;

/// The mounted volumes and their trashes. Those that do not answer soon are marked as silent. When
/// it cannot be found out what is mounted it complains, and returns none. Main thread; serves
/// events meanwhile.
std::optional<std::vector<ListedVolume>> listVolumes(Console& console);
/// The exit status of a command then.
inline constexpr int kStatusVolumesUnknown = 1;

/// The entries directly inside a trash, of one kind or of all, each with the sums of what lies
/// below it. When `stop` is requested what it returns is of no use. Thread: any.
Result<std::vector<ScannedEntry>> entriesOfTrash(const FileUrl& trash,
                                                 std::optional<EntryKind> kind,
                                                 std::stop_token stop = {});

using EntrySums = TrashFigures;

/// The sums of one entry and all that goes with it. An entry that cannot be looked at counts as one
/// entry without bytes. Thread: any.
EntrySums sumsOfEntry(const FileUrl& entry, std::stop_token stop = {});

/// Says on standard output that the trashes are empty, or hold nothing of that kind. Main thread.
void sayThatNothingIsThere(std::optional<EntryKind> kind, Console& console);
/// Tells the user that a trash cannot be read. Main thread.
void complainOfTrash(Console& console, const FileUrl& trash, const HostError& error);
/// Tells the user that a volume does not answer, or that a trash on it may not be used. False when
/// neither is so. Main thread.
bool complainOfVolume(Console& console, const ListedVolume& volume);

/// The name and the path of a volume, fit to be read, such as "Backup (/media/backup)".
QString nameAndPath(const ListedVolume& volume);

}  // namespace kestrin
