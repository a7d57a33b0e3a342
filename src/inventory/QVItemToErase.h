// SPDX-License-Identifier: GPL-3.0-or-later
// One entry queued for erasing.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

struct QVItemToErase {
    FileUrl url;
    std::uint64_t size = 0;  ///< bytes of a file or link; of a folder the sum of what it holds
    /// Entries removed with it: 1, and for a folder all inside it besides.
    std::uint64_t count = 0;
    bool isDirectory = false;  ///< set by callers that know it; the scan leaves it false

    const std::string& path() const { return url.path(); }
    static QVItemToErase newItem() { return {}; }
};

using ItemsToErase = std::vector<QVItemToErase>;
/// How lists of entries travel: a trash may hold a million.
using SharedItemsToErase = std::shared_ptr<const ItemsToErase>;

}  // namespace kestrin
