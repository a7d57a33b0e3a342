// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/StatusItem.h"

#include <gtest/gtest.h>

#include <QDBusMessage>
#include <QObject>
#include <QRect>
#include <optional>

#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using std::chrono::milliseconds;

const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");

/// The part of a desktop that knows whether icons will be shown.
class Watcher : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

 public:
    explicit Watcher(bool hasHost) : m_hasHost(hasHost) {
        QDBusConnection peer = test::PrivateBus::shared()->peer();
        peer.registerObject(kWatcherPath, this, QDBusConnection::ExportAllProperties);
        EXPECT_TRUE(peer.registerService(kWatcher));
    }
    ~Watcher() override {
        QDBusConnection peer = test::PrivateBus::shared()->peer();
        peer.unregisterService(kWatcher);
        peer.unregisterObject(kWatcherPath);
    }
    bool hasHost() const { return m_hasHost; }
    void addHost() {
        m_hasHost = true;
        test::PrivateBus::shared()->peer().send(QDBusMessage::createSignal(
            kWatcherPath, kWatcher, QStringLiteral("StatusNotifierHostRegistered")));
    }

 private:
    bool m_hasHost;
};

class WaitForHost : public ::testing::Test {
 protected:
    void begin(milliseconds timeout) {
        StatusItem::waitForHost(timeout, [this](bool found) {
            EXPECT_FALSE(m_found) << "answered twice";
            m_found = found;
        });
    }
    bool isAnsweredWithin(int time) {
        return test::waitFor([this] { return m_found.has_value(); }, time);
    }
    std::optional<bool> m_found;
};

TEST_F(WaitForHost, AnswersNoAfterTheTimeWithoutABusOrAHost) {
    begin(milliseconds(150));
    EXPECT_FALSE(isAnsweredWithin(50));
    EXPECT_TRUE(isAnsweredWithin(5000));
    EXPECT_EQ(m_found, false);
}

TEST_F(WaitForHost, FindsAHostThatIsThere) {
    KESTRIN_REQUIRE_BUS();
    const Watcher watcher(true);
    begin(milliseconds(20000));
    EXPECT_TRUE(isAnsweredWithin(5000));
    EXPECT_EQ(m_found, true);
}

TEST_F(WaitForHost, AWatcherWithoutAHostIsNotEnough) {
    KESTRIN_REQUIRE_BUS();
    begin(milliseconds(20000));
    Watcher watcher(false);
    EXPECT_FALSE(isAnsweredWithin(200));
    watcher.addHost();
    EXPECT_TRUE(isAnsweredWithin(5000));
    EXPECT_EQ(m_found, true);
}

TEST(StatusItem, TheMenuLiesBesideTheIconAndOnTheScreen) {
    const QRect screen(0, 0, 1280, 800);
    const QSize menu(200, 300);
    EXPECT_EQ(menuPositionBeside({100, 0, 24, 24}, menu, screen), QPoint(100, 24));
    EXPECT_EQ(menuPositionBeside({1250, 0, 24, 24}, menu, screen), QPoint(1080, 24));
    EXPECT_EQ(menuPositionBeside({100, 776, 24, 24}, menu, screen), QPoint(100, 476));
    EXPECT_EQ(menuPositionBeside({1300, 0, 24, 24}, menu, {1280, 0, 1280, 800}), QPoint(1300, 24));
    EXPECT_EQ(menuPositionBeside({100, 0, 24, 24}, {200, 900}, screen), QPoint(100, 24));
}

}  // namespace
}  // namespace kestrin

#include "StatusItem_test.moc"
