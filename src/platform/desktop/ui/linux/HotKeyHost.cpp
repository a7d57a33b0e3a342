// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/HotKeyHost.h"

#include <QByteArray>
#include <utility>

#include "platform/desktop/ui/linux/KeyGrabs.h"
#include "platform/desktop/ui/linux/KeyboardMap.h"
#include "platform/desktop/ui/linux/ShortcutPortal.h"

namespace kestrin {

namespace {

/// An X11 display that stands inside a Wayland session gets keys only while one of its own windows
/// has the focus.
bool displayHasKeyboard() {
    return qgetenv("WAYLAND_DISPLAY").isEmpty();
}

}  // namespace

std::unique_ptr<HotKeyHost> makeHotKeyHost(HotKeyHost::Handlers handlers) {
    KeyboardMap* const map = displayHasKeyboard() ? KeyboardMap::shared() : nullptr;
    if (!map) return std::make_unique<ShortcutPortal>(std::move(handlers));
    return std::make_unique<KeyGrabs>(displayConnection(), *map, std::move(handlers));
}

}  // namespace kestrin
