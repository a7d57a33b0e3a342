// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/SmallWindow.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QStyle>

#include "widgets/ElidedLabel.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

constexpr int kTextWidth = 400;
constexpr int kIconSize = 64;
constexpr int kSpaceAboveButtons = 8;
constexpr double kTitleSize = 1.4;  // times the size of other texts

}  // namespace

SmallWindow::SmallWindow(const QString& title) {
    setWindowFlags(kDialogFrame);
    setWindowTitle(plainWindowTitle(title));
    setAttribute(Qt::WA_DeleteOnClose);
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
}

void SmallWindow::bringToFront() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
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

QLabel* copyableLine(const QString& name, const QString& text) {
    QLabel* const label = paragraph(name, text);
    label->setWordWrap(false);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setFocusPolicy(Qt::StrongFocus);
    label->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    return label;
}

QBoxLayout* addButtonRow(QBoxLayout& layout) {
    auto* const row = new QHBoxLayout;
    layout.addSpacing(kSpaceAboveButtons);
    layout.addLayout(row);
    return row;
}

QPushButton* addButton(QBoxLayout& row, const char* name, const QString& text) {
    auto* const button = new QPushButton(text);
    button->setObjectName(QLatin1String(name));
    row.addWidget(button);
    return button;
}

// Only a button that stands in its window can be that window's own.
void addDoneButton(QBoxLayout& row, SmallWindow& window, const QString& text) {
    QPushButton* const done = addButton(row, "done_button", text);
    QObject::connect(done, &QPushButton::clicked, &window, &QWidget::close);
    done->setDefault(true);
    done->setFocus();
}

QLabel* iconLabel(const QWidget& window) {
    auto* const label = new QLabel;
    // The icon that the program has already: what another one draws the toolkit keeps anew each
    // time.
    label->setPixmap(
        window.windowIcon().pixmap(QSize(kIconSize, kIconSize), window.devicePixelRatioF()));
    return label;
}

}  // namespace kestrin
