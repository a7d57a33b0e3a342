// SPDX-License-Identifier: GPL-3.0-or-later
// The busy indicator: an arc that turns while something is being counted. The confirmation, the
// disk rows and the lists share it. Main thread only.
#pragma once

#include <QBasicTimer>
#include <QWidget>

class QPainter;
class QRect;

namespace kestrin {

/// Paints the arc at picture number `step`; 24 pictures make a turn.
void paintBusySpinner(QPainter& painter, const QRect& place, const QColor& colour, int step);

/// A turning arc in the colour of its foreground role, so that a row under the pointer only sets
/// the role. Nothing is drawn while it stands still; its place in the layout stays. It wakes the
/// processor only while it turns and can be seen.
class BusySpinner : public QWidget {
    Q_OBJECT

 public:
    explicit BusySpinner(QWidget* parent = nullptr);

    void startAnimation();
    void stopAnimation();
    /// Whether it wakes up for its next picture.
    bool isTurning() const { return m_timer.isActive(); }

    QSize sizeHint() const override { return {16, 16}; }

 protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

 private:
    void updateTimer();

    QBasicTimer m_timer;
    bool m_isAnimating = false;  ///< started, and not stopped since
    int m_step = 0;
};

}  // namespace kestrin
