// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/VolumeChoice.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "cli/Paths.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using Indexes = std::vector<std::size_t>;

ListedVolume volume(const FileUrl& url, const QString& name) {
    return {.url = url, .name = name, .problem = {}};
}

TEST(VolumeChoice, APathNamesItsVolumeHoweverItIsSpelledAndANameWhenItIsTheOnlyOne) {
    const test::ScratchFolder folder;
    test::makeFolder(folder / "one/inside");
    ASSERT_EQ(::symlink("one", (folder / "link").c_str()), 0);
    const FileUrl one = *resolved(FileUrl::fromPath(folder / "one"));
    // A path never means another volume's name.
    const std::vector<ListedVolume> volumes = {
        volume(one, QStringLiteral("Backup")),
        volume(FileUrl::fromPath("/two"), QStringLiteral("Same")),
        volume(FileUrl::fromPath("/three"), QStringLiteral("Same")),
        volume(FileUrl::fromPath("/four"), QString::fromStdString(one.path()))};
    for (const std::string& operand : {one.path(), one.path() + "//", one.path() + "/inside/..",
                                       folder / "link", std::string("Backup")})
        EXPECT_EQ(volumesMeantBy(operand, volumes), Indexes{0}) << operand;
    for (const std::string& operand :
         {std::string("backup"), folder / "one/inside", folder.path(), folder / "nothing"})
        EXPECT_EQ(volumesMeantBy(operand, volumes), Indexes{}) << operand;
    EXPECT_EQ(volumesMeantBy("Same", volumes), (Indexes{1, 2}));
}

}  // namespace
}  // namespace kestrin
