// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "platform/MountTable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::ElementsAre;

class AMountWatcher : public ::testing::Test {
 protected:
    void SetUp() override {
        KESTRIN_REQUIRE_MOUNTS();
        m_watcher.emplace([this](const MountWatcher::Change& change) {
            m_told.push_back((change.wasAdded ? "+" : "-") + change.mountPoint);
        });
    }
    /// What was told once the table has come to rest.
    std::vector<std::string> told() {
        waitFor([] { return false; }, 200);
        return std::exchange(m_told, {});
    }

    ScratchFolder m_scratch;
    std::vector<std::string> m_told;
    std::optional<MountWatcher> m_watcher;
};

TEST_F(AMountWatcher, TellsOfVolumesThatComeAndGo) {
    const std::string disk = m_scratch / "My Disk";
    {
        const TestVolume volume(TestVolume::Kind::Tmpfs, disk);
        ASSERT_TRUE(volume.isMounted());
        EXPECT_THAT(told(), ElementsAre("+" + disk));
        runAsRoot("mount -o remount,ro '" + disk + "'");
        EXPECT_THAT(told(), ElementsAre()) << "a remount is no change";
    }
    EXPECT_THAT(told(), ElementsAre("-" + disk));
}

TEST_F(AMountWatcher, TellsOfAnExchangeAsGoneThenCome) {
    const std::string disk = m_scratch / "Disk";
    const TestVolume volume(TestVolume::Kind::Tmpfs, disk);
    ASSERT_TRUE(volume.isMounted());
    told();
    // The kernel would give a lone new mount the numbers of the old one.
    makeFolder(m_scratch / ".other");
    ASSERT_EQ(runAsRoot("umount " + disk + " && mount -t tmpfs none " + (m_scratch / ".other") +
                        " && mount -t tmpfs none " + disk),
              0);
    EXPECT_THAT(told(), ElementsAre("-" + disk, "+" + disk));
}

TEST_F(AMountWatcher, KeepsQuietAboutWhatUsersDoNotSeeAndWhatDidNotLast) {
    const TestVolume hidden(TestVolume::Kind::Tmpfs, m_scratch / ".hidden");
    { const TestVolume brief(TestVolume::Kind::Tmpfs, m_scratch / "brief"); }
    EXPECT_THAT(told(), ElementsAre());
}

}  // namespace
}  // namespace kestrin
