// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/WidgetProgressView.h"

#include <QApplication>
#include <utility>

#include "erase/ui/AlertDialog.h"
#include "erase/ui/QVProgressWindow.h"
#include "widgets/Sheet.h"

namespace kestrin {

WidgetProgressView::WidgetProgressView(const StringTable& texts, const QVNumberUtilities& numbers,
                                       std::function<void()> stop)
    : m_window(std::make_unique<QVProgressWindow>(texts, numbers, std::move(stop))) {}

WidgetProgressView::~WidgetProgressView() = default;

void WidgetProgressView::show(const ProgressState& state) {
    m_isOver = state.phase == ProgressState::Phase::Over;
    m_window->setState(state);
}

/// It would cover a question that is open, on whose answer the erase waits.
void WidgetProgressView::open(WindowHandle parent) {
    if (m_isOver) return;
    if (const auto* const question =
            qobject_cast<AlertDialog*>(QApplication::activeModalWidget())) {
        QObject::connect(
            question, &QDialog::finished, m_window.get(), [this, parent] { open(parent); },
            Qt::QueuedConnection);
        return;
    }
    m_window->showOn(livingWidget(parent));
}

/// The window is hidden and not closed, because closing it means Stop.
void WidgetProgressView::close() {
    m_window->hide();
}

}  // namespace kestrin
