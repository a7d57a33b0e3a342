// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/TrashIcon.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

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

TEST_F(TrashIcon, ATwiceAsFineScreenGetsTwiceThePixels) {
    const QPixmap fine = trashIcon(true, Qt::white).pixmap(QSize(22, 22), 2.0);
    EXPECT_EQ(fine.size(), QSize(44, 44));
    EXPECT_EQ(fine.devicePixelRatio(), 2.0);
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
