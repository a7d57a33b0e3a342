// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/linux/SystemTrayOwner.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QSocketNotifier>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace kestrin {

namespace {

/// What xcb hands out is freed with free().
template <class T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

template <class T>
Reply<T> owned(T* reply) {
    return Reply<T>(reply, &std::free);
}

/// The root window of a screen, 0 when there is no such screen.
xcb_window_t rootOf(xcb_connection_t* connection, int screen) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screens.rem > 0; xcb_screen_next(&screens), --screen) {
        if (screen == 0) return screens.data->root;
    }
    return 0;
}

}  // namespace

SystemTrayOwner::SystemTrayOwner(std::function<void()> appeared) : m_appeared(std::move(appeared)) {
    if (QGuiApplication::platformName() != QLatin1String("xcb")) return;
    int screen = 0;
    m_connection = xcb_connect(nullptr, &screen);
    if (xcb_connection_has_error(m_connection) != 0) return;
    m_root = rootOf(m_connection, screen);
    m_selection = atom(("_NET_SYSTEM_TRAY_S" + std::to_string(screen)).c_str());
    if (m_appeared) listen();
}

SystemTrayOwner::~SystemTrayOwner() {
    m_notifier.reset();
    if (m_connection) xcb_disconnect(m_connection);
}

bool SystemTrayOwner::exists() const {
    return ownerWindow() != XCB_WINDOW_NONE;
}

std::uint32_t SystemTrayOwner::atom(const char* name) const {
    const auto length = static_cast<std::uint16_t>(std::strlen(name));
    const auto reply = owned(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, length, name), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::uint32_t SystemTrayOwner::ownerWindow() const {
    if (m_selection == XCB_ATOM_NONE) return XCB_WINDOW_NONE;
    const auto reply = owned(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, m_selection), nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

std::optional<QColor> SystemTrayOwner::foreground() const {
    const xcb_window_t owner = ownerWindow();
    if (owner == XCB_WINDOW_NONE) return std::nullopt;
    // Four colours of three numbers each: foreground, error, warning, success.
    constexpr std::uint32_t kNumbers = 12;
    const auto reply = owned(xcb_get_property_reply(
        m_connection,
        xcb_get_property(m_connection, 0, owner, atom("_NET_SYSTEM_TRAY_COLORS"), XCB_ATOM_CARDINAL,
                         0, kNumbers),
        nullptr));
    if (!reply || reply->format != 32 || reply->value_len != kNumbers) return std::nullopt;
    const auto* numbers = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    const auto byte = [numbers](int index) {
        return static_cast<int>((numbers[index] >> 8) & 255);
    };
    return QColor(byte(0), byte(1), byte(2));
}

void SystemTrayOwner::listen() {
    m_manager = atom("MANAGER");
    // A new owner of a manager selection tells the root window.
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(m_connection);
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection),
                                                   QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { readEvents(); });
}

void SystemTrayOwner::readEvents() {
    bool hasAppeared = false;
    while (const auto event = owned(xcb_poll_for_event(m_connection))) {
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE) continue;
        const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        hasAppeared |= message->type == m_manager && message->data.data32[1] == m_selection;
    }
    // A display that is gone would be readable for ever.
    if (xcb_connection_has_error(m_connection) != 0) m_notifier->setEnabled(false);
    if (!hasAppeared) return;
    // The listener may end this object.
    const std::function<void()> appeared = m_appeared;
    appeared();
}

}  // namespace kestrin
