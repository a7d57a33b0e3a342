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

void ProgressNotices::show(const ProgressState& state) {
    m_view->show(state);
    const bool isOther = state.phase != m_state.phase;
    m_state = state;
    if (!m_isShown) return;
    if (state.figures) m_launcher.setProgress(state.figures->percent());
    if (isOther) followWindow();
}

void ProgressNotices::open(WindowHandle parent) {
    m_view->open(parent);
    m_isShown = true;
    if (m_state.figures) m_launcher.setProgress(m_state.figures->percent());
    QObject::connect(qGuiApp, &QGuiApplication::focusWindowChanged, &m_context,
                     [this] { followWindow(); });
    // A window that was just shown gets the focus a moment later.
    QMetaObject::invokeMethod(
        &m_context, [this] { followWindow(); }, Qt::QueuedConnection);
}

void ProgressNotices::close() {
    m_isShown = false;
    m_notification.close();
    m_launcher.hide();
    m_view->close();
}

void ProgressNotices::followWindow() {
    using Phase = ProgressState::Phase;
    if (!m_isShown) return;
    if (m_isInFront() || m_state.phase == Phase::Over) return m_notification.close();
    const bool canStop = m_state.phase == Phase::Working;
    m_notification.show({.title = m_state.mainText,
                         .text = {},
                         .actionTitle = canStop ? m_texts.text("stop_btn"_key) : QString()});
}

}  // namespace kestrin
