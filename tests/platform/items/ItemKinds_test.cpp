// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/ItemKinds.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace kestrin {
namespace {

TEST(ItemKinds, NameDecidesAboutFilesAndTypeAboutTheRest) {
    struct Case {
        const char* name;
        std::uint32_t mode;
        const char* type;
        const char* icon;
    };
    for (const Case& item :
         {Case{"\xff\xfe.PDF", S_IFREG, "application/pdf", "application-pdf"},
          Case{"", S_IFREG, "application/octet-stream", "application-octet-stream"},
          Case{"a.png", S_IFDIR, "inode/directory", "folder"},
          Case{"a.png", S_IFLNK, "inode/symlink", "inode-symlink"}}) {
        const ItemKind kind = kindOfItem(item.name, item.mode);
        EXPECT_EQ(kind.typeIdentifier, item.type);
        EXPECT_EQ(kind.iconNames.front(), item.icon);
        EXPECT_FALSE(kind.description.empty()) << item.type;
    }
    EXPECT_TRUE(isBundleExtension("PhotosLibrary"));
    EXPECT_FALSE(isBundleExtension("ap"));
}

}  // namespace
}  // namespace kestrin
