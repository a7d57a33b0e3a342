// SPDX-License-Identifier: GPL-3.0-or-later
// How a window seems to come out of a place on the screen, and to go back to it. Main thread.
#pragma once

#include <QPixmap>
#include <QVariantAnimation>
#include <QWidget>

namespace kestrin {

/// A picture upon everything else on the screen that moves from one place to another, changes its
/// size on the way and turns into a second picture. It takes neither mouse nor keyboard. It shows
/// at once and stays where it has arrived; whoever made it deletes it, at any moment.
class PreviewZoom : public QWidget {
    Q_OBJECT

 public:
    /// A place on the screen, in points, and what is seen there.
    struct Stand {
        QRect place;
        QPixmap picture;
    };
    PreviewZoom(Stand from, Stand to, int milliseconds);

 Q_SIGNALS:
    void arrived();

 protected:
    void paintEvent(QPaintEvent* event) override;

 private:
    void moveTo(double share);

    const Stand m_from;
    const Stand m_to;
    double m_share = 0;  ///< of the way
    QVariantAnimation m_way;
};

}  // namespace kestrin
