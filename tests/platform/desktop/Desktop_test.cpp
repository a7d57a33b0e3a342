// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#include "platform/desktop/DesktopApplications.h"
#include "platform/desktop/PackageOwner.h"
#include "platform/desktop/Places.h"
#include "platform/desktop/SoftwareCenter.h"
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

/// The folder in front of the search path holds the two programs as they are written here.
class PackageOwnerTest : public ::testing::Test {
 protected:
    PackageAnswer owner(const std::string& dpkgQuery, const std::string& rpm = "exit 1") {
        for (const auto& [name, script] : {std::pair{"dpkg-query", dpkgQuery}, {"rpm", rpm}}) {
            writeFile(scratch / name, "#!/bin/sh\n" + script + "\n");
            std::filesystem::permissions(scratch / name, std::filesystem::perms::owner_all);
        }
        return packageOwnerOf(FileUrl::fromPath("/opt/a [1]: b*"), std::chrono::seconds(1));
    }
    static std::string nameIn(const PackageAnswer& answer) {
        if (!answer) return "error " + std::to_string(answer.error().systemError);
        return *answer ? (*answer)->manager + " " + (*answer)->package : "none";
    }

    ScratchFolder scratch;
    ScopedVariable path{"PATH", scratch.path() + ":" + std::getenv("PATH")};
};

TEST_F(PackageOwnerTest, IsWhatTheDatabasesSay) {
    const std::string answer =
        "echo diversion by x from: '/opt/a [1]: b*';"
        "echo kestrin:amd64, other: '/opt/a [1]: b*'";
    EXPECT_EQ(nameIn(owner(answer)), "dpkg kestrin");
    EXPECT_EQ(nameIn(owner("test \"$2\" = '/opt/a \\[1]: b\\*' && " + answer)), "dpkg kestrin")
        << "the path is no pattern";
    EXPECT_EQ(nameIn(owner("echo kestrin: /opt/else")), "none");
    EXPECT_EQ(nameIn(owner("exit 1", "echo kestrin; echo kestrin")), "rpm kestrin");
    EXPECT_EQ(nameIn(owner("exit 1", "echo file is not owned; exit 1")), "none");
    const ScopedVariable noPrograms("PATH", scratch / "absent");
    EXPECT_EQ(nameIn(packageOwnerOf(FileUrl::fromPath("/usr/bin/env"))), "none");
}

TEST_F(PackageOwnerTest, IsNotGuessedFromAnAnswerThatDoesNotCome) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(nameIn(owner("exec sleep 100")), "error " + std::to_string(ETIMEDOUT));
    EXPECT_EQ(nameIn(owner("exec yes")), "error " + std::to_string(ETIMEDOUT));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
    EXPECT_EQ(nameIn(owner("exit 2")), "error " + std::to_string(EIO));
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

TEST_F(DesktopApplicationsTest, SoftwareCenterNeedsAProgramAndADescription) {
    const auto knows = [] { return softwareCenterKnows("org.x.Tool"); };
    writeFile(scratch / "b/metainfo/org.x.Tool.metainfo.xml");
    writeFile(scratch / "a/applications/mimeinfo.cache",
              "[MIME Cache]\nx-scheme-handler/appstream=gone.desktop;center.desktop;\n");
    EXPECT_FALSE(knows()) << "the cache may name what is gone";
    writeFile(scratch / "b/applications/center.desktop", "[Desktop Entry]\n");
    EXPECT_TRUE(knows());
    EXPECT_FALSE(softwareCenterKnows("org.x.Other"));
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
