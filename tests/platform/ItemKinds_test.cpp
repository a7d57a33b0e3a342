// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ItemKinds.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace kestrin {
namespace {

TEST(ItemKindsTest, BundleExtensionsMatchInAnyCaseAndWhole) {
    EXPECT_TRUE(isBundleExtension("app"));
    EXPECT_TRUE(isBundleExtension("PhotosLibrary"));
    EXPECT_FALSE(isBundleExtension(""));
    EXPECT_FALSE(isBundleExtension("ap"));
    EXPECT_FALSE(isBundleExtension("txt"));
}

TEST(ItemKindsTest, NameDecidesAboutFilesAndTypeAboutTheRest) {
    EXPECT_EQ(kindOfItem("a.png", S_IFREG).typeIdentifier, "image/png");
    EXPECT_EQ(kindOfItem("\xff\xfe.PDF", S_IFREG).typeIdentifier, "application/pdf");
    EXPECT_EQ(kindOfItem("a.png", S_IFDIR).typeIdentifier, "inode/directory");
    EXPECT_EQ(kindOfItem("a.png", S_IFLNK).typeIdentifier, "inode/symlink");
    EXPECT_EQ(kindOfItem("a.png", S_IFIFO).typeIdentifier, "inode/fifo");
    EXPECT_EQ(kindOfItem("noextension", S_IFREG).typeIdentifier, "application/octet-stream");
    EXPECT_EQ(kindOfItem("", S_IFREG).typeIdentifier, "application/octet-stream");
}

TEST(ItemKindsTest, EveryKindHasADescriptionAndIconNames) {
    for (const auto mode : {S_IFREG, S_IFDIR, S_IFLNK, S_IFSOCK, S_IFBLK}) {
        const ItemKind kind = kindOfItem("thing.pdf", mode);
        EXPECT_FALSE(kind.description.empty()) << kind.typeIdentifier;
        EXPECT_FALSE(kind.iconNames.empty()) << kind.typeIdentifier;
    }
    EXPECT_EQ(kindOfItem("a.pdf", S_IFREG).iconNames.front(), "application-pdf");
    EXPECT_EQ(kindOfItem("a", S_IFDIR).iconNames.front(), "folder");
}

}  // namespace
}  // namespace kestrin
