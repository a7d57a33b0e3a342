// SPDX-License-Identifier: GPL-3.0-or-later
// The line of the confirmation that says how much will go. Main thread only.
#pragma once

#include <QString>
#include <QWidget>

namespace kestrin {

class BusySpinner;
class ElidedLabel;

/// A view of 460 × 25 points: a spinner of 16 × 16 at (0, 4), and the text in 435 × 20 beside it,
/// cut at its head, selectable. It is taller where the font needs it, and mirrored where text runs
/// from right to left.
class SizeLineView : public QWidget {
    Q_OBJECT

 public:
    explicit SizeLineView(QWidget* parent = nullptr);

    /// Replaces the text; the spinner turns while `spinning` and is hidden otherwise.
    void setLine(const QString& text, bool spinning);
    QString line() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

 private:
    void place();

    BusySpinner* m_spinner;
    ElidedLabel* m_text;
};

}  // namespace kestrin
