// SPDX-License-Identifier: GPL-3.0-or-later
// The icon of an entry in the place of its content. Main thread only.
#pragma once

#include <QIcon>
#include <QWidget>

class QLabel;

namespace kestrin {

/// An icon in the middle, as large as there is room for, and below it one line why there is nothing
/// else. The icon keeps its place with and without, as long as there is room.
class IconView : public QWidget {
    Q_OBJECT

 public:
    explicit IconView(QWidget* parent = nullptr);

    /// Shows `icon` alone.
    void setIcon(const QIcon& icon);
    /// A sentence to show as it stands; an empty one takes the last one away.
    void setReason(const QString& reason);
    QString reason() const;

    QSize minimumSizeHint() const override { return {0, 0}; }

 protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

 private:
    QRect iconPlace() const;
    int reasonWidth() const;
    /// In points, with the gap above it; 0 without a reason.
    int roomOfReason() const;
    void placeReason();

    QIcon m_icon;
    QLabel* m_reason;
};

}  // namespace kestrin
