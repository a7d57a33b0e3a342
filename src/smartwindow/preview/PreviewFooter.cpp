// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PreviewFooter.h"

#include <QBoxLayout>
#include <QEvent>
#include <QPainter>
#include <QToolButton>

#include "base/StringTable.h"
#include "widgets/BusySpinner.h"
#include "widgets/Colors.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

constexpr int kGap = 2;              // points above and below
constexpr int kSideOfSign = 16;      // points
constexpr double kSizeOfText = 0.9;  // of the font around

/// A triangle, or two bars. The icons of styles for these are black in a dark appearance, too.
QIcon playingSign(bool isPlaying, const QColor& colour, double ratio) {
    QPixmap sign(QSize(kSideOfSign, kSideOfSign) * ratio);
    sign.setDevicePixelRatio(ratio);
    sign.fill(Qt::transparent);
    QPainter painter(&sign);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    if (isPlaying) {
        painter.drawRect(4, 3, 3, 10);
        painter.drawRect(9, 3, 3, 10);
    } else {
        painter.drawPolygon(QPolygonF{{4.5, 2.5}, {13, 8}, {4.5, 13.5}});
    }
    return sign;
}

QToolButton* flatButton() {
    auto* const button = new QToolButton;
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setIconSize({kSideOfSign, kSideOfSign});
    return button;
}

}  // namespace

PreviewFooter::PreviewFooter(const StringTable& texts, QWidget* parent)
    : QWidget(parent),
      m_texts(texts),
      m_spinner(new BusySpinner),
      m_caption(new ElidedLabel(Qt::ElideRight)),
      m_previous(flatButton()),
      m_next(flatButton()),
      m_play(flatButton()) {
    m_caption->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    QFont font = m_caption->font();
    font.setPointSizeF(font.pointSizeF() * kSizeOfText);
    m_caption->setFont(font);
    m_caption->setForegroundRole(QPalette::WindowText);
    QSizePolicy policy = m_spinner->sizePolicy();
    policy.setRetainSizeWhenHidden(false);
    m_spinner->setSizePolicy(policy);
    setBusy(false);
    nameButton(m_previous, "preview_previous_page"_key);
    nameButton(m_next, "preview_next_page"_key);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(kGap, kGap, kGap, kGap);
    layout->setSpacing(kGap);
    layout->addStretch(1);
    for (QWidget* part :
         std::initializer_list<QWidget*>{m_previous, m_play, m_spinner, m_caption, m_next})
        layout->addWidget(part);
    layout->addStretch(1);
    setFixedHeight(m_play->sizeHint().height() + 2 * kGap);
    connect(m_previous, &QToolButton::clicked, this, &PreviewFooter::previousPageWanted);
    connect(m_next, &QToolButton::clicked, this, &PreviewFooter::nextPageWanted);
    connect(m_play, &QToolButton::clicked, this, &PreviewFooter::playingToggled);
    useColours();
    show({}, {});
}

void PreviewFooter::nameButton(QToolButton* button, std::string_view key) {
    const QString text = m_texts.text(key);
    button->setAccessibleName(text);
    button->setToolTip(plainToolTip(text));
}

void PreviewFooter::show(const QString& caption, const Controls& controls) {
    m_caption->setFullText(caption);
    m_previous->setVisible(controls.hasPages);
    m_next->setVisible(controls.hasPages);
    m_previous->setEnabled(controls.hasPrevious);
    m_next->setEnabled(controls.hasNext);
    m_play->setVisible(controls.isAnimation);
    m_isPlaying = controls.isPlaying;
    nameButton(m_play, m_isPlaying ? "preview_pause"_key : "preview_play"_key);
    useColours();
}

void PreviewFooter::setBusy(bool isBusy) {
    m_spinner->setVisible(isBusy);
    if (isBusy) {
        m_spinner->startAnimation();
    } else {
        m_spinner->stopAnimation();
    }
}

QString PreviewFooter::caption() const {
    return m_caption->fullText();
}

void PreviewFooter::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::LayoutDirectionChange)
        useColours();
}

void PreviewFooter::useColours() {
    const QColor text = palette().color(QPalette::WindowText);
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText,
                     blendedColor(palette().color(QPalette::Window), text, 0.7F));
    m_caption->setPalette(colours);
    m_play->setIcon(playingSign(m_isPlaying, text, devicePixelRatioF()));
    m_previous->setArrowType(isRightToLeft() ? Qt::RightArrow : Qt::LeftArrow);
    m_next->setArrowType(isRightToLeft() ? Qt::LeftArrow : Qt::RightArrow);
}

}  // namespace kestrin
