// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QLocale>

#include "fsutil/QVFilesUtilities.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

class ApplicationsTest : public ::testing::Test {
 protected:
    ScratchFolder scratch;
    ScopedVariable dataHome{"XDG_DATA_HOME", scratch / "data"};
    ScopedVariable dataFolders{"XDG_DATA_DIRS", scratch / "none"};
    QVFilesUtilities utilities;
};

TEST_F(ApplicationsTest, ApplicationIsFoundWithItsNamesAndVersion) {
    const std::string folder = scratch / "data/applications/";
    const FileUrl entry = FileUrl::fromPath(folder + "org.x.Editor.desktop");
    writeFile(entry.path(),
              "[Desktop Entry]\nVersion=1.5\nX-AppVersion=4.2\nName=Text Editor\n"
              "Name[de]=Texteditor\n");
    EXPECT_EQ(utilities.appURLWithIdentifier("org.x.Editor"), entry);
    EXPECT_EQ(utilities.appVersionWithURL(entry), QStringLiteral("4.2"));
    const QLocale earlier;
    QLocale::setDefault(QLocale(QLocale::German));
    EXPECT_EQ(utilities.originalAppNameWithIdentifier("org.x.Editor"),
              QStringLiteral("Text Editor"));
    EXPECT_EQ(utilities.appNameWithIdentifier("org.x.Editor"), QStringLiteral("Texteditor"));
    QLocale::setDefault(earlier);

    writeFile(folder + "org.x.Tool.desktop", "[Desktop Entry]\nVersion=1.5\n");
    EXPECT_EQ(utilities.appNameWithIdentifier("org.x.Tool"), QStringLiteral("org.x.Tool"));
    EXPECT_TRUE(
        utilities.appVersionWithURL(FileUrl::fromPath(folder + "org.x.Tool.desktop")).isEmpty());
    EXPECT_FALSE(utilities.appWithIdentifierExists("org.x.Missing"));
    EXPECT_TRUE(utilities.appNameWithIdentifier("org.x.Missing").isEmpty());
    EXPECT_EQ(utilities.appIconWithIdentifier("org.x.Missing"),
              utilities.placeholderImageWithSize(QSize(32, 32)));
}

TEST_F(ApplicationsTest, LaunchFailsWhenOneItemCannotBeHandedOver) {
    const ScopedVariable path("PATH", scratch.path());
    EXPECT_FALSE(utilities.launchItems({scratch.path()}));
    EXPECT_FALSE(utilities.launchItems({""}));
}

}  // namespace
}  // namespace kestrin
