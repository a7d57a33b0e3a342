// SPDX-License-Identifier: GPL-3.0-or-later
// Hot keys by passive grabs of an X11 display. Main thread.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/ui/HotKeyHost.h"

struct xcb_connection_t;

namespace kestrin {

class KeyboardMap;

/// Grabs each key with its modifiers and with every combination of the locks beside them: a grab
/// takes modifiers literally. All of them or none, so that no key works by chance. The keys follow
/// the map of the keyboard; what stays the same is not let go meanwhile.
class KeyGrabs : public HotKeyHost, private QAbstractNativeEventFilter {
 public:
    KeyGrabs(xcb_connection_t* connection, KeyboardMap& map, Handlers handlers);
    ~KeyGrabs() override;

    HotKeyCenter::Way way() const override { return HotKeyCenter::Way::Grabs; }
    void setHotKeys(const std::vector<HotKey>& hotKeys) override;
    void setSuspended(bool isSuspended) override;
    void setMayAskUser(bool) override {}
    HotKeyCenter::State state(std::string_view identifier) const override;
    QString shownText(std::string_view identifier) const override;
    bool isTakenByOther(const Shortcut& shortcut) const override;
    bool canConfigure() const override { return false; }
    void configure() override {}

 private:
    /// What the display delivers a press of.
    struct Keys {
        std::uint8_t keycode = 0;
        std::uint16_t modifiers = 0;
        std::uint16_t locks = 0;  ///< that may be on or off beside them
        friend bool operator==(const Keys&, const Keys&) = default;
    };
    struct Entry {
        std::string identifier;
        Shortcut shortcut;
        std::optional<Keys> keys{};  ///< none where the keyboard has no such key
        bool isGranted = false;      ///< nobody else has them; grabbed when not suspended
    };

    std::optional<Keys> keysOf(const Shortcut& shortcut) const;
    bool isGranted(const Keys& keys) const;
    void replace(std::vector<Entry> entries);
    void mapDidChange();
    bool claim(const Keys& keys) const;
    bool grab(const Keys& keys) const;
    void ungrab(const Keys& keys) const;
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    bool handlePress(std::uint8_t keycode, std::uint16_t state, std::uint32_t time);
    bool noteThePress(std::uint8_t keycode, std::uint32_t time);
    void handleRelease(std::uint8_t keycode, std::uint32_t time);

    xcb_connection_t* const m_connection;
    const KeyboardMap& m_map;
    const Handlers m_handlers;
    std::vector<Entry> m_entries;
    bool m_isSuspended = false;
    std::uint8_t m_lastKey = 0;    ///< the key code of the last press
    std::uint32_t m_lastTime = 0;  ///< of its press or release, in milliseconds of the display
    bool m_isHeld = false;         ///< it was not released since
    QObject m_context;             ///< of what comes from the event loop
};

}  // namespace kestrin
