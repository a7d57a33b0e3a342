// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/QVProgressWindow.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>

#include "base/StringTable.h"
#include "erase/ui/WidgetProgressView.h"
#include "format/QVNumberUtilities.h"

namespace kestrin {
namespace {

struct QVProgressWindowTest : ::testing::Test {
    const StringTable texts{QStringLiteral("en")};
    int stops = 0;
    const QVNumberUtilities numbers{"en_US", texts};
    WidgetProgressView view{texts, numbers, [this] { ++stops; }};
    QVProgressWindow& window = view.window();
    QPushButton* const stopButton = window.findChild<QPushButton*>(QStringLiteral("stop"));
};

TEST_F(QVProgressWindowTest, ClosingStopsOnceAndTheWindowStaysAndSaysSoUntilTheEnd) {
    view.open(nullptr);
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    EXPECT_FALSE(stopButton->isEnabled());
    view.show({.mainText = QStringLiteral("Erasing")});
    EXPECT_FALSE(stopButton->isEnabled());
    EXPECT_TRUE(window.windowTitle().startsWith(texts.text("stopping")));
    EXPECT_FALSE(window.close());
    EXPECT_EQ(stops, 1);
    view.close();
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(window.close()) << "a hidden window keeps the program from ending";
}

TEST_F(QVProgressWindowTest, ALongNameDoesNotWidenItAndOfAllKeysOnlyEscapeStops) {
    view.show({.infoText = QString(300, u'x')});
    view.open(nullptr);
    EXPECT_EQ(window.width(), 420);
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_EQ(QApplication::focusWidget(), &window);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Tab})
        QTest::keyClick(&window, key);
    EXPECT_EQ(QApplication::focusWidget(), stopButton);
    EXPECT_EQ(stops, 0);
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_EQ(stops, 1);
}

TEST_F(QVProgressWindowTest, WhatIsOverCannotBeStopped) {
    view.open(nullptr);
    view.show({.phase = ProgressState::Phase::Over});
    EXPECT_FALSE(stopButton->isEnabled());
    EXPECT_FALSE(window.close());
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_EQ(stops, 0);
}

}  // namespace
}  // namespace kestrin
