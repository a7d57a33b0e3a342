// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/support/FakeDesktop.h"

#include <gtest/gtest.h>

#include <QDBusMessage>
#include <QDesktopServices>

#include "platform/desktop/ui/support/PrivateBus.h"

namespace kestrin::test {

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");

}  // namespace

NotificationService::NotificationService() {
    QDBusConnection peer = PrivateBus::shared()->peer();
    peer.registerObject(kPath, this, QDBusConnection::ExportScriptableInvokables);
    EXPECT_TRUE(peer.registerService(kService));
}

NotificationService::~NotificationService() {
    QDBusConnection peer = PrivateBus::shared()->peer();
    peer.unregisterService(kService);
    peer.unregisterObject(kPath);
}

uint NotificationService::Notify(const QString&, uint replaces, const QString&,
                                 const QString& summary, const QString& body,
                                 const QStringList& actions, const QVariantMap&, int) {
    id = replaces != 0 ? replaces : id + 1;
    texts.push_back(summary + QLatin1Char('|') + body + QLatin1Char('|') +
                    actions.join(QLatin1Char(',')));
    isShown = true;
    return id;
}

void NotificationService::CloseNotification(uint closed) {
    isShown = isShown && closed != id;
    signal(QStringLiteral("NotificationClosed"), {closed, 3U});
}

void NotificationService::signal(const QString& name, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createSignal(kPath, kService, name);
    message.setArguments(arguments);
    PrivateBus::shared()->peer().send(message);
}

LauncherDock::LauncherDock() {
    QDBusConnection peer = PrivateBus::shared()->peer();
    peer.connect(QString(), QString(), QStringLiteral("com.canonical.Unity.LauncherEntry"),
                 QStringLiteral("Update"), this, SLOT(update(QString, QVariantMap)));
    // Before the first signal the match must have reached the bus.
    peer.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
}

void LauncherDock::update(const QString& address, const QVariantMap& properties) {
    EXPECT_EQ(address, QStringLiteral("application://com.quorvane.Kestrin3.desktop"));
    const bool isVisible = properties.value(QStringLiteral("progress-visible")).toBool();
    shown.push_back(isVisible ? properties.value(QStringLiteral("progress")).toDouble() : -1.0);
}

FileManagerService::FileManagerService() {
    PrivateBus::shared()->peer().registerObject(QStringLiteral("/org/freedesktop/FileManager1"),
                                                this, QDBusConnection::ExportScriptableInvokables);
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open");
}

FileManagerService::~FileManagerService() {
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
}

void FileManagerService::ShowItems(const QStringList& locations, const QString&) {
    shown = locations;
    setDelayedReply(!answers);
}

}  // namespace kestrin::test
