// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/linux/KeyGrabs.h"

#include <xcb/xcb.h>

#include <QCoreApplication>
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/desktop/linux/HardwareKeys.h"
#include "platform/desktop/ui/KeyNames.h"
#include "platform/desktop/ui/linux/KeyboardMap.h"

namespace kestrin {

namespace {

constexpr std::uint16_t kAllModifiers = 0xff;
/// How long after a press, in milliseconds, the next one may be its repetition.
constexpr std::uint32_t kLongestRepeat = 2000;

/// Every combination of the bits of `mask`.
std::vector<std::uint16_t> subsets(std::uint16_t mask) {
    std::vector<std::uint16_t> result;
    std::uint16_t subset = 0;
    do {
        result.push_back(subset);
        subset = static_cast<std::uint16_t>((subset - mask) & mask);
    } while (subset != 0);
    return result;
}

std::vector<xcb_window_t> roots(xcb_connection_t* connection) {
    std::vector<xcb_window_t> result;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screens.rem > 0; xcb_screen_next(&screens))
        result.push_back(screens.data->root);
    return result;
}

}  // namespace

KeyGrabs::KeyGrabs(xcb_connection_t* connection, KeyboardMap& map, Handlers handlers)
    : m_connection(connection), m_map(map), m_handlers(std::move(handlers)) {
    QObject::connect(&map, &KeyboardMap::changed, &m_context, [this] { mapDidChange(); });
    QCoreApplication::instance()->installNativeEventFilter(this);
}

KeyGrabs::~KeyGrabs() {
    replace({});
    xcb_flush(m_connection);
}

void KeyGrabs::setHotKeys(const std::vector<HotKey>& hotKeys) {
    std::vector<Entry> entries;
    for (const HotKey& hotKey : hotKeys)
        entries.push_back({hotKey.identifier, hotKey.shortcut});
    replace(std::move(entries));
    m_handlers.changed();
}

void KeyGrabs::setSuspended(bool isSuspended) {
    m_isSuspended = isSuspended;
    if (isSuspended) {
        for (const Entry& entry : m_entries)
            if (entry.isGranted) ungrab(*entry.keys);
    } else {
        replace(std::exchange(m_entries, {}));
        m_handlers.changed();
    }
}

HotKeyCenter::State KeyGrabs::state(std::string_view identifier) const {
    using State = HotKeyCenter::State;
    const auto entry = std::ranges::find(m_entries, identifier, &Entry::identifier);
    if (entry == m_entries.end() || !entry->keys) return State::Unavailable;
    return entry->isGranted ? State::Registered : State::Taken;
}

QString KeyGrabs::shownText(std::string_view identifier) const {
    const auto entry = std::ranges::find(m_entries, identifier, &Entry::identifier);
    return entry == m_entries.end() ? QString() : shortcutText(entry->shortcut);
}

/// Nobody can be asked who has a key: a grab is tried.
bool KeyGrabs::isTakenByOther(const Shortcut& shortcut) const {
    const auto keys = keysOf(shortcut);
    if (!keys || isGranted(*keys)) return false;
    const bool isFree = grab(*keys);
    if (isFree) ungrab(*keys);
    return !isFree;
}

std::optional<KeyGrabs::Keys> KeyGrabs::keysOf(const Shortcut& shortcut) const {
    const HardwareKey* const key = hardwareKey(shortcut.keyCode);
    const auto modifiers = m_map.modifiersOf(shortcut);
    const std::uint8_t keycode = key ? m_map.keycodeAt(key->place) : std::uint8_t{0};
    if (keycode == 0 || !modifiers) return std::nullopt;
    return Keys{keycode, *modifiers, m_map.locks()};
}

bool KeyGrabs::isGranted(const Keys& keys) const {
    return std::ranges::any_of(
        m_entries, [&](const Entry& entry) { return entry.isGranted && entry.keys == keys; });
}

