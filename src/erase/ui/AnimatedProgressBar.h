// SPDX-License-Identifier: GPL-3.0-or-later
// The progress bar of an erase. Main thread only, but for `isIndeterminate`.
#pragma once

#include <QProgressBar>
#include <QPropertyAnimation>
#include <atomic>

#include "erase/ProgressView.h"

namespace kestrin {

/// A bar that wanders while the total is unknown, and glides to each new percentage once it is
/// known. A determinate bar never goes back: a smaller percentage than the last one is ignored.
class AnimatedProgressBar : public QProgressBar, public ProgressSpinner {
    Q_OBJECT

 public:
    explicit AnimatedProgressBar(QWidget* parent = nullptr);

    void startIndeterminateAnimation() override;
    /// Begins at 0; nothing when the bar is determinate already.
    void startDeterminateAnimation() override;
    bool isIndeterminate() const override { return m_isIndeterminate; }
    /// Kept for later while the bar is indeterminate.
    void updateProgress(double percent) override;

    /// The percentage in the user's way of writing it, at once, while the bar still glides to it.
    QString text() const override;

 private:
    int duration() const;

    std::atomic<bool> m_isIndeterminate{false};
    int m_goal = 0;  ///< where the bar glides to, in its own steps
    QPropertyAnimation m_glide;
};

}  // namespace kestrin
