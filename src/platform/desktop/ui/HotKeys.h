// SPDX-License-Identifier: GPL-3.0-or-later
// Keys that work over every program. Main thread; needs a QGuiApplication.
#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Shortcut.h"

namespace kestrin {

struct HotKey {
    std::string identifier;  ///< stays the same when the keys change; the desktop may keep it
    Shortcut shortcut;
    QString description;  ///< what it does, as the desktop shows it to the user
    std::function<void()> pressed;
};

class HotKeyHost;

/// The hot keys of this process. On an X11 display they are grabbed, by the place of the key. Where
/// programs cannot do that (Wayland) the desktop's portal is asked for them (XDG Desktop Portal,
/// org.freedesktop.portal.GlobalShortcuts); then the user has the last word on the keys, and what
/// is registered here is a proposal. Where there is neither, nothing works, and `way` says so.
///
/// `pressed` is called from the event loop, once for a press however long the key is held.
class HotKeyCenter : public QObject {
    Q_OBJECT

 public:
    enum class Way {
        Unknown,  ///< the portal has not answered yet
        Grabs,    ///< the keys that were registered are the keys
        Portal,   ///< the desktop decides on the keys; see shownText
        None,     ///< no hot key works here
    };
    enum class State {
        Registered,   ///< it works
        Taken,        ///< somebody else has these keys
        Pending,      ///< the desktop, or its user, has not answered yet
        Unavailable,  ///< no such key on this keyboard, refused, or no way; also when not
                      ///< registered
    };

    HotKeyCenter();
    ~HotKeyCenter() override;

    Way way() const;

    /// Registers the keys in place of those with the same identifier.
    void registerHotKey(HotKey hotKey);
    void unregisterHotKey(std::string_view identifier);
    State state(std::string_view identifier) const;
    /// The keys that work for it as a text for the user; empty when none do. From the portal this
    /// is a text of the desktop's own.
    QString shownText(std::string_view identifier) const;

    /// Whether somebody else has these keys: another hot key of this process than
    /// `exceptIdentifier`, the desktop, or another program. The portal tells nobody, so there only
    /// the first is known.
    bool isTaken(const Shortcut& shortcut, std::string_view exceptIdentifier) const;
    /// The description of the hot key of this process that has these keys; empty when it is none.
    QString holder(const Shortcut& shortcut, std::string_view exceptIdentifier) const;
    /// Tries again to get what was taken; to be called when the user looks at the hot keys.
    void retry();

    /// Whether the desktop may ask its user about the hot keys, as the portal does; it may unless
    /// this said otherwise. While it may not, hot keys that it would ask for stay pending.
    void setMayAskUser(bool mayAsk);

    /// Whether `configure` can open something.
    bool canConfigure() const;
    /// Opens the desktop's own dialog for the keys of this program.
    void configure();

    /// While one lives no hot key of the center works, and their keys reach the focused window.
    class Suspension {
     public:
        explicit Suspension(HotKeyCenter& center);
        ~Suspension();
        Suspension(const Suspension&) = delete;
        Suspension& operator=(const Suspension&) = delete;

     private:
        HotKeyCenter& m_center;
    };

 Q_SIGNALS:
    /// The way, or the state or the text of a hot key may be another one.
    void changed();

 private:
    const HotKey* find(std::string_view identifier) const;
    const HotKey* other(const Shortcut& shortcut, std::string_view exceptIdentifier) const;
    void suspend(int more);
    void press(const std::string& identifier) const;

    std::vector<HotKey> m_hotKeys;
    int m_suspensions = 0;
    const std::unique_ptr<HotKeyHost> m_host;
};

}  // namespace kestrin
