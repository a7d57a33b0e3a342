// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/HelperProtocol.h"

#include <gtest/gtest.h>

namespace kestrin {
namespace {

#define ONE_IDENTITY(text)                                           \
    "<dict><key>unlockItems</key><array><string>/a</string></array>" \
    "<key>identities</key><array><string>" text "</string></array></dict>"

TEST(EraseItems, carriesEveryNameAndTakesNothingElse) {
    const EraseItems items{.unlockItems = {"/a/\xff\n%&<b>"},
                           .permissionsItems = {"/\x01", "/é"},
                           .erasedSize = ~std::uint64_t{0},
                           .erasedCount = 7,
                           .notTrashedBecauseFolderNotEmpty = {{"/a"}},
                           .identities = {{~std::uint64_t{0}, 2, INT64_MIN}, {}, {1}, {1, 0, 2}},
                           .keepsLocked = true};
    const auto read = EraseItems::fromXml(items.toXml());
    ASSERT_TRUE(read) << read.error().localizedDescription();
    EXPECT_EQ(*read, items);
    for (const char* const body :
         {"<array/>", "<dict><key>unlockItems</key><string>/a</string></dict>",
          "<dict><key>unlockItems</key><array><string></string></array></dict>",
          "<dict><key>unlockItems</key><array><array/></array></dict>",
          "<dict><key>erasedCount</key><integer>-1</integer></dict>",
          "<dict><key>erasedSize</key><real>1</real></dict>",
          "<dict><key>identities</key><array><string>1 2 3</string></array></dict>",
          "<dict><key>identities</key><string>1 2 3</string></dict>", ONE_IDENTITY("1 2"),
          ONE_IDENTITY("1 2 3 "), ONE_IDENTITY("1 2 3 4"), ONE_IDENTITY("0 2 3"),
          ONE_IDENTITY("-1 2 3"), ONE_IDENTITY("1 18446744073709551616 3"),
          "<dict><key>keepsLocked</key><string>true</string></dict>",
          "<dict><key>further</key><true/></dict>"}) {
        EXPECT_FALSE(
            EraseItems::fromXml("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<plist version=\"1.0\">" +
                                std::string(body) + "</plist>\n"))
            << body;
    }
}

}  // namespace
}  // namespace kestrin
