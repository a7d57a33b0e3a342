// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "fsutil/support/FilesTest.h"
#include "support/ScopedVariable.h"

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

TEST_F(AttributesTest, DateAddedIsThatOfTheTrashRecord) {
    const ScopedVariable dataHome("XDG_DATA_HOME", scratch.path()), zone("TZ", "UTC");
    file("Trash/info/old.trashinfo", "[Trash Info]\nDeletionDate=2001-01-02T00:00:10\n");
    EXPECT_EQ(value<double>(file("Trash/files/old"), ResourceKey::AddedToDirectoryDate), 86410.0);
    for (const FileUrl& url : {file("Trash/files/orphan"), file("plain")}) {
        EXPECT_FALSE(
            utilities.attributeWithURL(url, ResourceKey::AddedToDirectoryDate).has_value());
    }
}

TEST_F(AttributesTest, PathIsGivenWhenSomethingIsThere) {
    const FileUrl odd = file("odd\xff"), dangling = link("dangling", "nowhere");
    const FileUrl inside = file("closed/f");
    EXPECT_EQ(*utilities.pathWithURL(odd), odd.path());
    EXPECT_FALSE(utilities.pathWithURL(FileUrl::withoutScheme(odd.path())));
    EXPECT_FALSE(utilities.itemAtPathExists(dangling.path()));
    ASSERT_EQ(chmod((scratch / "closed").c_str(), 0), 0);
    for (const auto& [url, code] : {std::pair(dangling, ENOENT), {inside, EACCES}}) {
        const auto path = utilities.pathWithURL(url);
        ASSERT_FALSE(path);
        EXPECT_EQ(path.error().domain, kPOSIXErrorDomain);
        EXPECT_EQ(path.error().code, code);
        EXPECT_FALSE(path.error().userInfo.at("errorString").empty());
    }
}

TEST_F(AttributesTest, PermissionsAreThoseOfALinkItself) {
    ItemPermissions permissions;
    const FileUrl target = file("f");
    ASSERT_EQ(chmod(target.path().c_str(), 0640), 0);
    EXPECT_EQ(utilities.itemPermission(target, permissions), 0);
    EXPECT_EQ(permissions.mode, S_IFREG | 0640);
    EXPECT_EQ(utilities.itemPermission(link("dangling", "nowhere"), permissions), 0);
    EXPECT_TRUE(S_ISLNK(permissions.mode));
    EXPECT_EQ(utilities.itemPermission(at("missing"), permissions), -1);
    EXPECT_EQ(utilities.itemPermission(FileUrl(), permissions), 1);
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

TEST_F(AttributesTest, LockedIsTheImmutableAttribute) {
    KESTRIN_REQUIRE_ROOT();
    const FileUrl locked = file("locked");
    EXPECT_FALSE(utilities.isLockedWithURL(locked));
    if (!makeImmutable(locked.path())) GTEST_SKIP() << "needs a file system with attributes";
    EXPECT_TRUE(utilities.isLockedWithURL(locked));
    EXPECT_FALSE(utilities.unlockWithURL(locked));
    const AsRoot root;
    EXPECT_TRUE(utilities.unlockWithURL(locked));
    EXPECT_FALSE(utilities.isLockedWithURL(locked));
}

TEST_F(AttributesTest, StartupVolumeCanBeNamedInTheAbsoluteForm) {
    const FileUrl absolute = utilities.setAbsoluteURL(file("odd\xff"));
    EXPECT_EQ(utilities.itemNameWithURL(absolute), "odd\xff");
    EXPECT_EQ(*utilities.pathWithURL(absolute), absolute.path());
    EXPECT_EQ(utilities.volumeIDWithItemURL(absolute),
              utilities.volumeIDWithItemURL(FileUrl::fromPath(scratch.path())));
    const FileUrl root = utilities.setAbsoluteURL(FileUrl::fromPath("/"));
    EXPECT_TRUE(utilities.isVolumeWithURL(root));
    EXPECT_EQ(utilities.itemDisplayNameWithURL(root), DefaultVolumeName());
    EXPECT_EQ(value<FileUrl>(root, ResourceKey::VolumeURL), FileUrl::fromPath("/"));
}

}  // namespace
}  // namespace kestrin
