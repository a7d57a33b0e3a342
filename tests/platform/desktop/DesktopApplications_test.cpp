// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/DesktopApplications.h"

#include <gtest/gtest.h>

#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

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

}  // namespace
}  // namespace kestrin
