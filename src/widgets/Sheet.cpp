// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/Sheet.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>
#include <algorithm>

namespace kestrin {

// A parent in the toolkit's sense would delete the sheet with itself, under the feet of its owner.
void makeSheet(QWidget& sheet, QWidget* parent) {
    if (!parent || !parent->window()->isVisible()) return;
    const QWidget& window = *parent->window();
    sheet.setWindowModality(Qt::WindowModal);
    sheet.winId();
    sheet.windowHandle()->setTransientParent(window.windowHandle());
    if (!sheet.testAttribute(Qt::WA_Resized)) sheet.adjustSize();
    QRect place = sheet.rect();
    place.moveCenter(window.geometry().center());
    sheet.move(place.topLeft());
}

QWidget* livingWidget(const void* address) {
    const QWidgetList all = QApplication::allWidgets();
    const auto found = std::ranges::find(all, address);
    return found == all.end() ? nullptr : *found;
}

QWindow* sheetOn(const QWidget& parent) {
    const QWindow* const window = parent.window()->windowHandle();
    if (!window) return nullptr;
    for (QWindow* const sheet : QGuiApplication::topLevelWindows()) {
        if (sheet->isVisible() && sheet->modality() == Qt::WindowModal &&
            sheet->transientParent() == window)
            return sheet;
    }
    return nullptr;
}

}  // namespace kestrin
