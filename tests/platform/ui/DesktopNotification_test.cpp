// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ui/DesktopNotification.h"

#include <gtest/gtest.h>

#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>
#include <optional>
#include <vector>

#include "platform/ui/support/PrivateBus.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");

/// A desktop that shows one notification at a time.
class Desktop : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

 public:
    Desktop() {
        QDBusConnection peer = test::PrivateBus::shared()->peer();
        peer.registerObject(kPath, this, QDBusConnection::ExportScriptableInvokables);
        EXPECT_TRUE(peer.registerService(kService));
    }
    ~Desktop() override {
        QDBusConnection peer = test::PrivateBus::shared()->peer();
        peer.unregisterService(kService);
        peer.unregisterObject(kPath);
    }

    Q_SCRIPTABLE QStringList GetCapabilities() { return capabilities; }
    Q_SCRIPTABLE uint Notify(const QString&, uint replaces, const QString&, const QString& summary,
                             const QString& body, const QStringList& actions, const QVariantMap&,
                             int) {
        id = replaces != 0 ? replaces : id + 1;
        texts.push_back(summary + QLatin1Char('|') + body + QLatin1Char('|') +
                        actions.join(QLatin1Char(',')));
        isShown = true;
        return id;
    }
    Q_SCRIPTABLE void CloseNotification(uint closed) {
        isShown = isShown && closed != id;
        signal(QStringLiteral("NotificationClosed"), {closed, 3U});
    }

    void signal(const QString& name, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createSignal(kPath, kService, name);
        message.setArguments(arguments);
        test::PrivateBus::shared()->peer().send(message);
    }

    QStringList capabilities{QStringLiteral("body-markup")};
    QStringList texts;
    uint id = 0;
    bool isShown = false;
};

DesktopNotification::Content content(const char* text) {
    return {QStringLiteral("Emptying"), QString::fromUtf8(text), QStringLiteral("Stop"), true};
}

TEST(DesktopNotification, ShowsChangesInPlaceAndCloses) {
    KESTRIN_REQUIRE_BUS();
    Desktop desktop;
    DesktopNotification notification;
    // All before the first answer: only the first and the newest are worth showing.
    notification.show(content("1 & <b>"));
    notification.show(content("2"));
    EXPECT_TRUE(test::waitFor([&] { return desktop.isShown; }));
    EXPECT_EQ(desktop.texts, QStringList{QStringLiteral("Emptying|2|action,Stop")});

    notification.show(content("3 & <b>"));
    EXPECT_TRUE(test::waitFor([&] { return desktop.texts.size() == 2; }));
    EXPECT_EQ(desktop.texts.back(), QStringLiteral("Emptying|3 &amp; &lt;b&gt;|action,Stop"));
    EXPECT_EQ(desktop.id, 1U);

    notification.close();
    EXPECT_TRUE(test::waitFor([&] { return !desktop.isShown; }));
}

TEST(DesktopNotification, ItsButtonCallsAndAnothersDoesNot) {
    KESTRIN_REQUIRE_BUS();
    Desktop desktop;
    int pressed = 0;
    DesktopNotification notification([&pressed] { ++pressed; });
    notification.show(content("1"));
    EXPECT_TRUE(test::waitFor([&] { return desktop.isShown; }));
    notification.show(content("2"));
    EXPECT_TRUE(test::waitFor([&] { return desktop.texts.size() == 2; }));
    desktop.signal(QStringLiteral("ActionInvoked"), {desktop.id + 1, QStringLiteral("action")});
    desktop.signal(QStringLiteral("ActionInvoked"), {desktop.id, QStringLiteral("action")});
    EXPECT_TRUE(test::waitFor([&pressed] { return pressed > 0; }));
    EXPECT_EQ(pressed, 1);
}

TEST(DesktopNotification, OneThatTheUserTookAwayComesBackForANewOccasionOnly) {
    KESTRIN_REQUIRE_BUS();
    Desktop desktop;
    DesktopNotification notification;
    notification.show(content("1"));
    EXPECT_TRUE(test::waitFor([&] { return desktop.isShown; }));
    notification.show(content("2"));
    EXPECT_TRUE(test::waitFor([&] { return desktop.texts.size() == 2; }));
    desktop.signal(QStringLiteral("NotificationClosed"), {desktop.id, 2U});
    test::waitFor([] { return false; }, 100);
    notification.show(content("3"));
    test::waitFor([] { return false; }, 100);
    EXPECT_EQ(desktop.texts.size(), 2);

    notification.close();
    notification.show(content("4"));
    EXPECT_TRUE(test::waitFor([&] { return desktop.texts.size() == 3; }));
}

TEST(DesktopNotification, OneThatEndsBeforeTheAnswerIsStillTakenAway) {
    KESTRIN_REQUIRE_BUS();
    Desktop desktop;
    {
        DesktopNotification notification;
        notification.show(content("1"));
        EXPECT_TRUE(test::waitFor([&] { return desktop.isShown; }));
    }
    EXPECT_TRUE(test::waitFor([&] { return !desktop.isShown; }));
}

TEST(DesktopNotification, WithoutAServiceNothingHappens) {
    KESTRIN_REQUIRE_BUS();
    DesktopNotification notification;
    notification.show(content("1"));
    test::waitFor([] { return false; }, 100);
    notification.close();
    Desktop desktop;
    notification.show(content("2"));
    EXPECT_TRUE(test::waitFor([&] { return desktop.isShown; })) << "the service may come later";
}

}  // namespace
}  // namespace kestrin

#include "DesktopNotification_test.moc"
