// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/linux/KeyboardMap.h"

#include <xcb/xcb.h>
// A field of the protocol has a name that C++ keeps for itself.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <QtGui/qguiapplication_platform.h>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QPointer>
#include <array>
#include <cstdlib>
#include <utility>

#include "platform/desktop/Shortcut.h"

namespace kestrin {

namespace {

constexpr int kModifierCount = 8;

/// Whether it stands on the caps of keyboards that write another script, too.
bool isLatin(xkb_keysym_t symbol) {
    constexpr std::uint32_t kLastLatin = 0x2ff;  // accents by themselves follow the letters
    const std::uint32_t character = xkb_keysym_to_utf32(shownSymbol(symbol));
    return character > ' ' && character <= kLastLatin;
}

}  // namespace

xkb_keysym_t shownSymbol(xkb_keysym_t symbol) {
    constexpr std::string_view kDead = "dead_";
    std::array<char, 64> buffer{};
    xkb_keysym_get_name(symbol, buffer.data(), buffer.size());
    std::string name(buffer.data());
    if (!name.starts_with(kDead)) return symbol;
    name.erase(0, kDead.size());
    // Two accents have the names of their characters.
    if (name == "circumflex") name = "asciicircum";
    if (name == "tilde") name = "asciitilde";
    return xkb_keysym_from_name(name.c_str(), XKB_KEYSYM_NO_FLAGS);
}

xcb_connection_t* displayConnection() {
    const auto* application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (!application) return nullptr;
    const auto* display = application->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t* const connection = display ? display->connection() : nullptr;
    return connection && xcb_connection_has_error(connection) == 0 ? connection : nullptr;
}

KeyboardMap* KeyboardMap::shared() {
    static QPointer<KeyboardMap> s_map;
    if (s_map) return s_map;
    xcb_connection_t* const connection = displayConnection();
    if (!connection) return nullptr;
    s_map = new KeyboardMap(connection);
    s_map->setParent(QCoreApplication::instance());
    return s_map;
}

KeyboardMap::KeyboardMap(xcb_connection_t* connection)
    : m_connection(connection), m_context(xkb_context_new(XKB_CONTEXT_NO_FLAGS)) {
    xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION,
                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                nullptr, nullptr, &m_keyboardEvents, nullptr);
    read();
    QCoreApplication::instance()->installNativeEventFilter(this);
}

KeyboardMap::~KeyboardMap() = default;

std::uint8_t KeyboardMap::keycodeAt(std::string_view place) const {
    if (!m_map) return 0;
    const auto keycode = xkb_keymap_key_by_name(m_map.get(), std::string(place).c_str());
    return keycode <= UINT8_MAX ? static_cast<std::uint8_t>(keycode) : 0;
}

std::string_view KeyboardMap::placeOf(std::uint32_t keycode) const {
    const char* const name = m_map ? xkb_keymap_key_get_name(m_map.get(), keycode) : nullptr;
    return name ? name : "";
}

xkb_keysym_t KeyboardMap::latinSymbolAt(std::string_view place) const {
    const std::uint8_t keycode = keycodeAt(place);
    if (keycode == 0) return XKB_KEY_NoSymbol;
    const xkb_keysym_t present = symbol(keycode, m_layout);
    if (isLatin(present)) return present;
    const auto count = xkb_keymap_num_layouts_for_key(m_map.get(), keycode);
    for (xkb_layout_index_t layout = 0; layout < count; ++layout)
        if (const xkb_keysym_t other = symbol(keycode, layout); isLatin(other)) return other;
    return XKB_KEY_NoSymbol;
}

std::optional<std::uint16_t> KeyboardMap::modifiersOf(const Shortcut& shortcut) const {
    std::uint16_t modifiers = 0;
    const auto add = [&](unsigned flag, std::uint16_t modifier) {
        if ((shortcut.modifierFlags & flag) == 0) return true;
        modifiers |= modifier;
        return modifier != 0;
    };
    const bool hasAll = add(ModifierFlag::kShift, XCB_MOD_MASK_SHIFT) &&
                        add(ModifierFlag::kControl, XCB_MOD_MASK_CONTROL) &&
                        add(ModifierFlag::kOption, m_alt) && add(ModifierFlag::kCommand, m_super);
    return hasAll ? std::optional(modifiers) : std::nullopt;
}

