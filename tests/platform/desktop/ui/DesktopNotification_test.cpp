// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QDBusMessage>
#include <optional>

#include "platform/desktop/ui/DesktopNotification.h"
#include "platform/desktop/ui/FileManager.h"
#include "platform/desktop/ui/support/FakeDesktop.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

constexpr uint kExpired = 1;
constexpr uint kDismissed = 2;

class DesktopNotificationTest : public ::testing::Test {
 protected:
    void SetUp() override {
        KESTRIN_REQUIRE_BUS();
        desktop.emplace();
    }

    void show(const char* text) {
        notification->show(
            {QStringLiteral("Emptying"), QString::fromUtf8(text), QStringLiteral("Stop")});
    }
    bool hasShown(qsizetype count) {
        return test::waitFor([&] { return desktop->texts.size() == count; });
    }
    /// The desktop ends what it shows, and the program has heard of it.
    void end(uint reason) {
        desktop->signal(QStringLiteral("NotificationClosed"), {desktop->id, reason});
        test::waitFor([] { return false; }, 100);
    }
    void press(uint id) {
        desktop->signal(QStringLiteral("ActionInvoked"), {id, QStringLiteral("action")});
    }

    int pressed = 0;
    std::optional<test::NotificationService> desktop;
    std::optional<DesktopNotification> notification{std::in_place, [this] { ++pressed; }};
};

TEST_F(DesktopNotificationTest, EveryMessageIsShown) {
    const auto tell = [](const char* text) {
        showDesktopMessage(QStringLiteral("Kestrin"), QString::fromUtf8(text));
    };
    tell("1");
    tell("2");
    EXPECT_TRUE(hasShown(2));
    end(kExpired);
    tell("2");
    EXPECT_TRUE(hasShown(3));
    end(kDismissed);
    tell("3");
    EXPECT_TRUE(hasShown(4));
    EXPECT_EQ(desktop->id, 4U) << "none takes the place of another";
    desktop.reset();
    desktop.emplace();
    tell("4 & <b>");
    EXPECT_TRUE(hasShown(1));
    EXPECT_EQ(desktop->texts.back(), QStringLiteral("Kestrin|4 &amp; &lt;b&gt;|"));
}

TEST_F(DesktopNotificationTest, ShowsChangesInPlaceAndCloses) {
    // All before the first answer: only the newest is worth showing.
    show("1 & <b>");
    show("2");
    EXPECT_TRUE(hasShown(1));
    EXPECT_EQ(desktop->texts.back(), QStringLiteral("Emptying|2|action,Stop"));
    show("3 & <b>");
    EXPECT_TRUE(hasShown(2));
    EXPECT_EQ(desktop->texts.back(), QStringLiteral("Emptying|3 &amp; &lt;b&gt;|action,Stop"));
    EXPECT_EQ(desktop->id, 1U);
    notification->close();
    EXPECT_TRUE(test::waitFor([&] { return !desktop->isShown; }));
    show("4");
    EXPECT_TRUE(hasShown(3));
    notification.reset();
    EXPECT_TRUE(test::waitFor([&] { return !desktop->isShown; }));
}

TEST_F(DesktopNotificationTest, OnlyItsOwnButtonOfItsOwnDesktopCalls) {
    show("1");
    EXPECT_TRUE(hasShown(1));
    show("2");
    EXPECT_TRUE(hasShown(2));
    press(desktop->id + 1);
    QDBusMessage forged = QDBusMessage::createSignal(
        QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("ActionInvoked"));
    forged.setArguments({desktop->id, QStringLiteral("action")});
    QDBusConnection::sessionBus().send(forged);
    test::waitFor([] { return false; }, 100);
    EXPECT_EQ(pressed, 0);
    press(desktop->id);
    EXPECT_TRUE(test::waitFor([&] { return pressed == 1; }));
}

TEST_F(DesktopNotificationTest, ComesBackWhenItExpiredAndNotWhenTheUserTookItAway) {
    show("1");
    EXPECT_TRUE(hasShown(1));
    end(kExpired);
    show("1");
    EXPECT_TRUE(hasShown(2));
    end(kDismissed);
    notification->close();
    show("2");
    test::waitFor([] { return false; }, 100);
    EXPECT_EQ(desktop->texts.size(), 2);
}

TEST_F(DesktopNotificationTest, FollowsAServiceThatComesLateOrIsStartedAnew) {
    desktop.reset();
    show("1");
    test::waitFor([] { return false; }, 100);
    desktop.emplace();
    EXPECT_TRUE(hasShown(1));
    desktop.emplace();
    EXPECT_TRUE(hasShown(1)) << "shown again";
    EXPECT_EQ(desktop->id, 1U) << "the former service's number means nothing to this one";
}

TEST(RevealInFileManager, ShowsTheItemsOrTheirFolderWhereNobodyCan) {
    KESTRIN_REQUIRE_BUS();
    const std::vector<FileUrl> items(501, FileUrl::fromPath("/files \xff/a%b\n"));
    const QString name = QStringLiteral("org.freedesktop.FileManager1");
    test::FileManagerService manager;
    const auto opensTheFolder = [&] {
        revealInFileManager(items, std::chrono::milliseconds(200));
        const bool isOpened = test::waitFor([&] { return !manager.opened.isEmpty(); });
        return isOpened && std::exchange(manager.opened, {}) == "file:///files%20%FF";
    };
    EXPECT_TRUE(opensTheFolder()) << "without a file manager";
    QDBusConnection peer = test::PrivateBus::shared()->peer();
    ASSERT_TRUE(peer.registerService(name));
    revealInFileManager(items);
    EXPECT_TRUE(test::waitFor([&] { return manager.shown.size() == 500; }));
    EXPECT_EQ(manager.shown[0], QStringLiteral("file:///files%20%FF/a%25b%0A"));
    test::waitFor([] { return false; }, 100);
    EXPECT_EQ(manager.opened, "");
    manager.answers = false;
    EXPECT_TRUE(opensTheFolder()) << "of one that never answers";
    peer.unregisterService(name);
}

}  // namespace
}  // namespace kestrin
