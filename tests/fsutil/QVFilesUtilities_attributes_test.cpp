// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "fsutil/support/FilesTest.h"

namespace kestrin {
namespace {

using namespace kestrin::test;

class AttributesTest : public FilesTest {
 protected:
    template <class T>
    T value(const FileUrl& url, ResourceKey key) {
        return std::any_cast<T>(utilities.attributeWithURL(url, key));
    }
};

TEST_F(AttributesTest, KindsAreToldWithoutFollowingLinks) {
    const FileUrl directory = folder("d"), package = folder("Tool.APP"), toFolder = link("l", "d");
    EXPECT_TRUE(utilities.isDirectoryWithURL(directory));
    EXPECT_FALSE(utilities.isDirectoryWithURL(toFolder));
    EXPECT_TRUE(utilities.isAliasWithURL(toFolder));
    EXPECT_FALSE(utilities.isAliasWithURL(directory));
    EXPECT_TRUE(utilities.isPackageWithURL(package));
    EXPECT_FALSE(utilities.isPackageWithURL(file("plain.app")));
    EXPECT_TRUE(utilities.isApplicationWithURL(file("x.desktop")));
    EXPECT_FALSE(utilities.isApplicationWithURL(directory));
    EXPECT_TRUE(utilities.isASupportedPackage(folder("p.photoslibrary")));
    EXPECT_FALSE(utilities.isASupportedPackage(package));
    EXPECT_FALSE(utilities.isASupportedPackage(file("f.photoslibrary")));
    EXPECT_EQ(value<std::uint64_t>(file("f", "12345"), ResourceKey::FileSize), 5u);
    EXPECT_EQ(value<std::uint64_t>(link("lf", "f"), ResourceKey::TotalFileSize), 1u);
    EXPECT_FALSE(utilities.attributeWithURL(directory, ResourceKey::FileSize).has_value());
    ItemPermissions permissions;
    EXPECT_EQ(utilities.itemPermission(link("dangling", "nowhere"), permissions), 0);
    EXPECT_TRUE(S_ISLNK(permissions.mode));
    EXPECT_EQ(value<std::string>(file("a.png"), ResourceKey::TypeIdentifier), "image/png");
}

TEST_F(AttributesTest, NothingIsToldOfWhatIsNotThere) {
    for (const FileUrl& url : {at("missing"), FileUrl(), FileUrl::withoutScheme(scratch.path())}) {
        EXPECT_FALSE(utilities.attributeWithURL(url, ResourceKey::Name).has_value());
        EXPECT_FALSE(utilities.itemNameWithURL(url));
        EXPECT_FALSE(utilities.parentDirectoryWithURL(url));
        EXPECT_FALSE(utilities.isDirectoryWithURL(url));
        EXPECT_FALSE(utilities.isLockedWithURL(url));
        EXPECT_FALSE(utilities.unlockWithURL(url));
        EXPECT_FALSE(utilities.isVolumeWithURL(url));
        EXPECT_TRUE(utilities.isVolumeLockedWithURL(url));
        EXPECT_EQ(utilities.volumeCapacityWithURL(url), 0u);
        EXPECT_FALSE(utilities.volumeIDWithItemURL(url));
    }
}

TEST_F(AttributesTest, NamesAreBytesAndHiddenByAFullStopOrTheFoldersList) {
    const FileUrl odd = file("a\xff\n%41");
    EXPECT_EQ(utilities.itemNameWithURL(odd), "a\xff\n%41");
    EXPECT_EQ(utilities.itemDisplayNameWithURL(odd), QStringLiteral(u"a\ufffd\n%41"));
    EXPECT_EQ(utilities.parentDirectoryWithURL(odd), FileUrl::fromPath(scratch.path()));
    EXPECT_FALSE(utilities.parentDirectoryWithURL(FileUrl::fromPath("/")));
    file(".hidden", "listed\n");
    EXPECT_TRUE(utilities.isHiddenWithURL(file(".DS_Store")));
    EXPECT_TRUE(utilities.isHiddenWithURL(file("listed")));
    EXPECT_FALSE(utilities.isHiddenWithURL(odd));
    EXPECT_FALSE(utilities.isHiddenWithURL(FileUrl::withoutScheme(scratch / "listed")));
}

TEST_F(AttributesTest, PathIsGivenWhenSomethingIsThere) {
    const FileUrl odd = file("odd\xff"), dangling = link("dangling", "nowhere");
    const FileUrl inside = file("closed/f");
    EXPECT_EQ(*utilities.pathWithURL(odd), odd.path());
    EXPECT_FALSE(utilities.pathWithURL(FileUrl::withoutScheme(odd.path())));
    EXPECT_FALSE(utilities.itemAtPathExists(dangling.path()));
    ASSERT_EQ(chmod((scratch / "closed").c_str(), 0), 0);
    for (const auto& [url, code] : {std::pair(dangling, ENOENT), {inside, EACCES}})
        EXPECT_EQ(utilities.pathWithURL(url).error().code, code);
}

TEST_F(AttributesTest, OnlyAnothersUnwritableFileLacksPrivileges) {
    KESTRIN_REQUIRE_ROOT();
    ASSERT_EQ(chmod(file("own").path().c_str(), 0444), 0);
    link("link", "others");
    ASSERT_EQ(runAsRoot("cd '" + scratch.path() +
                        "' && touch others open && chmod 600 others && "
                        "chmod 666 open && mkdir -m 700 folder && mkfifo -m 600 fifo"),
              0);
    EXPECT_FALSE(utilities.hasPrivileges(scratch / "others"));
    for (const char* name : {"own", "missing", "open", "folder", "fifo", "link"}) {
        EXPECT_TRUE(utilities.hasPrivileges(scratch / name)) << name;
    }
    EXPECT_TRUE(utilities.hasPrivileges(""));
    const AsRoot root;
    EXPECT_TRUE(utilities.hasPrivileges(scratch / "others"));
}

}  // namespace
}  // namespace kestrin
