// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/ElidedLabel.h"

#include <QEvent>
#include <QStyle>
#include <cmath>

namespace kestrin {

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget* parent) : QLabel(parent), m_mode(mode) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    alignToLeadingEdge(*this);
}

void ElidedLabel::setFullText(const QString& text) {
    if (text == m_fullText) return;
    m_fullText = text;
    setAccessibleName(text);
    fit();
    updateGeometry();
}

QSize ElidedLabel::sizeHint() const {
    const QMargins margins = contentsMargins();
    // A part of a point less, and the text would be cut.
    const double text = std::ceil(QFontMetricsF(font()).horizontalAdvance(m_fullText));
    return {int(text) + margins.left() + margins.right(), minimumSizeHint().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    const QMargins margins = contentsMargins();
    return {0, fontMetrics().height() + margins.top() + margins.bottom()};
}

void ElidedLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    fit();
}

void ElidedLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) fit();
    if (event->type() == QEvent::LayoutDirectionChange) alignToLeadingEdge(*this);
}

void ElidedLabel::fit() {
    // A line feed would make a second line, which nobody would see.
    const QString line = QString(m_fullText).replace(u'\n', u' ');
    const QString shown = fontMetrics().elidedText(line, m_mode, contentsRect().width());
    if (shown == text()) return;
    setText(shown);
    setToolTip(shown == line ? QString() : plainToolTip(m_fullText));
}

void alignToLeadingEdge(QLabel& label) {
    const Qt::Alignment side = QStyle::visualAlignment(label.layoutDirection(), Qt::AlignLeading) &
                               Qt::AlignHorizontal_Mask;
    label.setAlignment(side | Qt::AlignAbsolute | (label.alignment() & Qt::AlignVertical_Mask));
}

QString plainToolTip(const QString& text) {
    if (text.isEmpty()) return {};
    return QStringLiteral("<p style='white-space:pre-wrap'>%1</p>").arg(text.toHtmlEscaped());
}

QString plainWindowTitle(QString text) {
    return text.replace(QLatin1String("[*]"), QLatin1String("[*][*]"));
}

}  // namespace kestrin
