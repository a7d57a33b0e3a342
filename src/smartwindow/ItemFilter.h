// SPDX-License-Identifier: GPL-3.0-or-later
// Which entries a list shows when the user types into its filter. Thread: any.
#pragma once

#include <QString>
#include <string>
#include <string_view>

#include "inventory/QVSmartWindowItem.h"

namespace kestrin {

/// Passes the entries whose name, or whose original folder, contains a text. Case does not matter,
/// nor how a letter with an accent is encoded. A filter without a text passes everything.
class ItemFilter {
 public:
    ItemFilter() = default;
    explicit ItemFilter(const QString& text);

    bool isEmpty() const { return m_folded.isEmpty(); }
    bool passes(const QVSmartWindowItem& item) const;
    /// Those of `items` that pass, in their order; `items` itself when all of them do.
    SharedItemList passing(const SharedItemList& items) const;

    friend bool operator==(const ItemFilter& one, const ItemFilter& other) {
        return one.m_folded == other.m_folded;
    }

 private:
    bool isIn(std::string_view bytes) const;

    QString m_folded;
    std::string m_ascii;  ///< the same in ASCII; empty when it is not ASCII
};

}  // namespace kestrin
