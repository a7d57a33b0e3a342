// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QDBusMessage>
#include <QObject>
#include <QRect>
#include <algorithm>
#include <optional>

#include "platform/desktop/ui/StatusItem.h"
#include "platform/desktop/ui/TrashIcon.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/ScopedVariable.h"
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

TEST_F(WaitForHost, AWatcherWithoutAHostIsNotEnoughAndOneThatIsThereIsFoundAtOnce) {
    KESTRIN_REQUIRE_BUS();
    begin(milliseconds(20000));
    Watcher watcher(false);
    EXPECT_FALSE(isAnsweredWithin(200));
    watcher.addHost();
    EXPECT_TRUE(isAnsweredWithin(5000));
    m_found.reset();
    begin(milliseconds(20000));
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

constexpr int kSizes[] = {16, 22, 24, 32, 48};

/// Opaque pixels of an icon, and whether all it paints has the colour `only`.
struct Painted {
    int opaque = 0;
    bool isOneColour = true;
};

Painted painted(const QIcon& icon, int size, QColor only) {
    const QImage image = icon.pixmap(QSize(size, size), 1.0).toImage();
    Painted result;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (colour.alpha() < 255) continue;
            ++result.opaque;
            result.isOneColour &= colour.rgb() == only.rgb();
        }
    }
    return result;
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

TEST_F(TrashIcon, OwnPairFollowsThePanelAndTellsFullFromEmptyAtEverySize) {
    for (const int size : kSizes) {
        for (const QColor foreground : {QColor(0x2e, 0x34, 0x36), QColor(Qt::white)}) {
            const Painted empty = painted(trashIcon(false, foreground), size, foreground);
            const Painted full = painted(trashIcon(true, foreground), size, foreground);
            EXPECT_TRUE(empty.isOneColour && full.isOneColour) << size;
            EXPECT_GT(empty.opaque, size * size / 7) << size;
            EXPECT_GT(full.opaque, empty.opaque * 5 / 4) << size;
        }
    }
    EXPECT_TRUE(trashIcon(true, Qt::black).name().isEmpty());
}

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
    const Painted theme = painted(trashIcon(true, QColor(Qt::red)), 16, Qt::red);
    EXPECT_EQ(theme.opaque, 256);
    EXPECT_TRUE(theme.isOneColour);
    lookForThemesIn(m_folder / "none");
    EXPECT_TRUE(trashIcon(true, Qt::black).name().isEmpty())
        << "a panel with another theme would draw nothing";

    test::writeFile(places + "user-trash-full-symbolic.svg", "<svg");
    test::writeFile(places + "kestrin-trash-full-symbolic.svg", square + "16'/></svg>");
    lookForThemesIn(m_folder / "data/icons");
    EXPECT_EQ(trashIcon(true, Qt::black).name(), QStringLiteral("kestrin-trash-full-symbolic"))
        << "the own pair where it is installed";
}

TEST_F(TrashIcon, TheOutlinedPairIsVisibleWhateverTheColourOfThePanel) {
    for (const bool isDark : {false, true}) {
        const QImage image = outlinedTrashIcon(true, isDark).pixmap(QSize(22, 22), 1.0).toImage();
        int dark = 0, light = 0;
        for (int at = 0; at < 22 * 22; ++at) {
            const QColor colour = image.pixelColor(at % 22, at / 22);
            dark += colour.alpha() == 255 && colour.red() < 100;
            light += colour.alpha() == 255 && colour.red() > 200;
        }
        EXPECT_GT(std::min(dark, light), 22) << isDark;
    }
}

}  // namespace
}  // namespace kestrin

#include "StatusItem_test.moc"
