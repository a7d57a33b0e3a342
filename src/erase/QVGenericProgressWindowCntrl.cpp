// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVGenericProgressWindowCntrl.h"

#include <utility>

namespace kestrin {

std::unique_ptr<QVGenericProgressWindowCntrl> QVGenericProgressWindowCntrl::create(
    const ProgressViewFactory& makeView) {
    std::unique_ptr<QVGenericProgressWindowCntrl> controller(new QVGenericProgressWindowCntrl);
    controller->m_window = makeView([self = controller.get()] { self->stopAction(); });
    if (!controller->m_window) return nullptr;
    controller->m_countStr = controller->m_window->countFormat();
    return controller;
}

void QVGenericProgressWindowCntrl::stopAction() {
    if (m_wasStopped.exchange(true)) return;
    callStopHandler();
}

void QVGenericProgressWindowCntrl::setStopHandler(std::function<void()> handler) {
    {
        const std::scoped_lock guard(m_handlerLock);
        m_stopHandler = std::move(handler);
    }
    if (m_wasStopped) callStopHandler();
}

/// Whoever takes the handler calls it: of stopAction and a setStopHandler that comes at the same
/// time, exactly one.
void QVGenericProgressWindowCntrl::callStopHandler() {
    std::unique_lock guard(m_handlerLock);
    const auto handler = std::exchange(m_stopHandler, nullptr);
    guard.unlock();
    if (handler) handler();
}

}  // namespace kestrin
