// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ThemeIcons.h"

#include <gtest/gtest.h>

#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

class ThemeIconsTest : public ::testing::Test {
 protected:
    void addTheme(const std::string& name, const std::string& inherits,
                  const std::vector<std::string>& pictures) {
        const std::string theme = scratch / ("data/icons/" + name);
        writeFile(theme + "/index.theme",
                  "[Icon Theme]\nInherits=" + inherits + "\nDirectories=64@2,16,scalable,64\n" +
                      "[16]\nSize=16\nType=Fixed\n"
                      "[64]\nSize=64\nType=Threshold\nThreshold=8\n"
                      "[64@2]\nSize=64\nScale=2\n"
                      "[scalable]\nSize=128\nMinSize=100\nMaxSize=512\nType=Scalable\n");
        for (const std::string& picture : pictures)
            writeFile(theme + "/" + picture);
    }
    std::string find(const std::vector<std::string>& names, int size,
                     IconFormats formats = IconFormats::Png) {
        const auto file = themeIconFile(names, size, formats);
        return file ? file->path().substr((scratch / "data/").size()) : std::string();
    }

    ScratchFolder scratch;
    ScopedVariable dataHome{"XDG_DATA_HOME", scratch / "data"};
    ScopedVariable dataFolders{"XDG_DATA_DIRS", scratch / "none"};
    ScopedVariable configHome{"XDG_CONFIG_HOME", scratch / "config"};
};

TEST_F(ThemeIconsTest, NearestSizeWinsAndPathsAreNoNames) {
    addTheme("hicolor", {}, {"64@2/text.png", "16/text.png", "64/text.png", "scalable/text.svg"});
    EXPECT_EQ(find({"text"}, 16), "icons/hicolor/16/text.png");
    for (const int size : {60, 64})
        EXPECT_EQ(find({"text"}, size), "icons/hicolor/64/text.png") << size;
    EXPECT_EQ(find({"text"}, 512), "icons/hicolor/64/text.png");
    EXPECT_EQ(find({"text"}, 512, IconFormats::PngAndSvg), "icons/hicolor/scalable/text.svg");
    EXPECT_EQ(find({"../16/text"}, 16), "");
    for (const char* name : {"", "/etc/text", ".hidden", "a b", "a\n"}) {
        EXPECT_FALSE(isThemeIconName(name)) << name;
    }
    EXPECT_TRUE(isThemeIconName("text-x-c++src_1.0"));
}

TEST_F(ThemeIconsTest, UsersThemeComesBeforeItsParentsThenHicolorThenPixmaps) {
    writeFile(scratch / "config/gtk-3.0/settings.ini", "[Settings]\ngtk-icon-theme-name=Mine\n");
    writeFile(scratch / "data/pixmaps/tool.png");
    addTheme("hicolor", {}, {"16/special.png", "16/only.png"});
    addTheme("Base", "Mine", {"16/plain.png"});  // in circles
    addTheme("Mine", "Base,Missing,hicolor", {});
    EXPECT_EQ(find({"special", "plain"}, 16), "icons/Base/16/plain.png");
    writeFile(scratch / "data/icons/Mine/16/plain.png");
    EXPECT_EQ(find({"special", "plain"}, 16), "icons/Mine/16/plain.png");
    EXPECT_EQ(find({"missing", "only"}, 16), "icons/hicolor/16/only.png");
    EXPECT_EQ(find({"tool"}, 16), "pixmaps/tool.png");
}

}  // namespace
}  // namespace kestrin
