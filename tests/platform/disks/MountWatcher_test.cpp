// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "platform/disks/MountTable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace test;
using ::testing::ElementsAre;

TEST(MountWatcher, TellsOfVolumesThatComeAndGoAndOfNoOtherMounts) {
    KESTRIN_REQUIRE_MOUNTS();
    const ScratchFolder scratch;
    const std::string disk = scratch / "My Disk";
    std::vector<std::string> changes;
    const MountWatcher watcher([&](const MountWatcher::Change& change) {
        changes.push_back((change.wasAdded ? "+" : "-") + change.mountPoint);
    });
    const auto run = [&](const std::string& command) {
        ASSERT_EQ(runAsRoot("cd '" + scratch.path() + "' && " + command), 0);
    };
    /// What is told of an action once the table has come to rest.
    const auto toldOf = [&](const std::string& command) {
        run(command);
        waitFor([] { return false; }, 200);
        return std::exchange(changes, {});
    };
    const std::string mount = "mount -t tmpfs none ", mountDisk = mount + "'My Disk'";
    EXPECT_THAT(toldOf("mkdir 'My Disk' .other && " + mountDisk), ElementsAre("+" + disk));
    EXPECT_THAT(toldOf("mount -o remount,ro 'My Disk'"), ElementsAre());
    EXPECT_THAT(toldOf(mount + ".other"), ElementsAre()) << "users do not see it";
    // The kernel would give a lone new mount the numbers of the old one.
    EXPECT_THAT(toldOf("umount 'My Disk' && " + mount + ".other && " + mountDisk),
                ElementsAre("-" + disk, "+" + disk));
    EXPECT_THAT(toldOf("umount 'My Disk'"), ElementsAre("-" + disk));
    EXPECT_THAT(toldOf(mountDisk + " && umount 'My Disk'"), ElementsAre()) << "too short";

    // The rest begins with the last change, not with the first.
    run(mountDisk);
    waitFor([] { return false; }, 25);
    run("mkdir Other && umount 'My Disk' && " + mount + "Other");
    const auto atRest = std::chrono::steady_clock::now();
    EXPECT_TRUE(waitFor([&] { return !changes.empty() && changes.back().ends_with("Other"); }));
    // The toolkit's timers may be a twentieth early.
    EXPECT_GE(std::chrono::steady_clock::now() - atRest, std::chrono::milliseconds(45));
}

}  // namespace
}  // namespace kestrin
