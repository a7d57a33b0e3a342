// SPDX-License-Identifier: GPL-3.0-or-later
// The main() of the tests that talk to the desktop: a session bus of their own, and a screen
// in memory.
#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <QApplication>
#include <cstdlib>

#include "base/MainThread.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/TestEnvironment.h"

namespace {

/// The bus library takes no address from a program that keeps root's rights aside, as
/// tests else do; nothing here needs them.
void giveUpRoot() {
    if (::geteuid() != 0) return;
    using kestrin::test::kTestUser;
    const bool isDone = ::setgroups(0, nullptr) == 0 &&
                        ::setresgid(kTestUser, kTestUser, kTestUser) == 0 &&
                        ::setresuid(kTestUser, kTestUser, kTestUser) == 0;
    if (!isDone) std::abort();
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    giveUpRoot();
    const kestrin::test::TestEnvironment environment;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const kestrin::test::PrivateBus bus;
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const kestrin::MainThread mainThread;
    return RUN_ALL_TESTS();
}
