// SPDX-License-Identifier: GPL-3.0-or-later
// A desktop that shows notifications (org.freedesktop.Notifications), on the private bus.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace kestrin::test {

/// Shows one notification at a time. Requires: there is a private bus.
class NotificationService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

 public:
    NotificationService();
    ~NotificationService() override;

    Q_SCRIPTABLE QStringList GetCapabilities() { return capabilities; }
    Q_SCRIPTABLE uint Notify(const QString& application, uint replaces, const QString& icon,
                             const QString& summary, const QString& body,
                             const QStringList& actions, const QVariantMap& hints, int timeout);
    Q_SCRIPTABLE void CloseNotification(uint closed);

    /// Sends one of the service's signals.
    void signal(const QString& name, const QVariantList& arguments);

    QStringList capabilities{QStringLiteral("body-markup")};
    QStringList texts;  ///< of every notification: "summary|body|actions"
    uint id = 0;        ///< of the last one
    bool isShown = false;
};

}  // namespace kestrin::test
