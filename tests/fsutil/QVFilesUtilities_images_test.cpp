// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QBuffer>

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

}  // namespace
}  // namespace kestrin
