// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/DesktopNotification.h"

#include <gtest/gtest.h>

#include "platform/desktop/ui/support/NotificationService.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::NotificationService;

DesktopNotification::Content content(const char* text) {
    return {QStringLiteral("Emptying"), QString::fromUtf8(text), QStringLiteral("Stop"), true};
}

TEST(DesktopNotification, ShowsChangesInPlaceAndCloses) {
    KESTRIN_REQUIRE_BUS();
    NotificationService desktop;
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
    NotificationService desktop;
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
    NotificationService desktop;
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
    NotificationService desktop;
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
    NotificationService desktop;
    notification.show(content("2"));
    EXPECT_TRUE(test::waitFor([&] { return desktop.isShown; })) << "the service may come later";
}

}  // namespace
}  // namespace kestrin
