// SPDX-License-Identifier: GPL-3.0-or-later
// Helpers for the texts of the user interface. What measures and styles texts needs fonts, and is
// defined in widgets.
#pragma once

#include <QSizeF>
#include <QString>
#include <QStringList>

class QColor;
class QFont;

namespace kestrin {

struct AttributedString;
struct ParagraphStyle;

/// Fills message templates, measures and styles texts. It holds nothing. Thread: any.
class QVInterfaceUtilities {
 public:
    static QVInterfaceUtilities& sharedControl();

    /// `text` with its placeholders filled: each of `strings` in turn replaces the first "%@" of
    /// the text so far. The search starts at the beginning every time, so a "%@" that came in with
    /// a replacement is filled by the next one. Strings without a placeholder are ignored,
    /// placeholders without a string stay.
    QString replaceContentOfString(QString text, const QStringList& strings) const;

    // --- Fonts and colours, in widgets ---

    /// The width and height that `text` needs on one line in `font`, in points.
    QSizeF sizeOfString(const QString& text, const QFont& font) const;
    /// `text` in a colour, an alignment with a truncation mode, and a font of `size` points: the
    /// one named `fontName`, or where that is empty the desktop's own, in bold when `bold`. A named
    /// font is taken as it is, whatever `bold` says. A null text gives an empty styled text.
    AttributedString attributedStringWithString(const QString& text, const QString& fontName,
                                                double size, const QColor& textColor, bool bold,
                                                const ParagraphStyle& style) const;
};

}  // namespace kestrin
