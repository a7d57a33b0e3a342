// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/AnimatedProgressBar.h"

#include <QLocale>
#include <QStyle>
#include <algorithm>
#include <cmath>

namespace kestrin {
namespace {

constexpr int kStepsAPercent = 10;
constexpr int kWhole = 100 * kStepsAPercent;
constexpr int kLongestGlideMilliseconds = 150;  // over before a second update can follow the next

int stepsOf(double percent) {
    if (!std::isfinite(percent)) return 0;
    return static_cast<int>(std::clamp(percent, 0.0, 100.0) * kStepsAPercent);
}

}  // namespace

AnimatedProgressBar::AnimatedProgressBar(QWidget* parent)
    : QProgressBar(parent), m_glide(this, "value") {
    setRange(0, kWhole);
    setValue(0);
}

void AnimatedProgressBar::startIndeterminateAnimation() {
    m_isIndeterminate = true;
    m_goal = 0;
    m_glide.stop();
    setRange(0, 0);
}

void AnimatedProgressBar::startDeterminateAnimation() {
    if (!m_isIndeterminate.exchange(false)) return;
    setRange(0, kWhole);
    setValue(m_goal);
}

void AnimatedProgressBar::updateProgress(double percent) {
    const int goal = stepsOf(percent);
    if (goal <= m_goal) return;
    m_goal = goal;
    if (m_isIndeterminate) return;
    m_glide.stop();
    if (duration() == 0 || !isVisible()) return setValue(goal);
    m_glide.setDuration(duration());
    m_glide.setStartValue(value());
    m_glide.setEndValue(goal);
    m_glide.start();
}

/// 0 where the desktop is told to animate nothing.
int AnimatedProgressBar::duration() const {
    return std::min(style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this),
                    kLongestGlideMilliseconds);
}

QString AnimatedProgressBar::text() const {
    if (m_isIndeterminate) return {};
    const QLocale locale = this->locale();
    const QString percent =
        locale.toString(m_goal / kStepsAPercent) + QChar(QChar::Nbsp) + locale.percent();
    if (!isRightToLeft()) return percent;
    // Isolated, so that the sign stays behind its figure.
    return QChar(0x2066) + percent + QChar(0x2069);
}

}  // namespace kestrin
