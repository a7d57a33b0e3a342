// SPDX-License-Identifier: GPL-3.0-or-later
#include <QFontDatabase>
#include <QFontMetricsF>

#include "format/QVInterfaceUtilities.h"
#include "widgets/AttributedString.h"

namespace kestrin {
namespace {

QFont fontWith(const QString& name, double size, bool bold) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    if (name.isEmpty())
        font.setBold(bold);
    else
        font = QFont(name);
    font.setPointSizeF(size);
    return font;
}

}  // namespace

QSizeF QVInterfaceUtilities::sizeOfString(const QString& text, const QFont& font) const {
    const QFontMetricsF metrics(font);
    return {metrics.horizontalAdvance(text), metrics.height()};
}

AttributedString QVInterfaceUtilities::attributedStringWithString(
    const QString& text, const QString& fontName, double size, const QColor& textColor, bool bold,
    const ParagraphStyle& style) const {
    return {text, textColor, style, fontWith(fontName, size, bold)};
}

}  // namespace kestrin
