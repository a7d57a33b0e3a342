// SPDX-License-Identifier: GPL-3.0-or-later
// The scan of a trash into entries to erase.
#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "inventory/QVItemToErase.h"

namespace kestrin {

/// What a scan found.
struct TrashScan {
    SharedItemsToErase itemsToErase;  ///< one for each entry directly inside; never nullptr
    std::uint64_t size = 0;           ///< bytes of all of them
    std::uint64_t count = 0;          ///< entries at every depth, folders included
};

/// The entries directly inside `folder`, each with the sums of what lies below it. Errors: as
/// scanTree. Thread: any.
Result<ItemsToErase> itemsOfFolder(const FileUrl& folder, std::stop_token stop = {});

class QVKestrinFileUtilities {
 public:
    static QVKestrinFileUtilities& sharedControl();

    /// The entries directly inside `folder`, hidden ones included, in the order the file system
    /// lists them. Without a location there is no scan; a folder that is absent or cannot be listed
    /// gives an empty one. When `stop` is requested it returns early with what it has. Thread: any.
    std::optional<TrashScan> binItemsAndInfoWithURL(const FileUrl& folder,
                                                    std::stop_token stop = {}) const;

    /// Removes the item with all it holds, without asking; none on success.
    MaybeError deleteItemWithURL(const FileUrl& item) const;
};

}  // namespace kestrin
