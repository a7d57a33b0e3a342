// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Palettes.h"

namespace kestrin::test {
namespace {

QPalette fusionPalette(const QColor& window, const QColor& base, const QColor& text) {
    QPalette palette(window, window);
    palette.setColor(QPalette::Base, base);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, text);
    QColor dimmed = text;
    dimmed.setAlphaF(0.5F);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, dimmed);
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x7d, 0xd1));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

}  // namespace

QPalette darkPalette() {
    return fusionPalette(QColor(0x2b, 0x2d, 0x30), QColor(0x1e, 0x1f, 0x22),
                         QColor(0xe6, 0xe6, 0xe6));
}

QPalette lightPalette() {
    return fusionPalette(QColor(0xef, 0xef, 0xef), Qt::white, QColor(0x1a, 0x1a, 0x1a));
}

}  // namespace kestrin::test
