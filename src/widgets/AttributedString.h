// SPDX-License-Identifier: GPL-3.0-or-later
// A text with its looks. Main thread only.
#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QPainter;
class QRectF;

namespace kestrin {

/// How a line stands in its rectangle.
struct ParagraphStyle {
    Qt::Alignment alignment = Qt::AlignLeading;
    Qt::TextElideMode truncMode = Qt::ElideNone;  ///< where a line too long for its place is cut

    friend bool operator==(const ParagraphStyle&, const ParagraphStyle&) = default;
};

/// Styled text: one run with one colour, one paragraph style and one font.
struct AttributedString {
    QString string;
    QColor foregroundColor;
    ParagraphStyle paragraphStyle;
    QFont font;

    /// Draws the text on one line in `place`, in the middle of its height, cut as the style says.
    void draw(QPainter& painter, const QRectF& place) const;
};

}  // namespace kestrin
