// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/support/LauncherDock.h"

#include <gtest/gtest.h>

#include <QDBusMessage>

#include "platform/desktop/ui/support/PrivateBus.h"

namespace kestrin::test {

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

}  // namespace kestrin::test
