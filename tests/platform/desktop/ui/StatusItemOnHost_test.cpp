// SPDX-License-Identifier: GPL-3.0-or-later
// The icon on a desktop that draws icons and menus itself (StatusNotifierItem).
#include <gtest/gtest.h>

#include <QApplication>
#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QMenu>
#include <QThread>
#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/desktop/ui/StatusItem.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "platform/desktop/ui/support/PrivateDisplay.h"
#include "support/TestEnvironment.h"
#include "support/WidgetPictures.h"

namespace kestrin {
namespace {

const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString kItem = QStringLiteral("org.kde.StatusNotifierItem");
const QString kItemPath = QStringLiteral("/StatusNotifierItem");
const QString kMenu = QStringLiteral("com.canonical.dbusmenu");
const QString kMenuPath = QStringLiteral("/MenuBar");

/// A panel and its list of icons. On a thread of its own, since the icon waits for its answers.
class Panel : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

 public:
    Panel() {
        moveToThread(&m_thread);
        m_thread.start();
        m_peer.registerObject(
            kWatcherPath, this,
            QDBusConnection::ExportAllProperties | QDBusConnection::ExportScriptableInvokables);
        EXPECT_TRUE(m_peer.registerService(kWatcher));
    }
    ~Panel() override {
        m_peer.unregisterService(kWatcher);
        m_peer.unregisterObject(kWatcherPath);
        m_thread.quit();
        m_thread.wait();
    }
    bool hasHost() const { return true; }
    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString&) {
        const std::lock_guard lock(m_lock);
        m_item = message().service();
    }
    /// Where the icon answers; empty before there is one.
    QString item() const {
        const std::lock_guard lock(m_lock);
        return m_item;
    }

 private:
    QDBusConnection m_peer = test::PrivateBus::shared()->peer();
    mutable std::mutex m_lock;
    QString m_item;
    QThread m_thread;
};

/// What the panel hears of the icon.
class Signals : public QObject {
    Q_OBJECT

 public:
    Signals() {
        test::PrivateBus::shared()->peer().connect(
            QString(), kItemPath, kItem, QStringLiteral("NewIcon"), this, SLOT(countIcon()));
    }
    Q_SLOT void countIcon() { ++icons; }
    int icons = 0;
};

class StatusItemOnHost : public ::testing::Test {
 protected:
    void SetUp() override {
        KESTRIN_REQUIRE_BUS();
        KESTRIN_REQUIRE_DISPLAY();
        m_panel = std::make_unique<Panel>();
        m_menu.addAction(QStringLiteral("Empty All Trashes"), [this] { ++m_chosen; });
        std::optional<bool> found;
        StatusItem::waitForHost(std::chrono::seconds(10), [&](bool answer) { found = answer; });
        ASSERT_TRUE(test::waitFor([&] { return found.has_value(); }));
        ASSERT_TRUE(*found);
        m_item = std::make_unique<StatusItem>(m_menu);
        ASSERT_TRUE(isRegistered());
    }
    bool isRegistered() {
        return test::waitFor([this] { return !m_panel->item().isEmpty(); });
    }
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments) {
        QDBusMessage message =
            QDBusMessage::createMethodCall(m_panel->item(), path, interface, method);
        message.setArguments(arguments);
        const QDBusPendingCall answer = test::PrivateBus::shared()->peer().asyncCall(message);
        EXPECT_TRUE(test::waitFor([&] { return answer.isFinished(); })) << method.toStdString();
        EXPECT_EQ(answer.reply().type(), QDBusMessage::ReplyMessage)
            << method.toStdString() << ": " << answer.reply().errorMessage().toStdString();
        return answer.reply();
    }
    QVariant property(const QString& name) {
        const QDBusMessage answer =
            call(kItemPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                 QStringLiteral("Get"), {kItem, name});
        return answer.arguments().value(0).value<QDBusVariant>().variant();
    }
    QString toolTip() {
        const auto fields = property(QStringLiteral("ToolTip")).value<QDBusArgument>();
        QString icon;
        QString title;
        fields.beginStructure();
        fields >> icon;
        fields.beginArray();
        fields.endArray();
        fields >> title;
        fields.endStructure();
        return title;
    }
    /// Whether the icon that the panel gets is to be seen on a dark panel and on a light one.
    bool isVisibleOnEveryPanel() {
        const auto pictures = property(QStringLiteral("IconPixmap")).value<QDBusArgument>();
        int width = 0;
        int height = 0;
        QByteArray bytes;
        pictures.beginArray();
        pictures.beginStructure();
        pictures >> width >> height >> bytes;
        pictures.endStructure();
        pictures.endArray();
        int dark = 0;
        int light = 0;
        // Four bytes a pixel: alpha, red, green, blue.
        for (int at = 0; at + 3 < bytes.size(); at += 4) {
            if (static_cast<uchar>(bytes[at]) < 255) continue;
            dark += static_cast<uchar>(bytes[at + 1]) < 100;
            light += static_cast<uchar>(bytes[at + 1]) > 200;
        }
        return std::min(dark, light) > width;
    }
    bool popsUp() {
        return test::waitFor([this] { return m_menu.isVisible(); });
    }
    /// The identifier and the text of the menu's first entry, as a panel would draw it.
    std::pair<int, QString> firstEntry() {
        const QDBusMessage answer =
            call(kMenuPath, kMenu, QStringLiteral("GetLayout"), {0, -1, QStringList()});
        const auto root = answer.arguments().value(1).value<QDBusArgument>();
        int identifier = 0;
        QVariantMap properties;
        QDBusVariant child;
        root.beginStructure();
        root >> identifier >> properties;
        root.beginArray();
        root >> child;
        const auto entry = child.variant().value<QDBusArgument>();
        entry.beginStructure();
        entry >> identifier >> properties;
        entry.endStructure();
        root.endArray();
        root.endStructure();
        return {identifier, properties.value(QStringLiteral("label")).toString()};
    }

    std::unique_ptr<Panel> m_panel;
    QMenu m_menu;
    int m_chosen = 0;
    std::unique_ptr<StatusItem> m_item;
};

