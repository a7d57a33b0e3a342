// SPDX-License-Identifier: GPL-3.0-or-later
// The plain ground behind a busy indicator. Main thread only.
#pragma once

#include <QPointer>
#include <QWidget>

namespace kestrin {

class BusySpinner;

/// Covers what is below it with an opaque grey, 0.08 in dark appearance and 0.99 in light, and lets
/// its spinner turn while it shows.
class QVWorkingProgressView : public QWidget {
    Q_OBJECT

 public:
    explicit QVWorkingProgressView(QWidget* parent = nullptr);

    /// The spinner to start and stop; it is not owned and may go at any time.
    void setSpinner(BusySpinner* spinner);

 protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

 private:
    QPointer<BusySpinner> m_spinner;
};

}  // namespace kestrin
