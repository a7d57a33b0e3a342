// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/SizeLineView.h"

#include <QEvent>
#include <QStyle>
#include <algorithm>

#include "widgets/BusySpinner.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

constexpr QSize kViewSize(460, 25);
constexpr QRect kSpinnerPlace(0, 4, 16, 16);
// The text stands in the middle of the spinner's height.
constexpr QRect kTextPlace(24, 2, 435, 20);

}  // namespace

SizeLineView::SizeLineView(QWidget* parent)
    : QWidget(parent),
      m_spinner(new BusySpinner(this)),
      m_text(new ElidedLabel(Qt::ElideLeft, this)) {
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setFocusPolicy(Qt::ClickFocus);
    m_text->setObjectName(QStringLiteral("size_line_text"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SizeLineView::setLine(const QString& text, bool spinning) {
    m_text->setFullText(text);
    m_spinner->setVisible(spinning);
    if (spinning)
        m_spinner->startAnimation();
    else
        m_spinner->stopAnimation();
}

QString SizeLineView::line() const {
    return m_text->fullText();
}

/// The line is higher than 25 points only for fonts that do not fit into these.
QSize SizeLineView::sizeHint() const {
    const int excess = m_text->minimumSizeHint().height() - kTextPlace.height();
    return kViewSize + QSize(0, std::max(0, excess));
}

void SizeLineView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    place();
}

void SizeLineView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    updateGeometry();
    place();
}

void SizeLineView::place() {
    const int excess = sizeHint().height() - kViewSize.height();
    const int right = kViewSize.width() - kTextPlace.right() - 1;
    QRect text = kTextPlace.adjusted(0, 0, 0, excess);
    text.setRight(width() - right - 1);
    m_spinner->setGeometry(
        QStyle::visualRect(layoutDirection(), rect(), kSpinnerPlace.translated(0, excess / 2)));
    m_text->setGeometry(QStyle::visualRect(layoutDirection(), rect(), text));
}

}  // namespace kestrin
