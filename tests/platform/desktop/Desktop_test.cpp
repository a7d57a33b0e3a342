// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>
#include <utility>

#include "platform/desktop/DesktopApplications.h"
#include "platform/desktop/LoginItem.h"
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

/// The autostart folder of a user, on a desktop of the name "Here".
class LoginItemTest : public ::testing::Test {
 protected:
    bool isLeftAlone(bool isEnabled) {
        const std::string before = listing(scratch.path());
        setLoginItemEnabled(isEnabled);
        return listing(scratch.path()) == before;
    }
    int errorOf(bool isEnabled) {
        const auto error = setLoginItemEnabled(isEnabled);
        return error ? error->systemError : 0;
    }

    ScratchFolder scratch;
    const ScopedVariable home{"HOME", scratch.path()};
    const ScopedVariable configuration{"XDG_CONFIG_HOME", scratch / "config"};
    const ScopedVariable desktop{"XDG_CURRENT_DESKTOP", "Other:Here"};
    const std::string file = scratch / "config/autostart/com.quorvane.Kestrin3.desktop";
};

TEST_F(LoginItemTest, IsAnEntryThatComesAndGoes) {
    EXPECT_TRUE(isLeftAlone(false));
    EXPECT_EQ(loginItemIsEnabled(), std::nullopt);
    ASSERT_EQ(errorOf(true), 0);
    const std::string own = ownProgram().path();
    EXPECT_NE(readFile(file).find("\nExec=\"" + own + "\" --login\n"), std::string::npos);
    EXPECT_EQ(loginItemIsEnabled(), true);
    EXPECT_TRUE(isLeftAlone(true));
    EXPECT_EQ(errorOf(false), 0);
    EXPECT_FALSE(exists(file));
}

TEST_F(LoginItemTest, KeepsWhatTheUserWroteAndSaidInTheDesktopsSettings) {
    ASSERT_EQ(errorOf(true), 0);
    const std::string written = readFile(file);
    for (const std::string off :
         {"Hidden=true", " Hidden = true", "X-GNOME-Autostart-enabled=false", "OnlyShowIn=There;",
          "NotShowIn=Here;There"}) {
        writeFile(file, "# mine\n[Desktop Entry]\n" + off + "\nExec=env A=1 " +
                            ownProgram().path() + "\nX-Mine=1\n\n[More]\nHidden=true\n");
        EXPECT_EQ(loginItemIsEnabled(), false) << off;
        EXPECT_TRUE(isLeftAlone(false)) << off;
        EXPECT_EQ(errorOf(true), 0);
        EXPECT_EQ(loginItemIsEnabled(), true) << off;
        for (const char* mine :
             {"# mine\n", "\nExec=env A=1 ", "\nX-Mine=1\n", "\n[More]\nHidden=true\n"})
            EXPECT_NE(readFile(file).find(mine), std::string::npos) << mine << readFile(file);
        EXPECT_EQ(readFile(file).find("There") != std::string::npos,
                  off.ends_with("There;") || off.ends_with("There"));
    }
    const std::string moved =
        std::regex_replace(written, std::regex("Exec=\"[^\"]*"), "Exec=\"/old/place");
    writeFile(file, moved);
    EXPECT_EQ(errorOf(true), 0);
    EXPECT_EQ(readFile(file), written) << "the program moved, and so does its own line";
    writeFile(file, written + "Hidden=true\n");
    EXPECT_FALSE(removeLoginItem());
    EXPECT_FALSE(exists(file));
}

TEST_F(LoginItemTest, NeitherFollowsNorReplacesWhatElseHasTheName) {
    writeFile(scratch / "target",
              "[Desktop Entry]\nExec=" + ownProgram().path() + "\nHidden=true\n");
    makeFolder(scratch / "config/autostart");
    std::filesystem::create_symlink(scratch / "target", file);
    EXPECT_EQ(errorOf(true), ELOOP);
    EXPECT_TRUE(isLeftAlone(true));
    std::filesystem::remove(file);
    writeFile(file, "[Desktop Entry]\nExec=another\n");
    EXPECT_EQ(errorOf(true), EEXIST);
    EXPECT_TRUE(isLeftAlone(false));
    writeFile(file, "[Desktop Entry]\nExec=" + ownProgram().path() + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    EXPECT_EQ(errorOf(true), 0) << "it is in force";
    std::filesystem::remove(file);
    makeFolder(file);
    EXPECT_EQ(errorOf(true), EISDIR);
    EXPECT_EQ(errorOf(false), EISDIR);
    std::filesystem::remove(file);
    std::filesystem::permissions(
        scratch / "config/autostart",
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    EXPECT_EQ(errorOf(true), EACCES);
    const ScopedVariable nowhere("XDG_CONFIG_HOME", scratch / "absent/config");
    const auto error = setLoginItemEnabled(true);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, kPOSIXErrorDomain);
    EXPECT_EQ(error->code, 22);
    EXPECT_EQ(error->userInfo.at("failureReason"), "SMLoginItemSetEnabled failed");
    EXPECT_EQ(errorOf(false), 0);
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
        return *answer ? (*answer)->package : "none";
    }

    ScratchFolder scratch;
    ScopedVariable path{"PATH", scratch.path() + ":" + std::getenv("PATH")};
};

TEST_F(PackageOwnerTest, IsWhatTheDatabasesSay) {
    const std::string answer =
        "echo diversion by x from: '/opt/a [1]: b*';"
        "echo kestrin:amd64, other: '/opt/a [1]: b*'";
    EXPECT_EQ(nameIn(owner(answer)), "kestrin");
    EXPECT_EQ(nameIn(owner("test \"$2\" = '/opt/a \\[1]: b\\*' && " + answer)), "kestrin")
        << "the path is no pattern";
    EXPECT_EQ(nameIn(owner("echo kestrin: /opt/else")), "none");
    EXPECT_EQ(nameIn(owner("exit 1", "echo kestrin; echo kestrin")), "kestrin");
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
