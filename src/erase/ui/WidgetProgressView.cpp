// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/WidgetProgressView.h"

#include <utility>

#include "erase/ui/QVProgressWindow.h"
#include "widgets/Sheet.h"

namespace kestrin {

WidgetProgressView::WidgetProgressView(const StringTable& texts, const QVNumberUtilities& numbers,
                                       std::function<void()> stop)
    : m_window(std::make_unique<QVProgressWindow>(texts, numbers, std::move(stop))) {}

WidgetProgressView::~WidgetProgressView() = default;

void WidgetProgressView::show(const ProgressState& state) {
    m_window->setState(state);
}

void WidgetProgressView::open(WindowHandle parent) {
    m_window->showOn(livingWidget(parent));
}

/// The window is hidden and not closed, because closing it means Stop.
void WidgetProgressView::close() {
    m_window->hide();
}

}  // namespace kestrin
