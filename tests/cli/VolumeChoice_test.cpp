// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/VolumeChoice.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "cli/Paths.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using Indexes = std::vector<std::size_t>;

VolumeRecord volume(const FileUrl& url, const QString& name) {
    VolumeRecord record;
    record.url = url;
    record.name = name;
    record.path = url.path();
    record.isDisk = true;
    return record;
}

class VolumeChoice : public ::testing::Test {
 protected:
    VolumeChoice() {
        for (const char* name : {"one", "two", "three"})
            test::makeFolder(m_folder / name);
        test::makeFolder(m_folder / "one/inside");
        m_volumes = {volume(place("one"), QStringLiteral("Backup")),
                     volume(place("two"), QStringLiteral("Same")),
                     volume(place("three"), QStringLiteral("Same"))};
    }
    FileUrl place(const std::string& name) const {
        return *resolved(FileUrl::fromPath(m_folder / name));
    }
    Indexes meantBy(const std::string& operand) const { return volumesMeantBy(operand, m_volumes); }

    const test::ScratchFolder m_folder;
    std::vector<VolumeRecord> m_volumes;
};

TEST_F(VolumeChoice, APathNamesItsVolumeHoweverItIsSpelled) {
    const std::string one = place("one").path();
    ASSERT_EQ(::symlink(one.c_str(), (m_folder / "link").c_str()), 0);
    EXPECT_EQ(meantBy(one), Indexes{0});
    EXPECT_EQ(meantBy(one + "//"), Indexes{0});
    EXPECT_EQ(meantBy(one + "/inside/.."), Indexes{0});
    EXPECT_EQ(meantBy(m_folder / "link"), Indexes{0});
}

TEST_F(VolumeChoice, AFolderInsideAVolumeIsNotTheVolume) {
    EXPECT_EQ(meantBy(m_folder / "one/inside"), Indexes{});
    EXPECT_EQ(meantBy(m_folder.path()), Indexes{});
    EXPECT_EQ(meantBy(m_folder / "nothing"), Indexes{});
}

TEST_F(VolumeChoice, ANameCountsWhenItIsTheOnlyOne) {
    EXPECT_EQ(meantBy("Backup"), Indexes{0});
    EXPECT_EQ(meantBy("backup"), Indexes{});
    EXPECT_EQ(meantBy("Same"), (Indexes{1, 2}));
}

TEST_F(VolumeChoice, APathNeverMeansAnotherVolumesName) {
    m_volumes[1].name = QString::fromStdString(place("one").path());
    EXPECT_EQ(meantBy(place("one").path()), Indexes{0});
}

}  // namespace
}  // namespace kestrin
