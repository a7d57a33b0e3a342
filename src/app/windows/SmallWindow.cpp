// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/SmallWindow.h"

#include <QFontDatabase>
#include <QLabel>
#include <QStyle>

#include "platform/desktop/ui/TrashIcon.h"
#include "widgets/ElidedLabel.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

constexpr int kTextWidth = 400;
constexpr int kIconSize = 64;
constexpr double kTitleSize = 1.4;  // times the size of other texts

}  // namespace

SmallWindow::SmallWindow(const QString& title) {
    setWindowFlags(kDialogFrame);
    setWindowTitle(plainWindowTitle(title));
    setAttribute(Qt::WA_DeleteOnClose);
}

void SmallWindow::bringToFront() {
    show();
    raise();
    activateWindow();
}

void closeSmallWindows() {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        if (auto* const window = qobject_cast<SmallWindow*>(widget)) window->close();
    }
}

QLabel* titleLabel(const QString& text) {
    QLabel* const label = paragraph(QStringLiteral("title"), text);
    QFont large = label->font();
    large.setPointSizeF(large.pointSizeF() * kTitleSize);
    large.setBold(true);
    label->setFont(large);
    return label;
}

QLabel* paragraph(const QString& name, const QString& text) {
    auto* const label = new QLabel(text);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    alignToLeadingEdge(*label);
    label->setMinimumWidth(kTextWidth);
    return label;
}

QLabel* copyableParagraph(const QString& name, const QString& text) {
    QLabel* const label = paragraph(name, text);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    return label;
}

QLabel* iconLabel(const QWidget& window) {
    auto* const label = new QLabel;
    label->setPixmap(
        applicationIcon().pixmap(QSize(kIconSize, kIconSize), window.devicePixelRatioF()));
    return label;
}

}  // namespace kestrin
