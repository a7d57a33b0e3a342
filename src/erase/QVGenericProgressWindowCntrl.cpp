// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVGenericProgressWindowCntrl.h"

namespace kestrin {

std::unique_ptr<QVGenericProgressWindowCntrl> QVGenericProgressWindowCntrl::create(
    const ProgressViewFactory& makeView, std::stop_source stop) {
    std::unique_ptr<QVGenericProgressWindowCntrl> controller(
        new QVGenericProgressWindowCntrl(std::move(stop)));
    controller->m_window = makeView([self = controller.get()] { self->stopAction(); });
    if (!controller->m_window) return nullptr;
    return controller;
}

}  // namespace kestrin
