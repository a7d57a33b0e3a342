// SPDX-License-Identifier: GPL-3.0-or-later
// The main() of test programs that show windows: as that of the others, with a screen in memory
// and one style wherever they run.
#include <gtest/gtest.h>

#include <QApplication>
#include <QStyleFactory>

#include "base/MainThread.h"
#include "support/TestEnvironment.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const kestrin::test::TestEnvironment environment;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    // A test opens and closes windows at will.
    QApplication::setQuitOnLastWindowClosed(false);
    const kestrin::MainThread mainThread;
    return RUN_ALL_TESTS();
}
