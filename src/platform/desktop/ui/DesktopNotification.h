// SPDX-License-Identifier: GPL-3.0-or-later
// What the desktop tells the user for the program (org.freedesktop.Notifications). Main thread.
// Everything is asynchronous; without a notification service nothing happens and nothing is
// reported.
#pragma once

#include <QPointer>
#include <QString>
#include <functional>

namespace kestrin {

/// Shows a message for as long as the desktop shows messages. Every call is a message of its own,
/// whatever became of the ones before it. `text` is plain, whatever it holds.
void showDesktopMessage(const QString& title, const QString& text);

/// One notification that stays until the program or the user takes it away. It can be changed in
/// place.
class DesktopNotification {
 public:
    struct Content {
        QString title;
        QString text;         ///< plain, whatever it holds
        QString actionTitle;  ///< the one button; empty for none
        friend bool operator==(const Content&, const Content&) = default;
    };

    /// `action` is called when the user presses the button.
    explicit DesktopNotification(std::function<void()> action = {});
    /// Takes it away.
    ~DesktopNotification();
    DesktopNotification(const DesktopNotification&) = delete;
    DesktopNotification& operator=(const DesktopNotification&) = delete;

    /// Shows it, or changes what is shown. A service that is started anew shows it again. Once the
    /// user has taken it away it never comes back: another occasion has a notification of its own.
    void show(const Content& content);
    /// Takes it away until the next show().
    void close();

 private:
    class Client;
    QPointer<Client> m_client;  ///< deletes itself; null once the application is gone
};

}  // namespace kestrin
