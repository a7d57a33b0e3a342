// SPDX-License-Identifier: GPL-3.0-or-later
// One accepted command, carried out as root in the trashes of the user who gave it.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "helper/HelperProtocol.h"
#include "helper/UserTrashes.h"

namespace kestrin {

/// Hears of every entry that went. Called from several threads at once.
class EraseProgress {
 public:
    virtual ~EraseProgress() = default;
    /// May wait until the listener has caught up.
    virtual void itemErased(std::string path, std::uint64_t size) = 0;
    /// False once nobody wants to know any more.
    virtual bool isHeard() const = 0;
};

/// How a command ended.
struct EraseOutcome {
    std::uint64_t nonErasedCount = 0;  ///< listed items, each path once, that are still there; 0
                                       ///< when nobody hears it
    std::uint64_t failures = 0;        ///< entries, listed or inside a listed one, that failed
};

/// Erases the listed items of a user's trashes, with what is in them, their records and their lines
/// in `directorysizes`; then the folders that had been left because they were not empty and now
/// hold nothing but folders. Before every entry `stop` is looked at: once it is true the command
/// ends within moments, however long the lists. An item that vanished meanwhile counts as gone. A
/// locked file with several names stays. An item that is refused, because it lies in no trash of
/// the user, counts as still there, and so does, after `stop`, everything that is not known to be
/// gone. Thread: any but the main thread.
EraseOutcome runEraseCommand(UserTrashes& trashes, const EraseItems& items, EraseProgress& progress,
                             const std::atomic<bool>& stop, unsigned workers = 0);

/// Clears the immutable and append-only attributes of these entries and answers whether each is
/// without them now. A file that has other names keeps its attributes, since some names may lie
/// outside the trash. What is in a folder is left as it is.
std::vector<bool> runUnlockCommand(UserTrashes& trashes, const std::vector<std::string>& paths,
                                   const std::atomic<bool>& stop);

}  // namespace kestrin
