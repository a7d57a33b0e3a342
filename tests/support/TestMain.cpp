// SPDX-License-Identifier: GPL-3.0-or-later
// The main() of every test program: a throw-away home, a mount namespace of its own and, when
// started as root, an unprivileged user. Nothing a test does reaches the real trash, settings or
// services.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include "base/MainThread.h"
#include "support/TestEnvironment.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const kestrin::test::TestEnvironment environment;
    QCoreApplication application(argc, argv);
    const kestrin::MainThread mainThread;
    return RUN_ALL_TESTS();
}
