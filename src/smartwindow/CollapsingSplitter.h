// SPDX-License-Identifier: GPL-3.0-or-later
// A splitter one pane of which can be folded away. Main thread.
#pragma once

#include <QSplitter>

namespace kestrin {

/// A splitter of two panes, one of which can be collapsed: by its divider, by a double click on
/// that, or by setIsCollapsed. The divider is a thin line; it is thick while the pane is collapsed,
/// so that it is found again.
class CollapsingSplitter : public QSplitter {
    Q_OBJECT

 public:
    /// The splitter owns both. `pane` is the number of the one that can be collapsed, 0 or 1.
    CollapsingSplitter(QWidget* first, QWidget* second, int pane);

    bool isCollapsed() const { return m_isCollapsed; }
    /// Collapses the pane, or gives it back the size that it had.
    void setIsCollapsed(bool isCollapsed);

 Q_SIGNALS:
    void collapseDidChange(bool isCollapsed);

 protected:
    QSplitterHandle* createHandle() override;
    void resizeEvent(QResizeEvent* event) override;

 private:
    void splitViewDidResize();

    const int m_pane;
    int m_extent = 0;  ///< of the pane before it was collapsed
    bool m_isCollapsed = false;
};

}  // namespace kestrin
