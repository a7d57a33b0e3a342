// SPDX-License-Identifier: GPL-3.0-or-later
// A message that the desktop shows (org.freedesktop.Notifications). Main thread.
#pragma once

#include <QString>
#include <functional>
#include <memory>

namespace kestrin {

/// One notification: shown, changed in place, taken away again. Everything is asynchronous; without
/// a notification service nothing happens and nothing is reported.
class DesktopNotification {
 public:
    struct Content {
        QString title;
        QString text;         ///< plain, whatever it holds
        QString actionTitle;  ///< the one button; empty for none
        bool stays = false;  ///< until closed, by the program or the user; else the desktop decides
        friend bool operator==(const Content&, const Content&) = default;
    };

    /// `action` is called when the user presses the button.
    explicit DesktopNotification(std::function<void()> action = {});
    /// Closes it when it `stays`; any other one is left for the user to read.
    ~DesktopNotification();
    DesktopNotification(const DesktopNotification&) = delete;
    DesktopNotification& operator=(const DesktopNotification&) = delete;

    /// Shows it, or changes what is shown. One that the user has closed does not come back before
    /// close() was called. The same content twice sends nothing.
    void show(const Content& content);
    void close();

 private:
    class Client;
    std::unique_ptr<Client> m_client;
};

}  // namespace kestrin
