// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/CollapsingSplitter.h"

#include <QPainter>
#include <algorithm>

namespace kestrin {
namespace {

constexpr int kThin = 1;  // the toolkit lets a pointer grip such a handle a few points beside it
constexpr int kThick = 8;
constexpr float kLineOpacity = 0.2F;

class Divider final : public QSplitterHandle {
 public:
    Divider(Qt::Orientation orientation, CollapsingSplitter* parent)
        : QSplitterHandle(orientation, parent), m_splitter(*parent) {}

 protected:
    void paintEvent(QPaintEvent* event) override {
        if (m_splitter.isCollapsed()) return QSplitterHandle::paintEvent(event);
        QPainter painter(this);
        painter.fillRect(rect(), palette().color(QPalette::Window));
        QColor line = palette().color(QPalette::WindowText);
        line.setAlphaF(kLineOpacity);
        painter.fillRect(contentsRect(), line);
    }
    void mouseDoubleClickEvent(QMouseEvent*) override {
        m_splitter.setIsCollapsed(!m_splitter.isCollapsed());
    }

 private:
    CollapsingSplitter& m_splitter;
};

}  // namespace

CollapsingSplitter::CollapsingSplitter(QWidget* first, QWidget* second, int pane) : m_pane(pane) {
    setHandleWidth(kThin);
    addWidget(first);
    addWidget(second);
    setCollapsible(1 - pane, false);
    connect(this, &QSplitter::splitterMoved, this, [this] { splitViewDidResize(); });
}

QSplitterHandle* CollapsingSplitter::createHandle() {
    return new Divider(orientation(), this);
}

void CollapsingSplitter::resizeEvent(QResizeEvent* event) {
    QSplitter::resizeEvent(event);
    splitViewDidResize();
}

void CollapsingSplitter::setIsCollapsed(bool isCollapsed) {
    if (isCollapsed == m_isCollapsed) return;
    QList<int> extents = sizes();
    if (extents[m_pane] > 0) m_extent = extents[m_pane];  // setSizes tells nobody
    const int all = extents[0] + extents[1];
    const int first = std::min(widget(m_pane)->sizeHint().width(), all / 2);
    extents[m_pane] = isCollapsed ? 0 : std::min(m_extent > 0 ? m_extent : first, all);
    extents[1 - m_pane] = all - extents[m_pane];
    setSizes(extents);
    splitViewDidResize();
}

void CollapsingSplitter::splitViewDidResize() {
    if (count() != 2) return;  // it is being made
    const int extent = sizes().at(m_pane);
    if (extent > 0) m_extent = extent;
    const bool isCollapsed = extent == 0 && sizes().at(1 - m_pane) > 0;
    if (isCollapsed == m_isCollapsed) return;
    m_isCollapsed = isCollapsed;
    // A pane that is out of sight must not have the keyboard either.
    widget(m_pane)->setEnabled(!isCollapsed);
    setHandleWidth(isCollapsed ? kThick : kThin);
    Q_EMIT collapseDidChange(isCollapsed);
}

}  // namespace kestrin
