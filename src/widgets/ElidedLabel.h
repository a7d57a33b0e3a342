// SPDX-License-Identifier: GPL-3.0-or-later
// One line of text that is cut where there is no room for it. Main thread only.
#pragma once

#include <QLabel>

namespace kestrin {

/// Shows plain text on one line, whatever it holds, cut with "…" where it is wider than the label;
/// the whole of a cut text is the tooltip. The text begins where lines begin in the layout
/// direction. Assistive tools always read the whole text.
class ElidedLabel : public QLabel {
    Q_OBJECT

 public:
    explicit ElidedLabel(Qt::TextElideMode mode, QWidget* parent = nullptr);

    void setFullText(const QString& text);
    const QString& fullText() const { return m_fullText; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

 protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

 private:
    void fit();

    const Qt::TextElideMode m_mode;
    QString m_fullText;
};

/// Lets the text begin where lines begin in the label's layout direction, whatever script it is in:
/// the name of a disk stands beside its icon.
void alignToLeadingEdge(QLabel& label);

/// A text for setToolTip that is shown as it stands: a name that looks like markup stays a name.
QString plainToolTip(const QString& text);

/// A text for setWindowTitle that is shown as it stands: "[*]" in a name is no placeholder.
QString plainWindowTitle(QString text);

}  // namespace kestrin
