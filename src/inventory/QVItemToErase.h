// SPDX-License-Identifier: GPL-3.0-or-later
// One entry queued for erasing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "platform/items/ItemIdentity.h"

namespace kestrin {

/// An entry as it was when its trash was listed.
struct QVItemToErase {
    /// The folder that holds the entries of its trash. All of them share it, since there may be a
    /// million.
    std::shared_ptr<const FileUrl> trash;
    std::string name;         ///< in that folder, exact bytes
    ItemIdentity identity{};  ///< another item that has taken the name is not erased
    std::uint64_t size = 0;   ///< bytes of a file or link; of a folder the sum of what it holds
    /// How many entries are removed with it, itself included: 1, and for a folder also all inside
    /// it.
    std::uint64_t count = 0;
    bool isDirectory = false;  ///< set by callers that know it; the scan leaves it false

    /// The location, made at the call; none without a trash.
    FileUrl url() const { return trash ? trash->appending(name) : FileUrl(); }
    std::string path() const { return url().path(); }
    static QVItemToErase newItem() { return {}; }
};

using ItemsToErase = std::vector<QVItemToErase>;
/// A list of entries as it travels: shared, since a trash may hold a million.
using SharedItemsToErase = std::shared_ptr<const ItemsToErase>;

}  // namespace kestrin
