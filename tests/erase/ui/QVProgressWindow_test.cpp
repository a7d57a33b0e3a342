// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/QVProgressWindow.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>

#include "base/StringTable.h"
#include "erase/ui/WidgetProgressView.h"

namespace kestrin {
namespace {

struct QVProgressWindowTest : ::testing::Test {
    const StringTable texts{QStringLiteral("en")};
    int stops = 0;
    WidgetProgressView view{texts, [this] { ++stops; }};
    QVProgressWindow& window = view.window();
    QPushButton* const stopButton = window.findChild<QPushButton*>(QStringLiteral("stop"));
};

TEST_F(QVProgressWindowTest, ClosingStopsOnceAndTheWindowStaysAndSaysSoUntilTheEnd) {
    view.show();
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    EXPECT_FALSE(stopButton->isEnabled());
    view.setMainText(QStringLiteral("Erasing"));
    EXPECT_EQ(view.mainText(), texts.text("stopping"));
    EXPECT_FALSE(window.close());
    EXPECT_EQ(stops, 1);
    view.close();
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(window.close()) << "a hidden window keeps the program from ending";
}

TEST_F(QVProgressWindowTest, ALongNameDoesNotWidenItAndOfAllKeysOnlyEscapeStops) {
    view.setInfoText(QString(300, u'x'));
    view.show();
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

}  // namespace
}  // namespace kestrin
