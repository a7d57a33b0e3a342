// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ProgressNotices.h"

#include <QGuiApplication>
#include <QWindow>
#include <utility>

#include "base/StringTable.h"

namespace kestrin {

ProgressNotices::ProgressNotices(std::unique_ptr<ProgressView> view,
                                 std::function<bool()> isInFront, const StringTable& texts,
                                 std::function<void()> stop)
    : m_view(std::move(view)),
      m_isInFront(std::move(isInFront)),
      m_texts(texts),
      m_notification(std::move(stop)) {}

ProgressNotices::~ProgressNotices() = default;

void ProgressNotices::show() {
    m_view->show();
    begin();
}

void ProgressNotices::showAsSheet(WindowHandle parent) {
    m_view->showAsSheet(parent);
    begin();
}

void ProgressNotices::close() {
    m_isShown = false;
    m_notification.close();
    m_launcher.hide();
    m_view->close();
}

void ProgressNotices::begin() {
    m_isShown = true;
    QObject::connect(qGuiApp, &QGuiApplication::focusWindowChanged, &m_context,
                     [this] { followWindow(); });
    // A window that was just shown gets the focus a moment later.
    QMetaObject::invokeMethod(
        &m_context, [this] { followWindow(); }, Qt::QueuedConnection);
}

void ProgressNotices::followWindow() {
    if (!m_isShown) return;
    if (m_isInFront()) return m_notification.close();
    m_notification.show(
        {.title = m_view->mainText(), .text = {}, .actionTitle = m_texts.text("stop_btn"_key)});
}

void ProgressNotices::startIndeterminateAnimation() {
    m_view->spinner().startIndeterminateAnimation();
}

void ProgressNotices::startDeterminateAnimation() {
    m_view->spinner().startDeterminateAnimation();
}

bool ProgressNotices::isIndeterminate() const {
    return m_view->spinner().isIndeterminate();
}

void ProgressNotices::updateProgress(double percent) {
    m_view->spinner().updateProgress(percent);
    if (m_isShown) m_launcher.setProgress(percent);
}

}  // namespace kestrin