/// What two entries want gets the first of them.
void KeyGrabs::replace(std::vector<Entry> entries) {
    const std::vector<Entry> old = std::exchange(m_entries, {});
    for (Entry& entry : entries)
        entry.keys = keysOf(entry.shortcut);
    const auto isWanted = [&](const Entry& before) {
        return std::ranges::find(entries, before.keys, &Entry::keys) != entries.end();
    };
    for (const Entry& before : old)
        if (before.isGranted && !isWanted(before)) ungrab(*before.keys);
    for (Entry& entry : entries) {
        const auto had = std::ranges::find_if(old, [&](const Entry& before) {
            return before.isGranted && before.keys == entry.keys;
        });
        entry.isGranted =
            entry.keys && !isGranted(*entry.keys) && (had != old.end() || claim(*entry.keys));
        m_entries.push_back(std::move(entry));
    }
}

void KeyGrabs::mapDidChange() {
    replace(m_entries);
    m_handlers.changed();
}

/// Grabs, or finds out whether it could.
bool KeyGrabs::claim(const Keys& keys) const {
    const bool isFree = grab(keys);
    if (isFree && m_isSuspended) ungrab(keys);
    return isFree;
}

/// All requests go out before the first answer is waited for.
bool KeyGrabs::grab(const Keys& keys) const {
    std::vector<xcb_void_cookie_t> requests;
    for (const xcb_window_t root : roots(m_connection)) {
        for (const std::uint16_t locks : subsets(keys.locks)) {
            requests.push_back(xcb_grab_key_checked(
                m_connection, 0, root, static_cast<std::uint16_t>(keys.modifiers | locks),
                keys.keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        }
    }
    bool isFree = true;
    for (const xcb_void_cookie_t request : requests) {
        xcb_generic_error_t* const error = xcb_request_check(m_connection, request);
        isFree &= error == nullptr;
        std::free(error);
    }
    if (!isFree) ungrab(keys);
    return isFree;
}

void KeyGrabs::ungrab(const Keys& keys) const {
    for (const xcb_window_t root : roots(m_connection)) {
        for (const std::uint16_t locks : subsets(keys.locks)) {
            xcb_ungrab_key(m_connection, keys.keycode, root,
                           static_cast<std::uint16_t>(keys.modifiers | locks));
        }
    }
    xcb_flush(m_connection);
}

/// What another client sends in the server's name has another type. What a grab delivers, to the
/// root window, goes on to the toolkit: by its time the window that opens may take the focus. What
/// came to a window of the program, such as its menu, ends here.
bool KeyGrabs::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t") return false;
    // The two events are one structure.
    const auto* event = static_cast<const xcb_key_press_event_t*>(message);
    if (event->response_type == XCB_KEY_RELEASE) handleRelease(event->detail, event->time);
    return event->response_type == XCB_KEY_PRESS &&
           handlePress(event->detail, event->state, event->time) && event->event != event->root;
}

/// Whether the press belongs to a hot key.
bool KeyGrabs::handlePress(std::uint8_t keycode, std::uint16_t state, std::uint32_t time) {
    const bool isRepeated = noteThePress(keycode, time);
    const auto pressed = std::ranges::find_if(m_entries, [&](const Entry& entry) {
        return entry.isGranted && entry.keys->keycode == keycode &&
               (state & kAllModifiers & ~entry.keys->locks) == entry.keys->modifiers;
    });
    if (m_isSuspended || pressed == m_entries.end()) return false;
    if (isRepeated) return true;
    QMetaObject::invokeMethod(
        &m_context, [this, identifier = pressed->identifier] { m_handlers.pressed(identifier); },
        Qt::QueuedConnection);
    return true;
}

/// Whether it is a repetition of the press before. A key that is held repeats presses: each follows
/// a release of the same moment, or no release where the toolkit asked for that; then a press after
/// a long pause is a new one all the same, since a release may be lost. Keys of no hot key are
/// noted, too: one that becomes a hot key while it is held must not work before it is let go.
bool KeyGrabs::noteThePress(std::uint8_t keycode, std::uint32_t time) {
    const std::uint32_t pause = time - std::exchange(m_lastTime, time);
    const bool wasHeld = std::exchange(m_isHeld, true);
    return std::exchange(m_lastKey, keycode) == keycode &&
           (wasHeld ? pause < kLongestRepeat : pause == 0);
}

void KeyGrabs::handleRelease(std::uint8_t keycode, std::uint32_t time) {
    if (m_lastKey != keycode) return;
    m_lastTime = time;
    m_isHeld = false;
}

}  // namespace kestrin
