// SPDX-License-Identifier: GPL-3.0-or-later
// What the user has checked in the trashes, gathered for the erase and for its button. Thread: any.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "inventory/QVItemToErase.h"
#include "inventory/QVSourceItem.h"
#include "inventory/TrashCount.h"
#include "smartwindow/ItemFilter.h"

namespace kestrin {

/// How much is checked.
struct CheckedFigures {
    std::uint64_t count = 0;        ///< entries of the lists, whatever they hold
    std::uint64_t size = 0;         ///< bytes
    std::uint64_t hiddenCount = 0;  ///< entries among them that the filter hides
    CheckedFigures& operator+=(const CheckedFigures& other);
    friend bool operator==(const CheckedFigures&, const CheckedFigures&) = default;
};

/// What is checked in one trash.
struct CheckedSource {
    std::shared_ptr<QVSourceItem> source;
    SharedItemList items;  ///< in the order of the source's children; never nullptr

    CheckedFigures figures(const ItemFilter& filter) const;
    /// Whether the figures of all entries are final.
    bool isMeasured() const;
    /// Bytes and file-system entries: a folder counts with all inside it, and one more for itself.
    TrashFigures totals() const;
    /// The same, but a folder counts only with what is inside it.
    TrashFigures lateTotals() const;
};

/// What is checked, without the sources in which nothing is.
std::vector<CheckedSource> checkedIn(const SourceItems& sources);

/// Everything that `checked` names, trash after trash, as it was listed.
SharedItemsToErase itemsToErase(const std::vector<CheckedSource>& checked);

}  // namespace kestrin
