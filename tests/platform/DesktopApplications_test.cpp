// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DesktopApplications.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

class DesktopApplicationsTest : public ::testing::Test {
 protected:
    std::string addEntry(const std::string& relativePath, const std::string& more = {}) {
        const std::string path = scratch / relativePath;
        writeFile(path, "[Desktop Entry]\nType=Application\nName=Editor\n" + more);
        return path;
    }
    static std::string pathOf(std::string_view id) {
        const auto entry = desktopEntryWithId(id);
        return entry ? entry->path() : std::string();
    }

    ScratchFolder scratch;
    ScopedVariable dataHome{"XDG_DATA_HOME", scratch / "home"};
    ScopedVariable dataFolders{"XDG_DATA_DIRS", (scratch / "a") + ":relative::" + (scratch / "b/")};
};

TEST_F(DesktopApplicationsTest, FirstFolderInOrderWins) {
    const std::string last = addEntry("b/applications/org.x.Editor.desktop");
    EXPECT_EQ(pathOf("org.x.Editor"), last);
    const std::string middle = addEntry("a/applications/org.x.Editor.desktop");
    EXPECT_EQ(pathOf("org.x.Editor.desktop"), middle);
    const std::string own = addEntry("home/applications/org.x.Editor.desktop");
    EXPECT_EQ(pathOf("org.x.Editor"), own);
    EXPECT_EQ(pathOf("org.x.Missing"), "");
}

TEST_F(DesktopApplicationsTest, HiddenEntryTakesOutTheOnesBehindIt) {
    addEntry("a/applications/tool.desktop");
    addEntry("home/applications/tool.desktop", "Hidden=true\n");
    EXPECT_EQ(pathOf("tool"), "");
}

TEST_F(DesktopApplicationsTest, DashesMayStandForSubfolders) {
    const std::string nested = addEntry("a/applications/kde4/sub/my-tool.desktop");
    EXPECT_EQ(pathOf("kde4-sub-my-tool"), nested);
    EXPECT_EQ(pathOf("kde4-my-tool"), "");
}

TEST_F(DesktopApplicationsTest, IdsNeverLeadOutOfTheFolders) {
    addEntry("a/secret.desktop");
    addEntry("a/applications/in.desktop");
    EXPECT_EQ(pathOf("../secret"), "");
    EXPECT_EQ(pathOf("..-secret"), "");
    EXPECT_EQ(pathOf(".-in"), "");
    EXPECT_EQ(pathOf(""), "");
    EXPECT_EQ(pathOf(std::string_view("in\0", 3)), "");
}

TEST_F(DesktopApplicationsTest, OpenerGetsTheExactBytes) {
    const std::string opener = scratch / "bin/xdg-open";
    writeFile(opener, "#!/bin/sh\nprintf '%s' \"$#:$1\" > '" + (scratch / "got.part") + "'\nmv '" +
                          (scratch / "got.part") + "' '" + (scratch / "got") + "'\n");
    chmod(opener.c_str(), 0755);
    const ScopedVariable path("PATH", (scratch / "bin") + ":/usr/bin:/bin");
    const std::string item = "/tmp/a b\xff%20\n$(x)";
    EXPECT_TRUE(openWithDesktop(item));
    ASSERT_TRUE(waitFor([&] { return exists(scratch / "got"); }));
    EXPECT_EQ(readFile(scratch / "got"), "1:" + item);
    EXPECT_FALSE(openWithDesktop("-relative"));
}

TEST_F(DesktopApplicationsTest, MissingOpenerIsTold) {
    const ScopedVariable path("PATH", scratch.path());
    EXPECT_FALSE(openWithDesktop("/tmp"));
}

}  // namespace
}  // namespace kestrin
