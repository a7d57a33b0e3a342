// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ui/LauncherEntry.h"

#include <gtest/gtest.h>

#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>
#include <memory>
#include <vector>

#include "platform/ui/support/PrivateBus.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

class Dock : public QObject {
    Q_OBJECT

 public:
    Q_SLOT void update(const QString& address, const QVariantMap& properties) {
        EXPECT_EQ(address, QStringLiteral("application://com.quorvane.Kestrin3.desktop"));
        const bool isVisible = properties.value(QStringLiteral("progress-visible")).toBool();
        shown.push_back(isVisible ? properties.value(QStringLiteral("progress")).toDouble() : -1.0);
    }
    std::vector<double> shown;
};

TEST(LauncherEntry, TellsWholePercentsAndHidesAtTheEnd) {
    KESTRIN_REQUIRE_BUS();
    Dock dock;
    test::PrivateBus::shared()->peer().connect(
        QString(), QString(), QStringLiteral("com.canonical.Unity.LauncherEntry"),
        QStringLiteral("Update"), &dock, SLOT(update(QString, QVariantMap)));
    // Before the first signal the match must have reached the bus.
    test::PrivateBus::shared()->peer().call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));

    auto entry = std::make_unique<LauncherEntry>();
    entry->hide();
    for (const double percent : {-1.0, 0.4, 43.0, 43.9, 100.0, 250.0})
        entry->setProgress(percent);
    entry.reset();
    EXPECT_TRUE(test::waitFor([&dock] { return dock.shown.size() >= 4; }));
    EXPECT_EQ(dock.shown, (std::vector<double>{0.0, 0.43, 1.0, -1.0}));
}

}  // namespace
}  // namespace kestrin

#include "LauncherEntry_test.moc"
