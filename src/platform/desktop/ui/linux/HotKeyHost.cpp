// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/HotKeyHost.h"

#include <xcb/xcb.h>

#include <QByteArray>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "platform/desktop/ui/linux/KeyGrabs.h"
#include "platform/desktop/ui/linux/KeyboardMap.h"
#include "platform/desktop/ui/linux/ShortcutPortal.h"

namespace kestrin {

namespace {

/// Whether the X11 display says that it stands inside a Wayland session (Xwayland, version 23.1).
bool saysIsInside(xcb_connection_t* connection) {
    constexpr std::string_view kExtension = "XWAYLAND";
    xcb_query_extension_reply_t* const reply = xcb_query_extension_reply(
        connection, xcb_query_extension(connection, kExtension.size(), kExtension.data()), nullptr);
    const bool isPresent = reply && reply->present != 0;
    std::free(reply);
    return isPresent;
}

/// An X11 display that stands inside a Wayland session gets keys only while one of its own windows
/// has the focus. The name of a Wayland display alone may be left from an earlier session.
bool displayHasKeyboard(xcb_connection_t* connection) {
    const bool isX11Session = qgetenv("XDG_SESSION_TYPE") == "x11";
    return (isX11Session || qgetenv("WAYLAND_DISPLAY").isEmpty()) && !saysIsInside(connection);
}

}  // namespace

std::unique_ptr<HotKeyHost> makeHotKeyHost(HotKeyHost::Handlers handlers) {
    xcb_connection_t* const connection = displayConnection();
    if (!connection || !displayHasKeyboard(connection))
        return std::make_unique<ShortcutPortal>(std::move(handlers));
    return std::make_unique<KeyGrabs>(connection, *KeyboardMap::shared(), std::move(handlers));
}

}  // namespace kestrin
