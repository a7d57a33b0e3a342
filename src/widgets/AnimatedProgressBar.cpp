// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/AnimatedProgressBar.h"

#include <QLocale>
#include <QStyle>
#include <algorithm>
#include <cmath>

namespace kestrin {
namespace {

constexpr int kStepsAPercent = 10;
constexpr int kWhole = 100 * kStepsAPercent;
constexpr int kLongestGlideMilliseconds = 150;

int stepsOf(double percent) {
    if (!std::isfinite(percent)) return 0;
    return static_cast<int>(std::clamp(percent, 0.0, 100.0) * kStepsAPercent);
}

}  // namespace

AnimatedProgressBar::AnimatedProgressBar(QWidget* parent)
    : QProgressBar(parent), m_glide(this, "value", this) {
    setRange(0, kWhole);
    setValue(0);
}

void AnimatedProgressBar::setPercent(std::optional<double> percent) {
    if (!percent) {
        m_goal = -1;
        m_glide.stop();
        return setRange(0, 0);
    }
    const bool isFirst = m_goal < 0;
    const int goal = stepsOf(*percent);
    if (goal <= m_goal) return;
    m_goal = goal;
    m_glide.stop();
    setRange(0, kWhole);
    if (isFirst || !isVisible() || duration() == 0) return setValue(goal);
    m_glide.setDuration(duration());
    m_glide.setStartValue(value());
    m_glide.setEndValue(goal);
    m_glide.start();
}

/// How long a glide takes, in milliseconds; 0 where the desktop is told to animate nothing.
int AnimatedProgressBar::duration() const {
    return std::min(style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this),
                    kLongestGlideMilliseconds);
}

QString AnimatedProgressBar::text() const {
    if (isIndeterminate()) return {};
    const QLocale locale = this->locale();
    const QString percent =
        locale.toString(value() / kStepsAPercent) + QChar(QChar::Nbsp) + locale.percent();
    if (!isRightToLeft()) return percent;
    // The text is isolated, so that the sign stays behind its figure.
    return QChar(0x2066) + percent + QChar(0x2069);
}

}  // namespace kestrin
