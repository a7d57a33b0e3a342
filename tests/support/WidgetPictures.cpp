// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/WidgetPictures.h"

#include <QAbstractButton>
#include <QLabel>
#include <QPixmap>
#include <QWidget>
#include <filesystem>

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

/// Of a label that wraps its lines the width decides on the height.
bool isTooSmall(const QWidget& widget) {
    const auto* const label = qobject_cast<const QLabel*>(&widget);
    if (label && label->wordWrap()) return label->height() < label->heightForWidth(label->width());
    const QSize needed = label ? label->minimumSizeHint() : widget.sizeHint();
    return widget.width() < needed.width() || widget.height() < needed.height();
}

bool sticksOut(const QWidget& widget, const QWidget& window) {
    const QRect place(widget.mapTo(&window, QPoint()), widget.size());
    return !window.rect().contains(place);
}

}  // namespace

void makePictureFolder() {
    std::error_code ignored;
    std::filesystem::create_directories(KESTRIN_PICTURES, ignored);
    std::filesystem::permissions(KESTRIN_PICTURES, std::filesystem::perms::all, ignored);
}

QPalette darkPalette() {
    return fusionPalette(QColor(0x2b, 0x2d, 0x30), QColor(0x1e, 0x1f, 0x22),
                         QColor(0xe6, 0xe6, 0xe6));
}

QPalette lightPalette() {
    return fusionPalette(QColor(0xef, 0xef, 0xef), Qt::white, QColor(0x1a, 0x1a, 0x1a));
}

bool savePicture(QWidget& widget, const QString& name) {
    const QPixmap picture = widget.grab();
    const QString path =
        QStringLiteral(KESTRIN_PICTURES "/%1-%2.png").arg(name).arg(picture.devicePixelRatio());
    return picture.save(path);
}

QStringList clippedWidgets(const QWidget& window) {
    QStringList clipped;
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
        const bool holdsText =
            qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget);
        if (!holdsText || !widget->isVisible()) continue;
        if (isTooSmall(*widget) || sticksOut(*widget, window)) clipped << widget->objectName();
    }
    return clipped;
}

}  // namespace kestrin::test
