// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QDBusMessage>
#include <QObject>
#include <QRect>

#include "platform/desktop/ui/StatusItem.h"
#include "platform/desktop/ui/TrashIcon.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

/// The part of a desktop that knows whether icons will be shown.
class Watcher : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER m_hasHost)

 public:
    Watcher() {
        m_bus.registerObject(kPath, this, QDBusConnection::ExportAllProperties);
        EXPECT_TRUE(m_bus.registerService(kName));
    }
    ~Watcher() override {
        m_bus.unregisterService(kName);
        m_bus.unregisterObject(kPath);
    }
    void addHost() {
        m_hasHost = true;
        m_bus.send(QDBusMessage::createSignal(kPath, kName,
                                              QStringLiteral("StatusNotifierHostRegistered")));
    }

 private:
    const QString kName = QStringLiteral("org.kde.StatusNotifierWatcher");
    const QString kPath = QStringLiteral("/StatusNotifierWatcher");
    QDBusConnection m_bus = test::PrivateBus::shared()->peer();
    bool m_hasHost = false;
};

TEST(StatusItem, WaitsForAHostAndNotForItsWatcherAlone) {
    KESTRIN_REQUIRE_BUS();
    int answers = 0;
    StatusItem::waitForHost(std::chrono::minutes(1), [&](bool isFound) { answers += isFound; });
    Watcher watcher;
    EXPECT_FALSE(test::waitFor([&] { return answers != 0; }, 200));
    watcher.addHost();
    EXPECT_TRUE(test::waitFor([&] { return answers != 0; }));
    EXPECT_EQ(answers, 1);
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

/// A machine without any icon theme.
class TrashIcon : public ::testing::Test {
 protected:
    test::ScratchFolder m_folder;
    test::ScopedVariable m_dataHome{"XDG_DATA_HOME", m_folder / "data"};
    test::ScopedVariable m_dataFolders{"XDG_DATA_DIRS", m_folder / "none"};

    void SetUp() override { QIcon::setThemeName(QStringLiteral("hicolor")); }
    void TearDown() override {
        QIcon::setThemeName(m_themeName);
        QIcon::setThemeSearchPaths(m_searchPaths);
    }
    /// Where Qt looks for them, which stands for the desktop's own theme.
    static void lookForThemesIn(const std::string& folder) {
        QIcon::setThemeSearchPaths({QString::fromStdString(folder)});
    }

 private:
    const QString m_themeName = QIcon::themeName();
    const QStringList m_searchPaths = QIcon::themeSearchPaths();
};

TEST_F(TrashIcon, TheThemesDrawingsAreUsedAsAPairOnly) {
    const std::string places = m_folder / "data/icons/hicolor/scalable/places/";
    test::writeFile(m_folder / "data/icons/hicolor/index.theme",
                    "[Icon Theme]\nName=hicolor\nDirectories=scalable/places\n"
                    "[scalable/places]\nSize=16\nType=Scalable\nMinSize=8\nMaxSize=512\n");
    const std::string square =
        "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 16 16'><rect width='16' height='";
    test::writeFile(places + "user-trash-symbolic.svg", square + "8'/></svg>");
    lookForThemesIn(m_folder / "data/icons");
    EXPECT_TRUE(trashIcon(false, Qt::black).name().isEmpty());

    test::writeFile(places + "user-trash-full-symbolic.svg", square + "16'/></svg>");
    EXPECT_EQ(trashIcon(false, Qt::black).name(), QStringLiteral("user-trash-symbolic"));
    EXPECT_EQ(trashIcon(true, Qt::black).name(), QStringLiteral("user-trash-full-symbolic"));
    const QImage image = trashIcon(true, Qt::red).pixmap(QSize(16, 16), 1.0).toImage();
    EXPECT_EQ(image.pixelColor(8, 15), QColor(Qt::red)) << "the colour of the panel's texts";
    lookForThemesIn(m_folder / "none");
    EXPECT_TRUE(trashIcon(true, Qt::black).name().isEmpty())
        << "a panel with another theme would draw nothing";

    test::writeFile(places + "user-trash-full-symbolic.svg", "<svg");
    test::writeFile(places + "kestrin-trash-full-symbolic.svg", square + "16'/></svg>");
    lookForThemesIn(m_folder / "data/icons");
    EXPECT_EQ(trashIcon(true, Qt::black).name(), QStringLiteral("kestrin-trash-full-symbolic"))
        << "the own pair where it is installed";
}

}  // namespace
}  // namespace kestrin

#include "StatusItem_test.moc"
