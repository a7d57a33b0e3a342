// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/WidgetProgressView.h"

#include <utility>

#include "base/StringTable.h"
#include "erase/ui/AnimatedProgressBar.h"
#include "erase/ui/QVProgressWindow.h"

namespace kestrin {

WidgetProgressView::WidgetProgressView(const StringTable& texts, std::function<void()> stop)
    : m_texts(texts), m_window(std::make_unique<QVProgressWindow>(texts, std::move(stop))) {}

WidgetProgressView::~WidgetProgressView() = default;

ProgressSpinner& WidgetProgressView::spinner() {
    return m_window->bar();
}

void WidgetProgressView::setMainText(const QString& text) {
    m_window->setMainText(text);
}

QString WidgetProgressView::mainText() const {
    return m_window->mainText();
}

void WidgetProgressView::setInfoText(const QString& text) {
    m_window->setInfoText(text);
}

void WidgetProgressView::setCountText(const QString& text) {
    m_window->setCountText(text);
}

void WidgetProgressView::setSizeText(const QString& text) {
    m_window->setSizeText(text);
}

QString WidgetProgressView::countFormat() const {
    return m_texts.text("progress_count"_key);
}

void WidgetProgressView::hideInfoSizeFields(bool hide) {
    m_window->hideInfoSizeFields(hide);
}

void WidgetProgressView::show() {
    m_window->showOn(nullptr);
}

void WidgetProgressView::showAsSheet(WindowHandle parent) {
    m_window->showOn(static_cast<QWidget*>(parent));
}

/// Hidden, not closed: to the window closing means Stop.
void WidgetProgressView::close() {
    m_window->hide();
}

}  // namespace kestrin
