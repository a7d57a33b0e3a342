// SPDX-License-Identifier: GPL-3.0-or-later
// Who shows the status icons of an X11 display (FreeDesktop.org system tray protocol).
#pragma once

#include <QColor>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

class QSocketNotifier;
struct xcb_connection_t;

namespace kestrin {

/// Asks by a connection of its own to the display, since Qt's connection cannot be asked before Qt
/// decides. Main thread.
class SystemTrayOwner {
 public:
    /// Calls `appeared`, which may be empty, from the event loop whenever a tray announces itself.
    /// Without an X11 display there is never an owner.
    explicit SystemTrayOwner(std::function<void()> appeared = {});
    ~SystemTrayOwner();
    SystemTrayOwner(const SystemTrayOwner&) = delete;
    SystemTrayOwner& operator=(const SystemTrayOwner&) = delete;

    bool exists() const;
    /// The colour in which the tray writes, when it says so (_NET_SYSTEM_TRAY_COLORS).
    std::optional<QColor> foreground() const;

 private:
    std::uint32_t atom(const char* name) const;
    std::uint32_t ownerWindow() const;
    void listen();
    void readEvents();

    std::function<void()> m_appeared;
    xcb_connection_t* m_connection = nullptr;
    std::uint32_t m_root = 0;
    std::uint32_t m_selection = 0;
    std::uint32_t m_manager = 0;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

}  // namespace kestrin
