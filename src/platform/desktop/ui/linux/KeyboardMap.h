// SPDX-License-Identifier: GPL-3.0-or-later
// What the keyboard of an X11 display writes at present. Main thread.
#pragma once

#include <xkbcommon/xkbcommon.h>

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct xcb_connection_t;

namespace kestrin {

struct Shortcut;

/// The connection of the program to its X11 display; nullptr where it has none.
xcb_connection_t* displayConnection();

/// What stands on the cap of a key that writes this: of an accent that waits for its letter, the
/// accent by itself; of anything else the same.
xkb_keysym_t shownSymbol(xkb_keysym_t symbol);

/// The map that the display has for its keyboards. It is read anew when it changes: for another
/// layout, by a tool that remaps keys, and when keyboards with different maps take turns.
class KeyboardMap : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

 public:
    /// The map of the display; nullptr without an X11 display. It lives as long as the application.
    static KeyboardMap* shared();

    explicit KeyboardMap(xcb_connection_t* connection);
    ~KeyboardMap() override;

    /// The X11 key code of the key at that place; 0 when the keyboard has none.
    std::uint8_t keycodeAt(std::string_view place) const;
    /// Where the key with that X11 key code is; empty for a key without a place.
    std::string_view placeOf(std::uint32_t keycode) const;
    /// The Latin letter or other character of Latin writing that the key writes without modifiers:
    /// in the present layout, else in the user's first one that has such a character there.
    /// XKB_KEY_NoSymbol when there is none.
    xkb_keysym_t latinSymbolAt(std::string_view place) const;
    /// The modifiers of a shortcut as the display knows them; none when its keyboard lacks one.
    std::optional<std::uint16_t> modifiersOf(const Shortcut& shortcut) const;
    /// The modifiers that lock: Caps Lock, and where there are keys for them Num and Scroll Lock.
    std::uint16_t locks() const { return m_locks; }

 Q_SIGNALS:
    /// A key may have another code, or write something else.
    void changed();

 private:
    template <class T, void (*release)(T*)>
    struct Release {
        void operator()(T* object) const { release(object); }
    };

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void handleKeyboardEvent(const void* event);
    void readSoon();
    void read();
    void readModifiers();
    xkb_keysym_t symbol(xkb_keycode_t keycode, xkb_layout_index_t layout) const;

    xcb_connection_t* const m_connection;
    std::uint8_t m_keyboardEvents = 0;  ///< the type of the extension's events
    bool m_willRead = false;
    std::unique_ptr<xkb_context, Release<xkb_context, xkb_context_unref>> m_context;
    std::unique_ptr<xkb_keymap, Release<xkb_keymap, xkb_keymap_unref>> m_map;
    xkb_layout_index_t m_layout = 0;
    std::uint16_t m_alt = 0;
    std::uint16_t m_super = 0;
    std::uint16_t m_locks = 0;
};

}  // namespace kestrin
