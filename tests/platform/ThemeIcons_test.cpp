// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ThemeIcons.h"

#include <gtest/gtest.h>

#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

class ThemeIconsTest : public ::testing::Test {
 protected:
    void addTheme(const std::string& name, const std::string& inherits = {}) {
        writeFile(icons(name) + "/index.theme",
                  "[Icon Theme]\nInherits=" + inherits +
                      "\nDirectories=16/mime,scalable/mime,64/mime,64@2/mime\n"
                      "[16/mime]\nSize=16\nType=Fixed\n"
                      "[64/mime]\nSize=64\nType=Threshold\nThreshold=8\n"
                      "[64@2/mime]\nSize=64\nScale=2\n"
                      "[scalable/mime]\nSize=128\nMinSize=100\nMaxSize=512\nType=Scalable\n");
    }
    void chooseTheme(const std::string& name) {
        writeFile(scratch / "config/gtk-3.0/settings.ini",
                  "[Settings]\ngtk-icon-theme-name=" + name + "\n");
    }
    std::string icons(const std::string& theme) { return scratch / ("data/icons/" + theme); }
    std::string find(const std::vector<std::string>& names, int size,
                     IconFormats formats = IconFormats::Png) {
        const auto file = themeIconFile(names, size, formats);
        const std::string root = scratch / "data/";
        return file ? file->path().substr(root.size()) : std::string();
    }

    ScratchFolder scratch;
    ScopedVariable dataHome{"XDG_DATA_HOME", scratch / "data"};
    ScopedVariable dataFolders{"XDG_DATA_DIRS", scratch / "none"};
    ScopedVariable configHome{"XDG_CONFIG_HOME", scratch / "config"};
};

TEST_F(ThemeIconsTest, NearestSizeWins) {
    addTheme("hicolor");
    for (const char* folder : {"16", "64", "64@2"}) {
        writeFile(icons("hicolor") + "/" + folder + "/mime/text.png");
    }
    writeFile(icons("hicolor") + "/scalable/mime/text.svg");
    EXPECT_EQ(find({"text"}, 16), "icons/hicolor/16/mime/text.png");
    EXPECT_EQ(find({"text"}, 60), "icons/hicolor/64/mime/text.png");
    EXPECT_EQ(find({"text"}, 512), "icons/hicolor/64/mime/text.png");
    EXPECT_EQ(find({"text"}, 512, IconFormats::PngAndSvg), "icons/hicolor/scalable/mime/text.svg");
}

TEST_F(ThemeIconsTest, UsersThemeComesBeforeItsParentsAndThoseBeforeHicolor) {
    addTheme("hicolor");
    addTheme("Base", "Mine");  // in circles
    addTheme("Mine", "Base,Missing,hicolor");
    writeFile(icons("hicolor") + "/16/mime/special.png");
    writeFile(icons("hicolor") + "/16/mime/only.png");
    writeFile(icons("Base") + "/16/mime/plain.png");
    chooseTheme("Mine");
    EXPECT_EQ(find({"special", "plain"}, 16), "icons/Base/16/mime/plain.png");
    writeFile(icons("Mine") + "/16/mime/plain.png");
    EXPECT_EQ(find({"special", "plain"}, 16), "icons/Mine/16/mime/plain.png");
    EXPECT_EQ(find({"missing", "only"}, 16), "icons/hicolor/16/mime/only.png");
}

TEST_F(ThemeIconsTest, UnthemedPixmapIsTheLastResort) {
    writeFile(scratch / "data/pixmaps/tool.png");
    EXPECT_EQ(find({"tool"}, 32), "pixmaps/tool.png");
}

TEST_F(ThemeIconsTest, PathsAreNoNames) {
    for (const char* name : {"", "../text", "/etc/text", ".hidden", "a b", "a\n"}) {
        EXPECT_FALSE(isThemeIconName(name)) << name;
    }
    addTheme("hicolor");
    writeFile(icons("hicolor") + "/16/mime/text.png");
    EXPECT_EQ(find({"../mime/text"}, 16), "");
    EXPECT_TRUE(isThemeIconName("text-x-c++src_1.0"));
}

}  // namespace
}  // namespace kestrin
