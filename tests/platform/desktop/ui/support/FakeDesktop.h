// SPDX-License-Identifier: GPL-3.0-or-later
// What a desktop shows of other programs, on the private bus, which there must be.
#pragma once

#include <QDBusContext>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>
#include <vector>

namespace kestrin::test {

/// A desktop that shows one notification at a time (org.freedesktop.Notifications).
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

/// A dock that shows progress on the entries of programs.
class LauncherDock : public QObject {
    Q_OBJECT

 public:
    LauncherDock();

    Q_SLOT void update(const QString& address, const QVariantMap& properties);

    std::vector<double> shown;  ///< progress as it changed, 0 to 1; -1: hidden
};

/// A file manager (org.freedesktop.FileManager1), and what opens folders where there is none.
class FileManagerService : public QObject, QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

 public:
    FileManagerService();
    ~FileManagerService() override;

    Q_SCRIPTABLE void ShowItems(const QStringList& locations, const QString& startupId);
    Q_INVOKABLE void open(const QUrl& url) { opened = url.toEncoded(); }

    bool answers = true;
    QStringList shown;
    QByteArray opened;
};

}  // namespace kestrin::test
