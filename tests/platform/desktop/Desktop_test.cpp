// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "platform/desktop/DesktopApplications.h"
#include "platform/desktop/Places.h"
#include "platform/desktop/ThemeIcons.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using test::ScopedVariable;
using namespace kestrin::test;

TEST(Places, StandBelowTheHomeFolderUnlessAVariableGivesAnAbsolutePath) {
    const ScopedVariable home("HOME", "/homes/ann/");
    EXPECT_EQ(dataHomeFolder(), "/homes/ann/.local/share");
    const ScopedVariable data("XDG_DATA_HOME", "/data//");
    const ScopedVariable state("XDG_STATE_HOME", "state");
    const ScopedVariable config("XDG_CONFIG_HOME", "");
    EXPECT_EQ(dataHomeFolder(), "/data");
    EXPECT_EQ(location(Place::Logs).path(), "/homes/ann/.local/state/Kestrin 3");
    EXPECT_EQ(location(Place::PreferencesFile).path(),
              "/homes/ann/.config/com.quorvane.kestrin-3.conf");
    for (const char* bad : {"", "ann"}) {
        const ScopedVariable noHome("HOME", bad);
        EXPECT_TRUE(homeFolder().starts_with('/')) << bad;
    }
}

class DesktopApplicationsTest : public ::testing::Test {
 protected:
    /// The path below the scratch folder of the entry that is found.
    std::string found(std::string_view id) const {
        const auto entry = desktopEntryWithId(id);
        return entry ? entry->path().substr(scratch.path().size() + 1) : std::string();
    }

    ScratchFolder scratch;
    ScopedVariable dataHome{"XDG_DATA_HOME", scratch / "home"};
    ScopedVariable dataFolders{"XDG_DATA_DIRS", (scratch / "a") + ":relative::" + (scratch / "b/")};
};

TEST_F(DesktopApplicationsTest, FirstFolderInOrderWinsAndMayHideTheEntry) {
    const std::string text = "[Desktop Entry]\nType=Application\n";
    for (const char* folder : {"b", "a", "home"}) {
        const std::string path = folder + std::string("/applications/org.x.Editor.desktop");
        writeFile(scratch / path, text);
        EXPECT_EQ(found("org.x.Editor"), path);
    }
    writeFile(scratch / "home/applications/org.x.Editor.desktop", text + "Hidden=true\n");
    EXPECT_EQ(found("org.x.Editor"), "");
}

TEST_F(DesktopApplicationsTest, DashesMayStandForSubfoldersButLeadNowhereElse) {
    for (const char* name : {"secret", "applications/in", "applications/kde4/sub/my-tool"})
        writeFile(scratch / ("a/" + std::string(name) + ".desktop"), "[Desktop Entry]\n");
    EXPECT_EQ(found("kde4-sub-my-tool.desktop"), "a/applications/kde4/sub/my-tool.desktop");
    for (const std::string_view id :
         {std::string_view("kde4-my-tool"), std::string_view(), std::string_view("../secret"),
          std::string_view("..-secret"), std::string_view(".-in"), std::string_view("in\0", 3)}) {
        EXPECT_EQ(found(id), "") << id;
    }
}

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
