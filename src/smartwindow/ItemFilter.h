// SPDX-License-Identifier: GPL-3.0-or-later
// Which entries a list shows when the user filters it by a text or a kind. Thread: any.
#pragma once

#include <QString>
#include <optional>
#include <string>
#include <string_view>

#include "fsutil/EntryKind.h"
#include "inventory/QVSmartWindowItem.h"

namespace kestrin {

/// Passes the entries of one kind whose name, or whose original folder, contains a text. Case does
/// not matter, nor how a letter with an accent is encoded. Without a text every name passes, and
/// without a kind every kind.
class ItemFilter {
 public:
    ItemFilter() = default;
    explicit ItemFilter(const QString& text, std::optional<EntryKind> kind = std::nullopt);

    /// Whether it passes everything.
    bool isEmpty() const { return m_folded.isEmpty() && !m_kind; }
    bool passes(const QVSmartWindowItem& item) const;
    /// Those of `items` that pass, in their order; `items` itself when all of them do.
    SharedItemList passing(const SharedItemList& items) const;

    friend bool operator==(const ItemFilter& one, const ItemFilter& other) {
        return one.m_folded == other.m_folded && one.m_kind == other.m_kind;
    }

 private:
    bool isIn(std::string_view bytes) const;
    bool isOfKind(const QVSmartWindowItem& item) const;

    std::optional<EntryKind> m_kind;
    QString m_folded;
    std::string m_ascii;  ///< the same in ASCII; empty when it is not ASCII
};

}  // namespace kestrin
