// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QBuffer>
#include <cstdlib>

#include "base/StringTable.h"
#include "fsutil/QVFinderLabels.h"
#include "fsutil/support/FilesTest.h"
#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

class ImagesTest : public FilesTest {
 protected:
    /// Of the machine's data folders only the kinds of files are there, no icons.
    void SetUp() override {
        folder("machine");
        link("machine/mime", "/usr/share/mime");
    }
    void addThemeIcon(const std::string& name, QColor color) {
        const std::string theme = scratch / "data/icons/hicolor";
        writeFile(theme + "/index.theme",
                  "[Icon Theme]\nDirectories=16/all\n[16/all]\nSize=16\nType=Fixed\n");
        QByteArray bytes;
        QBuffer buffer(&bytes);
        QImage image(16, 16, QImage::Format_RGB32);
        image.fill(color);
        image.save(&buffer, "PNG");
        writeFile(theme + "/16/all/" + name + ".png", bytes.toStdString());
    }
    FileUrl folderWithIcon(const std::string& name, const std::string& icon) {
        file(name + "/.directory", "[Desktop Entry]\nIcon=" + icon + "\n");
        return at(name);
    }
    QColor middleOfIcon(const FileUrl& url) {
        const QImage icon = utilities.iconOfItemWithURL(url, QSize(24, 24));
        EXPECT_EQ(icon.size(), QSize(24, 24));
        return icon.pixelColor(12, 12);
    }

    ScopedVariable dataHome{"XDG_DATA_HOME", scratch / "data"};
    ScopedVariable dataFolders{"XDG_DATA_DIRS", scratch / "machine"};
};

TEST_F(ImagesTest, ThemeIconOfTheKindAndTheFoldersOwnBeforeItButNoPictureOfTheDisk) {
    addThemeIcon("application-pdf", Qt::red);
    addThemeIcon("folder", Qt::green);
    addThemeIcon("special", Qt::blue);
    EXPECT_EQ(middleOfIcon(file("a.pdf")), QColor(Qt::red));
    EXPECT_EQ(middleOfIcon(folderWithIcon("own", "special")), QColor(Qt::blue));
    const std::string picture = scratch / "data/icons/hicolor/16/all/special";
    folder("linked");
    link("linked/.directory", "../own/.directory");
    for (const FileUrl& plain : {folder("plain"), folderWithIcon("unknown", "no-such-icon"),
                                 folderWithIcon("path", picture),
                                 folderWithIcon("file", picture + ".png"), at("linked")}) {
        EXPECT_EQ(middleOfIcon(plain), QColor(Qt::green)) << plain.path();
    }
}

/// Whether two colours are the same but for rounding.
bool isNear(const QColor& one, const QColor& other) {
    const auto near = [](int a, int b) { return std::abs(a - b) <= 2; };
    return near(one.red(), other.red()) && near(one.green(), other.green()) &&
           near(one.blue(), other.blue()) && near(one.alpha(), other.alpha());
}

TEST(FinderLabels, ABadgeIsADiscInTheColourWithADarkerRimOnWhite) {
    const QVFinderLabels labels(StringTable::sharedControl());
    const QColor color(200, 10, 100);
    const QImage disc = labels.createImageWithColor(color, QSizeF(11, 11), 2);
    ASSERT_EQ(disc.size(), QSize(22, 22));
    EXPECT_EQ(disc.devicePixelRatio(), 2);
    EXPECT_EQ(disc.pixelColor(0, 0).alpha(), 0) << "clear around it";
    EXPECT_EQ(disc.pixelColor(11, 11), color);
    EXPECT_TRUE(isNear(disc.pixelColor(11, 0), QColor(174, 0, 74))) << "0.1 less, and none below 0";
    EXPECT_TRUE(isNear(disc.pixelColor(2, 11), color)) << "half of 1.5 points lie inside";
    EXPECT_EQ(labels.alternateColorWithColor(color), QColor(140, 7, 70));
    EXPECT_TRUE(isNear(labels.alternateImageLabelWithKey(6, QSizeF(9, 9)).pixelColor(4, 4),
                       labels.alternateColorWithColor(labels.labelColorWithKey(6))));

    QImage small(2, 2, QImage::Format_ARGB32_Premultiplied);
    small.fill(Qt::blue);
    const QImage ground = labels.imageAndBackgroundWithImage(small, QSizeF(8, 6));
    EXPECT_EQ(ground.pixelColor(3, 2), QColor(Qt::blue));
    EXPECT_EQ(ground.pixelColor(4, 3), QColor(Qt::blue));
    EXPECT_EQ(ground.pixelColor(5, 3), QColor(Qt::white)) << "in the middle of the ellipse";
    EXPECT_EQ(ground.pixelColor(0, 0).alpha(), 0);
    small = QImage(20, 20, QImage::Format_RGB32);
    small.fill(Qt::blue);
    EXPECT_EQ(labels.imageAndBackgroundWithImage(small, QSizeF(8, 8)).pixelColor(0, 0).alpha(), 0);

    EXPECT_EQ(labels.imageLabelWithBackgroundWithKey(7, QSizeF(11, 11)).pixelColor(5, 5),
              labels.labelColorWithKey(7));
    for (const int none : {0, 8, -1, 40000})
        EXPECT_TRUE(labels.imageLabelWithBackgroundWithKey(none, QSizeF(11, 11)).isNull()) << none;
    EXPECT_TRUE(labels.imageLabelWithKey(1, QSizeF()).isNull());
    EXPECT_TRUE(labels.labelNameWithKey(8).isEmpty() && !labels.labelColorWithKey(8).isValid());
    EXPECT_EQ(labels.allLabelNames().size(), 8);
}

}  // namespace
}  // namespace kestrin