TEST_F(StatusItemOnHost, ShowsItsStateAndItsToolTip) {
    Signals heard;
    EXPECT_TRUE(property(QStringLiteral("IconPixmap")).isValid());
    m_item->setToolTip(QStringLiteral("3 trashes"));
    EXPECT_EQ(toolTip(), QStringLiteral("3 trashes"));
    m_item->setTrashIsFull(true);
    EXPECT_TRUE(test::waitFor([&] { return heard.icons == 1; }));
}

TEST_F(StatusItemOnHost, IsVisibleWhateverTheColourOfThePanel) {
    QApplication::setPalette(test::darkPalette());
    EXPECT_TRUE(isVisibleOnEveryPanel());
    QApplication::setPalette(test::lightPalette());
    EXPECT_TRUE(isVisibleOnEveryPanel());
}

TEST_F(StatusItemOnHost, ItsMenuWorksDrawnByThePanelAndByItself) {
    const auto [identifier, label] = firstEntry();
    EXPECT_EQ(label, QStringLiteral("Empty All Trashes"));
    m_menu.actions().constFirst()->setText(menuText(QStringLiteral("A_b & c: 12 items")));
    EXPECT_EQ(firstEntry().second, QStringLiteral("A__b _& c: 12 items"))
        << "to a panel \"_\" says that the next letter is underlined";
    call(kMenuPath, kMenu, QStringLiteral("Event"),
         {identifier, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QString())),
          QVariant::fromValue(0U)});
    EXPECT_TRUE(test::waitFor([this] { return m_chosen == 1; }));

    call(kItemPath, kItem, QStringLiteral("Activate"), {10, 10});
    EXPECT_TRUE(popsUp());
    call(kItemPath, kItem, QStringLiteral("Activate"), {10, 10});
    EXPECT_TRUE(test::waitFor([this] { return !m_menu.isVisible(); }));
    call(kItemPath, kItem, QStringLiteral("ContextMenu"), {10, 10});
    EXPECT_TRUE(popsUp());
    m_menu.close();
}

TEST_F(StatusItemOnHost, ComesBackWithThePanel) {
    m_panel.reset();
    m_item->setToolTip(QStringLiteral("nobody looks"));
    m_panel = std::make_unique<Panel>();
    EXPECT_TRUE(isRegistered());
    EXPECT_EQ(toolTip(), QStringLiteral("nobody looks"));
}

// The last one: afterwards this process has no bus any more.
TEST_F(StatusItemOnHost, OutlivesTheSessionBus) {
    test::PrivateBus::shared()->kill();
    m_item->setTrashIsFull(true);
    m_item->setToolTip(QStringLiteral("still here"));
    test::waitFor([] { return false; }, 300);
    m_item->openMenu();
    EXPECT_TRUE(popsUp());
    m_menu.close();
}

}  // namespace
}  // namespace kestrin

#include "StatusItemOnHost_test.moc"
