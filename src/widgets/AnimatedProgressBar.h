// SPDX-License-Identifier: GPL-3.0-or-later
// A progress bar that glides. Main thread only.
#pragma once

#include <QProgressBar>
#include <QPropertyAnimation>
#include <optional>

namespace kestrin {

/// A bar that wanders while the total is unknown. Once it is known, the bar shows the first
/// percentage at once and glides to later ones, for less than 0.2 s. It never goes back: a smaller
/// percentage than the last one is ignored.
class AnimatedProgressBar : public QProgressBar {
    Q_OBJECT

 public:
    explicit AnimatedProgressBar(QWidget* parent = nullptr);

    /// Shows `percent`, 0 to 100; none means that the total is unknown.
    void setPercent(std::optional<double> percent);

    /// The percentage that the bar shows, in the user's way of writing it.
    QString text() const override;

 private:
    bool isIndeterminate() const { return maximum() == 0; }
    int duration() const;

    int m_goal = -1;  ///< where the bar is or glides to, in its own steps; -1 before the first
    QPropertyAnimation m_glide;
};

}  // namespace kestrin