bool KeyboardMap::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t") return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    // What another client sends in the server's name has a bit more.
    if (event->response_type == XCB_MAPPING_NOTIFY) readSoon();
    if (m_keyboardEvents != 0 && event->response_type == m_keyboardEvents) {
        handleKeyboardEvent(event);
    }
    return false;
}

/// All events of the keyboard extension have one type, and their kind in the second byte.
void KeyboardMap::handleKeyboardEvent(const void* event) {
    const auto* state = static_cast<const xcb_xkb_state_notify_event_t*>(event);
    const std::uint8_t kind = state->xkbType;
    if (kind == XCB_XKB_NEW_KEYBOARD_NOTIFY || kind == XCB_XKB_MAP_NOTIFY) readSoon();
    // This comes with every press of a modifier.
    if (kind != XCB_XKB_STATE_NOTIFY || state->group == m_layout) return;
    m_layout = state->group;
    Q_EMIT changed();
}

/// A change of the layout comes as a dozen events.
void KeyboardMap::readSoon() {
    if (std::exchange(m_willRead, true)) return;
    const auto readNow = [this] {
        m_willRead = false;
        read();
        Q_EMIT changed();
    };
    QMetaObject::invokeMethod(this, readNow, Qt::QueuedConnection);
}

void KeyboardMap::read() {
    const std::int32_t keyboard = xkb_x11_get_core_keyboard_device_id(m_connection);
    m_map.reset(keyboard < 0
                    ? nullptr
                    : xkb_x11_keymap_new_from_device(m_context.get(), m_connection, keyboard,
                                                     XKB_KEYMAP_COMPILE_NO_FLAGS));
    m_layout = 0;
    if (!m_map) return;
    const std::unique_ptr<xkb_state, Release<xkb_state, xkb_state_unref>> state(
        xkb_x11_state_new_from_device(m_map.get(), m_connection, keyboard));
    if (state) m_layout = xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_EFFECTIVE);
    readModifiers();
}

/// Shift, Caps Lock and Control are modifiers of their own; the rest is a matter of the map.
void KeyboardMap::readModifiers() {
    m_alt = m_super = 0;
    m_locks = XCB_MOD_MASK_LOCK;
    const std::unique_ptr<xcb_get_modifier_mapping_reply_t, decltype(&std::free)> reply(
        xcb_get_modifier_mapping_reply(m_connection, xcb_get_modifier_mapping(m_connection),
                                       nullptr),
        &std::free);
    if (!reply) return;
    const xcb_keycode_t* const keycodes = xcb_get_modifier_mapping_keycodes(reply.get());
    const int perModifier = reply->keycodes_per_modifier;
    for (int at = 3 * perModifier; at < kModifierCount * perModifier; ++at) {
        const auto modifier = static_cast<std::uint16_t>(1U << (at / perModifier));
        const xkb_keysym_t key = symbol(keycodes[at], 0);
        if (key == XKB_KEY_Alt_L || key == XKB_KEY_Alt_R) m_alt = modifier;
        if (key == XKB_KEY_Super_L || key == XKB_KEY_Super_R) m_super = modifier;
        if (key == XKB_KEY_Num_Lock || key == XKB_KEY_Scroll_Lock) m_locks |= modifier;
    }
}

/// A key may have fewer layouts than the keyboard: the map says which of them it has then.
xkb_keysym_t KeyboardMap::symbol(xkb_keycode_t keycode, xkb_layout_index_t layout) const {
    const auto count = xkb_keymap_num_layouts_for_key(m_map.get(), keycode);
    if (count == 0) return XKB_KEY_NoSymbol;
    const xkb_keysym_t* symbols = nullptr;
    const int found =
        xkb_keymap_key_get_syms_by_level(m_map.get(), keycode, layout % count, 0, &symbols);
    return found == 1 ? symbols[0] : xkb_keysym_t{XKB_KEY_NoSymbol};
}

}  // namespace kestrin
