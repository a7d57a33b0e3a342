// SPDX-License-Identifier: GPL-3.0-or-later
// A message that the desktop shows (org.freedesktop.Notifications). Main thread.
#pragma once

#include <QPointer>
#include <QString>
#include <functional>

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

    /// Shows it, or changes what is shown. One that the user took away does not come back before
    /// close() was called. The same content twice sends nothing.
    void show(const Content& content);
    void close();

 private:
    class Client;
    QPointer<Client> m_client;  ///< ends itself; gone with the application
};

}  // namespace kestrin
