// SPDX-License-Identifier: GPL-3.0-or-later
// Helpers for the texts of the user interface.
#pragma once

#include <QString>
#include <QStringList>

namespace kestrin {

/// Fills message templates. It holds nothing. Thread: any.
class QVInterfaceUtilities {
 public:
    static QVInterfaceUtilities& sharedControl();

    /// `text` with its placeholders filled: each of `strings` in turn replaces the first "%@" of
    /// the text so far. The search starts at the beginning every time, so a "%@" that came in with
    /// a replacement is filled by the next one. Strings without a placeholder are ignored,
    /// placeholders without a string stay.
    QString replaceContentOfString(QString text, const QStringList& strings) const;
};

}  // namespace kestrin
