// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/ScrollKeys.h"

#include <QAbstractScrollArea>
#include <QKeyEvent>
#include <QScrollBar>

namespace kestrin {

bool isKeyOfTheWindow(const QKeyEvent& event, const QAbstractScrollArea& area) {
    const auto scrolls = [](const QScrollBar* bar) { return bar->maximum() > bar->minimum(); };
    switch (event.key()) {
        case Qt::Key_Space:
        case Qt::Key_Escape:
            return true;
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
        case Qt::Key_Home:
        case Qt::Key_End:
            return !scrolls(area.verticalScrollBar());
        case Qt::Key_Left:
        case Qt::Key_Right:
            return !scrolls(area.horizontalScrollBar());
        default:
            return false;
    }
}

}  // namespace kestrin
