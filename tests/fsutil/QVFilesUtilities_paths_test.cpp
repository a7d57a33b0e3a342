// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "fsutil/QVFilesUtilities.h"

namespace kestrin {
namespace {

class PathsTest : public ::testing::Test {
 protected:
    QVFilesUtilities utilities;
    /// What paths of the start-up volume begin with; its name has no slash wherever tests run.
    const std::string startup = "/Volumes/" + DefaultVolumeName().toStdString();
};

TEST_F(PathsTest, AbsolutePathsNameTheStartupVolume) {
    EXPECT_EQ(utilities.setAbsolutePath(""), "");
    EXPECT_EQ(utilities.setAbsolutePath("/"), startup);
    EXPECT_EQ(utilities.setAbsolutePath("/a\xff"), startup + "/a\xff");
    EXPECT_EQ(utilities.setAbsolutePath("/Volumes/Data/x"), "/Volumes/Data/x");
    EXPECT_EQ(utilities.setAbsolutePath("/Users/x/Volumes/y"), "/Users/x/Volumes/y");
}

TEST_F(PathsTest, LocationIsMadeAbsoluteForAnAbsoluteContainerOnly) {
    const FileUrl item = FileUrl::fromPath("/a/b");
    const FileUrl absolute = FileUrl::fromPath(startup + "/a/b");
    EXPECT_EQ(utilities.setAbsoluteURL(item), absolute);
    EXPECT_EQ(utilities.setAbsoluteURL(item, FileUrl::fromPath(startup)), absolute);
    EXPECT_EQ(utilities.setAbsoluteURL(item, FileUrl::fromPath("/a")), item);
    EXPECT_EQ(utilities.setAbsoluteURL(absolute, FileUrl::fromPath(startup)), absolute);
    EXPECT_EQ(utilities.setAbsoluteURL(item, FileUrl()), item);
    const FileUrl text = FileUrl::withoutScheme("/a");
    EXPECT_EQ(utilities.setAbsoluteURL(text, FileUrl::fromPath(startup)), text);
}

TEST_F(PathsTest, HostPathTakesTheStartupVolumeForTheRoot) {
    EXPECT_EQ(hostPath(FileUrl::fromPath(startup)), "/");
    EXPECT_EQ(hostPath(FileUrl::fromPath(startup + "/a/b")), "/a/b");
    EXPECT_EQ(hostPath(FileUrl::fromPath(startup + "x/a")), startup + "x/a");
    EXPECT_EQ(hostPath(FileUrl::fromPath("/Volumes")), "/Volumes");
    EXPECT_EQ(hostPath(FileUrl::fromPath("/a" + startup)), "/a" + startup);
}

TEST_F(PathsTest, SlashesAreTakenOut) {
    EXPECT_EQ(utilities.removeLastSlash("/a/b"), "/ab");
    EXPECT_EQ(utilities.removeLastSlash("/a/"), "/a");
    EXPECT_EQ(utilities.removeLastSlash("ab"), "ab");
    std::uint16_t count = 7;
    EXPECT_EQ(utilities.removeSlashesFromFileSystemName("a/b/c", count), "a:b:c");
    EXPECT_EQ(count, 2);
}

TEST_F(PathsTest, FirstComponentIsCutByTheTextsLength) {
    EXPECT_EQ(utilities.removeFirstPathComponent("/Volumes/Data/x", std::nullopt), "/Data/x");
    EXPECT_EQ(utilities.removeFirstPathComponent("/a/b/c", "/b/"), "/b/c");
    EXPECT_EQ(utilities.removeFirstPathComponent("/abc/x/", "/x/"), "bc/x/");
    EXPECT_EQ(utilities.removeFirstPathComponent("/a/b", std::nullopt), "/a/b");
    EXPECT_EQ(utilities.removeFirstPathComponent("/a/b", ""), "/a/b");
    EXPECT_EQ(utilities.removeFirstPathComponentWithURL(FileUrl::fromPath("/Volumes/D/x"), {}),
              FileUrl::fromPath("/D/x"));
    const FileUrl text = FileUrl::withoutScheme("/Volumes/D/x");
    EXPECT_EQ(utilities.removeFirstPathComponentWithURL(text, {}), text);
}

}  // namespace
}  // namespace kestrin
