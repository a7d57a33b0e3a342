// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <QBuffer>

#include "fsutil/QVFilesUtilities.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

QImage filled(QSize size, QColor color) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

class ImagesTest : public ::testing::Test {
 protected:
    /// Of the machine's data folders only the kinds of files are there, no icons.
    void SetUp() override {
        makeFolder(scratch / "machine");
        ASSERT_EQ(symlink("/usr/share/mime", (scratch / "machine/mime").c_str()), 0);
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
    FileUrl folder(const std::string& name, const std::string& icon = {}) {
        makeFolder(scratch / name);
        if (!icon.empty()) {
            writeFile(scratch / (name + "/.directory"), "[Desktop Entry]\nIcon=" + icon + "\n");
        }
        return FileUrl::fromPath(scratch / name);
    }
    FileUrl file(const std::string& name) {
        writeFile(scratch / name);
        return FileUrl::fromPath(scratch / name);
    }
    QColor middleOfIcon(const FileUrl& url) {
        const QImage icon = utilities.iconOfItemWithURL(url, QSize(24, 24));
        EXPECT_EQ(icon.size(), QSize(24, 24));
        return icon.pixelColor(12, 12);
    }

    ScratchFolder scratch;
    ScopedVariable dataHome{"XDG_DATA_HOME", scratch / "data"};
    ScopedVariable dataFolders{"XDG_DATA_DIRS", scratch / "machine"};
    QVFilesUtilities utilities;
};

TEST_F(ImagesTest, PlaceholderIsARoundedRectangleOfItsSize) {
    const QImage image = utilities.placeholderImageWithSize(QSize(64, 40));
    ASSERT_EQ(image.size(), QSize(64, 40));
    for (const QPoint corner : {QPoint(0, 0), QPoint(63, 0), QPoint(0, 39), QPoint(63, 39)}) {
        EXPECT_EQ(image.pixelColor(corner).alpha(), 0);
    }
    const QColor middle = image.pixelColor(32, 20);
    EXPECT_NEAR(middle.alphaF(), 0.3, 0.01);
    EXPECT_NEAR(middle.redF(), 0.7, 0.02);
    // The outline lies on the edge: half of its width is in the image.
    EXPECT_GT(image.pixelColor(32, 0).alphaF(), 0.5);
    EXPECT_NEAR(image.pixelColor(32, 2).alphaF(), 0.3, 0.01);
}

TEST_F(ImagesTest, SmallPlaceholderClipsALargerShape) {
    const QImage image = utilities.placeholderImageWithSize(QSize(8, 8));
    ASSERT_EQ(image.size(), QSize(8, 8));
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
    // A shape of 8 by 8 would have rounded this corner too.
    EXPECT_NEAR(image.pixelColor(7, 7).alphaF(), 0.3, 0.01);
    EXPECT_TRUE(utilities.placeholderImageWithSize(QSize(0, 8)).isNull());
}

TEST_F(ImagesTest, GhostIsFaintAndScaled) {
    const QImage ghost = utilities.ghostIconWithIcon(filled(QSize(8, 8), Qt::red), QSize(20, 10));
    ASSERT_EQ(ghost.size(), QSize(20, 10));
    EXPECT_NEAR(ghost.pixelColor(10, 5).alphaF(), 0.3, 0.01);
    EXPECT_GT(ghost.pixelColor(10, 5).redF(), 0.95);
    EXPECT_EQ(utilities.ghostIconWithIcon(QImage(), QSize(4, 4)).pixelColor(1, 1).alpha(), 0);
}

TEST_F(ImagesTest, AddedImageFillsTheBottomRightQuarter) {
    const QImage image = utilities.composedImageMainImage(filled(QSize(32, 16), Qt::red),
                                                          filled(QSize(64, 64), Qt::blue));
    ASSERT_EQ(image.size(), QSize(32, 16));
    for (int x = 0; x < 32; ++x) {
        for (int y = 0; y < 16; ++y) {
            const bool isQuarter = x >= 16 && y >= 8;
            ASSERT_EQ(image.pixelColor(x, y), QColor(isQuarter ? Qt::blue : Qt::red));
        }
    }
}

TEST_F(ImagesTest, NoItemGivesThePlaceholder) {
    const QSize size(32, 32);
    EXPECT_EQ(utilities.iconForItemPath(""), utilities.placeholderImageWithSize(size));
    EXPECT_EQ(utilities.iconForItemPath(scratch / "missing"),
              utilities.placeholderImageWithSize(size));
}

TEST_F(ImagesTest, WithoutAThemeEveryKindHasADrawing) {
    const QImage document = utilities.iconForItemPath(file("a.pdf").path());
    const QImage application = utilities.iconForItemPath(file("a.desktop").path());
    const QImage directory = utilities.iconForItemPath(folder("d").path());
    const QImage volume = utilities.iconForItemPath("/");
    const std::vector<QImage> icons = {document, application, directory, volume};
    for (std::size_t i = 0; i < icons.size(); ++i) {
        EXPECT_EQ(icons[i].size(), QSize(32, 32));
        EXPECT_EQ(icons[i].pixelColor(16, 20).alpha(), 255);
        EXPECT_EQ(icons[i].pixelColor(0, 0).alpha(), 0);
        EXPECT_NE(icons[i], icons[(i + 1) % icons.size()]);
    }
}

TEST_F(ImagesTest, ThemeIconOfTheKindAndTheFoldersOwnBeforeIt) {
    addThemeIcon("application-pdf", Qt::red);
    addThemeIcon("folder", Qt::green);
    addThemeIcon("special", Qt::blue);
    EXPECT_EQ(middleOfIcon(file("a.pdf")), QColor(Qt::red));
    EXPECT_EQ(middleOfIcon(folder("plain")), QColor(Qt::green));
    EXPECT_EQ(middleOfIcon(folder("own", "special")), QColor(Qt::blue));
    EXPECT_EQ(middleOfIcon(folder("unknown", "no-such-icon")), QColor(Qt::green));
}

TEST_F(ImagesTest, FoldersNeverChooseAPictureOfTheDisk) {
    addThemeIcon("folder", Qt::green);
    addThemeIcon("picture", Qt::red);
    const std::string picture = scratch / "data/icons/hicolor/16/all/picture";
    EXPECT_EQ(middleOfIcon(folder("path", picture)), QColor(Qt::green));
    EXPECT_EQ(middleOfIcon(folder("file", picture + ".png")), QColor(Qt::green));
    const FileUrl linked = folder("linked");
    folder("own", "picture");
    ASSERT_EQ(symlink("../own/.directory", (linked.path() + "/.directory").c_str()), 0);
    EXPECT_EQ(middleOfIcon(linked), QColor(Qt::green));
}

}  // namespace
}  // namespace kestrin
