// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/Fade.h"

#include <QGraphicsOpacityEffect>
#include <QPropertyAnimation>
#include <QStyle>
#include <QWidget>
#include <algorithm>

namespace kestrin {
namespace {

constexpr int kMilliseconds = 150;

/// The effect of a widget; it is off while the widget is opaque, since it costs a picture of it.
class Fade final : public QGraphicsOpacityEffect {
 public:
    explicit Fade(QWidget& widget)
        : QGraphicsOpacityEffect(&widget), m_widget(widget), m_animation(this, "opacity") {
        setOpacity(1);
        setEnabled(false);
        connect(&m_animation, &QPropertyAnimation::finished, this, [this] { arrive(); });
        widget.setGraphicsEffect(this);
    }

    double goal() const { return m_goal; }

    void start(double goal, int milliseconds) {
        m_goal = goal;
        m_animation.stop();
        if (goal > 0) m_widget.show();
        setEnabled(true);
        m_animation.setDuration(milliseconds);
        m_animation.setEndValue(goal);
        m_animation.start();  // without a duration it is there at once
    }

 private:
    void arrive() {
        setOpacity(m_goal);
        setEnabled(m_goal < 1);
        m_widget.setVisible(m_goal > 0);
    }

    QWidget& m_widget;
    QPropertyAnimation m_animation;
    double m_goal = 1;
};

Fade* fadeOf(const QWidget& widget) {
    return dynamic_cast<Fade*>(widget.graphicsEffect());
}

void fade(QWidget& widget, double alpha, int milliseconds) {
    Fade* effect = fadeOf(widget);
    if (!effect) effect = new Fade(widget);
    effect->start(std::clamp(alpha, 0.0, 1.0), milliseconds);
}

}  // namespace

double alphaOf(const QWidget& widget) {
    const Fade* const effect = fadeOf(widget);
    return effect ? effect->goal() : 1;
}

void setAlpha(QWidget& widget, double alpha) {
    fade(widget, alpha, 0);
}

void animateAlpha(QWidget& widget, double alpha) {
    const QWidget* const parent = widget.parentWidget();
    const bool isSeen = parent ? parent->isVisible() : widget.isVisible();
    const int styled =
        widget.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &widget);
    fade(widget, alpha, isSeen && styled > 0 ? kMilliseconds : 0);
}

}  // namespace kestrin
