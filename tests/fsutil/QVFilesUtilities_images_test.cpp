// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QBuffer>

#include "fsutil/support/FilesTest.h"
#include "support/ScopedVariable.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

QImage filled(QSize size, QColor color) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

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
        filled(QSize(16, 16), color).save(&buffer, "PNG");
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

TEST_F(ImagesTest, PlaceholderIsARoundedRectangleOfItsSizeOrTheCornerOfALarger) {
    const QImage image = utilities.placeholderImageWithSize(QSize(64, 40));
    ASSERT_EQ(image.size(), QSize(64, 40));
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(image.pixelColor(63, 39).alpha(), 0);
    EXPECT_NEAR(image.pixelColor(32, 20).alphaF(), 0.3, 0.01);
    EXPECT_GT(image.pixelColor(32, 0).alphaF(), 0.5) << "the outline";
    const QImage small = utilities.placeholderImageWithSize(QSize(8, 8));
    EXPECT_EQ(small.pixelColor(0, 0).alpha(), 0);
    EXPECT_NEAR(small.pixelColor(7, 7).alphaF(), 0.3, 0.01);
    EXPECT_TRUE(utilities.placeholderImageWithSize(QSize(0, 8)).isNull());
}

TEST_F(ImagesTest, GhostIsFaintAndAnAddedImageFillsTheBottomRightQuarter) {
    const QImage red = filled(QSize(32, 16), Qt::red), blue = filled(QSize(64, 64), Qt::blue);
    const QImage ghost = utilities.ghostIconWithIcon(red, QSize(20, 10));
    ASSERT_EQ(ghost.size(), QSize(20, 10));
    EXPECT_NEAR(ghost.pixelColor(10, 5).alphaF(), 0.3, 0.01);
    const QImage both = utilities.composedImageMainImage(red, blue);
    ASSERT_EQ(both.size(), QSize(32, 16));
    EXPECT_EQ(both.pixelColor(15, 15), QColor(Qt::red));
    EXPECT_EQ(both.pixelColor(31, 7), QColor(Qt::red));
    EXPECT_EQ(both.pixelColor(16, 8), QColor(Qt::blue));
}

TEST_F(ImagesTest, WithoutAThemeEveryKindHasADrawing) {
    EXPECT_EQ(utilities.iconForItemPath(scratch / "missing"),
              utilities.placeholderImageWithSize(QSize(32, 32)));
    const std::vector<QImage> icons = {utilities.iconForItemPath(file("a.pdf").path()),
                                       utilities.iconForItemPath(file("a.desktop").path()),
                                       utilities.iconForItemPath(folder("d").path()),
                                       utilities.iconForItemPath("/")};
    for (std::size_t i = 0; i < icons.size(); ++i) {
        EXPECT_EQ(icons[i].size(), QSize(32, 32));
        EXPECT_EQ(icons[i].pixelColor(16, 20).alpha(), 255);
        EXPECT_EQ(icons[i].pixelColor(0, 0).alpha(), 0);
        EXPECT_NE(icons[i], icons[(i + 1) % icons.size()]);
    }
}

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

}  // namespace
}  // namespace kestrin
