// SPDX-License-Identifier: GPL-3.0-or-later
// The quick-look window of the browsing window: when it comes and goes, and who controls it.
#include <QKeyEvent>
#include <QPointer>
#include <utility>

#include "base/MainThread.h"
#include "base/NotificationCenter.h"
#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVContentViewCntrl.h"
#include "smartwindow/QVListCntrl.h"
#include "smartwindow/SmartWindowServices.h"
#include "smartwindow/preview/PreviewNotifications.h"
#include "smartwindow/preview/PreviewPanel.h"

namespace kestrin {
namespace {

namespace Name = PreviewNotification;

// Tags of the list's context menu.
constexpr int kReveal = 100;
constexpr int kOpen = 102;

}  // namespace

void QVContentViewCntrl::quickLookAction() {
    if (m_panel && m_panel->isOpen()) return m_panel->zoomOut();
    MainThread::post([self = QPointer(this)] {
        if (self && self->isVisible()) self->panel().makeKeyAndOrderFront();
    });
}

void QVContentViewCntrl::closeQLWindow() {
    if (m_panel) m_panel->orderOut();
}

PreviewPanel& QVContentViewCntrl::panel() {
    if (m_panel) return *m_panel;
    const auto command = [this](int tag) {
        return [this, tag](const auto& item) { m_listCntrl->contextualMenuAction(tag, {item}); };
    };
    m_panel = new PreviewPanel(
        m_previewServices,
        {.acceptsControl =
             [this](PreviewPanel& panel) { return acceptsPreviewPanelControl(panel); },
         .beginControl = [this](PreviewPanel& panel) { beginPreviewPanelControl(panel); },
         .endControl = [this](PreviewPanel& panel) { endPreviewPanelControl(panel); },
         .willClose = [this](PreviewPanel& panel) { qlWindowWillClose(panel); },
         .open = command(kOpen),
         .reveal = command(kReveal)},
        *window());
    m_tableView->installEventFilter(this);
    return *m_panel;
}

// --- Control ---

bool QVContentViewCntrl::acceptsPreviewPanelControl(const PreviewPanel&) const {
    return true;
}

void QVContentViewCntrl::beginPreviewPanelControl(PreviewPanel&) {
    postPanelIsVisible(true);
}

void QVContentViewCntrl::endPreviewPanelControl(PreviewPanel&) {
    postPanelIsVisible(false);
}

void QVContentViewCntrl::qlWindowWillClose(const QWidget& window) {
    if (&window == m_panel) qlPanelIsClosing();
}

void QVContentViewCntrl::qlPanelIsClosing() {
    postPanelIsVisible(false);
}

/// A panel that is closed by its title ends its control as well: it is told once.
void QVContentViewCntrl::postPanelIsVisible(bool isVisible) {
    if (std::exchange(m_panelIsVisible, isVisible) == isVisible) return;
    m_services.center.post(
        Name::kQuickLookWindowVisibilityWillChange, window(),
        UserInfo().set(Name::kQlPanel, m_panel).set(Name::kIsVisible, isVisible));
}

// --- Keys ---

/// Those of the panel work in the list, too.
bool QVContentViewCntrl::eventFilter(QObject* watched, QEvent* event) {
    const bool isKey = watched == m_tableView && event->type() == QEvent::KeyPress;
    return (isKey && m_panel->isOpen() &&
            m_panel->handleKeyOfEitherWindow(static_cast<QKeyEvent&>(*event))) ||
           QWidget::eventFilter(watched, event);
}

}  // namespace kestrin
